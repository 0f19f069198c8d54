"""The native messaging host, the real binary, between a pretended browser and a fake application."""

import json
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from fake_app import FakeApp, eventually, pack, read_frame

HOST = os.environ.get("VELMORA_BROWSER_HOST", "")
ORIGIN = "chrome-extension://abcdefghijklmnopabcdefghijklmnop/"
SANITIZED = bool(HOST) and b"__asan_init" in open(HOST, "rb").read()
CONNECTED = {"type": "app", "connected": True}
DISCONNECTED = {"type": "app", "connected": False}


class Browser:
    """The browser's end: starts the host and speaks to it over its pipes."""

    def __init__(self, runtime, arguments=(ORIGIN,), reads=True, **options):
        environment = {k: v for k, v in os.environ.items() if k != "XDG_RUNTIME_DIR"}
        if runtime:
            environment["XDG_RUNTIME_DIR"] = runtime
        self.host = subprocess.Popen([HOST, *arguments], env=environment, bufsize=0,
                                     stdin=subprocess.PIPE, stdout=subprocess.PIPE, **options)
        self.heard = []
        if reads:
            self.read()

    def read(self):
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        try:
            while (text := read_frame(self.host.stdout.read)) is not None:
                self.heard.append(text)
        except (OSError, ValueError):
            pass

    def send_raw(self, data):
        view = memoryview(data)
        while view:
            view = view[self.host.stdin.write(view):]

    def send(self, message):
        self.send_raw(pack(message))

    def told(self):
        """What the extension was told about the application, in order."""
        return [m for m in map(json.loads, list(self.heard)) if m["type"] == "app"]

    def status(self, name):
        with open("/proc/%d/status" % self.host.pid) as lines:
            return next(int(l.split()[1]) for l in lines if l.startswith(name + ":"))

    def close(self):
        for pipe in (self.host.stdin, self.host.stdout):
            pipe.close()
        if self.host.poll() is None:
            self.host.kill()
        self.host.wait()


@unittest.skipUnless(HOST, "VELMORA_BROWSER_HOST names no host")
class HostTest(unittest.TestCase):
    def setUp(self):
        self.runtime = tempfile.mkdtemp(prefix="velmora-link-")
        self.addCleanup(shutil.rmtree, self.runtime, ignore_errors=True)
        self.path = self.runtime + "/velmora/browser.sock"

    def app(self, **options):
        app = FakeApp(self.path, **options)
        self.addCleanup(app.vanish)
        return app

    def browser(self, runtime=None, **options):
        browser = Browser(runtime or self.runtime, **options)
        self.addCleanup(browser.close)
        return browser

    def linked(self, **options):
        """An application, a browser, and the link that stands between them."""
        app = self.app().start()
        browser = self.browser(**options)
        link = app.link()
        link.expect("host")
        self.assertTrue(eventually(lambda: browser.told() == [CONNECTED]))
        return app, browser, link

    def assertMemory(self, browser, name, most_kib):
        if not SANITIZED:  # a sanitizer's own memory says nothing of ours
            self.assertLess(browser.status(name), most_kib)

    def assertCrosses(self, browser, link, text=b'{"type":"probe"}'):
        """The link carries a frame in each direction."""
        browser.send_raw(pack(text))
        self.assertTrue(eventually(lambda: text in link.frames))
        link.send_raw(pack(b'{"type":"answer"}'))
        self.assertTrue(eventually(lambda: b'{"type":"answer"}' in browser.heard))


class Greeting(HostTest):
    def test_comes_first_and_names_the_processes_and_the_caller(self):
        for arguments, origin in (((ORIGIN,), ORIGIN), (("/some/host.json", "link@velmora.invalid"), "link@velmora.invalid"),
                                  (('a"\\\n\x7f\xff' + "x" * 500,), 'a"\\????' + "x" * 249)):
            with self.subTest(origin=origin):
                app, browser, link = self.linked(arguments=arguments)
                self.assertEqual(link.messages[0], {"type": "host", "protocol": 1, "pid": browser.host.pid,
                                                    "browserPid": os.getpid(), "origin": origin})
                browser.close()
                app.stop()


class Relaying(HostTest):
    def test_carries_frames_unchanged_however_they_are_cut(self):
        _, browser, link = self.linked()
        texts = [b'{ "type" : "x",\n"t":"\\u00e9 \xc3\xa9" }', b"{}", b'{"type":"y","n":[%s]}' % (b"7," * 40000 + b"7")]
        stream = b"".join(map(pack, texts))
        for byte in stream[:50]:
            browser.send_raw(bytes([byte]))
            time.sleep(0.001)
        browser.send_raw(stream[50:])
        self.assertTrue(eventually(lambda: link.frames[1:] == texts))
        link.send_raw(stream[:3])
        time.sleep(0.02)
        link.send_raw(stream[3:])
        self.assertTrue(eventually(lambda: browser.heard[1:] == texts))

    def test_takes_the_largest_frames_and_passes_over_larger_and_empty_ones(self):
        _, browser, link = self.linked()
        largest = b'{"type":"%s"}' % (b"x" * (1024 * 1024 - 11))
        browser.send_raw(pack(largest) + pack(b"") + pack(largest + b" ") + pack(b"{}"))
        self.assertTrue(eventually(lambda: link.frames[1:] == [largest, b"{}"]))
        browser.send_raw(struct.pack("=I", 64 * 1024 * 1024) + b"z" * (64 * 1024 * 1024))
        link.send_raw(pack(b"") + pack(b"y" * 256 * 1024))
        self.assertTrue(eventually(lambda: b"y" * 256 * 1024 in browser.heard))
        self.assertCrosses(browser, link)
        self.assertMemory(browser, "VmHWM", 9 * 1024)


