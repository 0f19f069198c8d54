#!/usr/bin/env python3
"""How long a forbidden page may be seen in Chromium. usage: redirect_latency.py [RUNS [OPEN_RUNS]]

All moments are Chromium's own, the time stamps of its navigation events as our extension's worker
gets them (a listener is added to it from outside). A page is answered at once by a server on this
machine.
  start to wall   from the start of the navigation to a forbidden page to the commit of the wall
  ours            of this, until the browser starts on its way to the wall: extension, host, program;
                  only where the browser's own rules did not turn the page away (instant_layer.py)
  seen            the forbidden page was committed first; life: for so long, until the wall's commit
  already open    from the answer to "start" on the control socket to the wall's commit
"""

import json
import os
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "tools", "stage"))
from browsers import Chromium, Web, eventually
from stage import WALL, Screen, Velmora, leave_network

RECORD = """globalThis.seen = [];
for (const [name, event] of [["start", chrome.webNavigation.onBeforeNavigate],
                             ["commit", chrome.webNavigation.onCommitted]])
  event.addListener((e) => e.frameId === 0 && seen.push([name, e.url, e.timeStamp]));
1"""


# The instant layer off, as for a page that it can't see: until the rules or the shown tabs change.
WITHOUT_LAYER = """chrome.declarativeNetRequest.getSessionRules().then((rules) =>
  chrome.declarativeNetRequest.updateSessionRules({ removeRuleIds: rules.map((rule) => rule.id) })).then(() => 1)"""


def share(values, part):
    values = sorted(values)
    return values[min(len(values) - 1, int(len(values) * part))] if values else float("nan")


def words(values):
    return "median %.0f, p95 %.0f, p99 %.0f ms" % tuple(share(values, part) for part in (0.5, 0.95, 0.99))


class Bench:
    def __init__(self):
        self.screen = Screen()
        self.velmora = Velmora(self.screen.display).start()
        self.web = Web()
        self.velmora.tell("install-browser-link")
        self.velmora.tell("mode", "soft")
        self.velmora.tell("sites", "add", "forbidden.test")
        self.browser = Chromium(self.screen, self.web, home=self.velmora.home).start("http://home.test/")
        assert self.velmora.linked()
        self.tab = self.browser.first_tab()
        self.worker = self.browser.targets("service_worker")[0]
        self.browser.run(self.worker, RECORD)
        self.control = self.velmora.connect()

    def close(self):
        self.control.close()
        for close in (self.browser.quit, self.velmora.close, self.screen.close, self.web.close):
            close()

    def events(self):
        return json.loads(self.browser.run(self.worker, "JSON.stringify(seen)"))

    def forget(self):
        self.browser.run(self.worker, "(seen.length = 0)")

    def at_home(self):
        self.browser.go(self.tab, "http://home.test/")
        eventually(lambda: self.browser.address(self.tab) == "http://home.test/")
        time.sleep(0.15)  # the wall's own page and our look have come to rest
        self.browser.run(self.worker, WITHOUT_LAYER)
        self.forget()

    def wait_for_wall(self):
        """Until the wall is there and nothing more comes."""
        eventually(lambda: any(k == "commit" and u.startswith(WALL) for k, u, _ in self.events()), 5)
        time.sleep(0.15)
        return self.events()

    def navigation(self, number):
        self.at_home()
        self.browser.go(self.tab, "http://forbidden.test/%d" % number)
        events = self.wait_for_wall()
        first = lambda kind, prefix: next((t for k, u, t in events if k == kind and u.startswith(prefix)), None)
        start, bound, wall = first("start", "http://forbidden"), first("start", WALL), first("commit", WALL)
        commit = first("commit", "http://forbidden")
        return {"total": wall - start, "ours": bound and bound - start, "loads": bound and wall - bound,
                "life": wall - commit if commit and commit < wall else None,
                "again": sum(k == "start" and u.startswith(WALL) for k, u, _ in events) - 1}

    def already_open(self, number):
        self.control.ask("pause")
        time.sleep(0.3)  # until the browser has lifted its rules
        self.browser.go(self.tab, "http://forbidden.test/open%d" % number)
        eventually(lambda: "open%d" % number in (self.browser.address(self.tab) or ""))
        time.sleep(0.2)
        self.forget()
        self.control.ask("start")
        answered = time.time() * 1000
        return next(t for k, u, t in self.wait_for_wall() if k == "commit" and u.startswith(WALL)) - answered


def main():
    runs = int(sys.argv[1]) if len(sys.argv) > 1 else 100
    open_runs = int(sys.argv[2]) if len(sys.argv) > 2 else 20
    leave_network()
    bench = Bench()
    try:
        bench.control.ask("start")
        bench.navigation(0)  # the first one warms the browser
        all_runs = [bench.navigation(n + 1) for n in range(runs)]
        lives = [r["life"] for r in all_runs if r["life"] is not None]
        print("%d runs, load of the machine %.1f" % (runs, os.getloadavg()[0]))
        print("start to wall: %s (goal: median 90)" % words([r["total"] for r in all_runs]))
        print("  ours:        %s" % words([r["ours"] for r in all_runs if r["ours"]]))
        print("  wall's load: %s" % words([r["loads"] for r in all_runs if r["loads"]]))
        print("seen: in %d runs; life %s; longer than 150 ms in %d (goal: 1 of 100)" %
              (len(lives), words(lives), sum(life > 150 for life in lives)))
        print("sent more than once: in %d runs" % sum(r["again"] > 0 for r in all_runs))
        print("already open: %s of %d runs (goal: median 60)" % (
            words([bench.already_open(n) for n in range(open_runs)]), open_runs))
    finally:
        bench.close()


if __name__ == "__main__":
    main()
