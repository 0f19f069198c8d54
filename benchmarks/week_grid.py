#!/usr/bin/env python3
"""Frames of the week with forty missions. usage: benchmarks/week_grid.py [SECONDS]

Scrolls the week by the wheel, and then drags a mission through it, for some seconds each on the
software renderer, without a compositor. Prints for both the frames a second, the milliseconds from
one frame to the next (median, worst twentieth, worst) and those that drawing one takes.
"""

import ctypes
import math
import os
import re
import statistics
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "tools", "stage"))
from browsers import Desktop
from missions import CLOCK, FORTY, planned
from window import Window

SECONDS = float(sys.argv[1]) if len(sys.argv) > 1 else 6
LOG = {"QT_LOGGING_RULES": "qt.scenegraph.time.renderloop=true", "QT_MESSAGE_PATTERN": "%{time process} %{message}"}
FRAME = re.compile(r"([\d.]+) Frame rendered with 'software' renderloop in (\d+)ms")
SHOT = 0.008  # seconds between two movements of the hand
WHEEL_UP, WHEEL_DOWN = 4, 5
DEEP_WORK = (325, 660)  # Monday's, once the week is scrolled to its beginning


class Hand:
    """Moves the display's pointer, without a process for each movement."""

    def __init__(self, display):
        self.x, self.test = ctypes.CDLL("libX11.so.6"), ctypes.CDLL("libXtst.so.6")
        self.x.XOpenDisplay.restype = ctypes.c_void_p
        self.display = ctypes.c_void_p(self.x.XOpenDisplay(display.encode()))

    def move(self, x, y):
        self.test.XTestFakeMotionEvent(self.display, -1, int(x), int(y), 0)
        self.x.XFlush(self.display)

    def press(self, button, down):
        self.test.XTestFakeButtonEvent(self.display, button, int(down), 0)
        self.x.XFlush(self.display)


def frames(window):
    """When each was drawn, in seconds, and how many milliseconds that took."""
    with open(window.errors.name) as errors:
        return [(float(match[1]), int(match[2])) for match in map(FRAME.search, errors) if match]


def measure(window, name, step):
    """Calls `step(turn)` every SHOT seconds, and looks at the frames that were drawn meanwhile."""
    before, begin, turn = len(frames(window)), time.monotonic(), 0
    while time.monotonic() - begin < SECONDS:
        step(turn)
        turn += 1
        time.sleep(max(0, begin + turn * SHOT - time.monotonic()))
    took = time.monotonic() - begin
    drawn = frames(window)[before:]
    gaps = [(b[0] - a[0]) * 1000 for a, b in zip(drawn, drawn[1:])]
    cost = [milliseconds for _, milliseconds in drawn]
    print("%-9s %5.1f frames a second; from one to the next: median %.0f ms, worst twentieth %.0f, worst %.0f; "
          "drawing one: median %.0f ms, worst %d" % (
              name, len(drawn) / took, statistics.median(gaps), statistics.quantiles(gaps, n=20)[-1], max(gaps),
              statistics.median(cost), max(cost)))


def main():
    desktop = Desktop("1400x900")
    window = Window(desktop, planned(FORTY), clock=CLOCK, environment=LOG)
    hand = Hand(desktop.display)
    try:
        window.resize(1000, 720)
        window.press("ctrl+2")
        assert window.shows("Evening study")
        window.point(600, 450)
        window.wheel(-40)
        window.wheel(2)
        time.sleep(1)

        def scroll(turn):
            if turn % 12 == 0:  # never as far as either end, where nothing would move
                button = WHEEL_DOWN if turn // 60 % 2 == 0 else WHEEL_UP
                hand.press(button, True)
                hand.press(button, False)

        measure(window, "scrolling", scroll)
        window.wheel(-40)
        time.sleep(1)
        left, top = window.origin()
        hand.move(left + DEEP_WORK[0], top + DEEP_WORK[1])
        hand.press(1, True)
        measure(window, "dragging", lambda turn: hand.move(left + 600 + 300 * math.sin(turn / 15),
                                                           top + 450 + 150 * math.sin(turn / 10)))
        window.press("Escape")
        hand.press(1, False)
        assert not window.commands("missions edit")
    finally:
        window.close()
        desktop.close()


if __name__ == "__main__":
    main()
