"""The Schedule page of the real program, with a real pointer: from a drawn mission to its end."""

import signal
import subprocess
import time
import unittest

from bench import HOLD, WithWindow, eventually
from stage import leave_zone

SWITCH = (384, 48)  # in a window of 1000 x 720
LEFT, COLUMN, HOUR, END = 274, 101.7, 52, 720 - 8 - 77  # of a week that has been scrolled to its end
NOTICE = "1280x900"


class Schedule(WithWindow):
    def setUp(self):
        if not leave_zone(18):  # in the part of a day that is in sight at the end of the week
            self.skipTest("by the clock of this machine other hours are in sight")
        super().setUp()
        self.tell("modules on schedule", "mode soft", "apps add xterm", "sites add listed.test", "schedule on")
        self.window.resize(1000, 720)
        self.window.press("ctrl+2")
        self.assertShows("Schedule", "No mission ahead")
        self.window.point(700, 400)
        self.window.wheel(40)

    def place(self, day, hour):
        return round(LEFT + (day + 0.5) * COLUMN), round(END - (24 - hour) * HOUR)

    def terminal(self):
        program = subprocess.Popen(["xterm", "-T", "Games"], env=self.screen.environment, stderr=subprocess.DEVNULL)
        self.addCleanup(program.wait)
        self.addCleanup(program.kill)
        self.screen.window("Games")
        return program

    def test_a_mission_drawn_over_this_moment_runs_until_the_schedule_is_switched_off(self):
        terminal = self.terminal()
        self.screen.raise_(hex(int(self.window.id)))
        now = time.localtime()
        day, hour = now.tm_wday, now.tm_hour
        self.window.drag(self.place(day, hour), self.place(day, hour + 2))
        began = time.monotonic()
        self.assertShows("Soft Block", "New mission", "%02d:00 – %02d:00 · Nonstop" % (hour, hour + 2))
        self.assertEqual(terminal.wait(5), -signal.SIGKILL)
        on_screen = lambda: " %s+0+0 " % NOTICE in "".join(
            row for row in self.screen.run("xwininfo", "-root", "-tree").splitlines() if '"Velmora"' in row)
        self.assertTrue(eventually(on_screen))
        self.assertTrue(eventually(lambda: not on_screen(), 8, 0.05))
        self.assertGreater(time.monotonic() - began, 4)
        self.window.press("Delete")
        self.assertShows("“New mission” is running. It can be changed once it is over.")
        self.window.point(*SWITCH, click=True)
        self.assertTrue(eventually(lambda: not self.state("scheduled")["active"]))
        again = self.terminal()
        eventually(lambda: again.poll() is not None, HOLD, 0.05)
        self.assertIsNone(again.poll())


if __name__ == "__main__":
    unittest.main()
