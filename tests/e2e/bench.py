"""The vocabulary of the end-to-end tests: a Velmora, a display and a browser of their own."""

import json
import os
import shutil
import time
import unittest

from browsers import REPOSITORY, Web, eventually
from stage import Screen, Velmora, wall_reason
from window import Window

HOLD = 1.9  # seconds for which what stays is watched: longer than from one look to the next
MOMENT = 0.4  # seconds until browsers surely know what is in sight
HOME = "http://home.test/"
KILLS = int(os.environ.get("VELMORA_KILLS", "1"))  # of the program, in tests that kill it
LOGS = os.path.join(REPOSITORY, "build", "e2e")


def url(site):
    return "http://%s/" % site


class WithVelmora(unittest.TestCase):
    """One program for each test, without browser and display."""

    def setUp(self):
        self.velmora = Velmora()
        self.addCleanup(self.velmora.close)

    def control(self):
        control = self.velmora.connect()
        self.addCleanup(control.close)
        return control


class WithScreen(unittest.TestCase):
    """One program and one display for each test."""

    def setUp(self):
        self.screen = Screen()
        self.addCleanup(self.screen.close)
        self.velmora = Velmora(self.screen.display)
        self.addCleanup(self.velmora.close)
        self.velmora.start()

    def tell(self, *lines):
        for line in lines:
            self.velmora.tell(*line.split())

    def state(self, member):
        return json.loads(self.velmora.tell("state"))[member]


class WithWindow(WithScreen):
    """With a window that prints its texts, in place of the program's own."""

    def setUp(self):
        super().setUp()
        self.tell("welcome done", "window show")
        self.screen.minimise(self.screen.window("Velmora"))
        self.window = Window(self.screen, arguments=("--socket", self.velmora.control_path))
        self.addCleanup(self.window.close)
        self.addCleanup(lambda: self.assertEqual(self.window.complaints(), []))

    def assertShows(self, *texts):
        visible = self.window.visible
        self.assertTrue(self.window.shows(*texts), (set(texts) - set(visible()), visible()))


class WithBrowser:
    """One browser and one program for all tests of a class. Each test begins at home, in a running
    soft session with listed.test on the list."""

    BESIDE = (20, 60, 560, 700)
    PLACE = (610, 60, 640, 720)

    @classmethod
    def setUpClass(cls):
        os.makedirs(LOGS, exist_ok=True)
        cls.screen = Screen()
        cls.addClassCleanup(cls.screen.close)
        cls.velmora = Velmora(cls.screen.display, VELMORA_DEBUG="1").start()
        cls.addClassCleanup(cls.velmora.close)
        cls.addClassCleanup(lambda: shutil.move(cls.velmora.log, os.path.join(LOGS, cls.__name__ + ".log")))
        cls.web = Web()
        cls.addClassCleanup(cls.web.close)
        cls.velmora.tell("install-browser-link")
        cls.velmora.tell("sites", "add", "listed.test")
        cls.browser = cls.open_browser(cls.Browser)
        cls.tab = cls.browser.first_tab()
        cls.window = cls.screen.window(cls.browser.process.pid)
        cls.screen.place(cls.window, *cls.PLACE)

    @classmethod
    def open_browser(cls, kind):
        linked = len(cls.velmora.status()["browsers"])
        browser = kind(cls.screen, cls.web, home=cls.velmora.home)
        cls.addClassCleanup(browser.quit)
        browser.start(HOME)
        assert cls.velmora.linked(linked + 1, 40), "no link to the browser"
        return browser

    def setUp(self):
        self.velmora.note("(%s)" % self.id())
        self.velmora.tell("reset")
        self.velmora.tell("mode", "soft")
        self.screen.raise_(self.window)
        self.browser.show(self.tab)
        self.visit("home.test")
        self.assertTrue(eventually(lambda: self.address() == HOME))
        self.velmora.tell("start")

    def open_tab(self, site, shown=True):
        tab = self.browser.open_tab(url(site), shown)
        self.addCleanup(self.browser.close, tab)
        return tab

    def open_window(self, site):
        before = {w[0] for w in self.screen.windows()}
        tab = self.browser.open_window(url(site))
        self.addCleanup(self.browser.close, tab)
        window = eventually(lambda: next((w[0] for w in self.screen.windows() if w[0] not in before), None))
        return tab, window

    def visit(self, site, tab=None):
        self.browser.go(tab or self.tab, url(site))

    def address(self, tab=None):
        return self.browser.address(tab or self.tab)

    def visit_lifted(self, site, within=1):
        """What a program lifts its browsers lift a moment later."""
        arrived = lambda: eventually(lambda: self.address() == url(site), 0.2)
        self.assertTrue(eventually(lambda: self.visit(site) or arrived(), within), self.address())

    def assertWall(self, tab=None, timeout=5, **query):
        expected = {"r": "focus", **query}
        addresses = []  # the last one is what we judge: a page may be loaded once more

        def arrived():
            addresses[:] = [self.address(tab)]
            return wall_reason(addresses[0]) == expected

        self.assertTrue(eventually(arrived, timeout), "%s is not the wall with %s" % (addresses, expected))

    def assertStays(self, site, tab=None):
        """It comes there, and is there still after the time of a look."""
        self.assertTrue(eventually(lambda: self.address(tab) == url(site)), self.address(tab))
        eventually(lambda: self.address(tab) != url(site), HOLD, 0.05)
        self.assertEqual(self.address(tab), url(site))

    def remaining(self):
        return self.velmora.status()["session"]["remaining"]


def wall_clock(since, full=1500):
    """What a clock started at `since` with `full` seconds must show."""
    return full - (time.time() - since)
