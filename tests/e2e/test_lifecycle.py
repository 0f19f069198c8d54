"""What holds the program: its guardian, its refusals, its window process; and what lets it end."""

import json
import os
import signal

from bench import WithScreen, eventually

CADENCE = 16  # seconds: the guardian's, and the start of the program


class Guardian(WithScreen):
    def setUp(self):
        super().setUp()
        self.tell("mode soft", "sites add forum.test", "settings set isHardcore true", "start")
        self.assertTrue(eventually(self.is_guarded))

    def is_guarded(self):
        return os.path.exists(self.velmora.home.path + "/.config/autostart/com.velmora.guardian.desktop")

    def is_blocking(self):
        try:
            control = self.velmora.connect()
            state = json.loads(control.ask("status", "--json").output)
            control.close()
            return state["session"]["running"] and state["enforcement"]["rule"] == "blocklist"
        except (OSError, AttributeError):
            return False

    def test_a_hard_session_comes_back_after_a_kill_and_after_the_end_of_the_desktop(self):
        self.assertEqual(self.velmora.run("quit").status, 1)
        self.velmora.kill()
        self.assertTrue(eventually(self.is_blocking, CADENCE, 0.05))
        resident = self.velmora.processes("--background")
        self.assertEqual(len(resident), 1)
        self.assertFalse(self.velmora.window_processes(), "nothing that takes the focus")

        os.kill(resident[0], signal.SIGTERM)
        self.assertTrue(eventually(lambda: not self.velmora.answers(), 3, 0.02))
        self.assertTrue(self.velmora.stored()["vm_timer_isRunning"][1], "the session is kept")
        self.assertTrue(eventually(self.is_blocking, CADENCE, 0.05))
        self.assertLessEqual(len(self.velmora.processes("--watch")), 2, "one watches, another may wait for its place")

    def test_it_is_gone_with_the_session_and_one_left_behind_with_the_next_start(self):
        self.velmora.tell("pass")
        self.assertTrue(eventually(lambda: not self.is_guarded()))
        self.velmora.tell("quit")
        self.assertEqual(self.velmora.process.wait(5), 0)
        left = self.velmora.home.path + "/.config/autostart/com.velmora.guardian.desktop"
        with open(left, "w"):
            pass
        self.velmora.start()
        self.assertTrue(eventually(lambda: not self.is_guarded()))
        self.assertTrue(eventually(lambda: not self.velmora.processes("--watch"), CADENCE, 0.1))


class WindowProcess(WithScreen):
    def titles(self):
        return [w[2] for w in self.screen.windows()]

    def test_it_goes_with_the_program_and_the_program_with_the_desktop(self):
        self.velmora.tell("window", "show")
        self.assertTrue(eventually(lambda: "Velmora" in self.titles(), 10, 0.02))
        self.velmora.kill()
        self.assertTrue(eventually(lambda: not self.velmora.window_processes(), 2))
        self.velmora.start()
        self.screen.close()
        self.assertEqual(self.velmora.process.wait(20), 0)
