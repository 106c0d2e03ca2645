"""Files dragged with the mouse from another program onto a page."""
import contextlib
import sys
from pathlib import Path

from ..process import Process
from ..waiting import LIMIT, eventually

PROGRAM = Path(__file__).parents[1] / "gtk/drag_source.py"


class Dragging:
    """One drag on an X display. `hold` takes the files to a place, `release` lets go of them."""

    def __init__(self, screen, folder, paths):
        self._screen = screen
        self._source = Process([sys.executable, PROGRAM, *paths], folder, "drag-source",
                               env={**screen.env, "NO_AT_BRIDGE": "1"})
        eventually(lambda: "shown" in self._source.stdout, LIMIT, "there is something to drag")

    def hold(self, x, y):
        """Takes hold and moves to (x, y), without letting go."""
        self._mouse("mousemove", 12, 12, "mousedown", 1)
        for step in range(1, 11):
            self._mouse("mousemove", 12 + (x - 12) * step // 10, 12 + (y - 12) * step // 10,
                        "sleep", 0.02)

    def tremble(self):
        """Moves a little, as any hand does: what is below asks again whether to take the files."""
        self._mouse("mousemove_relative", 1, 0, "mousemove_relative", "--", -1, 0)

    def release(self):
        """Lets go; returns when the other side has taken the files."""
        self._mouse("mouseup", 1)
        eventually(lambda: "over" in self._source.stdout, LIMIT, "the drag is over")
        assert "refused" not in self._source.stdout

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        with contextlib.suppress(AssertionError):  # the display may be gone
            self._mouse("mouseup", 1, "mousemove", self._screen.width - 1, self._screen.height - 1)
        self._source.stop()

    def _mouse(self, *words):
        self._screen.run("xdotool", *map(str, words))
