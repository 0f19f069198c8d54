#!/usr/bin/env python3
"""How fast a forbidden page goes to the wall in Chromium. usage: benchmarks/redirect_latency.py [RUNS]

The site answers at once, the hardest case. Times are those of Chromium's own navigation events
(chrome.webNavigation, in the extension's worker): from onBeforeNavigate of the forbidden page to
onCommitted of the wall. Then, for a tab that is already open: from the answer to `velmora start` to
the wall's commit. One computer, one clock.
"""

import json
import os
import statistics
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "tests", "support_py"))
from browsers import Chromium, Web, eventually
from stage import Screen, Velmora, leave_network

RUNS = int(sys.argv[1]) if len(sys.argv) > 1 else 100
RECORD = """globalThis.news = []; for (const kind of ["onBeforeNavigate", "onCommitted"])
chrome.webNavigation[kind].addListener((d) => { if (d.frameId === 0) news.push([kind, d.url, d.timeStamp]); }); 1"""


class Timeline:
    def __init__(self, browser):
        self.browser = browser
        self.worker = eventually(lambda: browser.targets("service_worker"), 10)[0]
        browser.run(self.worker, RECORD)

    def clear(self):
        self.browser.run(self.worker, "news.length = 0; 1")

    def news(self):
        return json.loads(self.browser.run(self.worker, "JSON.stringify(news)"))

    def at_wall(self):
        """Everything that happened, once the wall has been committed."""
        def done():
            news = self.news()
            return news if any(k == "onCommitted" and ":52700/" in u for k, u, _ in news) else None
        found = eventually(done, 10, 0.02)
        assert found, "no wall: %s" % self.news()
        return found


def first(news, kind, part):
    return next((t for k, u, t in news if k == kind and part in u), None)


def show(name, values):
    values = sorted(values)
    at = lambda share: values[min(len(values) - 1, int(share * len(values)))]
    print("  %-44s median %6.1f  p95 %6.1f  p99 %6.1f ms (%d)"
          % (name, statistics.median(values), at(.95), at(.99), len(values)))


def main():
    leave_network()
    web, screen = Web(), Screen()
    velmora = Velmora(screen.display)
    browser = None
    try:
        velmora.start()
        velmora.tell("install-browser-link")
        browser = Chromium(screen, web, home=velmora.home)
        browser.start("http://github.com/")
        assert velmora.linked(), "the browser did not call Velmora"
        velmora.tell("mode", "soft")
        velmora.tell("sites", "add", "reddit.com")
        tab, line = browser.first_tab(), Timeline(browser)

        opened = []
        for run in range(20):
            browser.go(tab, "http://reddit.com/open%d" % run)
            assert eventually(lambda: "reddit" in (browser.address(tab) or ""), 5)
            time.sleep(0.5)
            line.clear()
            velmora.tell("start")
            answered = time.time() * 1000
            opened.append(first(line.at_wall(), "onCommitted", ":52700/") - answered)
            velmora.tell("reset")
            browser.go(tab, "http://github.com/")
            time.sleep(0.3)

        velmora.tell("start")
        times, lives = [], []
        for run in range(RUNS):
            browser.go(tab, "http://github.com/%d" % run)
            time.sleep(0.3)
            line.clear()
            browser.go(tab, "http://reddit.com/%d" % run)
            news = line.at_wall()
            wall = first(news, "onCommitted", ":52700/")
            times.append(wall - first(news, "onBeforeNavigate", "reddit.com/"))
            if committed := first(news, "onCommitted", "reddit.com/"):
                lives.append(wall - committed)
        print("Chromium, a page that answers at once")
        show("navigation start to the wall", times)
        print("  the forbidden page was committed first in %d of %d runs" % (len(lives), RUNS))
        if lives:
            show("... and stayed", lives)
        show("a tab already open, from the answer to start", opened)
    finally:
        if browser:
            browser.quit()
        velmora.close()
        screen.close()
        web.close()


main()
