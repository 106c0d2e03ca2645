"""Files that are dragged with the mouse from another program onto a page."""
import contextlib
import sys
from pathlib import Path

from ..process import Process
from ..waiting import LIMIT, eventually

PROGRAM = Path(__file__).parents[1] / "gtk/drag_source.py"


class DragAndDrop:
    """One drag on an X display: drag_to() drags the files to a position, drop() drops them there."""

    def __init__(self, screen, folder, paths):
        self._screen = screen
        self._source = Process([sys.executable, PROGRAM, *paths], folder, "drag-source",
                               env={**screen.env, "NO_AT_BRIDGE": "1"})
        eventually(lambda: "shown" in self._source.stdout, LIMIT, "the drag source is mapped")

    def drag_to(self, x, y):
        """Presses the mouse button on the files and moves to (x, y), without releasing it."""
        self._mouse("mousemove", 12, 12, "mousedown", 1)
        for step in range(1, 11):
            self._mouse("mousemove", 12 + (x - 12) * step // 10, 12 + (y - 12) * step // 10,
                        "sleep", 0.02)

    def jiggle(self):
        """Moves the pointer a little, so that the target is asked again whether it accepts the files."""
        self._mouse("mousemove_relative", 1, 0, "mousemove_relative", "--", -1, 0)

    def drop(self):
        """Drops the files and returns when the target has accepted them."""
        self._mouse("mouseup", 1)
        eventually(lambda: "over" in self._source.stdout, LIMIT, "the drag is over")
        assert "rejected" not in self._source.stdout

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        with contextlib.suppress(AssertionError):  # the display may be gone
            self._mouse("mouseup", 1, "mousemove", self._screen.width - 1, self._screen.height - 1)
        self._source.stop()

    def _mouse(self, *words):
        self._screen.run("xdotool", *map(str, words))
