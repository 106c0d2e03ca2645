"""Screens that their user has rotated are shown upright."""
import pytest

from harness import pixels
from harness.pixels import is_about
from harness.viewer import Viewer
from harness.wayland.mutter import TRANSFORM_90, MutterSession
from harness.wayland.sway import OUTPUT, SwaySession

SCREEN = "display-1"
RED, GREEN, BLUE, GREY = (255, 0, 0), (0, 255, 0), (0, 0, 255), (128, 128, 128)


@pytest.fixture
def sway():
    with SwaySession() as made:
        yield made


@pytest.fixture
def mutter():
    with MutterSession() as made:
        yield made


def is_upright(jpeg, screen, window):
    """Returns whether the picture has this size and the four colours of the window in their places."""
    picture = pixels.decode(jpeg)
    red = pixels.place_of(picture, RED)
    if picture.shape[1::-1] != screen or red is None:
        return False
    left, top, middle, centre = red[0], red[1], red[0] + window[0] // 2, red[1] + window[1] // 2
    right, bottom = left + window[0], top + window[1]
    quarters = {RED: (left, top, middle, centre), GREEN: (middle, top, right, centre),
                BLUE: (left, centre, middle, bottom), GREY: (middle, centre, right, bottom)}
    return all(is_about(pixels.place_of(picture, colour), quarter)
               for colour, quarter in quarters.items())


def expect_upright(program, screen, plain, window):
    with Viewer(program.address) as viewer:
        viewer.frame_after(lambda: plain.paint(RED, GREEN, BLUE, GREY),
                           lambda jpeg: is_upright(jpeg, screen, window))


@pytest.mark.parametrize("transform", ["90", "180", "270", "flipped", "flipped-90", "flipped-180",
                                       "flipped-270"])
def test_sway(sway, transform):
    sway.sway("default_border", "none")
    sway.sway("output", OUTPUT, "transform", transform)
    size = (600, 800) if transform.endswith(("90", "270")) else (800, 600)
    window = sway.window(*size)
    program = sway.program("--share", SCREEN)
    program.wait_until_sharing()
    expect_upright(program, size, window, size)


def test_mutter(mutter):
    mutter.rotate_monitor(TRANSFORM_90)
    window = mutter.window(400, 300)
    cast = mutter.cast()
    mutter.backend.approve(cast.share_monitor(), cast.announced_size())
    program = mutter.program("--share", SCREEN)
    program.wait_until_sharing()
    expect_upright(program, (600, 800), window, (400, 300))
