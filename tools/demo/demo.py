#!/usr/bin/env python3
"""Shows on a private display what Velmora blocks, closes and leaves alone, with a real Chromium.

Everything is private: display, home, network. Prints one row for each promise as it is put to the
proof, writes them to build/demo/table.txt with screenshots beside, and exits 0 if all held.
"""

import base64
import hashlib
import os
import re
import shlex
import shutil
import signal
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tools", "stage"))
from browsers import Chromium, Web, eventually
from stage import Screen, Velmora, leave_network, leave_zone, wall_reason

OUT = os.path.join(ROOT, "build", "demo")
HOLD = 1.9  # seconds for which what stays is watched: longer than from one look to the next
MOMENT = 0.5  # seconds until the browser surely knows what is out of sight, or lifted
FULL = 25 * 60
AHEAD = 25  # seconds that a mission has at least before the next one begins
BROWSER, COVER = (30, 20, 1100, 760), (20, 90, 1000, 700)

SITES = {
    "reddit.com": ("reddit", "#ff4500"), "old.reddit.com": ("old reddit", "#5f99cf"),
    "www.youtube.com": ("YouTube", "#ff0033"), "github.com": ("GitHub", "#1f2328"),
    "en.wikipedia.org": ("Wikipedia", "#36c"), "news.ycombinator.com": ("Hacker News", "#ff6600"),
    "docs.python.org": ("Python documentation", "#306998"),
}
PAGE = """<!doctype html><meta charset=utf-8><title>%(name)s</title><style>
body{margin:0;font:17px/1.6 system-ui,"DejaVu Sans",sans-serif;color:#222;background:#f6f6f4}
header{background:%(colour)s;color:#fff;padding:38px 60px;font-size:44px;font-weight:700}
main{max-width:720px;margin:34px 60px}p{background:#fff;padding:18px 22px;border-radius:10px;
box-shadow:0 1px 3px #0002}i{display:block;height:11px;border-radius:5px;background:#ddd;margin:12px 0}
</style><header>%(name)s</header><main><p>This page stands for <b>%(host)s</b>. It is served by the
demo on this machine; nothing left it.</p><p><i></i><i style="width:86%%"></i><i style="width:93%%"></i>
<i style="width:41%%"></i></p><p><i style="width:78%%"></i><i></i><i style="width:60%%"></i></p></main>"""


class Pages(Web):
    def page(self, host, path):
        name, colour = SITES.get(host, (host, "#888"))
        return PAGE % {"name": name, "colour": colour, "host": host}


class Table:
    WIDTHS = (50, 30, 34, 6, 5)

    def __init__(self):
        self.failures = 0
        self.file = open(os.path.join(OUT, "table.txt"), "w")
        self.line("what", "expected", "seen", "", "ms")
        self.line(*("-" * w for w in self.WIDTHS))

    def line(self, *cells):
        texts = ["%-*s" % pair for pair in zip(self.WIDTHS[:4], cells)] + ["%*s" % (self.WIDTHS[4], cells[4])]
        for out in (sys.stdout, self.file):
            print("  ".join(texts).rstrip(), file=out, flush=True)

    def row(self, what, expected, seen, ok, ms=None):
        self.failures += not ok
        self.line(what, expected, seen, "ok" if ok else "FAILED", "" if ms is None else "%d" % ms)


def certificate(folder):
    """For the names of which browsers know that they are never without encryption: the file, and the
    flag with which Chromium trusts it."""
    key, both = folder + "/key.pem", folder + "/server.pem"
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                    "-subj", "/CN=demo", "-keyout", key, "-out", both], check=True, capture_output=True)
    public = subprocess.run(["openssl", "pkey", "-in", key, "-pubout", "-outform", "der"], check=True,
                            capture_output=True).stdout
    with open(both, "a") as file:
        file.write(open(key).read())
    trusted = base64.b64encode(hashlib.sha256(public).digest()).decode()
    return both, "--ignore-certificate-errors-spki-list=" + trusted


