#!/usr/bin/env python3
"""Makes the three sounds that mark the moments of a session: resources/sounds/*.wav.

Each is a handful of decaying partials, quiet, below 1.2 s, 44100 Hz mono 16 bit.
"""

import math
import pathlib
import struct
import wave

RATE = 44100
PEAK = 0.32  # of full scale: noticed, but never startling
ATTACK = 0.004  # seconds; an abrupt start would click
RELEASE = 0.06


def partial(frequency, level, decay, start=0.0):
    """One decaying sine: `decay` is the time in which it falls to a third."""

    def at(t):
        t -= start
        if t < 0:
            return 0.0
        return level * min(1.0, t / ATTACK) * math.exp(-t / decay) * math.sin(math.tau * frequency * t)

    return at


def glass():
    """A small glass bell: the uneven partials of a struck bowl."""
    ratios = [(1.0, 1.0, 0.34), (2.32, 0.45, 0.20), (4.25, 0.22, 0.10), (6.63, 0.10, 0.05)]
    return 1.15, [partial(1046.5 * ratio, level, decay) for ratio, level, decay in ratios]


def ping():
    """A single soft drop, an octave on top of itself."""
    return 0.55, [partial(880.0, 1.0, 0.12), partial(1760.0, 0.25, 0.06)]


def hero():
    """A warm major chord whose notes come one after another."""
    partials = []
    for index, note in enumerate([261.63, 329.63, 392.0]):
        start = 0.09 * index
        for harmonic, level in [(1, 1.0), (2, 0.35), (3, 0.12)]:
            partials.append(partial(note * harmonic, level, 0.36 / harmonic**0.5, start))
    return 1.18, partials


def samples(length, partials):
    count = int(length * RATE)
    raw = [sum(p(i / RATE) for p in partials) for i in range(count)]
    loudest = max(abs(v) for v in raw)
    for i, value in enumerate(raw):
        fade = min(1.0, (count - i) / (RELEASE * RATE))
        yield round(value / loudest * PEAK * fade * 32767)


def main():
    folder = pathlib.Path(__file__).resolve().parent.parent / "resources" / "sounds"
    folder.mkdir(parents=True, exist_ok=True)
    for name, sound in [("Glass", glass), ("Ping", ping), ("Hero", hero)]:
        data = list(samples(*sound()))
        with wave.open(str(folder / f"{name}.wav"), "wb") as out:
            out.setnchannels(1)
            out.setsampwidth(2)
            out.setframerate(RATE)
            out.writeframes(struct.pack(f"<{len(data)}h", *data))


if __name__ == "__main__":
    main()
