"""A minimal client of the Wayland wire protocol, without a toolkit."""
import itertools
import socket
import struct

from ..waiting import LIMIT

DISPLAY = 1
SYNC, GET_REGISTRY = 0, 1
ERROR = 0
BIND = 0


class WaylandClient:
    """One connection to the compositor whose socket is `address`."""

    def __init__(self, address):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(LIMIT)
        self._socket.connect(str(address))
        self._ids = itertools.count(2)

    def close(self):
        self._socket.close()

    def bind(self, interface, version):
        """Binds the only global of that interface and returns the object's ID."""
        registry = self.new_id()
        self.send(DISPLAY, GET_REGISTRY, registry)
        globals_ = [arguments for sender, arguments in self.wait() if sender == registry]
        name = next(arguments[:4] for arguments in globals_ if interface + b"\0" in arguments)
        bound = self.new_id()
        self.send(registry, BIND, name, *text(interface), version, bound)
        return bound

    def new_id(self):
        return next(self._ids)

    def send(self, receiver, request, *arguments):
        """Sends a request; arguments are integers, or bytes in the wire format."""
        body = b"".join(argument if isinstance(argument, bytes) else struct.pack("=I", argument)
                        for argument in arguments)
        self._socket.sendall(struct.pack("=II", receiver, len(body) + 8 << 16 | request) + body)

    def wait(self):
        """Waits until the compositor has processed all requests; returns the events of that time
        as pairs of sender and arguments."""
        callback = self.new_id()
        self.send(DISPLAY, SYNC, callback)
        events = []
        while not any(sender == callback for sender, _ in events):
            events.append(self._event())
        return events

    def _event(self):
        sender, rest = struct.unpack("=II", self._take(8))
        arguments = self._take((rest >> 16) - 8)
        assert (sender, rest & 0xFFFF) != (DISPLAY, ERROR), arguments
        return sender, arguments

    def _take(self, count):
        taken = b""
        while len(taken) < count:
            piece = self._socket.recv(count - len(taken))
            assert piece, "the compositor has gone"
            taken += piece
        return taken


def text(content):
    """Encodes a string as two arguments of a request."""
    return len(content) + 1, content + b"\0" * (4 - len(content) % 4)


def fixed(number):
    """Encodes a number as a fixed-point argument of a request."""
    return round(number * 256) & 0xFFFFFFFF
