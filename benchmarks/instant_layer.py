#!/usr/bin/env python3
"""How well browsers turn forbidden pages away by the rules we hand them. usage: instant_layer.py [RUNS]

In each browser, with the real program: navigations in the tab on screen to a forbidden site, which
answers at once, in turn with some to a site that a second extension redirects to the same page by
one bare declarative rule. That extension also takes the browser's own time stamps of both.
  commits   of the forbidden page, which must not be
  wall      from the start of the navigation to the commit of the wall
"""

import json
import os
import sys
import tempfile
import time
from urllib.parse import unquote

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "tools", "stage"))
from browsers import EXTENSION, Chromium, Firefox, Web, eventually
from stage import WALL, Screen, Velmora, leave_network

MANIFEST = {
    "manifest_version": 3, "name": "Bare rule", "version": "1",
    "background": {"service_worker": "background.js", "scripts": ["background.js"]},
    "permissions": ["declarativeNetRequestWithHostAccess", "webNavigation"], "host_permissions": ["<all_urls>"],
    "browser_specific_settings": {"gecko": {"id": "bare-rule@velmora.invalid"}},
}
BARE = """
chrome.declarativeNetRequest.updateSessionRules({ removeRuleIds: [1], addRules: [{
  id: 1, priority: 1, condition: { requestDomains: ["bare.test"], resourceTypes: ["main_frame"] },
  action: { type: "redirect", redirect: { url: "%s?r=focus&d=bare.test" } } }] });
let seen = [];
const tell = () => { fetch("http://127.0.0.1:%d/seen?" + encodeURIComponent(JSON.stringify(seen))); seen = []; };
for (const kind of ["onBeforeNavigate", "onCommitted"])
  chrome.webNavigation[kind].addListener(({ frameId, url, timeStamp }) => {
    if (frameId === 0 && seen.push([kind, url, timeStamp]) === 1) setTimeout(tell, 300);
  });
"""


def share(values, part):
    values = sorted(values)
    return values[min(len(values) - 1, int(len(values) * part))] if values else float("nan")


class Bench:
    def __init__(self, kind):
        self.screen, self.web = Screen(), Web()
        self.velmora = Velmora(self.screen.display).start()
        for words in (("install-browser-link",), ("mode", "soft"), ("sites", "add", "forbidden.test")):
            self.velmora.tell(*words)
        bare = tempfile.mkdtemp(prefix="bare-", dir=self.velmora.home.path)
        with open(bare + "/manifest.json", "w") as manifest, open(bare + "/background.js", "w") as script:
            json.dump(MANIFEST, manifest)
            script.write(BARE % (WALL, self.web.port))
        self.browser = kind(self.screen, self.web, home=self.velmora.home,
                            flags=["--load-extension=%s,%s" % (EXTENSION, bare)]).start("http://home.test/")
        if kind is Firefox:
            self.browser.call("Addon:Install", path=bare, temporary=True)
        assert self.velmora.linked(1, 40)
        self.tab = self.browser.first_tab()
        self.velmora.tell("start")
        assert eventually(lambda: not any(self.visit("forbidden.test")[1:]), 20), "the rules do not come into force"

    def close(self):
        for close in (self.browser.quit, self.velmora.close, self.screen.close, self.web.close):
            close()

    def seen(self):
        return [event for _, path in list(self.web.requests) if path.startswith("/seen?")
                for event in json.loads(unquote(path.split("?", 1)[1]))]

    def visit(self, site):
        """From the start to the wall, the commits of the page, and the requests for it."""
        self.browser.go(self.tab, "http://home.test/")
        eventually(lambda: self.browser.address(self.tab) == "http://home.test/")
        time.sleep(0.5)  # what is on screen has been looked at, and its events have been told
        self.web.requests.clear()
        address = "http://%s/" % site
        self.browser.go(self.tab, address)
        walls = lambda: [t for kind, url, t in self.seen() if kind == "onCommitted" and url.startswith(WALL)]
        eventually(walls, 5)
        starts = [t for kind, url, t in self.seen() if kind == "onBeforeNavigate" and url == address]
        commits = sum(kind == "onCommitted" and url == address for kind, url, _ in self.seen())
        asked = sum(host == site for host, _ in self.web.requests)
        return walls()[0] - starts[0] if walls() and starts else float("nan"), commits, asked


def main():
    runs = int(sys.argv[1]) if len(sys.argv) > 1 else 100
    leave_network()
    for kind in (Chromium, Firefox):
        bench = Bench(kind)
        try:
            pairs = [(bench.visit("forbidden.test"), bench.visit("bare.test")) for _ in range(runs)]
        finally:
            bench.close()
        ours, bare = ([visit[0] for visit in half] for half in zip(*pairs))
        print("%s, %d runs, load of the machine %.1f" % (kind.name, runs, os.getloadavg()[0]))
        print("  commits of the forbidden page: %d; requests for it: %d" %
              (sum(one[1] for one, _ in pairs), sum(one[2] for one, _ in pairs)))
        for name, values in (("wall", ours), ("wall by a bare rule", bare)):
            print("  %s: median %.1f, p95 %.1f ms" % (name, share(values, 0.5), share(values, 0.95)))
        print("  of the bare rule's median: %+.0f %%" % (100 * share(ours, 0.5) / share(bare, 0.5) - 100))


if __name__ == "__main__":
    main()
