"""A virtual pointer of a Wayland compositor (wlr-virtual-pointer-unstable-v1)."""
from .client import WaylandClient

CREATE_POINTER = 0
MOVE_TO, END_OF_FRAME = 1, 4
MANAGER = b"zwlr_virtual_pointer_manager_v1"


class VirtualPointer:
    """It exists until close(). move() returns after the compositor has processed the movement."""

    def __init__(self, address, width, height):
        """`address` is the compositor's socket, the size that of its screen."""
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
