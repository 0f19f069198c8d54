"""The native messaging host, the real binary, between a pretended browser and a fake app."""

import json
import os
import shutil
import struct
import subprocess
import tempfile
import threading
import time
import unittest

from fake_app import FakeApp, eventually, frames, pack

HOST = os.environ.get("VELMORA_BROWSER_HOST", "")
SANITIZED = bool(HOST) and b"__asan_init" in open(HOST, "rb").read()


class Browser:
    """The browser's end: starts the host and speaks to it over its pipes."""

    def __init__(self, runtime, argument="chrome-extension://abcdef/", reads=True):
        self.host = subprocess.Popen([HOST, argument], env={"XDG_RUNTIME_DIR": runtime},
                                     stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.heard = []
        if reads:
            self.read()

    def read(self):
        hear = lambda: self.heard.extend(frames(self.host.stdout))
        threading.Thread(target=hear, daemon=True).start()

    def send_raw(self, data):
        self.host.stdin.write(data)
        self.host.stdin.flush()

    def told(self):
        """Whether the application was said to be there, from first to last."""
        return [json.loads(text)["connected"] for text in list(self.heard) if b'"app"' in text]

    def status(self, name):
        with open("/proc/%d/status" % self.host.pid) as lines:
            return next(int(l.split()[1]) for l in lines if l.startswith(name + ":"))


@unittest.skipUnless(HOST, "VELMORA_BROWSER_HOST names no host")
class HostTest(unittest.TestCase):
    def setUp(self):
        self.runtime = self.enterContext(tempfile.TemporaryDirectory(ignore_cleanup_errors=True))

    def app(self, **options):
        app = FakeApp(self.runtime + "/velmora/browser.sock", **options)
        self.addCleanup(app.vanish)
        return app

    def browser(self, **options):
        browser = Browser(self.runtime, **options)
        self.addCleanup(browser.host.wait)
        self.addCleanup(browser.host.kill)
        return browser

    def linked(self, **options):
        """An application, a browser, and the link that stands between them."""
        app, browser = self.app().start(), self.browser(**options)
        app.link().expect("host")
        self.assertTrue(eventually(lambda: browser.told() == [True]))
        return app, browser, app.link()

    def assertMemory(self, browser, name, most_kib):
        if not SANITIZED:  # a sanitizer's own memory says nothing of ours
            self.assertLess(browser.status(name), most_kib)

    def assertCrosses(self, browser, link):
        """The link carries a frame in each direction."""
        browser.send_raw(pack(b'{"type":"probe"}'))
        link.send_raw(pack(b'{"type":"answer"}'))
        self.assertTrue(eventually(lambda: b'{"type":"probe"}' in link.frames))
        self.assertTrue(eventually(lambda: b'{"type":"answer"}' in browser.heard))

    def test_introduces_itself_and_carries_frames_unchanged_but_none_too_large(self):
        _, browser, link = self.linked(argument='a"\\\n\x7f' + "x" * 500)
        self.assertEqual(link.messages[0], {
            "type": "host", "protocol": 1, "pid": browser.host.pid, "browserPid": os.getpid(),
            "origin": 'a"\\??' + "x" * 251})
        texts = [b'{ "t":"\\u00e9 \xc3\xa9"\n}', b"{}", b'{"n":[%s7]}' % (b"7," * 9000)]
        largest = b'{"type":"%s"}' % (b"x" * (1024 * 1024 - 11))
        stream = b"".join(map(pack, texts))
        for at in range(50):
            browser.send_raw(stream[at:at + 1])
        browser.send_raw(stream[50:] + pack(b"") + pack(b"z" * (64 * 1024 * 1024)) + pack(largest))
        self.assertTrue(eventually(lambda: link.frames[1:] == [*texts, largest]))
        link.send_raw(stream[:3])
        time.sleep(0.02)
        link.send_raw(stream[3:] + pack(b"") + pack(b"y" * 256 * 1024))
        self.assertTrue(eventually(lambda: browser.heard[1:] == [*texts, b"y" * 256 * 1024]))
        self.assertCrosses(browser, link)
        self.assertMemory(browser, "VmHWM", 9 * 1024)

    def test_drops_an_application_that_sends_too_much_and_calls_again(self):
        app, browser, link = self.linked()
        link.send_raw(struct.pack("=I", 256 * 1024 + 1))
        self.assertCrosses(browser, app.link(1))
        self.assertEqual(browser.told(), [True, False, True])

    def test_does_not_hurry_to_call_an_application_that_hangs_up(self):
        app = self.app().start()
        self.browser()
        eventually(lambda: [link.close() for link in list(app.links)] and None, timeout=2)
        self.assertLess(len(app.links), 10)

    def test_finds_a_killed_application_again_and_never_tells_it_what_was_for_its_predecessor(self):
        app, browser, _ = self.linked()
        frame = pack(b'{"type":"split"}')
        app.vanish()
        self.assertTrue(eventually(lambda: browser.told() == [True, False]))
        browser.send_raw(pack(b'{"type":"lost"}') + frame[:9])
        shutil.rmtree(self.runtime)
        time.sleep(3)
        link = self.app().start().link(timeout=1)
        browser.send_raw(frame[9:])
        self.assertCrosses(browser, link)
        self.assertEqual([m["type"] for m in link.messages], ["host", "split", "probe"])

    @unittest.skipIf(os.geteuid(), "only root can pose as somebody else")
    def test_does_not_speak_to_another_user(self):
        os.chmod(self.runtime, 0o777)
        app = self.app()
        os.seteuid(65534)
        self.addCleanup(os.seteuid, 0)
        app.start()
        os.seteuid(0)
        browser = self.browser()
        self.assertTrue(eventually(lambda: app.link().ended))
        self.assertEqual((app.link().frames, browser.heard), ([], []))

    def test_an_application_that_stalls_costs_bounded_memory_and_is_called_again(self):
        app, browser = self.app(reads=False).start(), self.browser()
        app.link()
        for _ in range(40):
            browser.send_raw(pack(b"b" * 200 * 1000))
        self.assertTrue(eventually(lambda: False in browser.told()))
        self.assertMemory(browser, "VmHWM", 16 * 1024)
        app.reads = True
        link = eventually(lambda: next((l for l in app.links if l.frames), None), 15)
        self.assertCrosses(browser, link)
        self.assertMemory(browser, "VmRSS", 5 * 1024)

    def test_a_browser_that_stalls_costs_bounded_memory_and_loses_nothing(self):
        app, browser, bulk = self.app().start(), self.browser(reads=False), b"b" * 200 * 1000
        sender = threading.Thread(target=lambda: app.link().send_raw(pack(bulk) * 40))
        sender.start()
        time.sleep(0.5)
        self.assertMemory(browser, "VmHWM", 8 * 1024)
        browser.send_raw(pack({"type": "still here"}))
        app.link().expect("still here")
        browser.read()
        sender.join(5)
        self.assertTrue(eventually(lambda: browser.heard.count(bulk) == 40))

    def test_ends_when_the_browser_closes_either_pipe(self):
        for pipe in ("stdin", "stdout"):
            browser = self.browser(reads=False)
            time.sleep(0.1)
            getattr(browser.host, pipe).close()
            self.assertEqual(browser.host.wait(2), 0, pipe)

    def test_sleeps_soundly_with_and_without_an_application(self):
        app, browser, _ = self.linked()
        for settling in (0.2, 4):
            time.sleep(settling)
            before = browser.status("voluntary_ctxt_switches")
            time.sleep(3)
            self.assertEqual(browser.status("voluntary_ctxt_switches"), before)
            app.vanish()


if __name__ == "__main__":
    unittest.main(warnings="ignore")
