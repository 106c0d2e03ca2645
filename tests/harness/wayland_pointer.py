"""A mouse of a Wayland compositor that offers virtual ones, as a hand would move it."""
import itertools
import socket
import struct

from .waiting import LIMIT

DISPLAY = 1
SYNC, GET_REGISTRY = 0, 1
ERROR = 0
BIND = 0
CREATE_POINTER = 0
MOVE_TO, END_OF_FRAME = 1, 4
MANAGER = b"zwlr_virtual_pointer_manager_v1"


class WaylandPointer:
    """It is plugged in until close(). Every movement returns when the compositor knows of it."""

    def __init__(self, address, width, height):
        """`address` is the compositor's socket; the size is that of its screen."""
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(LIMIT)
        self._socket.connect(str(address))
        self._ids = itertools.count(2)
        self._size = width, height
        self._pointer = self._plug_in()

    def close(self):
        self._socket.close()

    def move(self, x, y):
        self._send(self._pointer, MOVE_TO, 0, x, y, *self._size)
        self._send(self._pointer, END_OF_FRAME)
        self._wait()

    def _plug_in(self):
        registry = next(self._ids)
        self._send(DISPLAY, GET_REGISTRY, registry)
        offered = [arguments for sender, arguments in self._wait() if sender == registry]
        name = next(arguments[:4] for arguments in offered if MANAGER in arguments)
        manager, pointer = next(self._ids), next(self._ids)
        text = MANAGER + b"\0" * (4 - len(MANAGER) % 4)
        self._send(registry, BIND, name, len(MANAGER) + 1, text, 1, manager)
        self._send(manager, CREATE_POINTER, 0, pointer)
        self._wait()
        return pointer

    def _send(self, receiver, request, *arguments):
        body = b"".join(argument if isinstance(argument, bytes) else struct.pack("=I", argument)
                        for argument in arguments)
        self._socket.sendall(struct.pack("=II", receiver, len(body) + 8 << 16 | request) + body)

    def _wait(self):
        """Until all that was sent has been done; gives the events that came, sender and rest."""
        callback = next(self._ids)
        self._send(DISPLAY, SYNC, callback)
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
