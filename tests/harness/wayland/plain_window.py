"""A Wayland window whose every pixel is known."""
import subprocess
import sys
from pathlib import Path

from ..waiting import LIMIT, eventually

PROGRAM = Path(__file__).parents[1] / "gtk/plain_window.py"


class PlainWindow:
    """One run of gtk/plain_window.py; `start` starts a program in a session and names its output."""

    def __init__(self, start, name, width, height):
        self.process = start(sys.executable, PROGRAM, str(width), str(height),
                             stdin=subprocess.PIPE, name=name, GDK_BACKEND="wayland")
        self._done = 0
        self._wait()

    def paint(self, *colours):
        """Fills the quarters (top left, top right, bottom left, bottom right), or the whole window."""
        quarters = colours * (4 // len(colours))
        self._execute("paint", *("#%02x%02x%02x" % colour for colour in quarters))

    def resize(self, width, height):
        self._execute("resize", width, height)

    def close(self):
        self.process.stdin.close()

    def _execute(self, *words):
        self.process.stdin.write((" ".join(map(str, words)) + "\n").encode())
        self.process.stdin.flush()
        self._wait()

    def _wait(self):
        self._done += 1
        eventually(lambda: self.process.stdout.count("done") >= self._done, LIMIT,
                   "the window shows it")
