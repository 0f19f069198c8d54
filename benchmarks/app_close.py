#!/usr/bin/env python3
"""How long an application that is not allowed stays. usage: app_close.py [RUNS]

From the moment at which the display server maps its window, as another client of the server hears
of it, to the moment at which the process is gone, as its parent hears of it.
  window to end   the whole
  launch to window  what the application itself takes, for comparison
"""

import os
import subprocess
import sys
import threading
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "tools", "stage"))
from browsers import eventually
from stage import Screen, Velmora, leave_network


def share(values, part):
    values = sorted(values)
    return values[min(len(values) - 1, int(len(values) * part))]


def words(values):
    return "median %.0f, p95 %.0f, greatest %.0f ms" % (*(1000 * share(values, p) for p in (0.5, 0.95)),
                                                      1000 * max(values))


class Witness:
    """Another client of the server, which is told of each window of the root that is mapped."""

    def __init__(self, screen):
        self.maps = []
        self.process = subprocess.Popen(["stdbuf", "-oL", "xev", "-root", "-event", "substructure"],
                                        env=screen.environment, stdout=subprocess.PIPE, text=True)
        threading.Thread(target=self.listen, daemon=True).start()
        time.sleep(0.5)  # until it listens

    def listen(self):
        for line in self.process.stdout:
            if line.startswith("MapNotify"):
                self.maps.append(time.monotonic())

    def first_map(self, since):
        return eventually(lambda: next((at for at in self.maps if at >= since), None), 10, 0.001)

    def close(self):
        self.process.kill()
        self.process.wait()


def main():
    runs = int(sys.argv[1]) if len(sys.argv) > 1 else 50
    leave_network()
    screen = Screen()
    velmora = Velmora(screen.display).start()
    witness = Witness(screen)
    try:
        velmora.tell("mode", "soft")
        velmora.tell("apps", "add", "xterm")
        velmora.tell("start")
        to_end, to_window = [], []
        for _ in range(runs):
            begun = time.monotonic()
            program = subprocess.Popen(["xterm"], env=screen.environment, stderr=subprocess.DEVNULL)
            program.wait(20)
            ended = time.monotonic()
            mapped = witness.first_map(begun)
            to_end.append(ended - mapped)
            to_window.append(mapped - begun)
            time.sleep(0.2)  # the window manager has come to rest
        print("%d runs of xterm" % runs)
        print("window to end:    " + words(to_end))
        print("launch to window: " + words(to_window))
    finally:
        witness.close()
        velmora.close()
        screen.close()


if __name__ == "__main__":
    main()
