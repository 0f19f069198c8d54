"""The surfaces of the real program under a window manager, with real keys and clicks."""

import os
import signal
import subprocess
import unittest

from bench import WithVelmora, eventually
from stage import Screen, Velmora

KILLS = int(os.environ.get("VELMORA_KILLS", "3"))


class WithScreen(WithVelmora):
    def setUp(self):
        self.screen = Screen()
        self.addCleanup(self.screen.close)
        self.velmora = Velmora(self.screen.display)
        self.addCleanup(self.velmora.close)
        self.velmora.start()

    def surface(self, size):
        """The X id of our window of this size, like 540x58, once it is on screen."""
        def found():
            for row in self.screen.run("xwininfo", "-root", "-tree").splitlines():
                if '"Velmora"' in row and " %s+" % size in row:
                    window = row.split()[0]
                    if "IsViewable" in self.screen.run("xwininfo", "-id", window):
                        return window
        return eventually(found, 10, 0.02)

    def pids(self):
        return self.screen.run("pgrep", "-P", str(self.velmora.process.pid), "velmora-window").split()

    def is_gone(self, size="1280x900", within=5):
        return eventually(lambda: " %s+" % size not in "".join(
            row for row in self.screen.run("xwininfo", "-root", "-tree").splitlines() if '"Velmora"' in row), within, 0.02)

    def notebook(self):
        """A terminal that writes down what is typed in it; a question for what it has."""
        path = self.velmora.home.path + "/typed"
        self.screen.others.append(subprocess.Popen(["xterm", "-T", "notebook", "-e", "cat > " + path],
                                                   env=self.screen.environment, stderr=subprocess.DEVNULL))
        window = self.screen.window("notebook")

        def takes(text):
            self.screen.raise_(window)
            self.screen.run("xdotool", "type", text + "\n")
            return eventually(lambda: text in open(path).read(), 1, 0.02)
        self.assertTrue(takes("before"))
        return takes

    def raise_gate(self):
        self.velmora.run("start")
        gate = self.surface("1280x900")
        self.assertTrue(gate, "no gate")
        focused = lambda: int(self.screen.run("xdotool", "getwindowfocus") or 0)
        self.assertTrue(eventually(lambda: focused() == int(gate, 16), 10, 0.02), "the gate has no focus")

    def keys(self, *words):
        self.screen.run("xdotool", *words)


class Gate(WithScreen):
    def test_it_keeps_every_key_and_leads_on_by_the_form_alone(self):
        takes = self.notebook()
        self.velmora.tell("presets", "allow-app", "Editing", "xterm")
        self.raise_gate()
        self.keys("key", "alt+Tab", "alt+F4", "ctrl+alt+Right", "Escape")
        self.screen.run("wmctrl", "-a", "notebook")
        self.keys("key", "Down")
        self.keys("type", "Chapter two")
        self.assertFalse(self.velmora.status()["session"]["running"])
        self.keys("key", "Return")
        self.assertTrue(eventually(lambda: self.velmora.status()["session"]["running"], 5))
        focus = self.velmora.status()["focus"]
        self.assertEqual((focus["presetName"], focus["taskName"]), ("Editing", "Chapter two"))
        self.assertTrue(self.is_gone())
        self.assertTrue(takes("after"), "the keyboard is not given back")

    def test_no_death_locks_anybody_out_and_none_lets_anybody_by(self):
        takes = self.notebook()
        for turn in range(KILLS):
            self.raise_gate()
            first = self.pids()
            for pid in first:
                os.kill(int(pid), signal.SIGKILL)
            self.assertTrue(eventually(lambda: self.pids() and self.pids() != first, 2), "the gate is not back")
            self.velmora.kill()
            self.assertTrue(self.is_gone(within=1), "the gate outlives the program")
            self.assertTrue(takes("turn %d" % turn))
            self.velmora.start()

    def test_a_program_that_is_stuck_does_not_keep_the_keyboard(self):
        takes = self.notebook()
        self.raise_gate()
        self.velmora.process.send_signal(signal.SIGSTOP)
        self.assertTrue(self.is_gone(within=9))
        self.assertTrue(takes("after"))


class Surfaces(WithScreen):
    def test_a_dragged_hud_is_where_it_was_left(self):
        self.velmora.tell("focus", "Writing")
        hud = self.surface("540x58")
        x, y, _, _ = self.screen.geometry(hud)
        self.keys("mousemove", str(x + 200), str(y + 20), "mousedown", "1", "mousemove", str(x + 150), str(y + 60),
                  "mousemove", str(x + 100), str(y + 320), "mouseup", "1")
        wanted = [x - 100, y + 300, 540, 58]
        self.assertTrue(eventually(lambda: self.screen.geometry(hud) == wanted, 2))
        self.velmora.kill()
        self.assertTrue(self.is_gone("540x58"))
        self.velmora.start()
        self.assertTrue(eventually(lambda: self.screen.geometry(self.surface("540x58")) == wanted, 5))

    def test_a_closed_window_ends_its_process_only(self):
        self.velmora.tell("window", "show")
        window = self.screen.window("Velmora")
        self.screen.close_window(window)
        self.assertTrue(eventually(lambda: not self.pids(), 5))
        self.assertFalse(self.velmora.status()["session"]["active"])

    def test_the_quit_key_is_refused_in_a_hard_session(self):
        for words in (["mode", "soft"], ["settings", "set", "isHardcore", "true"], ["start"], ["window", "show"]):
            self.velmora.tell(*words)
        self.screen.raise_(self.screen.window("Velmora"))
        self.keys("key", "ctrl+q")
        self.assertFalse(eventually(lambda: self.velmora.process.poll() is not None, 1.5))
        self.velmora.tell("status")


if __name__ == "__main__":
    unittest.main()