class Application(HostTest):
    def test_that_sends_too_much_is_dropped_and_called_again(self):
        app, browser, link = self.linked()
        link.send_raw(struct.pack("=I", 256 * 1024 + 1))
        self.assertCrosses(browser, app.link(1))
        self.assertEqual(browser.told(), [CONNECTED, DISCONNECTED, CONNECTED])

    def test_that_hangs_up_on_every_call_is_not_called_in_a_hurry(self):
        app = self.app().start()
        self.browser()
        end = time.monotonic() + 2
        while time.monotonic() < end:
            for link in list(app.links):
                link.close()
            time.sleep(0.01)
        self.assertLess(len(app.links), 10)

    def test_is_found_when_folders_and_socket_appear_later(self):
        shutil.rmtree(self.runtime)
        browser = self.browser()
        time.sleep(0.1)
        started = self.app().start()
        self.assertCrosses(browser, started.link(timeout=1))

    def test_that_was_killed_is_found_at_its_next_start(self):
        app, browser, _ = self.linked()
        app.vanish()
        self.assertTrue(eventually(lambda: browser.told() == [CONNECTED, DISCONNECTED]))
        browser.send({"type": "lost"})
        time.sleep(3)
        link = self.app().start().link(timeout=1)
        self.assertCrosses(browser, link)
        self.assertEqual([m["type"] for m in link.messages], ["host", "probe"])

    def test_never_hears_the_rest_of_a_frame_begun_for_its_predecessor(self):
        app, browser, _ = self.linked()
        frame = pack(b'{"type":"split"}')
        browser.send_raw(frame[:9])
        app.vanish()
        self.assertTrue(eventually(lambda: DISCONNECTED in browser.told()))
        link = self.app().start().link()
        browser.send_raw(frame[9:])
        self.assertCrosses(browser, link)
        self.assertEqual([m["type"] for m in link.messages], ["host", "split", "probe"])

    def app_of(self, uid, folder):
        os.makedirs(folder, exist_ok=True)
        os.chmod(folder, 0o777)
        self.addCleanup(shutil.rmtree, folder, ignore_errors=True)
        app = FakeApp(folder + "/velmora/browser.sock")
        self.addCleanup(app.vanish)
        os.seteuid(uid)
        try:
            return app.start()
        finally:
            os.seteuid(0)

    @unittest.skipIf(os.geteuid(), "only root can pose as somebody else")
    def test_of_another_user_is_not_spoken_to(self):
        app = self.app_of(65534, self.runtime)
        browser = self.browser()
        link = app.link()
        self.assertTrue(eventually(lambda: link.ended))
        self.assertEqual((link.frames, browser.heard), ([], []))

    @unittest.skipIf(os.geteuid(), "only root can run the host as a user without a session")
    def test_is_found_without_a_runtime_folder(self):
        app = self.app_of(64321, "/tmp/velmora-64321")
        browser = Browser(None, user=64321)
        self.addCleanup(browser.close)
        self.assertCrosses(browser, app.link())


class Stalling(HostTest):
    FRAME = b'{"type":"bulk","fill":"%s"}' % (b"b" * 200 * 1000)

    def test_application_costs_bounded_memory_and_is_called_again(self):
        app = self.app(reads=False).start()
        browser = self.browser()
        app.link()
        self.assertTrue(eventually(lambda: browser.told() == [CONNECTED]))
        for _ in range(40):
            browser.send_raw(pack(self.FRAME))
        self.assertTrue(eventually(lambda: DISCONNECTED in browser.told()))
        self.assertMemory(browser, "VmHWM", 16 * 1024)
        app.reads = True
        self.assertCrosses(browser, eventually(lambda: next((l for l in app.links if l.frames), None), 15))
        self.assertMemory(browser, "VmRSS", 5 * 1024)

    def test_browser_costs_bounded_memory_and_loses_nothing(self):
        app = self.app().start()
        browser = self.browser(reads=False)
        link = app.link()
        sender = threading.Thread(target=lambda: [link.send_raw(pack(self.FRAME)) for _ in range(40)])
        sender.start()
        time.sleep(0.5)
        self.assertMemory(browser, "VmHWM", 8 * 1024)
        browser.send({"type": "still here"})
        link.expect("still here")
        browser.read()
        sender.join(5)
        self.assertTrue(eventually(lambda: browser.heard.count(self.FRAME) == 40))


class Life(HostTest):
    def test_ends_when_the_browser_closes_either_pipe(self):
        for pipe in ("stdin", "stdout"):
            with self.subTest(pipe):
                browser = self.browser(reads=False)
                time.sleep(0.1)
                getattr(browser.host, pipe).close()
                self.assertEqual(browser.host.wait(2), 0)

    def test_sleeps_soundly(self):
        def assertIdle():
            before = browser.status("voluntary_ctxt_switches")
            time.sleep(3)
            self.assertEqual(browser.status("voluntary_ctxt_switches"), before)

        app, browser, _ = self.linked()
        time.sleep(0.2)
        assertIdle()
        app.vanish()
        time.sleep(4)
        assertIdle()
        self.assertMemory(browser, "VmRSS", 5 * 1024)


if __name__ == "__main__":
    unittest.main()
