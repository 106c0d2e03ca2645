"""A Wayland desktop's screen in a browser. The system tests cover what is captured."""
import numpy
import pytest

from harness import pixels
from harness.viewer import Viewer
from harness.wayland.sway import SwaySession

pytestmark = pytest.mark.parametrize(
    "engine", [pytest.param("chromium", marks=pytest.mark.xdist_group("chromium"))], indirect=True)


@pytest.fixture
def session():
    with SwaySession() as made:
        yield made


def test_the_screen_is_seen(page, session, network, program_keywords):
    program = session.program("--share", "display-1", **program_keywords)
    program.wait_until_sharing()
    page.open(program.listening_port())
    for colour in (0xC02040, 0x20C040):
        with Viewer(connection=network.connect_at_server(program.address)) as viewer:
            fill_until_captured(session, viewer, colour)
        page.wait_for_colour(colour)
    session.terminal()
    empty = session.screenshot()
    session.type("quick amber signal")
    page.eventually(lambda: shows_news(page, session, empty), "the terminal is seen")
    page.keep_screenshot("wayland")
    page.wait_for_viewers(program)


def fill_until_captured(session, viewer, colour):
    """Repeats the change, because this desktop's portal withholds about one first frame in a hundred."""
    wanted = numpy.frombuffer(colour.to_bytes(3, "big"), numpy.uint8).astype(int)
    viewer.frame_after(lambda: session.show(f"#{colour:06x}"),
                       lambda jpeg: (abs(pixels.decode(jpeg) - wanted) < 12).all(), frame_timeout=5)


def shows_news(page, session, before):
    now = session.screenshot()
    return not pixels.same(now, before) and pixels.same(page.pixels(), now)
