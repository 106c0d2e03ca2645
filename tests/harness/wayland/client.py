"""A program that speaks to a Wayland compositor without any toolkit."""
import itertools
import socket
import struct

from ..waiting import LIMIT

DISPLAY = 1
SYNC, GET_REGISTRY = 0, 1
ERROR = 0
BIND = 0


class WaylandClient:
    """One connection; `address` is the compositor's socket."""

    def __init__(self, address):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(LIMIT)
        self._socket.connect(str(address))
        self._ids = itertools.count(2)

    def close(self):
        self._socket.close()

    def bind(self, interface, version):
        """The compositor's only object of that interface."""
        registry = self.new_id()
        self.send(DISPLAY, GET_REGISTRY, registry)
        offered = [arguments for sender, arguments in self.wait() if sender == registry]
        name = next(arguments[:4] for arguments in offered if interface + b"\0" in arguments)
        bound = self.new_id()
        self.send(registry, BIND, name, *text(interface), version, bound)
        return bound

    def new_id(self):
        return next(self._ids)

    def send(self, receiver, request, *arguments):
        """Arguments are numbers, or bytes that are already in the protocol's form."""
        body = b"".join(argument if isinstance(argument, bytes) else struct.pack("=I", argument)
                        for argument in arguments)
        self._socket.sendall(struct.pack("=II", receiver, len(body) + 8 << 16 | request) + body)

    def wait(self):
        """Until all that was sent has been done; gives the events that came, sender and rest."""
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
    """A string as two arguments of a request."""
    return len(content) + 1, content + b"\0" * (4 - len(content) % 4)


def fixed(number):
    """A number with a fraction as an argument of a request."""
    return round(number * 256) & 0xFFFFFFFF
