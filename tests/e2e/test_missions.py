"""A program that does not run, and a mission that comes: by both of the ways in which it is started."""

import json
import os
import shlex
import signal
import sqlite3
import subprocess
import time
import unittest
import uuid

from bench import Screen, eventually
from stage import Velmora, leave_zone

CADENCE = 17  # seconds: from look to look, the accuracy of the manager's timers, and a start
MOMENT = 4  # seconds: a start alone, on a busy machine

MANAGER = """
mount --make-rprivate / && mount -t tmpfs tmpfs /run && mkdir -p /run/systemd/system || exit 1
umount -R /sys/fs/cgroup 2>/dev/null; mount -t cgroup2 none /sys/fs/cgroup || exit 1
mkdir -p /sys/fs/cgroup/$1/init && echo $$ > /sys/fs/cgroup/$1/init/cgroup.procs || exit 1
exec /lib/systemd/systemd --user --unit=basic.target
"""
NO_MANAGER = """
mount --make-rprivate / && umount -R /sys/fs/cgroup 2>/dev/null; mount -t cgroup2 none /sys/fs/cgroup || exit 1
find /sys/fs/cgroup/$1 -depth -type d -exec rmdir {} +
"""


def minute_of_day():
    now = time.localtime()
    return now.tm_hour * 60 + now.tm_min + now.tm_sec / 60


class Place:
    """A user with the program, with a systemd user manager or without one."""

    def __init__(self, display, has_manager):
        self.velmora = Velmora(display)
        self.has_manager = has_manager
        self.manager = None
        self.group = "velmora-test-%d" % os.getpid()

    def open(self):
        """False where the system has no manager for us."""
        if self.has_manager:
            with open(self.velmora.home.path + "/manager.log", "w") as log:
                self.manager = subprocess.Popen(["unshare", "-m", "sh", "-c", MANAGER, "sh", self.group],
                                                env=self.velmora.environment(), stdin=subprocess.DEVNULL, stdout=log, stderr=log)
            if not eventually(lambda: self.manager.poll() is not None or self.manages(), 10, 0.1) or not self.manages():
                return False
        return True

    def manages(self):
        return os.path.exists(self.velmora.home.runtime + "/systemd/private")

    def systemctl(self, *words):
        return subprocess.run(["systemctl", "--user", *words], env=self.velmora.environment(), capture_output=True, text=True)

    def plan(self, spans, hard=False):
        """The schedule as the store holds it, written while nobody runs."""
        self.velmora.start()
        self.velmora.end()
        entries = [{"id": str(uuid.uuid4()).upper(), "label": "Mission", "recurrence": "daily", "startMinutes": start,
                    "endMinutes": end, "protectionMode": "soft", "softBlockedApps": [], "softBlockedSites": []}
                   for start, end in spans]
        with sqlite3.connect(self.velmora.store_path) as store:
            store.executemany("INSERT OR REPLACE INTO preferences VALUES (?, ?, ?)", [
                ("vm_schedule_entries", "bytes", json.dumps(entries).encode()),
                ("vm_schedule_enabled", "bool", 1),
                ("vm_schedule_planner_mode", "text", "calendar"),
                ("vm_schedule_hardRoutine_v3", "bool", int(hard))])
        store.close()

    def is_installed(self):
        config = self.velmora.home.path + "/.config"
        if self.has_manager:
            return self.systemctl("is-active", "com.velmora.schedule.timer").stdout.strip() == "active"
        return os.path.exists(config + "/autostart/com.velmora.schedule-watch.desktop") and bool(self.velmora.processes("--schedule-watch"))

    def is_running(self):
        """A mission runs, in a program that answers."""
        try:
            control = self.velmora.connect()
            session = json.loads(control.ask("status", "--json").output)["session"]
            control.close()
            return session["running"]
        except (OSError, AttributeError):
            return False

    def forget_the_guardian(self):
        """It brings back every locked session; here the watchdog is to do it alone."""
        if self.has_manager:
            self.systemctl("stop", "com.velmora.guardian.timer")
        else:
            os.unlink(self.velmora.home.path + "/.config/autostart/com.velmora.guardian.desktop")

    def log_in(self):
        """What the desktop would start for the schedule."""
        name = "com.velmora.schedule" + ("" if self.has_manager else "-watch") + ".desktop"
        with open(self.velmora.home.path + "/.config/autostart/" + name) as entry:
            command = next(line[5:] for line in entry if line.startswith("Exec="))
        subprocess.run(shlex.split(command.replace("%%", "%")), env=self.velmora.environment(), check=True)

    def residents(self):
        return self.velmora.processes("--scheduled-launch")

    def kill_all(self, *modes):
        for mode in modes:
            for pid in self.velmora.processes(mode):
                os.kill(pid, signal.SIGKILL)

    def close(self):
        self.kill_all("--watch", "--schedule-watch")
        if self.manager:
            self.manager.terminate()
            self.manager.wait()
        self.kill_all("--scheduled-launch", "--background")
        if self.manager:
            subprocess.run(["unshare", "-m", "sh", "-c", NO_MANAGER, "sh", self.group], stderr=subprocess.DEVNULL)
        self.velmora.close()


