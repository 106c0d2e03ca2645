"""Real programs with a window on an X display."""
import re
import subprocess
from pathlib import Path
from typing import NamedTuple

from .. import pixels
from ..process import Process
from ..waiting import LIMIT, eventually

GTK_WINDOW = Path(__file__).parents[1] / "gtk/decorated_window.py"


class GtkWindow(Process):
    """One run of gtk/decorated_window.py."""

    title = "Decorated_window.py: Notes"
    application = "Decorated_window.py (app)"

    def __init__(self, server, folder, colour, width, height):
        super().__init__(["/usr/bin/python3", GTK_WINDOW, "Notes", _text(colour), width, height],
                         folder, "gtk-window", stdin=subprocess.PIPE, env=_env(server, folder))
        self._done = 0

    def paint(self, colour):
        self.execute("paint", _text(colour))

    def execute(self, *words):
        self._done += 1
        self.stdin.write((" ".join(words) + "\n").encode())
        self.stdin.flush()
        eventually(lambda: self.stdout.count("done") >= self._done, LIMIT, f"{words} is done")


class Drawn(NamedTuple):
    """A program, the title of its window in the list of sources, and a check that it has been drawn."""
    program: Process
    title: str
    is_drawn: object  # a predicate of a picture


def xterm(server, folder):
    text = folder / "text"
    text.write_text("\n".join(f"line {n}: quick amber signal" for n in range(20)))
    return Drawn(Process(["xterm", "-title", "Lines", "-e", "cat", text, "-"], folder, "xterm",
                         env=_env(server, folder)),
                 "XTerm: Lines", lambda picture: (picture.max(axis=2) < 60).mean() > 0.01)


def oclock(server, folder):
    """Starts a program whose window is not rectangular."""
    return Drawn(Process(["oclock", "-geometry", "300x200"], folder, "oclock",
                         env=_env(server, folder)),
                 "Clock: oclock", lambda picture: (picture.min(axis=2) > 200).mean() > 0.5)


def glxgears(server, folder):
    """Starts a program that draws continuously with OpenGL."""
    return Process(["glxgears"], folder, "glxgears", env=_env(server, folder))


def on_screen(server, identifier):
    """Returns the screen's pixels of the window with that source ID, without its client-side shadow."""
    number = identifier.removeprefix("window-")
    info = server.run("xwininfo", "-id", number)
    left, top, width, height = (int(re.search(rf"{name}: +(-?\d+)", info)[1]) for name in (
        "Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"))
    shadow = [int(n) for n in re.findall(
        r"\d+", server.run("xprop", "-id", number, "_GTK_FRAME_EXTENTS").partition("=")[2])]
    before, after, above, below = shadow or [0] * 4
    return pixels.grab(server)[top + above:top + height - below, left + before:left + width - after]


def _text(colour):
    return f"#{colour:06x}"


def _env(server, folder):
    """Without the user's settings, and without a search for services that nobody offers."""
    return {**server.env, "HOME": str(folder), "NO_AT_BRIDGE": "1"}
