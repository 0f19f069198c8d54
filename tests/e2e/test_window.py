"""The surfaces of the real program under a window manager, with real keys and clicks."""

import collections
import json
import os
import signal
import subprocess
import time
import unittest

from bench import KILLS, WithScreen, eventually


class WithSurfaces(WithScreen):
    def surface(self, size):
        """The X id of our window of this size, like 540x58, once it is on screen."""
        def found():
            for row in self.screen.run("xwininfo", "-root", "-tree").splitlines():
                if '"Velmora"' in row and " %s+" % size in row:
                    window = row.split()[0]
                    if "IsViewable" in self.screen.run("xwininfo", "-id", window):
                        return window
        return eventually(found, 10, 0.02)

    def is_gone(self, size="1280x900", within=5):
        return eventually(lambda: " %s+" % size not in "".join(
            row for row in self.screen.run("xwininfo", "-root", "-tree").splitlines() if '"Velmora"' in row), within, 0.02)

    def notebook(self):
        """A terminal that writes down what is typed; a question for whether it has the keyboard now."""
        path = self.velmora.home.path + "/typed"
        open(path, "w").close()
        self.screen.others.append(subprocess.Popen(["xterm", "-T", "notebook", "-e", "cat > " + path],
                                                   env=self.screen.environment, stderr=subprocess.DEVNULL))
        self.screen.raise_(self.screen.window("notebook"))

        def takes():
            size = os.path.getsize(path)
            self.keys("key", "--delay", "0", "x", "Return")
            return eventually(lambda: os.path.getsize(path) > size, 0.05, 0.005)
        self.assertTrue(eventually(takes))
        return takes

    def raise_gate(self):
        self.velmora.run("start")
        gate = self.surface("1280x900")
        self.assertTrue(gate, "no gate")
        self.assertTrue(eventually(self.gate_has_focus, 10, 0.02), "the gate has no focus")

    def gate_has_focus(self):
        focused = self.screen.run("xwininfo", "-id", self.screen.run("xdotool", "getwindowfocus").strip())
        return '"Velmora"' in focused and "-geometry 1280x900" in focused

    def keys(self, *words):
        self.screen.run("xdotool", *words)


