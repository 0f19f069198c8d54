"""The window process on a private display, on states of our own making instead of a program."""

import copy
import json
import os
import queue
import subprocess
import threading
import time

from browsers import Home, eventually
from stage import PROGRAMS

PRESETS = [("Deep Work", "Only your core tools.", 0x8C5CFF, "brain.head.profile", ["openai.com", "chatgpt.com", "github.com"]),
           ("Editing", "Video/editing flow.", 0xA855F7, "video.fill", ["capcut.com", "adobe.com"]),
           ("Writing", "Quiet writing session.", 0x7C3AED, "pencil.and.outline", ["docs.google.com", "notion.so"])]
MODULES = [
    ("schedule", "Schedule", "Automatically start focus windows.", "Core"),
    ("budget", "Budget", "Give distracting sites a strict time allowance.", "Rules"),
    ("scrollGuard", "Scroll Guard", "After a few minutes of scrolling, ask whether to go on or quit the site.", "Rules"),
    ("creatorGate", "Creator Gate", "Unlock sites only while OBS is recording or streaming.", "Rules"),
    ("brakPorn", "Brak Porn", "Commit to permanent adult-content blocking for 30 to 365 days.", "Rules"),
    ("dailyTasks", "Daily Tasks", "Plan recurring tasks, check each day, and keep a daily conclusion.", "Progress"),
    ("habit", "Habit", "Track daily focus sessions across the year.", "Progress"),
    ("deadline", "Deadline", "Keep one big objective visible until the date hits.", "Progress"),
    ("sounds", "Sounds", "Ambient sound and focus audio.", "Experience"),
    ("posture", "Posture", "Use the camera to catch sustained posture drift.", "Experience")]
TABS = ("Focus", "Schedule", "Rules", "Progress", "Sounds", "Posture", "Extensions", "Settings")
QUICK = [("X", "x.com", "xmark"), ("Instagram", "instagram.com", "camera"), ("TikTok", "tiktok.com", "music.note"),
         ("Reddit", "reddit.com", "bubble.left.and.bubble.right"), ("YouTube", "youtube.com", "play.rectangle"),
         ("Facebook", "facebook.com", "person.2"), ("Netflix", "netflix.com", "film"), ("Discord", "discord.com", "message"),
         ("Twitch", "twitch.tv", "gamecontroller"), ("Hacker News", "news.ycombinator.com", "newspaper")]
FINDINGS = [("Windows", "works", "X11, 1 display", ""), ("Chromium", "works", "linked", ""),
            ("Firefox", "limited", "not linked", "velmora install-browser-link"), ("Notifications", "works", "shown by dunst", "")]
APPS = [("org.gnome.Calculator", "Calculator"), ("com.hnc.Discord", "Discord"), ("org.gnome.TextEditor", "Text Editor"),
        ("org.inkscape.Inkscape", "Inkscape"), ("com.spotify.client", "Spotify"), ("steam", "Steam")]


def _site(domain, is_blocked=True):
    return {"id": "site-" + domain, "domain": domain, "isBlocked": is_blocked, "cleanDomain": domain}


def tabs(*more):
    """The tabs that always show, and those of modules that are on."""
    return [{"name": title.lower(), "title": title, "shown": title in ("Focus", "Extensions", "Settings", *more)}
            for title in TABS]


