"""The words of the real program, read from its running windows. They are written out here once more:
what a person reads is settled, and no table of the program or of the stage may change it unseen."""

import unittest

from bench import WithWindow, eventually

MODULES = {
    "Core": {"Schedule": "Automatically start focus windows."},
    "Rules": {
        "Budget": "Give distracting sites a strict time allowance.",
        "Scroll Guard": "After a few minutes of scrolling, ask whether to go on or quit the site.",
        "Creator Gate": "Unlock sites only while OBS is recording or streaming.",
        "Brak Porn": "Commit to permanent adult-content blocking for 30 to 365 days."},
    "Progress": {
        "Daily Tasks": "Plan recurring tasks, check each day, and keep a daily conclusion.",
        "Habit": "Track daily focus sessions across the year.",
        "Deadline": "Keep one big objective visible until the date hits."},
    "Experience": {
        "Sounds": "Ambient sound and focus audio.",
        "Posture": "Use the camera to catch sustained posture drift."}}
TABS = ["Focus", "Schedule", "Rules", "Progress", "Sounds", "Posture", "Extensions", "Settings"]
LOCKED = "Can't change mode while session is running"
ALL_DAYS = "mon,tue,wed,thu,fri,sat,sun"
FIRST_MISSION = (500, 234)  # of the list, in a window of 1000 x 720


class Words(WithWindow):
    def assertHasPart(self, part):
        self.assertTrue(eventually(lambda: any(part in text for text in self.window.visible()), 10, 0.05), self.window.visible())

    def test_modules_and_their_pages(self):
        self.assertEqual([tab["title"] for tab in self.state("tabs")], TABS)
        names = [module["name"] for module in self.state("modules")]
        self.tell(*("modules on " + name for name in names))
        self.assertShows("Focus", "Schedule", "Rules", "Progress", "Extensions", "Settings")
        self.window.press("ctrl+5")
        self.assertShows("Keep the app minimal, or build your own focus machine", *MODULES)
        for rows in MODULES.values():
            self.assertShows(*rows, *rows.values())
        self.window.press("ctrl+3")
        self.tell(*("modules off " + name for name in names))
        self.assertShows("No rule extensions enabled",
                         "Turn on Budget Mode, Scroll Guard, Creator Gate, or Brak Porn in Extensions.")
        self.tell("modules on habit")
        self.window.press("ctrl+3")
        self.tell("modules off habit")
        self.assertShows("No progress modules enabled", "Turn on Daily Tasks, Habit, or Deadline in Extensions.")

    def test_a_focus_from_the_gate_to_its_pause(self):
        self.tell("presets add Thesis")
        self.assertShows("Deep Work", "Only your core tools.", "Editing", "Video/editing flow.", "Writing",
                         "Quiet writing session.", "Custom focus preset", "Reset", "Skip to next session",
                         "Focus", "Short Break", "Long Break", "Enable hardcore mode — no pause, no restart, no skip")
        self.velmora.run("start")
        for name, place, output in (("left", "640/200x900/200+0+0", "screen"), ("right", "640/200x900/200+640+0", "none")):
            self.screen.run("xrandr", "--setmonitor", name, place, output)
        self.assertShows("Choose your next focus", "What will you work on?", "Choose your focus preset on the main display")
        self.tell("focus Writing --task Chapter two")
        self.assertShows(LOCKED, "Chapter two · Writing")
        self.tell("pause")
        self.assertShows("Focus · Paused")

    def test_missions(self):
        self.tell("modules on schedule", "settings set uses24HourTime true", "schedule mode simple",
                  "missions add --label Study --days mon,wed --from 9:30 --until 24:00 --rhythm pomodoro")
        self.window.resize(1000, 720)
        self.window.press("ctrl+2")
        self.assertShows("Simple", "Calendar", "New mission", "Study", "09:30 – 24:00 · 14h30 · Deep Work · Pomodoro",
                         "Undo Create Mission", *"MTWFS")
        self.tell("missions edit Study --from 10:00 --until 10:45 --action Move")
        self.assertShows("Undo Move Mission", "10:00 – 10:45 · 45min · Deep Work · Pomodoro")
        self.tell("settings set uses24HourTime false", "missions edit Study --until 24:00")
        self.assertShows("10:00 AM – 12:00 AM · 14h · Deep Work · Pomodoro")
        self.window.point(*FIRST_MISSION, click=True)
        self.assertShows("Once", "Daily", "Weekly", "Soft", "Brak", "Nonstop", "Pomodoro", *"MTWFS")
        self.assertHasPart("breaks. The calendar end time always wins; the final phase is shortened when needed.")
        self.window.press("Escape")
        self.tell("settings set uses24HourTime true", "missions disable Study", "schedule on",
                  "missions add --label Late --days %s --from 23:58 --until 24:00" % ALL_DAYS)
        self.assertHasPart("Late · Today 23:58 · ")

        self.window.press("ctrl+1")
        self.tell("missions add --label Whole --days %s --from 0:00 --until 24:00 --mode soft" % ALL_DAYS)
        self.assertShows("Soft Block", "00:00 – 24:00 · Nonstop", "Soft protection")
        self.tell("schedule off", "missions edit Whole --mode brak --rhythm pomodoro")
        for preset in ("Deep Work", "Editing", "Writing"):
            self.velmora.tell("presets", "remove", preset)
        self.tell("schedule on")
        self.assertShows("00:00 – 24:00 · Pomodoro", "Focus protection")


if __name__ == "__main__":
    unittest.main()
