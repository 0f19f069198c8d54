#!/usr/bin/env python3
"""Kills the resident program N times at random moments and checks what is left. No browser, no display.

usage: kill_test.py [N [SEED]]

Each round gives random commands, kills with SIGKILL (between commands, within one, or while the
program starts) and starts again. Whatever was answered must be there; what was not may be there
wholly or not at all; the clocks must show what the wall clock says; the store is never set aside.
"""

import contextlib
import copy
import glob
import json
import os
import random
import sqlite3
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "stage"))
from browsers import eventually
from stage import Velmora, leave_network

EARLY, LATE = 1.05, 1.05  # seconds: a clock shows whole ones
SLIP = 1.35  # what a restart may lose: it counts the time between in whole seconds, and resumes after 0.3 s
MINUTES = {"focus": "focusDuration", "shortBreak": "shortBreakDuration", "longBreak": "longBreakDuration"}


class Wrong(Exception):
    pass


class State:
    """What we hold for true. A running clock is right for the moment `at`."""

    def __init__(self):
        self.sites, self.presets = [], ["Deep Work", "Editing", "Writing"]
        self.settings = {"focusDuration": 25, "shortBreakDuration": 5, "longBreakDuration": 15,
                         "sessionsBeforeLongBreak": 4}
        self.type, self.running, self.stopwatch = "focus", False, False
        self.remaining, self.elapsed, self.at, self.restarts = {25 * 60}, 0, time.time(), 0

    def moved_to(self, now):
        self.remaining = {r - (now - self.at) for r in self.remaining} if self.running else self.remaining
        self.elapsed += (now - self.at) if self.stopwatch else 0
        self.at = now
        return self

    def full(self, kind):
        return self.settings[MINUTES[kind]] * 60

    # The same commands as those of the program, each as (words, what it makes of a state).

    def start(self):
        self.stopwatch = self.stopwatch or not self.running
        self.running = True

    def pause(self):
        if self.running:
            self.running = self.stopwatch = False

    def skip(self):
        self.running = self.stopwatch = False
        self.type = None if self.type == "focus" else "focus"  # which break is not ours to know
        self.remaining = set(map(self.full, MINUTES if self.type is None else ["focus"]))

    def stopwatch_start(self):
        self.stopwatch = True

    def stopwatch_pause(self):
        self.stopwatch = False

    def add_site(self, site):
        if site not in self.sites:
            self.sites.append(site)

    def remove_site(self, site):
        self.sites.remove(site)

    def add_preset(self, name):
        self.presets.append(name)

    def set(self, key, value):
        if self.settings[key] != value and not self.running:
            self.settings[key] = value
            # The stopped clock is made full again, which is stored with the clock's next change only.
            self.remaining = self.remaining | {self.full(self.type)}
        self.settings[key] = value


