"""The words of the main window, read from its running views, and the keyboard that reaches them."""

import os
import sys
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tools", "stage"))
from browsers import Desktop, eventually
from window import MODULES, Window, changed, idle, running, tabs

PASS = (410, 674)  # where its button stands
PHASE = (400, 536)  # where the picker does
LOCKED = "Can't change mode while session is running"
HARDCORE = "HARDCORE — STAY FOCUSED"
NO_RULES = ("No rule extensions enabled",
            "Turn on Budget Mode, Scroll Guard, Creator Gate, or Brak Porn in Extensions.")
NO_PROGRESS = ("No progress modules enabled", "Turn on Daily Tasks, Habit, or Deadline in Extensions.")


def only(*names):
    shown = {m[3] for m in MODULES if m[0] in names}
    return changed(idle(), tabs=tabs(*shown), modules=[{**m, "enabled": m["name"] in names} for m in idle()["modules"]])


class MainWindow(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.desktop = Desktop()
        cls.addClassCleanup(cls.desktop.close)

    def window(self, state):
        window = Window(self.desktop, state)
        self.addCleanup(window.close)
        self.addCleanup(lambda: self.assertEqual(window.complaints(), []))
        return window

    def assert_shows(self, window, *texts):
        self.assertTrue(window.shows(*texts), (texts, window.visible()))

    def assert_hides(self, window, text):
        self.assertNotIn(text, window.visible())

    def test_the_hardcore_switch_says_what_it_would_do(self):
        window = self.window(idle())
        self.assert_shows(window, "Enable hardcore mode — no pause, no restart, no skip")
        self.assert_hides(window, "Emergency pass")
        window.show(changed(idle(), session={"hardcore": True}, settings={"isHardcore": True}))
        self.assert_shows(window, "Disable hardcore mode")
        window.show(running())
        self.assert_shows(window, "Can't change mode while session is running", "Chapter three")
        self.assert_hides(window, HARDCORE)
        self.assert_hides(window, "Emergency pass")
        self.assertEqual(window.visible().count(LOCKED), 1)
        window.resize(1000, 720)
        window.point(*PHASE)
        self.assertTrue(eventually(lambda: window.visible().count(LOCKED) == 2), "no tip at the picker")

    def test_a_hard_session_leaves_the_pass_only(self):
        window = self.window(running(hard=True))
        self.assert_shows(window, HARDCORE, "Emergency pass")
        self.assert_hides(window, "Used this week")
        window.resize(1000, 720)
        window.point(*PASS)
        self.assert_shows(window, "Emergency pass: cancel current session (1 per week)")
        window.point(*PASS, click=True)
        self.assert_shows(window, "Use your Emergency Pass?",
                          "You only get 1 per week. Save it for real emergencies.", "Cancel session")
        window.press("Escape")
        for screen in ("stopwatch", "countdown"):
            window.show(changed(running(hard=True, screen=screen), **{screen: {"running": True}}))
            self.assert_shows(window, HARDCORE, screen.title())
            for control in ("Reset", "Pause", "Skip to next session"):
                self.assert_hides(window, control)
        window.show(changed(running(hard=True), emergencyPass={"available": False}))
        self.assert_shows(window, "Used this week", "Emergency pass already used this week")

    def test_settings(self):
        window = self.window(idle())
        window.press("ctrl+comma")
        self.assert_shows(
            window, "Short Break", "Long Break", "Stop after", "Pomodoro loops until you stop it",
            "After 4 focus sessions you get a long break",
            "Show the movable mini timer during focus and breaks", "Automatically begin the next session",
            "Play sounds on session completion", "Instant blocking",
            "Allow Velmora in Accessibility, and a blocked site is covered the moment it opens instead of up to 2 s later.")
        window.show(changed(idle(), settings={"sessionsBeforeLongBreak": 6, "focusSessionLimit": 3}))
        self.assert_shows(window, "After 6 focus sessions you get a long break", "3 focus sessions")
        self.assert_hides(window, "Pomodoro loops until you stop it")
        window.show(changed(idle(), settings={"focusDuration": 200}))
        self.assert_shows(window, "200 min")  # beyond what can be chosen

    def test_the_sidebar_folds_and_the_pages_stay_in_reach(self):
        window = self.window(idle())
        self.assert_shows(window, "Hide the sidebar", "Settings")
        window.show(changed(idle(), desktop={"sidebar": False}))
        self.assert_shows(window, "Show the sidebar")
        self.assert_hides(window, "Settings")
        window.press("F9")
        self.assertTrue(eventually(lambda: "sidebar on" in window.said()))
        window.press("ctrl+comma")
        self.assert_shows(window, "Instant blocking")

    def test_modules_and_their_pages(self):
        window = self.window(only("schedule", "sounds"))
        self.assert_hides(window, "Rules")
        window.press("ctrl+3")
        self.assert_shows(window, "Keep the app minimal, or build your own focus machine",
                          *(text for row in MODULES for text in row[1:]))
        for module, empty in (("budget", NO_RULES), ("habit", NO_PROGRESS)):
            window.show(only(module))
            self.assert_shows(window, "Rules" if module == "budget" else "Progress")
            window.press("ctrl+2")
            self.assert_shows(window, next(m[1] for m in MODULES if m[0] == module))
            window.show(only())  # its page stays for whoever is on it
            self.assert_shows(window, *empty)
            window.press("ctrl+1")


if __name__ == "__main__":
    unittest.main()
