"""The Schedule page: what it shows, and what the pointer and the keyboard ask the program for."""

import json
import time
import unittest

from desk import WithDesktop, eventually
from missions import CLOCK, FORTY, ONE, in_mission, mission, once, planned
from window import changed

OVERLAP = "This mission overlaps another one. Move it so each mission can chain cleanly."
HISTORY = "Earlier occurrences stay in your calendar history."
SWITCH, SIMPLE, FIRST_ROW = (384, 48), (278, 116), (500, 234)  # in a window of 1000 x 720
# There, of the week that has been scrolled to its end.
LEFT, COLUMN, HOUR, END = 274, 101.7, 52, 720 - 8 - 77


def place(day, hour):
    """The middle of a day, 0 to 6, at an hour."""
    return round(LEFT + (day + 0.5) * COLUMN), round(END - (24 - hour) * HOUR)


class Schedule(WithDesktop):
    def page(self, state):
        window = self.window(state, clock=CLOCK)
        window.resize(1000, 720)
        window.press("ctrl+2")
        self.assertTrue(window.shows("Schedule"))
        return window

    def evening(self, *missions):
        """The week with these, scrolled to its end."""
        window = self.page(planned(list(missions)))
        self.assertTrue(window.asked("missions week 2026-11-23"))
        window.point(*place(6, 22))
        window.wheel(40)
        return window

    def assert_asked(self, window, *words):
        line = " ".join(words)
        eventually(lambda: window.commands(*words[:2])[-1:] == [line], 10, 0.05)
        self.assertEqual(window.commands(*words[:2])[-1:], [line])

    def assert_closes(self, window, text):
        self.assertTrue(eventually(lambda: text not in window.visible(), 10, 0.05))

    def test_drawing_creates(self):
        window = self.evening()
        for start, ways, key, expected in (
                ((1, 18), [(1, 18.5), (1, 20.1)], None, "2026-11-24 1080 1200"),
                ((1, 20), [(1, 19), (1, 17.9)], None, "2026-11-24 1080 1200"),  # upward swaps
                ((5, 21.3), [], None, "2026-11-28 1275 1335"),  # a click
                ((0, 23.9), [], None, "2026-11-23 1380 1440"),
                ((2, 18.02), [(2, 18.3), (2, 19.42)], "alt", "2026-11-25 1080 1165")):
            window.drag(place(*start), *(place(*way) for way in ways), key=key)
            self.assert_asked(window, "missions", "create", *expected.split())
        asked = len(window.commands("missions create"))
        window.drag(place(1, 18), place(1, 19), drop=False)
        window.press("Escape")
        window.release()
        self.assertEqual(len(window.commands("missions create")), asked)

    def test_a_wheel_within_a_drag_takes_the_pointer_along(self):
        window = self.evening()
        window.drag(place(1, 18), place(1, 19), place(1, 20.5), drop=False)
        window.wheel(-1)
        time.sleep(0.3)
        window.release()
        start, end = map(int, window.asked("missions create").split()[-2:])
        self.assertEqual(start, 1080)
        self.assertTrue(1080 < end < 1230, end)

    def test_dragging_moves_and_resizes(self):
        # day and time of what is held, where it is dropped, and what that asks for
        for held, to, kind, fields, day in (
                ((0, 20), (3, 21.2), "Move", (1215, 1335), "2026-11-26"),  # it is held in its middle
                ((0, 20), (0, 24.5), "Move", (1320, 1440), "2026-11-23"),  # stays in its day
                ((0, 20.96), (0, 22), "Resize", (1140, 1320), "2026-11-23"),
                ((0, 19.05), (0, 22.5), "Resize", (1245, 1260), "2026-11-23")):  # fifteen minutes are least
            window = self.evening(once("Essay", 0, 19, 21))
            window.drag(place(*held), place(held[0], held[1] + 0.2), place(*to))
            self.assert_asked(window, "missions", "edit", "mission-essay", "--json", json.dumps(
                dict(zip(("startMinutes", "endMinutes"), fields)), separators=(",", ":")), "--action", kind,
                "--day", "2026-11-23", "--to", day)

    def test_a_small_movement_is_no_drag(self):
        window = self.evening(once("Essay", 0, 19, 21))
        x, y = place(0, 20)
        window.drag((x, y), (x + 2, y + 3))
        self.assertTrue(window.shows("Edit"))
        self.assertEqual(window.commands("missions edit"), [])

    def test_the_arrow_keys_do_what_dragging_does(self):
        window = self.evening(once("Essay", 0, 19, 21))
        window.point(*place(0, 20), click=True)
        self.assertTrue(window.shows("Duplicate"))  # of what is chosen
        window.press("Right", "Down", "alt+Down", "Escape", "Right", "Up", "alt+Up", "shift+Down", "Return")
        self.assert_asked(window, "missions", "edit", "mission-essay", "--json",
                          '{"startMinutes":1120,"endMinutes":1260}', "--action", "Move", "--day", "2026-11-23",
                          "--to", "2026-11-24")
        self.assertEqual(len(window.commands("missions edit")), 1)

    def test_a_series_asks_what_a_change_is_for(self):
        window = self.evening(mission("Study", 19, 21))
        window.point(*place(2, 20), click=True)
        window.press("Right", "Return")
        self.assertTrue(window.shows("Edit Occurrence", "Edit Future Occurrences", "Cancel", HISTORY))
        window.press("Return")  # the safe answer has the focus
        self.assert_closes(window, HISTORY)
        self.assertEqual(window.commands("missions edit"), [])
        window.press("Right", "Return")
        self.assertTrue(window.shows("Edit Occurrence"))
        window.press("Tab", "Return")
        self.assertIn("--day 2026-11-25 --to 2026-11-26 --scope future", window.asked("missions edit"))
        self.assert_closes(window, HISTORY)
        window.point(*place(1, 20), click=True)
        window.press("Delete")
        self.assertTrue(window.shows("Delete Occurrence", "Delete Future Occurrences", HISTORY))
        window.press("Tab", "Tab", "Return")
        self.assert_asked(window, "missions", "remove", "mission-study", "--scope", "one", "--day", "2026-11-24")

    def test_what_would_begin_under_hard_routine_is_asked_first(self):
        window = self.page(planned([once("Essay", 1, 10, 11)], hardRoutineEnabled=True))
        window.asked("missions week")
        window.press("Tab", "Right", "Return")
        self.assertTrue(window.shows("Begin this mission now?"))
        window.press("Return")  # the safe answer has the focus
        self.assert_closes(window, "Begin this mission now?")
        self.assertEqual(window.commands("missions edit"), [])
        window.press("Right", "Return")
        self.assertTrue(window.shows("Begin this mission now?"))
        window.press("Tab", "Return")
        self.assertIn("--day 2026-11-24 --to 2026-11-25", window.asked("missions edit"))

    def test_keys_of_the_clipboard_and_of_undo(self):
        window = self.evening(once("Essay", 0, 19, 21))
        window.point(*place(0, 20), click=True)
        for key, command in (("ctrl+c", "copy mission-essay"), ("ctrl+d", "duplicate mission-essay 2026-11-23"),
                             ("ctrl+v", "paste 2026-11-23"), ("ctrl+z", "undo"), ("ctrl+shift+z", "redo"),
                             ("ctrl+x", "cut mission-essay")):
            window.press(key)
            self.assert_asked(window, "missions", *command.split())

    def test_a_running_mission_is_held(self):
        evening = once("Essay", 2, 19, 21)
        window = self.evening(evening)
        window.show(in_mission(planned([evening]), "mission-essay"))
        window.shows("Essay until 21:00")
        window.point(*place(2, 20), click=True)
        window.press("Down")
        self.assertTrue(window.shows("“Essay” is running. It can be changed once it is over."))
        window.press("Delete")
        window.press("Return")
        self.assertTrue(window.shows("This mission is running. It can be changed once it is over."))
        self.assertEqual(window.commands("missions edit") + window.commands("missions remove"), [])

    def test_the_planner_is_changed_after_a_question(self):
        window = self.page(in_mission(planned(ONE), "mission-deep-work"))
        window.point(*SIMPLE, click=True)
        self.assertTrue(window.shows("Change the planner now?"))
        window.press("Tab", "Return")
        self.assert_asked(window, "schedule", "mode", "simple", "--interrupt")
        window.show(in_mission(planned(ONE), "mission-deep-work", hard=True))
        self.assertTrue(window.shows("Holds until the mission ends", "Emergency pass"))

    def test_a_pass_is_not_lost_unsaid(self):
        window = self.page(changed(planned(ONE), schedule={"hasPass": True, "isCurrentlyInBlock": True}))
        self.assertTrue(window.shows("Emergency pass in force until the mission ends"))
        window.point(*SWITCH, click=True)
        self.assertTrue(window.shows("The emergency pass that is in force would be lost."))
        window.press("Escape")
        self.assert_closes(window, "Give up the pass")
        window.point(*SWITCH, click=True)
        window.shows("Give up the pass")
        window.press("Tab", "Return")
        self.assert_asked(window, "schedule", "off", "--yes")
        self.assertEqual(len(window.commands("schedule off")), 1)

    def test_the_editor_saves_what_changed(self):
        window = self.page(planned([mission("Study", 19, 21, overlaps=True)], "simple"))
        self.assertTrue(window.shows("19:00 – 21:00 · 2h · Soft · Nonstop"))
        window.point(*FIRST_ROW, click=True)
        self.assertTrue(window.shows("Rhythm", "One focus of 2 h, without a break.", OVERLAP))
        window.press("ctrl+a", "A", "r", "t", "Return")
        self.assert_asked(window, "missions", "edit", "mission-study", "--planner", "simple", "--json",
                          '{"label":"Art"}', "--action", "Edit")

    def test_the_editor_loses_nothing_that_was_typed_and_adds_nothing_twice(self):
        window = self.page(planned([mission("Study", 19, 21)], "simple"))
        window.point(*FIRST_ROW, click=True)
        self.assertTrue(window.shows("Rhythm"))
        window.press(*["Tab"] * 10, "ctrl+a", "9", "Up")  # the step is from what was typed
        window.press(*["Tab"] * 7, "Return")
        self.assertTrue(window.shows("Block apps in this mission", "Steam"))
        window.press("s", "t", "e", "a", "Return", "Return", "Escape")
        self.assert_closes(window, "Block apps in this mission")
        window.press(*["shift+Tab"] * 17, "Return")
        self.assert_asked(window, "missions", "edit", "mission-study", "--planner", "simple", "--json",
                          '{"startMinutes":555,"softBlockedApps":[{"bundleID":"steam","name":"Steam"}]}', "--action", "Edit")

    def test_a_mission_that_ends_before_it_begins_is_not_saved(self):
        window = self.page(planned([mission("Study", 19, 21)], "simple"))
        window.point(*FIRST_ROW, click=True)
        self.assertTrue(window.shows("Rhythm"))
        window.press(*["Tab"] * 11, "ctrl+a", "8", "Tab")
        self.assertTrue(window.shows("It ends before it begins."))
        window.press(*["shift+Tab"] * 12, "Return")
        self.assertEqual(window.commands("missions edit"), [])

    def test_cancel_takes_back_a_mission_that_was_just_drawn(self):
        state = planned([once("Essay", 0, 19, 21)], undo="Create Mission")
        state["answers"]["missions create"] = json.dumps({"id": "mission-essay", "day": "2026-11-23"})
        window = self.page(state)
        window.asked("missions week")
        window.point(*place(6, 22))
        window.wheel(40)
        for key, undone in (("Return", 0), ("Escape", 1)):
            window.drag(place(2, 20), place(2, 21))
            self.assertTrue(window.shows("Rhythm"))
            window.press(key)
            self.assert_closes(window, "Rhythm")
            time.sleep(0.2)
            self.assertEqual(len(window.commands("missions undo")), undone)

    def test_a_midnight_that_is_passed_by_stays_the_end_of_the_day(self):
        window = self.page(planned([mission("Night", 22, 24)], "simple", uses24Hour=False))
        window.point(*FIRST_ROW, click=True)
        self.assertTrue(window.shows("Rhythm", "12:00 AM"))
        window.press("ctrl+a", "A", *["Tab"] * 16, *["shift+Tab"] * 16, "Return")
        self.assert_asked(window, "missions", "edit", "mission-night", "--planner", "simple", "--json",
                          '{"label":"A"}', "--action", "Edit")

    def test_ctrl_and_an_arrow_leaf_through_the_weeks_whatever_is_chosen(self):
        window = self.evening(once("Essay", 0, 19, 21))
        window.point(*place(0, 20), click=True)
        self.assertTrue(window.shows("Duplicate"))
        window.press("ctrl+Right", "Return")
        self.assert_asked(window, "missions", "week", "2026-11-30")
        self.assertEqual(window.commands("missions edit"), [])

    def test_forty_missions(self):
        window = self.page(planned(FORTY))
        self.assertTrue(window.shows("November 2026", "Deep Work", "Evening study", "2 off"))
        window.press("ctrl+Right")
        self.assertTrue(window.shows("Nov – Dec 2026"))
        window.asked("missions week 2026-11-30")


if __name__ == "__main__":
    unittest.main()