class KillTest:
    def __init__(self, seed):
        self.random = random.Random(seed)
        self.velmora = Velmora()
        self.state = State()
        self.number = self.answered = self.in_command = self.while_starting = 0
        self.largest = 0.0

    def command(self):
        """Words for the program, and the same for our state."""
        r, s = self.random, self.state
        self.number += 1
        site, preset = "site%d.example.org" % self.number, "Preset %d" % self.number
        key, value = r.choice(list(MINUTES.values())), r.randint(10, 30)
        choices = [(["start"], s.start.__name__, ()), (["pause"], "pause", ()), (["skip"], "skip", ()),
                   (["sites", "add", site], "add_site", (site,)), (["sites", "add", site], "add_site", (site,)),
                   (["presets", "add", preset], "add_preset", (preset,)),
                   (["stopwatch", "start"], "stopwatch_start", ()), (["stopwatch", "pause"], "stopwatch_pause", ()),
                   (["settings", "set", key, str(value)], "set", (key, value))]
        if s.sites:
            old = r.choice(s.sites)
            choices.append((["sites", "remove", old], "remove_site", (old,)))
        return r.choice(choices)

    def obey(self, name, arguments, state=None):
        state = (state or self.state).moved_to(time.time())
        getattr(state, name)(*arguments)
        return state

    def drive(self, control):
        """Commands that are answered."""
        for _ in range(self.random.randint(0, 6)):
            words, name, arguments = self.command()
            answer = control.ask(*words)
            if not answer or answer.status:
                raise Wrong("%s: %s" % (words, answer))
            self.answered += 1
            self.obey(name, arguments)
            self.learn(json.loads(control.ask("status", "--json").output)["session"])

    def learn(self, session):
        """What only the program decides, which break it is, and whether it agrees with the rest."""
        state = self.state
        if state.type is None:
            state.type = session["type"]
            state.remaining = {state.full(state.type)}
        if session["type"] != state.type or session["running"] != state.running:
            raise Wrong("told %s, but it is %s" % (session, vars(state)))
        if not any(-EARLY <= session["remaining"] - r <= LATE + SLIP * state.restarts for r in state.remaining):
            raise Wrong("%s s left instead of %s" % (session["remaining"], state.remaining))

    def kill(self, control):
        """Now, or within a command. The states that are possible afterwards."""
        if self.random.random() < 0.3:
            self.velmora.kill()
            return [self.state]
        words, name, arguments = self.command()
        before = copy.deepcopy(self.state)
        control.send({"id": 1, "command": words[0], "arguments": words[1:]})
        time.sleep(self.random.choice([0, 0.0005, 0.001, 0.002, 0.004]) * self.random.random())
        self.velmora.kill()
        self.in_command += 1
        answer = None
        with contextlib.suppress(OSError):
            answer = control.line()
        after = self.obey(name, arguments, copy.deepcopy(before))
        return [after] if answer else [before, after]

    def examine_store(self):
        others = set(glob.glob(self.velmora.store_path + "*")) - {self.velmora.store_path + s for s in ("", "-wal", "-shm")}
        if others:
            raise Wrong("the store was set aside: %s" % others)
        with contextlib.closing(sqlite3.connect("file:%s?mode=ro" % self.velmora.store_path, uri=True)) as store:
            if store.execute("PRAGMA integrity_check").fetchall() != [("ok",)]:
                raise Wrong("the store is damaged")
        keys = {k: v for k, (_, v) in self.velmora.stored().items()}
        clocks = [keys.get(k) for k in ("vm_timer_isRunning", "vm_sw_running", "vm_cd_running")]
        if "vm_timer_isRunning" in keys and keys["vm_timer_isSessionActive"] != any(clocks):
            raise Wrong("a torn timer: %s" % {k: v for k, v in keys.items() if k.startswith(("vm_timer", "vm_sw", "vm_cd"))})

    def check(self, candidates):
        """One of the possible states is the one we find; it is the state from now on."""
        with contextlib.closing(self.velmora.connect()) as control:
            problems = []
            for state in candidates:
                state.restarts += 1
                state.stopwatch = state.stopwatch or state.running  # the clock's return brings it along
                eventually(lambda: self.clocks(control) == (state.running, state.stopwatch), 0.6, 0.02)
                problem = self.difference(state, control)
                if not problem:
                    self.state = state
                    return
                problems.append(problem)
        raise Wrong(" | ".join(problems))

    @staticmethod
    def clocks(control):
        status = json.loads(control.ask("status", "--json").output)
        return status["session"]["running"], status["stopwatch"]["running"]

    def difference(self, state, control):
        ask = lambda *words: json.loads(control.ask(*words).output)
        whole = ask("state")
        now, session, slack = time.time(), whole["session"], SLIP * state.restarts
        for what, found, wanted in (
                ("sites", [s["domain"] for s in whole["sites"]], state.sites),
                ("presets", [p["name"] for p in whole["presets"]], state.presets),
                ("settings", {k: whole["settings"][k] for k in state.settings}, state.settings),
                ("running", session["running"], state.running),
                ("stopwatch", whole["stopwatch"]["running"], state.stopwatch),
                ("active", session["active"], state.running or state.stopwatch)):
            if found != wanted:
                return "%s: %s, not %s" % (what, found, wanted)
        if state.type not in (None, session["type"]):
            return "type: %s, not %s" % (session["type"], state.type)
        state.type = session["type"]
        state.moved_to(now)
        errors = {r: session["remaining"] - r for r in state.remaining}
        right = [r for r, error in errors.items()
                 if -EARLY <= error <= LATE + (slack if state.running else 0)]
        if not right:
            return "clock: %s s left, not %s" % (session["remaining"], state.remaining)
        behind = state.elapsed - whole["stopwatch"]["elapsed"]
        if not -EARLY <= behind <= LATE + SLIP * state.restarts:
            return "stopwatch: %s s, not %.1f" % (whole["stopwatch"]["elapsed"], state.elapsed)
        if state.restarts == 1:
            self.largest = max(self.largest, abs(errors[right[0]]))
        # From here on we go by what it shows, within the fraction of a second that it does not.
        state.remaining, state.elapsed, state.restarts = {session["remaining"]}, whole["stopwatch"]["elapsed"], 0
        return None

    def round(self):
        with contextlib.closing(self.velmora.connect()) as control:
            self.drive(control)
            candidates = self.kill(control)
        self.examine_store()
        if self.random.random() < 0.3:
            self.velmora.process = self.velmora.launch()
            time.sleep(self.random.random() * 0.5)
            self.velmora.kill()
            self.while_starting += 1
            for state in candidates:
                state.restarts += 1
        self.velmora.start()
        self.check(candidates)

    def run(self, rounds):
        try:
            self.velmora.start()
            self.velmora.tell("mode", "soft")
            for number in range(rounds):
                try:
                    self.round()
                except Wrong as problem:
                    raise Wrong("kill %d: %s" % (number + 1, problem))
        finally:
            self.velmora.close()


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 50
    seed = int(sys.argv[2]) if len(sys.argv) > 2 else random.randrange(10**6)
    print("seed %d" % seed, flush=True)
    leave_network()
    test = KillTest(seed)
    try:
        test.run(count)
    except Wrong as problem:
        print("FAILED at %s" % problem)
        return 1
    print("%d kills (%d within a command, %d more while starting), %d answered commands: nothing torn, nothing lost, "
          "no store set aside, clocks at most %.1f s off" % (count, test.in_command, test.while_starting,
                                                              test.answered, test.largest))
    return 0


if __name__ == "__main__":
    sys.exit(main())
