"""The words of the main window, read from its running views, and the keyboard that reaches them."""

import json
import unittest

from desk import WithDesktop, eventually
from window import MODULES, changed, idle, running, tabs

PASS = (410, 674)  # where its button stands
PHASE = (400, 536)  # where the picker does
ROWS = (800, 290, 390)  # where the first and the last preset stand
LOCKED = "Can't change mode while session is running"
HARDCORE = "HARDCORE — STAY FOCUSED"
NO_RULES = ("No rule extensions enabled",
            "Turn on Budget Mode, Scroll Guard, Creator Gate, or Brak Porn in Extensions.")
NO_PROGRESS = ("No progress modules enabled", "Turn on Daily Tasks, Habit, or Deadline in Extensions.")


def only(*names):
    shown = {text for m in MODULES if m[0] in names for text in (m[1], m[3])}  # the page of its own or of its kind
    return changed(idle(), tabs=tabs(*shown), modules=[{**m, "enabled": m["name"] in names} for m in idle()["modules"]])


class MainWindow(WithDesktop):
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
        self.assertTrue(eventually(lambda: "Cancel session" not in window.visible()))
        window.point(*PASS, click=True)
        self.assert_shows(window, "Cancel session")
        window.press("Tab", "Return")
        self.assertEqual(window.asked("pass"), "pass")
        for screen in ("stopwatch", "countdown"):
            window.show(changed(running(hard=True, screen=screen), **{screen: {"running": True}}))
            self.assert_shows(window, HARDCORE, screen.title())
            for control in ("Reset", "Pause", "Skip to next session"):
                self.assert_hides(window, control)
        window.show(changed(running(hard=True), emergencyPass={"available": False}))
        self.assert_shows(window, "Used this week", "Emergency pass already used this week")

    def test_the_welcome_is_all_there_is_and_enter_leads_on(self):
        rows = [{"id": "org.chromium.Chromium", "name": "Chromium", "ready": True, "text": "",
                 "steps": [{"text": "Pick this folder", "what": "share/extension"}]}]
        first = changed(idle(), desktop={"welcomed": False}, answers={"install-browser-link": json.dumps(rows)})
        window = self.window({**first, "browsers": []})
        self.assert_shows(window, "Link your browser")
        self.assert_hides(window, "Pomodoro")  # no key and no reader gets behind it
        window.press("Return")
        self.assert_shows(window, "Pick this folder", "share/extension")
        window.press("Tab", "Tab")  # to the button that copies
        window.show(first)
        self.assert_shows(window, "Linked")
        self.assert_hides(window, "share/extension")
        window.press("Escape")
        self.assertTrue(eventually(lambda: "Done" not in window.visible()))
        window.press("Return")
        self.assert_shows(window, "Pick a mode")
        window.show(changed(first, session={"mode": "soft"}))
        window.press("Return")
        self.assert_shows(window, "Your first session", "Hacker News")
        window.press("Return")
        self.assertTrue(eventually(lambda: "start\nwelcome done" in window.said()), window.said())

    def test_a_preset_is_carried_to_another_place(self):
        window = self.window(idle())
        self.assert_shows(window, "Deep Work")
        window.resize(1000, 720)
        x, first, last = ROWS
        window.carry(x, first, last)
        self.assertTrue(eventually(lambda: "presets move preset-0 preset-2" in window.said()), window.said())
        self.assert_hides(window, "Allowed sites")  # and not opened
        window.point(x, first, click=True)
        self.assert_shows(window, "Allowed sites")
        window.press("Escape")
        self.assertTrue(eventually(lambda: "Allowed sites" not in window.visible()))
        window.press("Return")  # the row has the keyboard again
        self.assert_shows(window, "Allowed sites")

    def test_settings(self):
        window = self.window(idle())
        window.press("ctrl+comma")
        self.assert_shows(
            window, "Short Break", "Long Break", "Stop after", "Pomodoro loops until you stop it",
            "After 4 focus sessions you get a long break",
            "Show the movable mini timer during focus and breaks", "Automatically begin the next session",
            "Play sounds on session completion", "Instant blocking",
            "Allow Velmora in Accessibility, and a blocked site is covered the moment it opens instead of up to 2 s later.",
            "Sessions never modify DNS, pf or /etc/hosts. Browser blocking stays local, so OBS streams are never interrupted.")
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