def idle():
    """A program that is linked to a browser and does nothing, in Brak mode."""
    return {
        "version": "0.3.0",
        "session": {
            "type": "focus", "label": "Focus", "running": False, "active": False, "remaining": 1500, "time": "25:00",
            "progress": 0, "completed": 0, "inBlock": 0, "mode": "brak", "hardcore": False, "locked": False,
            "screen": "pomodoro", "controls": {"reset": True, "playPause": True, "skip": True, "switchType": True,
                                               "hardcoreSwitch": True, "emergencyPass": False}},
        "stopwatch": {"elapsed": 0, "running": False, "time": "00:00"},
        "countdown": {"duration": 3600, "remaining": 3600, "running": False, "time": "1:00:00"},
        "scheduled": {"active": False, "hard": False}, "gate": {"showing": False, "reason": ""}, "focus": None,
        "emergencyPass": {"available": True},
        "browsers": [{"id": "org.chromium.Chromium", "name": "Chromium", "privateAllowed": True, "pid": 1, "tabs": []}],
        "settings": {"focusDuration": 25, "shortBreakDuration": 5, "longBreakDuration": 15, "sessionsBeforeLongBreak": 4,
                     "focusSessionLimit": 0, "isBrakModeEnabled": True, "isSoftBlocklistEnabled": False,
                     "showFloatingProgress": True, "autoStart": False, "soundEnabled": True, "isHardcore": False},
        "sites": [_site("reddit.com"), _site("youtube.com"), _site("news.ycombinator.com", False)],
        "apps": [{"id": i, "bundleID": i, "name": n, "isBlocked": True, "icon": ""} for i, n in (APPS[1], APPS[5])],
        "presets": [{"id": "preset-%d" % at, "name": name, "note": note, "colorHex": color, "iconName": icon,
                     "allowedApps": [], "allowedSites": [_site(d) for d in sites]}
                    for at, (name, note, color, icon, sites) in enumerate(PRESETS)],
        "modules": [{"name": name, "title": title, "subtitle": subtitle, "category": category,
                     "enabled": name in ("schedule", "sounds")} for name, title, subtitle, category in MODULES],
        "tabs": tabs("Schedule", "Sounds"),
        "quickSites": [{"name": n, "domain": d, "symbol": s} for n, d, s in QUICK],
        "schedule": {"isEnabled": False, "operatingMode": "calendar", "hardRoutineEnabled": False, "isHardRoutineActive": False,
                     "isCurrentlyInBlock": False, "activeEntryID": None, "next": "", "hasPass": False, "uses24Hour": True,
                     "today": "2026-11-25", "entries": [], "simpleEntries": [], "undo": None, "redo": None},
        "desktop": {"showInDock": True, "sidebar": True, "launchAtLogin": False, "locked": False, "welcomed": True, "uses24HourTime": True},
        "answers": {
            "doctor": json.dumps([dict(zip(("topic", "grade", "text", "advice"), f)) for f in FINDINGS]),
            "applications": json.dumps([{"id": i, "name": n, "icon": ""} for i, n in sorted(APPS, key=lambda a: a[1])])}}


def running(hard=False, **session):
    """A focus of which the first third is over; in a hard one nothing can be touched."""
    free = not hard
    return changed(idle(), session={
        "running": True, "active": True, "remaining": 1043, "time": "17:23", "progress": 0.305, "completed": 2, "inBlock": 2,
        "hardcore": hard, "locked": hard, "controls": {"reset": free, "playPause": free, "skip": free, "switchType": False,
                                                       "hardcoreSwitch": False, "emergencyPass": True}, **session},
        settings={"isHardcore": hard}, focus={"presetName": "Deep Work", "taskName": "Chapter three"})


def only(state, **surface):
    """`state` with nothing on the screen but one of `gate`, `hud` and `notice`."""
    none = {"window": {"wanted": False, "request": 0}, "gate": {"showing": False, "reason": ""},
            "hud": {"showing": False, "x": None, "y": None}, "notice": None}
    return changed(state, surfaces={**none, **surface}, **({"gate": surface["gate"]} if "gate" in surface else {}))


def changed(state, **members):
    """A copy with the members of `members` put over those of the same name, objects member by member."""
    out = copy.deepcopy(state)
    for name, value in members.items():
        both = isinstance(value, dict) and isinstance(out.get(name), dict)
        out[name] = {**out[name], **value} if both else value
    return out


