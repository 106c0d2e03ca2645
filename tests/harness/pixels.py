"""Pictures as arrays of pixels, and how far two of them differ."""
import io
from pathlib import Path
from typing import NamedTuple

import numpy
from PIL import Image, ImageGrab

SCREENSHOTS = Path(__file__).resolve().parents[2] / "build/screenshots"
BLOCK = 16


class Difference(NamedTuple):
    """Absolute differences of 8-bit samples: over the whole picture, and in the worst block."""
    mean: float
    worst_block: float


FAR = Difference(255.0, 255.0)

# On Canvas.text a settled frame (quality 92, no chroma subsampling) differs by 4.0 and 5.9, a
# motion frame (quality 70, subsampled) by 12.6 and 19.8, another text by more than 20.
SHARP = Difference(6.0, 10.0)
SIMILAR = Difference(16.0, 28.0)


def grab(server):
    """What an X display shows now, as height × width × 3 bytes; the pointer is not in it."""
    return numpy.asarray(ImageGrab.grab(xdisplay=server.name).convert("RGB"))


def decode(jpeg):
    """A complete JPEG file as pixels; fails on one that is cut off or broken."""
    return numpy.asarray(Image.open(io.BytesIO(jpeg)).convert("RGB"))


def difference(left, right):
    """FAR when the sizes differ. The corner where the pointer is parked is left out."""
    if left.shape != right.shape:
        return FAR
    distance = numpy.abs(left.astype(numpy.int16) - right.astype(numpy.int16)).mean(axis=2)
    distance[-BLOCK:, -BLOCK:] = 0
    return Difference(float(distance.mean()), float(_block_means(distance).max()))


def within(found, limit):
    return found.mean <= limit.mean and found.worst_block <= limit.worst_block


def same(left, right, limit=SHARP):
    """Whether two pictures are the same but for what JPEG does to them."""
    return within(difference(left, right), limit)


def place_of(picture, colour, tolerance=6):
    """Left, top, right and bottom of all that has this colour; None when nothing has."""
    rows, columns = numpy.nonzero(
        numpy.abs(picture.astype(numpy.int16) - colour).max(axis=2) <= tolerance)
    return (columns.min(), rows.min(), columns.max() + 1, rows.max() + 1) if len(rows) else None


def is_about(found, wanted):
    """Whether a place is the wanted one but for a pixel."""
    return found is not None and max(abs(a - b) for a, b in zip(found, wanted)) <= 1


def save(picture, path):
    path.parent.mkdir(parents=True, exist_ok=True)
    Image.fromarray(picture).save(path)


def _block_means(plane):
    height, width = (side - side % BLOCK for side in plane.shape)
    blocks = plane[:height, :width].reshape(height // BLOCK, BLOCK, width // BLOCK, BLOCK)
    return blocks.mean(axis=(1, 3))