class Demo:
    def __init__(self):
        self.started = []  # what must be closed, in the order of its beginning
        self.table = Table()
        self.shots = 0

    # --- the stage ---

    def keep(self, thing, close="close"):
        self.started.append(getattr(thing, close))
        return thing

    def set_up(self):
        self.screen = self.keep(Screen("1280x860"))
        self.velmora = self.keep(Velmora(self.screen.display, VELMORA_DEBUG="1"))
        file, trust = certificate(self.velmora.home.path)
        self.web = self.keep(Pages(certificate=file))
        self.velmora.start()
        self.velmora.tell("install-browser-link")
        self.browser = Chromium(self.screen, self.web, home=self.velmora.home, flags=(
            "--test-type", trust, "--window-position=%d,%d" % BROWSER[:2],
            "--window-size=%d,%d" % BROWSER[2:], "--lang=en"))
        self.keep(self.browser, "quit")
        self.browser.start(self.url("docs.python.org"))
        if not self.velmora.linked():
            raise RuntimeError("the browser did not call Velmora")
        self.tab = self.browser.first_tab()
        self.window = self.screen.window("Chromium")

    def tear_down(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, signal.SIG_IGN)
        if hasattr(self, "velmora"):
            shutil.copy(self.velmora.log, os.path.join(OUT, "velmora.log"))
        for close in reversed(self.started):
            try:
                close()
            except Exception as problem:
                print("(while cleaning up: %s)" % problem)

    # --- words ---

    @staticmethod
    def url(site):
        return "https://%s/" % site

    def shot(self, name):
        """After the page has come to rest."""
        time.sleep(1.3)
        self.shots += 1
        self.screen.shot(os.path.join(OUT, "%02d-%s.png" % (self.shots, name)))

    def look(self, tab=None):
        """What the tab shows, in words."""
        address = self.browser.address(tab or self.tab) or "nothing"
        reason = wall_reason(address)
        if reason is None:
            return address.split("/")[2] if "//" in address else address
        return "wall, %s" % " ".join("%s=%s" % pair for pair in reason.items() if pair != ("r", "focus"))

    def goes(self, what, expected_query, act=None, tab=None, shot=None):
        """After `act` the tab comes to the wall with this query."""
        began = time.monotonic()
        if act:
            act()
        expected = "wall, " + expected_query
        ok = eventually(lambda: self.look(tab) == expected, 6, 0.004)
        ms = (time.monotonic() - began) * 1000
        if ok and shot:
            self.shot(shot)
        self.table.row(what, expected, self.look(tab), bool(ok), ms)

    def stays(self, what, site, act=None, tab=None, shot=None):
        """After `act` the tab shows this site, and still does after the time of several looks."""
        if act:
            act()
        arrived = eventually(lambda: self.look(tab) == site, 6, 0.01)
        self.velmora.note("(demo: %s arrived)" % site)
        left = eventually(lambda: self.look(tab) != site, HOLD, 0.05)
        if shot:
            self.shot(shot)
        self.table.row(what, "%s stays" % site, self.look(tab), bool(arrived and not left))

    def visit(self, site, tab=None):
        return lambda: self.browser.go(tab or self.tab, self.url(site))

    def tell(self, *words):
        return lambda: self.velmora.tell(*words)

    def agree(self, what, remaining, late=0, **expected):
        """The state told and the keys stored say the same, and what they should. The clock counts
        whole seconds; `late` is what it may lag behind besides."""
        wanted = {"type": "focus", "sw": expected["running"], "cd": False, **expected}
        session, stored, now = self.velmora.status()["session"], self.velmora.stored(), time.time()
        types = {"vm_timer_timeRemaining": "integer", "vm_timer_sessionType": "text", "vm_timer_isRunning": "bool",
                 "vm_timer_isSessionActive": "bool", "vm_timer_savedAt": "double", "vm_sw_elapsed": "integer",
                 "vm_sw_running": "bool", "vm_cd_remaining": "integer", "vm_cd_running": "bool",
                 "vm_blockedSites": "bytes", "vm_pomodoroSettings": "bytes"}
        wrong = ["%s is %s" % (k, stored.get(k, ("absent",))[0]) for k, t in types.items()
                 if stored.get(k, ("absent",))[0] != t]
        value = {k: v for k, (_, v) in stored.items()}
        seen = {"status": {k: session[k] for k in ("type", "running", "active")},
                "store": {"type": value["vm_timer_sessionType"], "running": value["vm_timer_isRunning"],
                          "active": value["vm_timer_isSessionActive"], "sw": value["vm_sw_running"],
                          "cd": value["vm_cd_running"]}}
        wrong += ["%s: %s %s" % (where, k, v) for where, all in seen.items() for k, v in all.items() if v != wanted[k]]
        at_rest = value["vm_timer_timeRemaining"]
        clocks = {"status": session["remaining"],
                  "store": at_rest - (now - value["vm_timer_savedAt"]) if expected["running"] else at_rest}
        should = remaining(now)
        wrong += ["%s: %.1f s left, not %.1f" % (n, c, should) for n, c in clocks.items() if not -1.05 <= c - should <= 1.05 + late]
        self.table.row(what, "%s, %d s left" % (self.words(wanted), should),
                       "; ".join(wrong) or "%s, %d s, %.1f s" % (self.words(session), *clocks.values()), not wrong)

    @staticmethod
    def words(session):
        return "%s %s" % (session["type"], "running" if session["running"] else
                          "active" if session["active"] else "stopped")

    # --- the proofs ---

    def run(self):
        for proof in (self.without_session, self.soft_session, self.instant_layer, self.application,
                      self.background_tab, self.minimised_window, self.covered_window, self.site_added,
                      self.pause_and_resume, self.kill_and_return, self.missions, self.brak_mode):
            proof()

    def without_session(self):
        for site in ("reddit.com", "www.youtube.com", "news.ycombinator.com"):
            self.velmora.tell("sites", "add", site)
        self.velmora.tell("mode", "soft")
        self.stays("without a session a listed site opens", "news.ycombinator.com", self.visit("news.ycombinator.com"))

    def soft_session(self):
        self.goes("a tab already open when the session begins", "d=news.ycombinator.com", self.tell("start"))
        self.began = time.time()
        self.clock = lambda now: FULL - (now - self.began)
        self.agree("status and stored keys: a running session", self.clock, running=True, active=True)
        self.goes("a listed site", "d=reddit.com", self.visit("reddit.com"), shot="wall")
        self.goes("a subdomain of a listed site", "d=old.reddit.com", self.visit("old.reddit.com"))
        self.stays("a site that is not listed", "github.com", self.visit("github.com"), shot="allowed-site")

    def instant_layer(self):
        """In a tab on screen a forbidden page is not even asked for."""
        asked = len(self.web.requests)
        self.goes("the instant layer: a listed site again", "d=reddit.com", self.visit("reddit.com"))
        hosts = [host for host, _ in self.web.requests[asked:] if "reddit" in host]
        self.table.row("... which its server hears nothing of", "0 requests", "%d requests" % len(hosts), not hosts)

    def application(self):
        listed = lambda: subprocess.Popen(["xterm", "-T", "Games"], env=self.screen.environment,
                                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        terminal = self.keep(listed(), "kill")
        self.screen.window("Games")
        self.ends("an open application, once it is listed", terminal, self.tell("apps", "add", "xterm"))
        terminal = self.keep(listed(), "kill")
        self.ends("a listed application that is started", terminal)
        self.velmora.tell("apps", "remove", "xterm")

    def ends(self, what, process, act=None):
        began = time.monotonic()
        if act:
            act()
        closed = eventually(lambda: process.poll() is not None, 6, 0.004)
        self.table.row(what, "closed", "closed" if closed else "running", bool(closed), (time.monotonic() - began) * 1000)

    def background_tab(self):
        tab = self.browser.open_tab(self.url("www.youtube.com"), shown=False)
        self.stays("a background tab on a listed site", "www.youtube.com", tab=tab, shot="background-tab")
        self.goes("... once it is shown", "d=youtube.com", lambda: self.browser.show(tab), tab)
        self.browser.close(tab)

    def minimised_window(self):
        self.screen.minimise(self.window)
        time.sleep(MOMENT)
        self.stays("a minimised window on a listed site", "reddit.com", self.visit("reddit.com"), shot="minimised")
        self.goes("... once it is restored", "d=reddit.com", lambda: self.screen.raise_(self.window))

    def covered_window(self):
        cover = self.screen.terminal("Report draft", *COVER)
        self.velmora.note("(demo: covered)")
        time.sleep(MOMENT)
        self.stays("a window covered by more than three quarters", "reddit.com", self.visit("reddit.com"),
                   shot="covered")
        self.goes("... once it is uncovered", "d=reddit.com", lambda: self.screen.close_window(cover))

    def site_added(self):
        self.stays("a site before it is listed", "en.wikipedia.org", self.visit("en.wikipedia.org"))
        self.goes("... once it is added in the running session", "d=en.wikipedia.org",
                  self.tell("sites", "add", "wikipedia.org"))

    def pause_and_resume(self):
        self.velmora.tell("pause")
        left = self.clock(time.time())
        time.sleep(MOMENT)
        self.stays("a listed site while the session is paused", "reddit.com", self.visit("reddit.com"), shot="paused")
        self.agree("status and stored keys: a paused session", lambda _: left, running=False, active=False)
        self.goes("... once the session is resumed", "d=reddit.com", self.tell("start"))
        resumed = time.time()
        self.clock = lambda now: left - (now - resumed)
        self.agree("status and stored keys: a resumed session", self.clock, running=True, active=True)

    def kill_and_return(self):
        self.velmora.kill()
        time.sleep(2 * MOMENT)
        self.browser.go(self.tab, self.url("reddit.com"))
        eventually(lambda: self.look() == "reddit.com", 3)
        self.goes("after kill -9 and a restart: the blocking is back", "d=reddit.com", self.velmora.start)
        eventually(lambda: self.velmora.status()["session"]["running"], 2)
        # A restart counts the time between in whole seconds, and goes on after 0.3 s.
        self.agree("after kill -9 and a restart: the clock is right", self.clock, late=1.3, running=True, active=True)

    def missions(self):
        """One whose time it is, and one that begins with the next minute."""
        self.velmora.tell("reset")
        left = 60 - time.time() % 60
        if left < AHEAD:
            time.sleep(left + 0.1)
        next_minute = (time.time() // 60 + 1) * 60
        minute = time.localtime().tm_hour * 60 + time.localtime().tm_min
        for label, start, end, site in (("Read the paper", minute - 30, minute + 1, "reddit.com"),
                                        ("Write the report", minute + 1, minute + 61, "www.youtube.com")):
            self.velmora.tell("missions", "add", "--label", label, "--recurrence", "daily", "--mode", "soft",
                              "--from", str(start), "--until", str(end), "--sites", site)
        self.velmora.tell("schedule", "on")
        entry = self.velmora.home.path + "/.config/autostart/com.velmora.schedule-watch.desktop"
        eventually(lambda: os.path.exists(entry))
        self.velmora.end()  # as at a logout: in a mission that was quit nothing would start it
        for watcher in self.velmora.processes("--schedule-watch"):
            os.kill(watcher, signal.SIGKILL)

        began = time.monotonic()
        with open(entry) as file:
            words = shlex.split(re.search("^Exec=(.*)$", file.read(), re.MULTILINE)[1])
        subprocess.Popen(words, env=self.velmora.environment(), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        running = lambda: self.velmora.answers() and self.velmora.status()["scheduled"].get("mission")
        runs = eventually(lambda: running() == "Read the paper", 6, 0.02)
        self.table.row("the program does not run, at login in a mission", "it starts, with the mission",
                       "it runs" if runs else "no mission", bool(runs), (time.monotonic() - began) * 1000)
        self.shot("mission-notice")
        self.velmora.linked()
        self.velmora.tell("notice", "dismiss")
        self.goes("a site of the mission", "d=reddit.com", self.visit("reddit.com"))
        self.stays("a site of the next mission", "www.youtube.com", self.visit("www.youtube.com"))

        seen = []
        while time.time() < next_minute + 2:
            if (mission := running() or "none") not in seen[-1:]:
                seen.append(mission)
            time.sleep(0.02)
        self.table.row("from mission to mission, without a gap", "the one, then the other",
                       ", ".join(seen), seen == ["Read the paper", "Write the report"])
        self.goes("a site of the next mission, once it has begun", "d=youtube.com", self.tell("notice", "dismiss"))
        self.stays("a site of the mission that has ended", "reddit.com", self.visit("reddit.com"), shot="next-mission")
        self.goes("a site of the mission that runs", "d=youtube.com", self.visit("www.youtube.com"))
        self.velmora.tell("schedule", "off")
        time.sleep(MOMENT)  # until the browser has lifted its rules
        self.stays("... once the schedule is switched off", "www.youtube.com", self.visit("www.youtube.com"))
        self.table.row("... which ends it", "no mission", running() or "no mission", not running())

    def brak_mode(self):
        self.velmora.tell("reset")
        self.velmora.tell("mode", "brak")
        answer = self.velmora.run("start")
        self.table.row("Brak mode: a start stops at the gate", "exit 1, “velmora focus PRESET”",
                       "exit %d, %s" % (answer.status, "“velmora focus PRESET”" if "velmora focus PRESET" in answer.error
                                        else answer.error.strip()),
                       answer.status == 1 and "velmora focus PRESET" in answer.error)
        gate = self.velmora.status()["gate"]["showing"]
        self.table.row("Brak mode: the gate shows in the status", "showing", "showing" if gate else "not showing", gate)
        stands = lambda: re.search(r'"Velmora".* 1280x860\+0\+0 ', self.screen.run("xwininfo", "-root", "-tree"))
        stood = eventually(stands, 5, 0.02)
        self.table.row("Brak mode: the gate stands on the screen", "1280x860", "1280x860" if stood else "no", bool(stood))
        self.shot("gate")
        self.velmora.tell("focus", "Deep Work", "--task", "Write the report")
        began = time.time()
        self.stays("Brak mode: a site of the chosen preset", "github.com", self.visit("github.com"), shot="brak-allowed")
        self.goes("Brak mode: any other site", "d=docs.python.org a=1", self.visit("docs.python.org"))
        badge = eventually(lambda: self.browser.run(self.tab, "document.getElementById('badge')?.textContent"), 3)
        self.table.row("Brak mode: the wall's badge", "BRAK MODE", str(badge), badge == "BRAK MODE")
        self.shot("brak-wall")
        self.agree("status and stored keys: Brak mode", lambda now: FULL - (now - began), running=True, active=True)
        self.velmora.tell("reset")
        self.agree("status and stored keys: after a reset", lambda _: FULL, running=False, active=False)


def main():
    leave_network()
    leave_zone(12)  # a mission begins minutes from now, far from midnight
    shutil.rmtree(OUT, ignore_errors=True)
    os.makedirs(OUT)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    began = time.monotonic()
    demo = Demo()
    try:
        demo.set_up()
        demo.run()
    except KeyboardInterrupt:
        demo.table.failures += 1
        print("interrupted")
    except Exception as problem:
        demo.table.row("the demo itself", "runs to its end", "%s" % problem, False)
    finally:
        demo.tear_down()
    failures = demo.table.failures
    print("\n%s in %.0f s; table, screenshots and log: build/demo/" % (
        "Everything is as it should be" if not failures else "%d rows FAILED" % failures, time.monotonic() - began))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
