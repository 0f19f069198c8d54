#!/usr/bin/env python3
"""From asking for a surface to seeing it, and what the window process costs.
usage: benchmarks/window_start.py [RUNS]

Prints, on the software renderer and without a compositor: milliseconds from the command to the
first lit pixel of the main window and of the gate, with the process started for it each time; the
memory of the process (RSS and PSS) with that surface; and the share of one core that the main
window takes while it stands idle for 30 seconds.
"""

import ctypes
import os
import statistics
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "tools", "stage"))
from browsers import eventually
from stage import Screen, Velmora, leave_network

RUNS = int(sys.argv[1]) if len(sys.argv) > 1 else 20
IDLE = 30


class Eye:
    """Looks at a column of the display's pixels."""

    def __init__(self, display, height):
        self.x = ctypes.CDLL("libX11.so.6")
        self.x.XOpenDisplay.restype = self.x.XGetImage.restype = ctypes.c_void_p
        self.x.XGetPixel.restype = self.x.XDefaultRootWindow.restype = ctypes.c_ulong
        self.x.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
        self.x.XGetImage.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_int, ctypes.c_uint,
                                     ctypes.c_uint, ctypes.c_ulong, ctypes.c_int]
        self.x.XGetPixel.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_int]
        self.display = ctypes.c_void_p(self.x.XOpenDisplay(display.encode()))
        self.root, self.height = self.x.XDefaultRootWindow(self.display), height

    def sees_light(self, left, width):
        """Whether any pixel of some columns is bright, as words and rings are and grounds are not."""
        image = ctypes.c_void_p(self.x.XGetImage(self.display, self.root, left, 40, width, self.height - 40, 0xFFFFFF, 2))
        pixels = (self.x.XGetPixel(image, x, y) for x in range(0, width, 12) for y in range(0, self.height - 40, 5))
        return any(pixel & 0xFF > 150 for pixel in pixels)


def window_process(screen, velmora):
    return int(screen.run("pgrep", "-P", str(velmora.process.pid), "velmora-window"))


def memory(pid):
    """RSS and PSS in MB."""
    with open("/proc/%d/smaps_rollup" % pid) as rollup:
        sizes = dict(line.split(":") for line in rollup if ":" in line and "kB" in line)
    return tuple(int(sizes[name].split()[0]) / 1024 for name in ("Rss", "Pss"))


def processor_seconds(pid):
    fields = open("/proc/%d/stat" % pid).read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def show(name, times, sizes):
    times.sort()
    print("%-12s median %4.0f ms, worst %4.0f ms of %d; RSS %.1f MB, PSS %.1f MB" % (
        name, statistics.median(times), times[-1], len(times), *sizes))


def measure(screen, velmora, eye, ask, leave):
    times, sizes = [], None
    for _ in range(RUNS):
        start = time.monotonic()
        ask()
        assert eventually(lambda: eye.sees_light(560, 160), 10, 0.002)
        times.append((time.monotonic() - start) * 1000)
        time.sleep(1.5)
        sizes = memory(window_process(screen, velmora))
        leave()
        assert eventually(lambda: not screen.run("pgrep", "-P", str(velmora.process.pid), "velmora-window"), 10, 0.02)
    return times, sizes


def main():
    leave_network()
    screen = Screen()
    velmora = Velmora(screen.display)
    try:
        velmora.start()
        velmora.tell("settings", "set", "showFloatingProgress", "false")
        control, eye = velmora.connect(), Eye(screen.display, 900)
        show("main window", *measure(screen, velmora, eye, lambda: control.ask("window", "show"),
                                     lambda: control.ask("window", "hide")))
        def through():
            control.ask("focus", "Writing")
            control.ask("reset")
        show("gate", *measure(screen, velmora, eye, lambda: control.ask("start"), through))
        control.ask("window", "show")
        assert eventually(lambda: eye.sees_light(560, 160), 10, 0.02)
        time.sleep(4)
        pid = window_process(screen, velmora)
        before = processor_seconds(pid)
        time.sleep(IDLE)
        print("idle window  %.2f%% of a core" % ((processor_seconds(pid) - before) / IDLE * 100))
    finally:
        velmora.close()
        screen.close()


if __name__ == "__main__":
    main()