class Watchdog(unittest.TestCase):
    """Both ways at once, each step of each in turn."""

    def setUp(self):
        self.screen = Screen()
        self.addCleanup(self.screen.close)
        self.places = []
        leave_zone(12)  # far from midnight
        for has_manager in (False, True):
            place = Place(self.screen.display, has_manager)
            self.addCleanup(place.close)
            if place.open():
                self.places.append(place)
            else:
                print("(a systemd user manager is not to be had)", end=" ", flush=True)

    def assertSoon(self, holds, within):
        """In every place."""
        for place in self.places:
            deadline = time.monotonic() + within
            self.assertTrue(eventually(lambda: holds(place), within, 0.05), "manager: %s" % place.has_manager)
            within = max(1, deadline - time.monotonic())

    def begin(self, spans, hard):
        for place in self.places:
            place.plan(spans, hard)
            place.velmora.start()
        self.assertSoon(Place.is_running, MOMENT)
        self.assertSoon(Place.is_installed, MOMENT)

    def test_a_soft_mission_that_was_quit_leaves_the_program_away_until_the_next_begins(self):
        coming = int(minute_of_day() + 1.3)  # with time for the steps before it
        self.begin([(coming - 5, coming), (coming, coming + 30)], hard=False)
        for place in self.places:
            place.velmora.tell("quit")
            self.assertEqual(place.velmora.process.wait(5), 0)
        while minute_of_day() < coming - 0.03:
            for place in self.places:
                self.assertFalse(place.residents())
            time.sleep(0.2)
        self.assertSoon(Place.is_running, MOMENT)
        self.assertLess(minute_of_day(), coming + 2 * MOMENT / 60)
        for place in self.places:
            surfaces = json.loads(place.velmora.tell("state"))["surfaces"]
            self.assertFalse(surfaces["window"]["wanted"], "it is a start without a window, but for the notice")
            self.assertTrue(eventually(lambda: len(place.residents()) == 1), "what started it has gone")
        if self.places[-1].has_manager:
            with open("/proc/%d/cgroup" % self.places[-1].residents()[0]) as group:
                self.assertIn("/app.slice/app-com.velmora.app@", group.read(), "a unit of its own")

    def test_a_login_starts_the_program_in_a_mission_in_which_nobody_has_quit_it(self):
        now = int(minute_of_day())
        self.begin([(now - 5, now + 30)], hard=False)
        for place in self.places:
            place.velmora.kill()
            place.kill_all("--schedule-watch")
            place.log_in()
        self.assertSoon(Place.is_running, MOMENT)
        for place in self.places:
            place.velmora.tell("quit")
            place.kill_all("--schedule-watch")
            self.assertTrue(eventually(lambda: not place.residents()))
            place.log_in()
        self.assertFalse(eventually(lambda: any(place.residents() for place in self.places), MOMENT, 0.2))

    def test_a_hard_mission_comes_back_after_a_kill_and_not_after_the_pass(self):
        now = int(minute_of_day())
        self.begin([(now, now + 30)], hard=True)
        for place in self.places:
            self.assertEqual(place.velmora.run("quit").status, 1)
            place.velmora.kill()
            place.forget_the_guardian()
        self.assertSoon(Place.is_running, CADENCE)
        for place in self.places:
            place.velmora.tell("pass")
            place.kill_all("--scheduled-launch")
        end = time.monotonic() + CADENCE
        while time.monotonic() < end:
            for place in self.places:
                self.assertFalse(place.residents(), "manager: %s" % place.has_manager)
            time.sleep(0.2)


class Check(unittest.TestCase):
    """What is asked before a program is started, with a table and a store of our own making."""

    ALL_DAY = '{"entries":[{"recurrence":"daily","startMinutes":0,"endMinutes":1440}],"isGuard":false}'

    def setUp(self):
        self.screen = Screen()
        self.addCleanup(self.screen.close)
        self.place = Place(self.screen.display, False)
        self.addCleanup(self.place.close)
        self.velmora = self.place.velmora
        self.velmora.start()  # makes the store
        self.velmora.end()

    def put(self, table):
        with open(os.path.dirname(self.velmora.store_path) + "/schedule-watch.json", "w") as file:
            file.write(table)

    def starts(self, table=ALL_DAY):
        """Whether the check starts the program, which is then gone again."""
        self.put(table)
        self.assertEqual(self.velmora.run("--schedule-check").status, 0)
        started = bool(eventually(self.place.residents, 1, 0.02))
        self.place.kill_all("--scheduled-launch")
        self.assertTrue(eventually(lambda: not self.place.residents()))
        return started

    def test_a_pass_is_read_from_the_log_of_a_store_that_somebody_writes(self):
        self.assertTrue(self.starts())
        store = sqlite3.connect(self.velmora.store_path, isolation_level=None)
        self.addCleanup(store.close)
        until = int(time.time()) + 600
        for value, expected in ((until, False), (until + 0.5, True), (until - 1200, True), (until, False)):
            store.execute("INSERT OR REPLACE INTO preferences VALUES ('vm_schedule_passUntil', 'double', ?)", (float(value),))
            self.assertEqual(self.starts(), expected, value)
        store.execute("BEGIN IMMEDIATE")
        self.assertFalse(self.starts())

    def test_damage_and_what_is_missing(self):
        self.assertFalse(self.starts('{"entries":[],"isGuard":true}'))
        self.assertFalse(self.starts(self.ALL_DAY[:-9]), "a table that is cut off")
        display, self.velmora.display = self.velmora.display, None
        self.assertFalse(self.starts(), "nobody would see it")
        self.velmora.display = display
        with open(self.velmora.store_path, "r+b") as store:
            store.write(b"?" * 5000)
        self.assertTrue(self.starts(), "a damaged store holds no pass")

    def test_the_program_that_runs_stays_alone_and_unseen(self):
        self.velmora.start()
        time.sleep(MOMENT / 4)  # for its own table, of no missions
        self.put(self.ALL_DAY)
        self.velmora.run("--schedule-check")
        self.assertEqual(self.velmora.run("--scheduled-launch")[:2], (0, ""))
        self.assertEqual(self.place.residents(), [self.velmora.process.pid])
        self.assertFalse(self.velmora.window_processes())
