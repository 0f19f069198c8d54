"""Which applications a session closes, and how: real programs with real windows."""

import json
import shutil
import signal
import subprocess
import unittest

from bench import HOLD, HOME, eventually
from browsers import Chromium, Web
from stage import Screen, Velmora


class Applications(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.screen = Screen()
        cls.addClassCleanup(cls.screen.close)

    def setUp(self):
        self.velmora = Velmora(self.screen.display).start()
        self.addCleanup(self.velmora.close)
        self.velmora.tell("mode", "soft")

    def launch(self, *words):
        """A program with a window in sight."""
        program = subprocess.Popen(words, env=self.velmora.environment(), stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(program.wait)
        self.addCleanup(program.kill)
        self.assertTrue(eventually(lambda: self.windows_of(program) or program.poll() is not None, 10), words)
        return program

    def windows_of(self, program):
        return [w[0] for w in self.screen.windows() if w[1] == program.pid]

    def assertKilled(self, *programs):
        eventually(lambda: all(p.poll() is not None for p in programs))
        self.assertEqual([p.poll() for p in programs], [-signal.SIGKILL] * len(programs))

    def assertSpared(self, *programs):
        eventually(lambda: any(p.poll() is not None for p in programs), HOLD, 0.05)
        self.assertEqual([p.poll() for p in programs], [None] * len(programs))

    def test_a_listed_application_is_closed_at_the_start_and_at_each_launch(self):
        self.velmora.tell("apps", "add", "xterm")
        terminal, editor = self.launch("xterm"), self.launch("mousepad")
        self.velmora.tell("start")
        self.assertKilled(terminal, self.launch("xterm", "-class", "Mousepad"))
        self.assertSpared(editor)
        self.velmora.tell("apps", "add", "org.xfce.mousepad")
        self.assertKilled(editor)

    def test_brak_mode_closes_all_but_the_tools_and_what_keeps_the_desktop_usable(self):
        file_manager = shutil.copy("/usr/bin/xterm", self.velmora.home.path + "/thunar")
        spared = [self.launch("mousepad"), self.launch(file_manager), self.launch("trayer")]
        terminal = self.launch("xterm")
        self.velmora.tell("presets", "add", "Writing")
        self.velmora.tell("presets", "allow-app", "Writing", "mousepad")
        self.velmora.tell("mode", "brak")
        self.velmora.tell("focus", "Writing")
        self.assertKilled(terminal, self.launch("xterm"))
        self.assertSpared(*spared)

    def test_a_browser_is_asked_to_quit_and_gets_to_save_its_tabs(self):
        web = Web()
        self.addCleanup(web.close)
        self.velmora.tell("install-browser-link")
        browser = Chromium(self.screen, web, home=self.velmora.home).start(HOME)
        self.addCleanup(browser.quit)
        self.screen.window(browser.process.pid)
        browser.open_window(HOME + "second")
        self.assertTrue(eventually(lambda: len(self.windows_of(browser.process)) == 2))
        self.velmora.tell("apps", "add", "chromium")
        self.velmora.tell("start")
        self.assertTrue(eventually(lambda: browser.process.poll() is not None))
        self.assertEqual(browser.process.returncode, 0)
        with open(browser.profile + "/Default/Preferences") as preferences:
            self.assertEqual(json.load(preferences)["profile"]["exit_type"], "Normal")
