"""A viewer that fails the test when it sees anything of windows that are not shared."""
import numpy

from .. import pixels
from ..viewer import Viewer
from ..waiting import LIMIT, eventually

SECRET = 0xFF00FF  # the colour of windows that are not shared


def rgb(colour):
    return numpy.frombuffer(colour.to_bytes(3, "big"), numpy.uint8).astype(int)


def colour_fraction(picture, colour):
    """Returns the fraction of the picture's pixels that have about this colour."""
    return (abs(picture - rgb(colour)).max(axis=2) < 40).mean()


class PrivacyViewer:
    """A viewer that checks every frame for the secret colour."""

    def __init__(self, program):
        self.viewer = Viewer(program.address)
        self.picture = None

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.viewer.close()

    def wait_for(self, accepts):
        """Returns the first picture that `accepts` accepts."""
        self.viewer.frame_where(lambda jpeg: accepts(self._check(jpeg)))
        return self.picture

    def wait_until_same(self, seen, is_drawn):
        """Returns the first picture that is drawn and equal to the result of seen(). The screen may
        change later than the picture, because a compositing manager takes some time."""
        def is_so():
            if self.viewer.readable(0.1):
                self._check(self.viewer.next_frame())
            return self.picture is not None and is_drawn(self.picture) and pixels.same(
                self.picture, seen())

        eventually(is_so, LIMIT, "the picture is the same as on the screen")
        return self.picture

    def _check(self, jpeg):
        self.picture = pixels.decode(jpeg)
        assert colour_fraction(self.picture, SECRET) == 0, save_screenshot(self.picture, "secret")
        return self.picture

    def wait_for_colour(self, colour, x, y):
        return self.wait_for(lambda picture: y < picture.shape[0] and x < picture.shape[1]
                          and abs(picture[y, x] - rgb(colour)).max() < 12)


def save_screenshot(picture, name):
    pixels.save(picture, pixels.SCREENSHOTS / f"{name}.png")
    return "a window that is not shared was seen"
