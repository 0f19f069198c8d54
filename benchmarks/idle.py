#!/usr/bin/env python3
"""What Velmora costs while nothing happens. usage: benchmarks/idle.py [SECONDS]

Prints CPU seconds, voluntary and involuntary context switches a second and resident memory of the
resident program and of the browser host: with a soft session running and three windows open (a
Chromium window on a site that is not listed, two terminals), then with no session, and then with a
mission that is still ahead.
"""

import os
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "tools", "stage"))
from browsers import Chromium, Web
from stage import Screen, Velmora, leave_network

SECONDS = float(sys.argv[1]) if len(sys.argv) > 1 else 300.0
TICK = os.sysconf("SC_CLK_TCK")


def numbers(pid, file, names):
    with open(file) as status:
        rows = dict(line.split(":", 1) for line in status if ":" in line)
    return [int(rows[name].split()[0]) for name in names]


def usage(pid):
    """CPU seconds (as the scheduler counts them, in nanoseconds), context switches, resident kB."""
    cpu, voluntary, involuntary = 0.0, 0, 0
    for thread in os.listdir("/proc/%d/task" % pid):
        base = "/proc/%d/task/%s" % (pid, thread)
        with open(base + "/schedstat") as file:
            cpu += int(file.read().split()[0]) / 1e9
        v, i = numbers(pid, base + "/status", ["voluntary_ctxt_switches", "nonvoluntary_ctxt_switches"])
        voluntary, involuntary = voluntary + v, involuntary + i
    return cpu, voluntary, involuntary, numbers(pid, "/proc/%d/status" % pid, ["VmRSS"])[0]


def child_named(name):
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open("/proc/%s/cmdline" % pid, "rb") as file:
                if file.read().split(b"\0")[0].endswith(name):
                    return int(pid)
        except OSError:
            pass


def measure(title, processes):
    before = {name: usage(pid) for name, pid in processes.items()}
    time.sleep(SECONDS)
    print("%s, %.0f s" % (title, SECONDS))
    totals = [0.0, 0.0]
    for name, pid in processes.items():
        now = usage(pid)
        cpu, voluntary, involuntary = (now[i] - before[name][i] for i in range(3))
        totals[0] += cpu
        totals[1] += (voluntary + involuntary) / SECONDS
        print("  %-22s %7.3f s CPU  %6.2f switches/s (%d voluntary, %d not)  %6.1f MB resident"
              % (name, cpu, (voluntary + involuntary) / SECONDS, voluntary, involuntary, now[3] / 1024))
    print("  %-22s %7.3f s CPU  %6.2f switches/s" % ("together", *totals), flush=True)


def main():
    leave_network()
    web, screen = Web(), Screen()
    velmora = Velmora(screen.display)
    browser = None
    try:
        velmora.start()
        velmora.tell("install-browser-link")
        browser = Chromium(screen, web, home=velmora.home)
        browser.start("http://example.org/")
        assert velmora.linked(), "the browser did not call Velmora"
        screen.terminal("first", 20, 20, 500, 300)
        screen.terminal("second", 600, 400, 500, 300)
        velmora.tell("mode", "soft")
        velmora.tell("sites", "add", "forum.test")
        velmora.tell("start")
        processes = {"velmora": velmora.process.pid, "velmora-browser-host": child_named(b"velmora-browser-host")}
        time.sleep(15)  # the browser settles
        measure("a session runs", processes)
        velmora.tell("reset")
        time.sleep(3)
        measure("no session", processes)
        begin, end = (time.strftime("%H:%M", time.localtime(time.time() + hours * 3600)) for hours in (12, 12.5))
        velmora.tell("missions", "add", "--from", begin, "--until", end)
        velmora.tell("schedule", "on")
        time.sleep(3)
        measure("no session, a mission ahead", processes)
    finally:
        if browser:
            browser.quit()
        velmora.close()
        screen.close()
        web.close()


main()