class Gate(WithSurfaces):
    def test_it_keeps_every_key_and_leads_on_by_the_form_alone(self):
        takes = self.notebook()
        self.velmora.tell("presets", "allow-app", "Editing", "xterm")
        self.velmora.tell("presets", "rename", "Editing", "Deep Work")  # a name may stand twice
        self.raise_gate()
        self.keys("key", "alt+Tab", "alt+F4", "ctrl+alt+Right", "Escape")
        self.screen.run("wmctrl", "-a", "notebook")
        self.keys("key", "Down")
        self.keys("type", "Chapter two")
        self.assertFalse(self.velmora.status()["session"]["running"])
        self.keys("key", "Return")
        self.assertTrue(eventually(lambda: self.velmora.status()["session"]["running"], 5))
        focus, presets = self.velmora.status()["focus"], json.loads(self.velmora.tell("presets", "--json"))
        self.assertEqual((focus["presetID"], focus["taskName"]), (presets[1]["id"], "Chapter two"))
        self.assertTrue(self.is_gone())
        self.assertTrue(eventually(takes, 1), "the keyboard is not given back to who had it")

    def usable(self, takes, since):
        """Seconds until the desktop was usable again, with the focus where it was."""
        self.assertTrue(eventually(takes, 5), "the keyboard does not come back")
        seconds = time.monotonic() - since
        self.assertLess(seconds, 1)
        self.assertTrue(self.is_gone(), "the gate outlives the program")
        return seconds

    def killed(self, *victims):
        """Kills them in this order; the moment before."""
        since = time.monotonic()
        for pid in victims:
            os.kill(pid, signal.SIGKILL)
        return since

    def test_no_death_locks_anybody_out_and_none_lets_anybody_by(self):
        takes = self.notebook()
        worst = collections.Counter()
        note = lambda what, seconds: worst.update({what: max(0, seconds - worst[what])})
        for _ in range(KILLS):
            for how in ("resident", "both", "stuck window and resident"):
                self.raise_gate()
                [window], resident = self.velmora.window_processes(), self.velmora.process.pid
                if how == "resident":
                    since = self.killed(window)
                    again = lambda: (self.velmora.window_processes() or [window])[0] != window and self.gate_has_focus()
                    self.assertTrue(eventually(again, 5, 0.02), "the gate is not back")
                    note("window, until the gate is back", time.monotonic() - since)
                elif how != "both":
                    os.kill(window, signal.SIGSTOP)
                since = self.killed(resident, *([window] if how == "both" else []))
                self.velmora.process.wait()
                note(how, self.usable(takes, since))
                self.velmora.start()
        if KILLS > 1:
            print("\nworst of %d, seconds:" % KILLS, ", ".join("%s %.2f" % row for row in worst.items()))

    def test_a_program_that_is_stuck_does_not_keep_the_keyboard(self):
        takes = self.notebook()
        self.raise_gate()
        self.velmora.process.send_signal(signal.SIGSTOP)
        self.assertTrue(self.is_gone(within=9))
        self.assertTrue(eventually(takes, 1))

    def test_a_program_whose_window_does_not_draw_gets_another(self):
        self.raise_gate()
        [window] = self.velmora.window_processes()
        os.kill(window, signal.SIGSTOP)
        self.assertTrue(eventually(lambda: self.velmora.window_processes() not in ([], [window]), 8, 0.05))

    def test_the_quit_key_does_not_lead_past_it_beside_the_main_window(self):
        self.velmora.tell("window", "show")
        self.screen.window("Velmora")
        self.raise_gate()
        self.keys("key", "ctrl+q")
        self.assertFalse(eventually(lambda: self.velmora.process.poll() is not None, 1.5))

    def test_it_follows_displays_that_come_and_go(self):
        self.keys("mousemove", "100", "100")
        self.raise_gate()
        self.keys("type", "Kept")
        whole, left, right = "1280x900+0+0", "640x900+0+0", "640x900+640+0"
        places = lambda: sorted(row.split()[-2] for row in self.screen.run("xwininfo", "-root", "-tree").splitlines()
                                if '"Velmora"' in row and "x900+" in row)
        for change, wanted in (
                (("--setmonitor", "left", "640/200x900/200+0+0", "screen"), [left]),
                (("--setmonitor", "right", "640/200x900/200+640+0", "none"), [left, right]),
                (("--delmonitor", "left"), [whole, right]),
                (("--delmonitor", "right"), [whole])):
            self.screen.run("xrandr", *change)
            self.assertTrue(eventually(lambda: places() == sorted(wanted), 3), (change, places()))
        self.keys("mousemove", "640", "605", "click", "1")
        self.assertTrue(eventually(lambda: (self.velmora.status()["focus"] or {}).get("taskName") == "Kept", 3))


class Surfaces(WithSurfaces):
    def origin(self):
        hud = self.state("surfaces")["hud"]
        return [hud["x"], hud["y"]]

    def test_a_moved_hud_is_where_it_was_left(self):
        self.velmora.tell("focus", "Writing")
        hud = self.surface("540x58")
        x, y, _, _ = self.screen.geometry(hud)
        self.keys("mousemove", str(x + 200), str(y + 20), "mousedown", "1", "mousemove", str(x + 150), str(y + 60),
                  "mousemove", str(x + 100), str(y + 320), "mouseup", "1")
        wanted = [x - 100, y + 300, 540, 58]
        self.assertTrue(eventually(lambda: self.screen.geometry(hud) == wanted, 2))
        self.assertTrue(eventually(lambda: self.origin() == wanted[:2], 2))
        wanted[:2] = 40, 700
        time.sleep(0.6)  # what managers do to a new window is not the user's doing
        self.screen.run("wmctrl", "-i", "-r", hud, "-e", "0,40,700,-1,-1")
        self.assertTrue(eventually(lambda: self.origin() == wanted[:2], 2), "moved by the window manager")
        self.velmora.kill()
        self.assertTrue(self.is_gone("540x58"))
        self.velmora.start()
        self.assertTrue(eventually(lambda: self.screen.geometry(self.surface("540x58")) == wanted, 5))

    def test_a_closed_window_ends_its_process_only(self):
        self.velmora.tell("window", "show")
        window = self.screen.window("Velmora")
        self.screen.close_window(window)
        self.assertTrue(eventually(lambda: not self.velmora.window_processes(), 5))
        self.assertFalse(self.velmora.status()["session"]["active"])

    def test_the_quit_key_is_refused_in_a_hard_session(self):
        self.tell("mode soft", "settings set isHardcore true", "start", "window show")
        self.screen.raise_(self.screen.window("Velmora"))
        self.keys("key", "ctrl+q")
        self.assertFalse(eventually(lambda: self.velmora.process.poll() is not None, 1.5))
        self.velmora.tell("status")


if __name__ == "__main__":
    unittest.main()
