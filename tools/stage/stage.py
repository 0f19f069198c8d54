"""A stage for the real program: a private network, display and home, and Velmora running on it."""

import contextlib
import ctypes
import datetime
import fcntl
import json
import os
import re
import signal
import socket
import struct
import subprocess
import tempfile
import threading
import time
from typing import NamedTuple

from browsers import REPOSITORY, Desktop, Home, eventually

PROGRAMS = os.environ.get("VELMORA_PROGRAMS", os.path.join(REPOSITORY, "build", "release", "bin"))
WALL_PORT = 52700
WALL = "http://127.0.0.1:%d/" % WALL_PORT

CLONE_NEWNS, CLONE_NEWUSER, CLONE_NEWNET = 0x20000, 0x10000000, 0x40000000
MS_BIND, MS_REC, MS_PRIVATE = 0x1000, 0x4000, 0x40000
SIOCSIFFLAGS, IFF_UP = 0x8914, 1
LIBC = ctypes.CDLL(None, use_errno=True)


def leave_network():
    """Moves this process to a network that has only itself: the wall's port is free there whoever
    uses it outside, and nothing can leave the machine. To be called before any thread is started.
    Where the system does not let us, it says so and we stay.
    """
    ids = {"uid": os.getuid(), "gid": os.getgid()}
    if LIBC.unshare(CLONE_NEWNET | (CLONE_NEWUSER if ids["uid"] else 0)) != 0:
        print("(a private network is not to be had: %s)" % os.strerror(ctypes.get_errno()))
        return
    if ids["uid"]:
        for name, text in (("setgroups", "deny"), *((k + "_map", "%d %d 1" % (v, v)) for k, v in ids.items())):
            with open("/proc/self/" + name, "w") as file:
                file.write(text)
    with socket.socket() as any_socket:
        fcntl.ioctl(any_socket, SIOCSIFFLAGS, struct.pack("16sh14x", b"lo", IFF_UP))


def leave_zone(hour):
    """Moves this process, and what it starts, to a zone in which that hour is now. Programs read the zone from /etc,
    so we get an /etc of our own. To be called after leave_network. Where the system does not let us, it says so, the
    answer is false, and we stay where we are.
    """
    east = (hour - datetime.datetime.now(datetime.timezone.utc).hour + 12) % 24 - 12
    if not has_own_etc():
        print("(a zone of our own is not to be had: %s)" % os.strerror(ctypes.get_errno()))
        return False
    os.unlink("/etc/localtime")
    os.symlink("/usr/share/zoneinfo/Etc/GMT" + ("%+d" % -east if east else ""), "/etc/localtime")
    os.environ.pop("TZ", None)
    time.tzset()
    return True


def has_own_etc():
    """Whether /etc is a copy that nobody else sees; made when it is not yet."""
    mark = "/etc/of-a-velmora-stage"
    if os.path.exists(mark):
        return True
    if LIBC.unshare(CLONE_NEWNS) != 0 or LIBC.mount(b"none", b"/", None, MS_REC | MS_PRIVATE, None) != 0:
        return False
    with tempfile.TemporaryDirectory() as folder:
        if LIBC.mount(b"tmpfs", folder.encode(), b"tmpfs", 0, None) != 0:
            return False
        subprocess.run(["cp", "-a", "/etc/.", folder], stderr=subprocess.DEVNULL)  # but what we may not read
        open(folder + "/" + os.path.basename(mark), "w").close()
        bound = LIBC.mount(folder.encode(), b"/etc", None, MS_BIND, None) == 0
        LIBC.umount(folder.encode())
        return bound and os.path.exists(mark)


class Answer(NamedTuple):
    status: int
    output: str
    error: str


class Control:
    """One connection to the control socket."""

    def __init__(self, path, timeout=10):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(timeout)
        self.socket.connect(path)
        self.stream = self.socket.makefile("rb")

    def send(self, data):
        self.socket.sendall(data if isinstance(data, bytes) else json.dumps(data).encode() + b"\n")

    def line(self):
        """The next line's value; None at the end of the stream."""
        text = self.stream.readline()
        return json.loads(text) if text.endswith(b"\n") else None

    def ask(self, command, *arguments):
        """The answer, or None where the program ended before it was whole."""
        try:
            self.send({"id": 1, "command": command, "arguments": list(arguments)})
            answer = self.line()
        except OSError:
            return None
        return answer and Answer(answer["status"], answer["output"], answer["error"])

    def close(self):
        self.stream.close()
        self.socket.close()


