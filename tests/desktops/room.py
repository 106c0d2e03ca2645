"""What every desktop's script needs for a talk: windows to share, and what the room sees."""
import subprocess
import sys
import time
from pathlib import Path

import numpy

from harness import http, pixels
from harness.viewer import Viewer
from harness.waiting import eventually

ROOM = ("127.0.0.1", 80)
LIMIT = 60
RED, GREEN, BLUE = (255, 0, 0), (0, 160, 0), (0, 0, 255)
WINDOW = Path(__file__).parents[1] / "harness/gtk/decorated_window.py"
LARGEST_POINTER = 64  # pixels


class PaintedWindow:
    """A window with a title bar and one colour."""

    def __init__(self, title, colour, width, height):
        self._child = subprocess.Popen(
            [sys.executable, WINDOW, title, _text(colour), str(width), str(height)],
            stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)

    def paint(self, colour):
        self._tell("paint", _text(colour))

    def resize(self, width, height):
        """To that size, without the title bar."""
        self._tell("resize", width, height)

    def close(self):
        self._child.stdin.close()
        self._child.wait(LIMIT)

    def _tell(self, *words):
        self._child.stdin.write((" ".join(map(str, words)) + "\n").encode())
        self._child.stdin.flush()


def soon(condition, within=4):
    """Whether it comes true within so many seconds: for what is done again if not."""
    deadline = time.monotonic() + within
    while not (found := condition()) and time.monotonic() < deadline:
        time.sleep(0.1)
    return found


def status():
    return http.get_status(ROOM)


def is_served():
    """Whether the page is there."""
    try:
        return bool(status())
    except OSError:
        return False


def wait_until_served(served=True):
    eventually(lambda: is_served() == served, LIMIT, "the page is there" if served else "it ended")


def wait_until_sharing(sharing=True):
    eventually(lambda: status()["sharing"] == sharing, LIMIT, f"sharing is {sharing}", every=0.2)


def seen(wanted):
    """The first picture on /stream that `wanted` accepts."""
    with Viewer(ROOM) as viewer:
        return pixels.decode(viewer.frame_where(lambda jpeg: wanted(pixels.decode(jpeg)), LIMIT))


def fills(picture, colour, place, bar):
    """Whether exactly this place is of that colour, but for a title bar at its top that is at most
    that high."""
    found = pixels.place_of(picture, colour)
    if found is None:
        return False
    left, top, right, bottom = place
    return top <= found[1] <= top + bar and pixels.is_about(
        (found[0], top, *found[2:]), (left, top, right, bottom))


def size_of(picture):
    return picture.shape[1], picture.shape[0]


def pointer_on(picture, colour):
    """Where on a ground of one colour the pointer's tip is; None when there is none."""
    place = pixels.place_of(picture, colour)
    if place is None:
        return None
    left, top, right, bottom = place
    ground = picture[top + 4:bottom - 4, left + 4:right - 4].astype(numpy.int16)
    rows, columns = numpy.nonzero(numpy.abs(ground - colour).max(axis=2) > 100)
    if not len(rows) or max(numpy.ptp(rows), numpy.ptp(columns)) > LARGEST_POINTER:
        return None
    return left + 4 + int(columns.min()), top + 4 + int(rows.min())


def is_near(found, wanted, within=8):
    return found is not None and max(abs(a - b) for a, b in zip(found, wanted)) <= within


def _text(colour):
    return "#%02x%02x%02x" % colour