class Window:
    """velmora-window on `state`, and what it shows. `arguments` replace the state. With `clock`, "10:20", its wall shows
    that time at the start. `environment` is added to its own."""

    def __init__(self, desktop, state=None, arguments=(), scale=1, clock=None, environment=None):
        self.home = Home()
        self.path = os.path.join(self.home.path, "state.json")
        if state:
            self.show(state)
        self.environment = {**self.home.environment(desktop.display), "QT_SCALE_FACTOR": str(scale),
                            "QT_QUICK_BACKEND": "software", **(environment or {})}
        if clock:
            hour, minute = map(int, clock.split(":"))
            west = (time.time() // 60 - hour * 60 - minute) % 1440  # minutes that the zone lies behind Greenwich
            self.environment["TZ"] = "XXX%d:%02d" % divmod(west, 60)
        self.errors = open(os.path.join(self.home.path, "errors"), "w+")
        self.process = subprocess.Popen(
            [os.path.join(PROGRAMS, "velmora-window"), "--texts", *(arguments or ("--fake", self.path))],
            env=self.environment, stdout=subprocess.PIPE, stderr=self.errors)
        self.lines, self.texts = queue.Queue(), []
        threading.Thread(target=lambda: [self.lines.put(line) for line in self.process.stdout], daemon=True).start()
        search = ("search", "--onlyvisible", "--pid", str(self.process.pid))
        # Asked again and again: xdotool's own waiting misses a window that is there at once.
        self.id = eventually(lambda: self.visible() and self._xdotool(*search, check=False), 30, 0.05).split()[0]
        self._xdotool("windowfocus", "--sync", self.id)

    def _xdotool(self, *words, check=True):
        return subprocess.run(["xdotool", *words], env=self.environment, timeout=20, check=check,
                              stdout=subprocess.PIPE, text=True).stdout

    def show(self, state):
        """Lets it show another state."""
        with open(self.path, "w") as file:
            json.dump(state, file)

    def visible(self):
        """The texts that stand in it, as of the last tenth of a second."""
        while not self.lines.empty():
            self.texts = json.loads(self.lines.get())
        return self.texts

    def shows(self, *texts):
        """Waits until all of them stand in it."""
        return eventually(lambda: set(texts) <= set(self.visible()), 30, 0.05)

    def press(self, *keys):
        self._xdotool("key", "--window", self.id, "--delay", "60", *keys)

    def point(self, x, y, click=False):
        """Moves the pointer to a place in the window, in its own pixels."""
        self._xdotool("mousemove", "--window", self.id, str(x), str(y), *(["click", "1"] if click else []))

    def drag(self, start, *ways, key=None, drop=True):
        """Presses the pointer at `start` and moves it through places in the window. `key` is held from then on, since window
        managers take presses with Alt for themselves."""
        self.point(*start)
        self._xdotool("mousedown", "1")
        if key:
            self._xdotool("keydown", key)
        for x, y in ways:
            self._xdotool("mousemove", "--window", self.id, str(x), str(y))
            time.sleep(0.05)
        if drop:
            self._xdotool("mouseup", "1")
        if key:
            self._xdotool("keyup", key)

    def wheel(self, clicks):
        """Downwards, or upwards below 0."""
        self._xdotool("click", "--repeat", str(abs(clicks)), "--delay", "15", "5" if clicks > 0 else "4")

    def release(self):
        self._xdotool("mouseup", "1")

    def commands(self, *beginning):
        """What it has asked of the program so far, of the commands that begin so."""
        with open(self.errors.name) as errors:
            return [line.strip() for line in errors if line.startswith(" ".join(beginning))]

    def asked(self, *beginning):
        """Waits for such a command and gives the newest."""
        return eventually(lambda: self.commands(*beginning), 10, 0.05)[-1]

    def carry(self, x, y, to_y):
        """Drags what lies at a place in the window up or down."""
        self.drag((x, y), *((x, y + (to_y - y) * i // 8) for i in range(1, 9)))

    def whole_screen(self):
        self.id = "root"

    def origin(self):
        """Where it stands on the display."""
        shell = self._xdotool("getwindowgeometry", "--shell", self.id)
        place = dict(line.split("=") for line in shell.split())
        return int(place["X"]), int(place["Y"])

    def resize(self, width, height):
        self._xdotool("windowsize", "--sync", self.id, str(width), str(height))

    def picture(self, path):
        subprocess.run(["import", "-window", self.id, path], env=self.environment, check=True, timeout=30)

    def complaints(self):
        """What QML had to say against itself."""
        return [line for line in self.said().splitlines() if ".qml:" in line]

    def said(self):
        """All that it printed beside the texts, such as the commands it gave to nobody."""
        with open(self.errors.name) as errors:
            return errors.read()

    def close(self):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()
        self.errors.close()
        self.home.remove()
