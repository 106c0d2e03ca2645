"""Windows to share, the server's status and what viewers see; the same on every desktop."""
import subprocess
import sys
import time
from pathlib import Path

import numpy

from harness import http, pixels
from harness.viewer import Viewer
from harness.waiting import eventually

SERVER = ("127.0.0.1", 80)
LIMIT = 60
RED, GREEN, BLUE = (255, 0, 0), (0, 160, 0), (0, 0, 255)
WINDOW = Path(__file__).parents[1] / "harness/gtk/decorated_window.py"
LARGEST_POINTER = 64  # pixels


class PaintedWindow:
    """A window with a title bar and a single colour."""

    def __init__(self, title, colour, width, height):
        self._child = subprocess.Popen(
            [sys.executable, WINDOW, title, _text(colour), str(width), str(height)],
            stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)

    def paint(self, colour):
        self._execute("paint", _text(colour))

    def resize(self, width, height):
        """Resizes the window to this size, without the title bar."""
        self._execute("resize", width, height)

    def close(self):
        self._child.stdin.close()
        self._child.wait(LIMIT)

    def _execute(self, *words):
        self._child.stdin.write((" ".join(map(str, words)) + "\n").encode())
        self._child.stdin.flush()


def becomes_true(condition, within=4):
    """Returns the condition's value when it is truthy, or its last value after `within` seconds. The caller
    then repeats an action."""
    deadline = time.monotonic() + within
    while not (found := condition()) and time.monotonic() < deadline:
        time.sleep(0.1)
    return found


def status():
    return http.get_status(SERVER)


def is_served():
    """Returns whether the server responds."""
    try:
        return bool(status())
    except OSError:
        return False


def wait_until_served(served=True):
    eventually(lambda: is_served() == served, LIMIT, "the page is there" if served else "it ended")


def wait_until_sharing(sharing=True):
    eventually(lambda: status()["sharing"] == sharing, LIMIT, f"sharing is {sharing}", every=0.2)


class NeverSeen(AssertionError):
    """No picture on /stream was the wanted one; `last` is the last JPEG, or None."""

    def __init__(self, reason, last):
        super().__init__(f"{reason}; see the last picture")
        self.last = last


def seen(wanted, meanwhile=None):
    """Returns the first picture on /stream that `wanted` accepts. Repeats `meanwhile` until then."""
    last, deadline = None, time.monotonic() + LIMIT
    with Viewer(SERVER) as viewer:
        while time.monotonic() < deadline:
            if meanwhile:
                meanwhile()
            if viewer.readable(0.6):
                last = viewer.next_frame(LIMIT)
                picture = pixels.decode(last)
                if wanted(picture):
                    return picture
    raise NeverSeen(f"no such picture within {LIMIT} s", last)


def fills(picture, colour, place, bar):
    """Returns whether the colour fills exactly this rectangle, except for a title bar of at most `bar`
    pixels."""
    found = pixels.place_of(picture, colour)
    if found is None:
        return False
    left, top, right, bottom = place
    return top <= found[1] <= top + bar and pixels.is_about(
        (found[0], top, *found[2:]), (left, top, right, bottom))


def size_of(picture):
    return picture.shape[1], picture.shape[0]


def pointer_on(picture, colour):
    """Returns the position of the pointer's tip on a background of one colour, or None."""
    place = pixels.place_of(picture, colour)
    if place is None:
        return None
    left, top, right, bottom = place
    background = picture[top + 4:bottom - 4, left + 4:right - 4].astype(numpy.int16)
    rows, columns = numpy.nonzero(numpy.abs(background - colour).max(axis=2) > 100)
    if not len(rows) or max(numpy.ptp(rows), numpy.ptp(columns)) > LARGEST_POINTER:
        return None
    return left + 4 + int(columns.min()), top + 4 + int(rows.min())


def is_near(found, wanted, within=8):
    return found is not None and max(abs(a - b) for a, b in zip(found, wanted)) <= within


def _text(colour):
    return "#%02x%02x%02x" % colour
