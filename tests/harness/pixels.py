"""Pictures as arrays of pixels, and the difference between two of them."""
import io
from pathlib import Path
from typing import NamedTuple

import numpy
from PIL import Image, ImageGrab

SCREENSHOTS = Path(__file__).resolve().parents[2] / "build/screenshots"
BLOCK = 16


class Difference(NamedTuple):
    """Mean absolute differences of 8-bit samples: of the whole picture and of its worst block."""
    mean: float
    worst_block: float


FAR = Difference(255.0, 255.0)

# On Canvas.text a settled frame (quality 92, no chroma subsampling) differs by 4.0 and 5.9, a
# motion frame (quality 70, subsampled) by 12.6 and 19.8, another text by more than 20.
SHARP = Difference(6.0, 10.0)
SIMILAR = Difference(16.0, 28.0)


def grab(server):
    """Returns what an X display shows, as height × width × 3 bytes without the pointer."""
    return numpy.asarray(ImageGrab.grab(xdisplay=server.name).convert("RGB"))


def decode(jpeg):
    """Decodes a complete JPEG file; fails if it is truncated or corrupt."""
    return numpy.asarray(Image.open(io.BytesIO(jpeg)).convert("RGB"))


def difference(left, right):
    """Returns the difference, or FAR if the sizes differ. The corner with the parked pointer is ignored."""
    if left.shape != right.shape:
        return FAR
    distance = numpy.abs(left.astype(numpy.int16) - right.astype(numpy.int16)).mean(axis=2)
    distance[-BLOCK:, -BLOCK:] = 0
    return Difference(float(distance.mean()), float(_block_means(distance).max()))


def within(found, limit):
    return found.mean <= limit.mean and found.worst_block <= limit.worst_block


def same(left, right, limit=SHARP):
    """Returns whether two pictures differ only by JPEG artefacts."""
    return within(difference(left, right), limit)


def place_of(picture, colour, tolerance=6):
    """Returns left, top, right and bottom of all pixels of this colour, or None if there are none."""
    rows, columns = numpy.nonzero(
        numpy.abs(picture.astype(numpy.int16) - colour).max(axis=2) <= tolerance)
    return (columns.min(), rows.min(), columns.max() + 1, rows.max() + 1) if len(rows) else None


def is_about(found, wanted):
    """Returns whether a rectangle is the wanted one, give or take a pixel."""
    return found is not None and max(abs(a - b) for a, b in zip(found, wanted)) <= 1


def save(picture, path):
    path.parent.mkdir(parents=True, exist_ok=True)
    Image.fromarray(picture).save(path)


def _block_means(plane):
    height, width = (side - side % BLOCK for side in plane.shape)
    blocks = plane[:height, :width].reshape(height // BLOCK, BLOCK, width // BLOCK, BLOCK)
    return blocks.mean(axis=(1, 3))
