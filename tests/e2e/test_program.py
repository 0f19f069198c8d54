"""The program itself: its command line, its sockets, its store, its end."""

import json
import os
import signal
import socket
import stat
import subprocess
import sys
import time

from bench import WithVelmora, eventually
from browsers import REPOSITORY
from stage import PROGRAMS, WALL_PORT


def merged(state, patch):
    """A JSON merge patch applied."""
    out = dict(state)
    for key, value in patch.items():
        if value is None:
            out.pop(key, None)
        else:
            out[key] = merged(out.get(key) or {}, value) if isinstance(value, dict) else value
    return out


class CommandLine(WithVelmora):
    def test_a_second_program_shows_the_window_of_the_first_unless_it_is_a_silent_one(self):
        self.velmora.start()
        wanted = lambda: json.loads(self.velmora.tell("state"))["surfaces"]["window"]["wanted"]
        self.assertEqual(self.velmora.run("--background"), (0, "", ""))
        self.assertFalse(wanted())
        self.assertEqual(self.velmora.run(), (0, "", ""))
        self.assertTrue(wanted())

    def test_without_a_running_program_it_says_how_to_start_one(self):
        for words in (["status"], ["start"], ["sites", "add", "a.example"], ["watch"]):
            answer = self.velmora.run(*words)
            self.assertEqual((answer.status, answer.output), (1, ""))
            self.assertEqual(answer.error, "velmora: Velmora is not running. Start it with: velmora\n")
        self.assertEqual(self.velmora.run("help").status, 0)

    def test_a_killed_program_leaves_nothing_that_keeps_the_next_from_starting(self):
        for _ in range(3):
            self.velmora.start().kill()
            self.assertEqual(self.velmora.run("status").status, 1)
        self.velmora.start().tell("status")

    def test_wrong_use_and_refusals_have_their_exit_codes(self):
        self.velmora.start()
        for words, status in ((["nonsense"], 2), (["switch", "sideways"], 2), (["sites", "remove", "no.example"], 1),
                              (["settings", "set", "nothing", "1"], 1), (["sites", "list"], 0)):
            answer = self.velmora.run(*words)
            self.assertEqual(answer.status, status, words)
            self.assertEqual(answer.error.count("\n"), 1 if status else 0, answer.error)

    def test_it_ends_in_order_when_asked(self):
        for how in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            self.velmora.start().tell("mode", "soft")
            self.velmora.tell("start")
            self.assertEqual(self.velmora.end(how), 0)
            self.assertEqual(self.velmora.run("status").status, 1)
            self.velmora.start()
            self.assertTrue(eventually(lambda: self.velmora.status()["session"]["running"]), "the session is lost")
            self.velmora.tell("quit")
            self.assertEqual(self.velmora.process.wait(5), 0)

class Store(WithVelmora):
    def test_it_is_for_this_user_only(self):
        self.velmora.start()
        self.assertEqual(stat.S_IMODE(os.stat(self.velmora.store_path).st_mode), 0o600)

    def test_fifty_kills_tear_nothing_and_lose_nothing(self):
        for seed in (1, 2):
            done = subprocess.run([sys.executable, os.path.join(REPOSITORY, "tools", "kill_test.py"), "25", str(seed)],
                                  capture_output=True, text=True, timeout=150)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)


class ControlSocket(WithVelmora):
    def setUp(self):
        super().setUp()
        self.velmora.start()

    def memory(self):
        with open("/proc/%d/status" % self.velmora.process.pid) as lines:
            return next(int(line.split()[1]) for line in lines if line.startswith("VmRSS"))

    def test_it_is_for_this_user_only(self):
        self.assertEqual(stat.S_IMODE(os.stat(self.velmora.control_path).st_mode), 0o600)
        self.assertEqual(stat.S_IMODE(os.stat(os.path.dirname(self.velmora.control_path)).st_mode), 0o700)

    def test_a_subscriber_that_never_reads_costs_the_others_nothing_and_misses_nothing(self):
        lazy, busy = self.control(), self.control()
        lazy.send({"id": 1, "subscribe": True})
        before, slowest = self.memory(), 0.0
        for n in range(300):
            began = time.monotonic()
            self.assertEqual(busy.ask("sites", "add", "site%d.example" % n).status, 0)
            slowest = max(slowest, time.monotonic() - began)
        self.assertLess(slowest, 1.0)
        self.assertLess(self.memory() - before, 20_000)
        self.assertEqual(lazy.line()["status"], 0)
        state = lazy.line()["state"]
        while len(state["sites"]) < 300:
            state = merged(state, lazy.line()["changes"])
        self.assertEqual(state["sites"][-1]["domain"], "site299.example")

    def test_watch_prints_each_change_until_the_program_ends(self):
        watch = subprocess.Popen([PROGRAMS + "/velmora", "watch"], env=self.velmora.environment(), text=True,
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(watch.communicate)
        self.addCleanup(watch.kill)
        state = json.loads(watch.stdout.readline())["state"]
        self.assertEqual(state["sites"], [])
        self.velmora.tell("sites", "add", "news.example")
        while not state["sites"]:
            state = merged(state, json.loads(watch.stdout.readline())["changes"])
        self.assertEqual(state["sites"][0]["domain"], "news.example")
        self.velmora.end()
        self.assertEqual(watch.wait(5), 1)


class Wall(WithVelmora):
    def setUp(self):
        super().setUp()
        self.velmora.start()
        self.assertTrue(eventually(lambda: self.velmora.status()["wall"]["state"] == "serving"))

    def connect(self):
        connection = socket.create_connection(("127.0.0.1", WALL_PORT), 5)
        self.addCleanup(connection.close)
        return connection

    def answer(self, request):
        """What comes until the wall closes; nothing when it just hangs up."""
        connection, received = self.connect(), b""
        try:
            connection.sendall(request)
            while more := connection.recv(65536):
                received += more
        except ConnectionError:
            pass
        return received

    def test_it_shows_its_page(self):
        whole = self.answer(b"GET /?r=focus&d=reddit.com HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n")
        self.assertTrue(whole.startswith(b"HTTP/1.1 200 OK\r\n"))
        head, _, body = whole.partition(b"\r\n\r\n")
        self.assertIn(b"Content-Length: %d\r\n" % len(body), head + b"\r\n")
        self.assertTrue(body.rstrip().endswith(b"</html>"))

    def test_it_is_to_be_had_on_this_machine_only(self):
        with open("/proc/net/tcp") as table, open("/proc/net/tcp6") as table6:
            listening = [row.split()[1] for row in [*table, *table6] if row.split()[3] == "0A"]
        mine = [address for address in listening if address.endswith(":%04X" % WALL_PORT)]
        self.assertEqual(mine, ["0100007F:%04X" % WALL_PORT])
