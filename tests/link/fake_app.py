"""The application's end of the browser link, for tests: listens, records, says what it is told."""

import contextlib
import json
import os
import socket
import struct
import sys
import threading

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools", "stage"))
from browsers import eventually


def pack(message):
    """A frame: the length in native byte order, then the text."""
    body = message if isinstance(message, bytes) else json.dumps(message).encode()
    return struct.pack("=I", len(body)) + body


def frames(stream):
    """The texts of the frames until the stream, a buffered file, ends or breaks."""
    with contextlib.suppress(OSError, ValueError):
        while len(header := stream.read(4)) == 4:
            yield stream.read(*struct.unpack("=I", header))


class Link:
    """One accepted host. `frames` are the raw texts received so far, `messages` their values."""

    def __init__(self, connection, reads=True):
        self.connection, self.send_raw = connection, connection.sendall
        self.frames, self.messages, self.ended = [], [], False
        if reads:
            threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for text in frames(self.connection.makefile("rb")):
            self.frames.append(text)
            self.messages.append(json.loads(text))
        self.ended = True

    def send(self, message):
        self.send_raw(pack(message))

    def expect(self, kind, timeout=5.0, since=0, **members):
        """The first such message, whose members have these values or fulfil these conditions."""
        def fits(message):
            return all(want(message.get(name)) if callable(want) else message.get(name) == want
                       for name, want in (("type", kind), *members.items()))

        message = eventually(lambda: next(filter(fits, self.messages[since:]), None), timeout)
        assert message, "no %s %s among %s" % (kind, members, self.messages[since:])
        return message

    def close(self):
        with contextlib.suppress(OSError):  # the host was faster
            self.connection.shutdown(socket.SHUT_RDWR)
        self.connection.close()


class FakeApp:
    """Listens on a socket path, which it makes with its folder, as the application does."""

    def __init__(self, path, reads=True):
        self.path, self.reads, self.links, self.server = path, reads, [], None

    def start(self):
        os.makedirs(os.path.dirname(self.path), mode=0o700, exist_ok=True)
        with contextlib.suppress(FileNotFoundError):
            os.unlink(self.path)
        self.server = socket.socket(socket.AF_UNIX)
        self.server.bind(self.path)
        self.server.listen(8)
        self.thread = threading.Thread(target=self._accept, args=(self.server,), daemon=True)
        self.thread.start()
        return self

    def _accept(self, server):
        with contextlib.suppress(OSError):
            while True:
                self.links.append(Link(server.accept()[0], self.reads))

    def link(self, number=0, timeout=15.0):
        """The host that called as the number-th; fails if none does in time."""
        assert eventually(lambda: len(self.links) > number, timeout), "no host called"
        return self.links[number]

    def vanish(self):
        """Ends as a killed process does: connections close, the socket file stays behind."""
        if self.server:
            self.server.shutdown(socket.SHUT_RDWR)
            self.thread.join(5)  # or it takes the callers of whoever gets the number of our socket next
            self.server.close()
        self.server = None
        for link in self.links:
            link.close()
