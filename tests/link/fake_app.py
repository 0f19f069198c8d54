"""The application's end of the browser link, for tests: listens, records, and says what it is told to."""

import json
import os
import socket
import struct
import sys
import threading
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "support_py"))
from browsers import eventually


def pack(message):
    """A frame: the length in native byte order, then the text."""
    body = message if isinstance(message, bytes) else json.dumps(message).encode()
    return struct.pack("=I", len(body)) + body


def read_exactly(read, size):
    data = b""
    while len(data) < size:
        more = read(size - len(data))
        if not more:
            return None
        data += more
    return data


def read_frame(read):
    """The next frame's text, or None at the end of the stream."""
    header = read_exactly(read, 4)
    return header and read_exactly(read, struct.unpack("=I", header)[0])


class Link:
    """One accepted host. `frames` are the raw texts received so far, `messages` their values."""

    def __init__(self, connection, reads=True):
        self.connection = connection
        self.frames = []
        self.messages = []
        self.ended = False
        self.changed = threading.Condition()
        if reads:
            threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        try:
            while (text := read_frame(self.connection.recv)) is not None:
                with self.changed:
                    self.frames.append(text)
                    self.messages.append(json.loads(text))
                    self.changed.notify_all()
        except OSError:
            pass
        with self.changed:
            self.ended = True
            self.changed.notify_all()

    def send(self, message):
        self.connection.sendall(pack(message))

    def send_raw(self, data):
        self.connection.sendall(data)

    def mark(self):
        """The place from which expect() may look."""
        return len(self.messages)

    def expect(self, kind, timeout=5.0, since=0, **members):
        """The first message since `since` of this type with these members; fails when time is up.

        A member may be a value or a condition on it.
        """
        def fits(message):
            return message.get("type") == kind and all(
                want(message.get(name)) if callable(want) else message.get(name) == want
                for name, want in members.items())

        def found():
            return next(filter(fits, self.messages[since:]), None)

        with self.changed:
            message = self.changed.wait_for(lambda: found() or self.ended, timeout) and found()
            assert message, "no %s %s among %s" % (kind, members, self.messages[since:])
            return message

    def close(self):
        if not self.ended:
            try:
                self.connection.shutdown(socket.SHUT_RDWR)
            except OSError:  # the host was faster
                pass


class FakeApp:
    """Listens on a socket path, which it makes with its folder, as the application does."""

    def __init__(self, path, reads=True):
        self.path = path
        self.reads = reads
        self.links = []
        self.arrived = threading.Condition()
        self.server = None

    def start(self):
        os.makedirs(os.path.dirname(self.path), mode=0o700, exist_ok=True)
        if os.path.exists(self.path):
            os.unlink(self.path)
        self.server = socket.socket(socket.AF_UNIX)
        self.server.bind(self.path)
        self.server.listen(8)
        threading.Thread(target=self._accept, args=(self.server,), daemon=True).start()
        return self

    def _accept(self, server):
        while True:
            try:
                connection, _ = server.accept()
            except OSError:
                return
            with self.arrived:
                self.links.append(Link(connection, self.reads))
                self.arrived.notify_all()

    def link(self, number=0, timeout=5.0):
        """The host that called as the number-th; fails if none does in time."""
        with self.arrived:
            assert self.arrived.wait_for(lambda: len(self.links) > number, timeout), "no host called"
            return self.links[number]

    def vanish(self):
        """Ends as a killed process does: connections close, the socket file stays behind."""
        if self.server:
            self.server.shutdown(socket.SHUT_RDWR)
            self.server.close()
        self.server = None
        for link in self.links:
            link.close()
            link.connection.close()

    def stop(self):
        """Ends in order: the socket file goes too."""
        self.vanish()
        if os.path.exists(self.path):
            os.unlink(self.path)
