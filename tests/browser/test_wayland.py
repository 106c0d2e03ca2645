"""A Wayland desktop's screen in a browser. What is captured is the matter of the system tests."""
import pytest

from harness import pixels
from harness.wayland import WaylandSession

pytestmark = pytest.mark.parametrize(
    "engine", [pytest.param("chromium", marks=pytest.mark.xdist_group("chromium"))], indirect=True)


@pytest.fixture
def session():
    with WaylandSession() as made:
        yield made


def test_the_screen_is_seen(page, session, place):
    program = session.program("--share", "display-1", **place)
    program.wait_until_sharing()
    page.open(program.listening_port())
    for colour in (0xC02040, 0x20C040):
        session.show(f"#{colour:06x}")
        page.wait_for_colour(colour)
    session.terminal()
    empty = session.screenshot()
    session.type("quick amber signal")
    page.eventually(lambda: shows_news(page, session, empty), "the terminal is seen")
    page.keep_screenshot("wayland")
    page.wait_for_viewers(program)


def shows_news(page, session, before):
    now = session.screenshot()
    return not pixels.same(now, before) and pixels.same(page.pixels(), now)