class Velmora:
    """An installation of one user: the resident program, its command line and what it stores."""

    def __init__(self, display=None, **variables):
        self.home = Home()
        self.display, self.variables = display, variables
        self.process = None
        self.log = self.home.path + "/velmora.log"
        self.control_path = self.home.runtime + "/velmora/control.sock"
        self.store_path = self.home.path + "/.local/share/velmora/preferences.sqlite3"

    def environment(self):
        return {**self.home.environment(self.display), **self.variables}

    def launch(self):
        """The resident program, just started. Its own window stays away: it would cover others."""
        process = subprocess.Popen([PROGRAMS + "/velmora", "--scheduled-launch"], env=self.environment(), stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        threading.Thread(target=lambda: [self.note(line.rstrip()) for line in process.stdout], daemon=True).start()
        return process

    def note(self, text):
        """A line of the log, with the time at which it came. Last words may come after the home is gone."""
        with contextlib.suppress(FileNotFoundError), open(self.log, "a") as log:
            log.write("%.3f %s\n" % (time.time(), text))

    def start(self):
        self.process = self.launch()
        if not eventually(self.answers, 10, 0.002):
            raise RuntimeError("velmora does not answer; its log: " + self.log)
        return self

    def answers(self):
        try:
            Control(self.control_path).close()
            return True
        except OSError:
            return False

    def kill(self):
        self.process.kill()
        self.process.wait()

    def end(self, how=signal.SIGTERM):
        """The exit code after a signal that asks it to end; None if it does not within five seconds."""
        self.process.send_signal(how)
        try:
            return self.process.wait(5)
        except subprocess.TimeoutExpired:
            return None

    def run(self, *words):
        done = subprocess.run([PROGRAMS + "/velmora", *words], env=self.environment(), capture_output=True, text=True,
                              timeout=20)
        return Answer(done.returncode, done.stdout, done.stderr)

    def tell(self, *words):
        """A command that must be obeyed; what it printed."""
        answer = self.run(*words)
        assert answer.status == 0, "velmora %s: %s" % (" ".join(words), answer)
        return answer.output

    def connect(self):
        return Control(self.control_path)

    def processes(self, word):
        """Those of this installation's home with a word of their command line."""
        found = []
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open("/proc/%s/environ" % pid) as environment, open("/proc/%s/cmdline" % pid) as command:
                    if "HOME=" + self.home.path + "\0" in environment.read() and word in command.read().split("\0"):
                        found.append(int(pid))
            except OSError:
                pass
        return found

    def window_processes(self):
        return self.processes(PROGRAMS + "/velmora-window")

    def status(self):
        return json.loads(self.tell("status", "--json"))

    def stored(self):
        """Key -> (type, value), as they are on disk now."""
        return {k: (v["type"], v["value"]) for k, v in json.loads(self.tell("prefs", "dump", "--json")).items()}

    def linked(self, count=1, timeout=20):
        """Waits until so many browsers are linked and have told their windows."""
        return eventually(lambda: sum(bool(b["tabs"]) for b in self.status()["browsers"]) >= count, timeout, 0.1)

    def close(self):
        for word in ("--watch", "--schedule-watch", PROGRAMS + "/velmora"):  # first those that start others
            for process in self.processes(word):
                with contextlib.suppress(ProcessLookupError):
                    os.kill(process, signal.SIGKILL)
        if self.process:
            self.process.wait()
        self.home.remove()


class Screen(Desktop):
    """A private display whose windows can be moved about, by a part of their title."""

    def __init__(self, size="1280x900"):
        super().__init__(size)
        self.environment = dict(os.environ, DISPLAY=self.display)
        self.others = []
        assert eventually(lambda: "window id" in self.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"), 10)
        self.run("xdotool", "mousemove", "0", "0")  # over no page

    def run(self, *words):
        return subprocess.run(words, env=self.environment, capture_output=True, text=True, timeout=20).stdout

    def windows(self):
        """X id, process and title of every managed window, in the order of their coming."""
        rows = (line.split(None, 4) for line in self.run("wmctrl", "-l", "-p").splitlines())
        return [(row[0], int(row[2]), row[4] if len(row) > 4 else "") for row in rows]

    def window(self, whose):
        """The newest window of a process, or with this in its title."""
        fits = lambda w: w[1] == whose if isinstance(whose, int) else whose in w[2]
        found = eventually(lambda: next((w[0] for w in reversed(self.windows()) if fits(w)), None), 10, 0.05)
        assert found, "no window of %s among %s" % (whose, self.windows())
        return found

    def minimise(self, window):
        self.run("xdotool", "windowminimize", window)
        assert eventually(lambda: "HIDDEN" in self.run("xprop", "-id", window, "_NET_WM_STATE"), 5, 0.02)

    def raise_(self, window):
        """Brings it up, from the task bar too, and gives it the focus."""
        self.run("wmctrl", "-i", "-a", window)
        assert eventually(lambda: int(self.run("xdotool", "getactivewindow") or 0) == int(window, 16), 5, 0.02)

    def place(self, window, x, y, width, height):
        self.run("wmctrl", "-i", "-r", window, "-b", "remove,maximized_vert,maximized_horz")
        self.run("wmctrl", "-i", "-r", window, "-e", "0,%d,%d,%d,%d" % (x, y, width, height))
        near = lambda a, b: abs(a - b) <= 30  # frames and the steps of terminals
        assert eventually(lambda: all(map(near, self.geometry(window), (x, y, width, height))), 5, 0.02)

    def geometry(self, window):
        """Left, top, width and height of what is inside its frame."""
        text = self.run("xwininfo", "-id", window)
        return [int(re.search(name + r":\s+(-?\d+)", text)[1])
                for name in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")]

    def terminal(self, title, x, y, width, height):
        """A terminal window in front of all others; its X id."""
        self.others.append(subprocess.Popen(
            ["xterm", "-T", title, "-bg", "#14121f", "-fg", "#8f86c9", "-e", "sleep", "600"],
            env=self.environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
        window = self.window(title)
        self.place(window, x, y, width, height)
        self.raise_(window)
        return window

    def close_window(self, window):
        self.run("wmctrl", "-i", "-c", window)

    def shot(self, path):
        self.run("import", "-window", "root", path)

    def close(self):
        for process in self.others:
            process.terminate()
            process.wait()
        super().close()


def wall_reason(address):
    """What the wall's address tells, as a dictionary; nothing for another address."""
    if not (address or "").startswith(WALL + "?"):
        return None
    return dict(re.findall(r"[?&](\w+)=([^&]*)", address))
