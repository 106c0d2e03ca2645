"""One window or one application is shared while another covers it. The system tests cover what is captured;
one browser suffices to show what arrives."""
import numpy
import pytest

from harness import pixels
from harness.program import list_sources
from harness.x11.canvas import Canvas
from harness.x11.window_owner import Owner

SECRET = 0xFF00FF
LEFT, TOP = -50, 40  # size of the window

pytestmark = pytest.mark.parametrize(
    "engine", [pytest.param("chromium", marks=pytest.mark.xdist_group("chromium"))], indirect=True)


@pytest.fixture
def window(x):
    """Opens a window of the page's size that is partly off the screen."""
    painter = Canvas(x, LEFT, TOP, 800, 600, title="slides")
    yield painter
    painter.close()


@pytest.fixture
def cover(x, tmp_path):
    """Opens a window of another program over the whole display."""
    other = Owner(x, tmp_path, "other")
    other.open("cover", 0, 0, x.width, x.height, SECRET, 1)
    yield other
    other.stop()


def share(start, server, folder, kind):
    found = list_sources(folder, server.name, "--capture", "x11")
    identifier = next(one for one in found if one.startswith(kind))
    program = start("--capture", "x11", "--share", identifier, display=server.name)
    program.wait_until_sharing()
    return program


def shows_secret(picture):
    return (abs(picture.astype(int) - [0xFF, 0, 0xFF]).max(axis=2) < 40).any()


def painting(server, seed):
    """Returns the pixels of a canvas of the display's size."""
    painter = Canvas(server)
    painter.text(seed)
    picture = pixels.grab(server)
    painter.close()
    return picture


def test_covered_window_is_seen(page, x, window, cover, start, tmp_path):
    program = share(start, x, tmp_path, "window")
    page.open(program.listening_port())
    wanted = painting(x, 1)
    window.text(1)
    page.eventually(lambda: pixels.same(page.pixels(), wanted), "the window is on the page")
    page.keep_screenshot("window")
    assert not shows_secret(page.pixels())


def test_covered_application_is_seen(page, x, window, cover, start, tmp_path):
    program = share(start, x, tmp_path, "app")
    page.open(program.listening_port())
    picture = painting(x, 2)
    wanted = numpy.zeros_like(picture)
    wanted[TOP:, :LEFT] = picture[:-TOP, -LEFT:]
    window.text(2)
    page.eventually(lambda: pixels.same(page.pixels(), wanted), "the application is on the page")
    page.keep_screenshot("application")
    assert not shows_secret(page.pixels())
