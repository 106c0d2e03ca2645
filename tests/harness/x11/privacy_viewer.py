"""A viewer of a window or an application that must see nothing else."""
import numpy

from .. import pixels
from ..viewer import Viewer
from ..waiting import LIMIT, eventually

SECRET = 0xFF00FF  # only of windows that are not shared


def rgb(colour):
    return numpy.frombuffer(colour.to_bytes(3, "big"), numpy.uint8).astype(int)


def amount(picture, colour):
    """The share of a picture's pixels that are of about that colour."""
    return (abs(picture - rgb(colour)).max(axis=2) < 40).mean()


class Watcher:
    """A viewer that looks for the secret in every frame."""

    def __init__(self, program):
        self.viewer = Viewer(program.address)
        self.picture = None

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.viewer.close()

    def until(self, wanted):
        """The first picture that `wanted` accepts."""
        self.viewer.frame_where(lambda jpeg: wanted(self._look(jpeg)))
        return self.picture

    def until_as(self, seen, is_drawn):
        """The first picture that shows what seen() gives, which may come later than the picture:
        a compositing manager takes its time."""
        def is_so():
            if self.viewer.readable(0.1):
                self._look(self.viewer.next_frame())
            return self.picture is not None and is_drawn(self.picture) and pixels.same(
                self.picture, seen())

        eventually(is_so, LIMIT, "the picture is what is seen")
        return self.picture

    def _look(self, jpeg):
        self.picture = pixels.decode(jpeg)
        assert amount(self.picture, SECRET) == 0, keep(self.picture, "secret")
        return self.picture

    def until_colour(self, colour, x, y):
        return self.until(lambda picture: y < picture.shape[0] and x < picture.shape[1]
                          and abs(picture[y, x] - rgb(colour)).max() < 12)


def keep(picture, name):
    pixels.save(picture, pixels.SCREENSHOTS / f"{name}.png")
    return "a window that is not shared was seen"
