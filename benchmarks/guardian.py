#!/usr/bin/env python3
"""From kill -9 in a hard session to blocking again, by the guardian. usage: benchmarks/guardian.py [RUNS]

A run takes up to 16 seconds; the kills are spread over the guardian's interval.
"""

import os
import random
import signal
import statistics
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path[:0] = [os.path.join(ROOT, "tools", "stage"), os.path.join(ROOT, "tests", "e2e")]
from stage import leave_network

RUNS = int(sys.argv[1]) if len(sys.argv) > 1 else 50


def main():
    leave_network()
    from test_lifecycle import CADENCE, Guardian, eventually
    bench = Guardian()
    times = []
    try:
        bench.setUp()
        bench.velmora.kill()
        assert eventually(bench.is_blocking, CADENCE)
        for _ in range(RUNS):
            time.sleep(random.uniform(0.5, 5))
            began = time.monotonic()
            os.kill(bench.velmora.processes("--background")[0], signal.SIGKILL)
            assert eventually(bench.is_blocking, 60, 0.01), "it does not come back"
            times.append(time.monotonic() - began)
    finally:
        bench.doCleanups()
    late = sum(t > CADENCE for t in times)
    print("kill -9 to blocking, %d runs: median %.1f s, worst %.1f s, %d later than %d s"
          % (len(times), statistics.median(times), max(times), late, CADENCE))


main()
