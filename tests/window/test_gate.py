"""What takes the whole screen, on states of our own making: when it leaves it."""

import ctypes
import unittest

from desk import WithDesktop, eventually
from window import idle, only

REASON = "Choose your next focus"


class Locker:
    """Somebody else who wants every key."""

    def __init__(self, display):
        self.x = ctypes.CDLL("libX11.so.6")
        self.x.XOpenDisplay.restype = ctypes.c_void_p
        self.x.XDefaultRootWindow.restype = ctypes.c_ulong
        self.display = ctypes.c_void_p(self.x.XOpenDisplay(display.encode()))
        self.root = ctypes.c_ulong(self.x.XDefaultRootWindow(self.display))

    def grabs(self):
        return self.x.XGrabKeyboard(self.display, self.root, 0, 1, 1, ctypes.c_ulong(0)) == 0

    def ungrab(self):
        self.x.XUngrabKeyboard(self.display, ctypes.c_ulong(0))
        self.x.XSync(self.display, 0)
        return True


class Gate(WithDesktop):
    def gate(self, lock="none"):
        return only(idle(), gate={"showing": True, "reason": REASON, "lock": lock})

    def test_it_makes_room_for_a_locker_and_comes_back_when_that_is_done(self):
        window = self.window(self.gate())
        locker = Locker(self.desktop.display)
        is_back = lambda: REASON in window.visible() and not (locker.grabs() and locker.ungrab())
        self.assertTrue(eventually(is_back))
        for lock in ("locked", "asked"):
            window.show(self.gate(lock))
            self.assertTrue(eventually(lambda: not window.visible() and locker.grabs()), lock)
            if lock == "locked":
                locker.ungrab()
            window.show(self.gate())
            if lock == "asked":
                self.assertFalse(eventually(window.visible, 1), "it still locks, and has told nobody")
                locker.ungrab()
            self.assertTrue(eventually(is_back), lock)

    def test_a_notice_goes_after_its_time_and_at_a_click_whatever_the_program_says(self):
        notice = lambda name, seconds: only(idle(), notice={"mission": name, "presetName": "Deep Work",
                                                            "timeRange": "09:00 - 10:00", "duration": seconds})
        window = self.window(notice("Reading", 1.5))
        self.assertTrue(window.shows("Reading"))
        self.assertTrue(eventually(lambda: not window.visible(), 3))
        window.show(notice("Sketching", 60))
        self.assertTrue(window.shows("Sketching"))
        window.whole_screen()
        window.point(300, 300, click=True)
        self.assertTrue(eventually(lambda: not window.visible(), 3))


if __name__ == "__main__":
    unittest.main()
