"""A mouse of a Wayland compositor that offers virtual ones, as a hand would move it."""
from .client import WaylandClient

CREATE_POINTER = 0
MOVE_TO, END_OF_FRAME = 1, 4
MANAGER = b"zwlr_virtual_pointer_manager_v1"


class WaylandPointer:
    """It is plugged in until close(). Every movement returns when the compositor knows of it."""

    def __init__(self, address, width, height):
        """`address` is the compositor's socket; the size is that of its screen."""
        self._client = WaylandClient(address)
        self._size = width, height
        manager = self._client.bind(MANAGER, 1)
        self._pointer = self._client.new_id()
        self._client.send(manager, CREATE_POINTER, 0, self._pointer)
        self._client.wait()

    def close(self):
        self._client.close()

    def move(self, x, y):
        self._client.send(self._pointer, MOVE_TO, 0, x, y, *self._size)
        self._client.send(self._pointer, END_OF_FRAME)
        self._client.wait()
