#!/usr/bin/env python3
"""From the start of a killed program to enforcing again. usage: benchmarks/restart.py [RUNS]

Prints milliseconds from exec to: the wall answers; the control channel answers; the session runs
and blocks. The last includes the 0.3 s by which a restored session is put off on purpose.
"""

import os
import socket
import statistics
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "tools", "stage"))
from browsers import eventually
from stage import WALL_PORT, Screen, Velmora, leave_network

RUNS = int(sys.argv[1]) if len(sys.argv) > 1 else 20


def serves():
    try:
        socket.create_connection(("127.0.0.1", WALL_PORT), 0.2).close()
        return True
    except OSError:
        return False


def enforces(control):
    import json
    answer = control.ask("status", "--json")
    state = json.loads(answer.output)
    return state["session"]["running"] and state["enforcement"]["rule"] == "blocklist"


def main():
    leave_network()
    screen = Screen()
    velmora = Velmora(screen.display)
    times = {"the wall answers": [], "control answers": [], "enforcing": []}
    try:
        velmora.start()
        velmora.tell("mode", "soft")
        velmora.tell("sites", "add", "forum.test")
        velmora.tell("start")
        for _ in range(RUNS):
            velmora.kill()
            start = time.monotonic()
            velmora.process = velmora.launch()
            spent = lambda: (time.monotonic() - start) * 1000
            assert eventually(serves, 5, 0.001)
            times["the wall answers"].append(spent())
            assert eventually(velmora.answers, 5, 0.001)
            times["control answers"].append(spent())
            control = velmora.connect()
            assert eventually(lambda: enforces(control), 5, 0.001)
            times["enforcing"].append(spent())
            control.close()
    finally:
        velmora.close()
        screen.close()
    print("after kill -9, %d runs, milliseconds from exec" % RUNS)
    for name, values in times.items():
        print("  %-18s median %6.1f  worst %6.1f" % (name, statistics.median(values), max(values)))
    own = [t - 300 for t in times["enforcing"]]
    print("  %-18s median %6.1f  worst %6.1f" % ("without the 0.3 s", statistics.median(own), max(own)))


main()
