"""An old browser that cannot read a response as it arrives: the image alone does what it can."""
import pytest

from harness.browsers.viewer_page import ViewerPage
from harness.network.intercepting_proxy import unavailable
from harness.x11.canvas import read_number
from harness.x11.motion import Motion

WITHOUT_FETCH = "<script>delete window.fetch;</script>"


@pytest.fixture
def door(sharing, relay):
    return relay(sharing, inject=WITHOUT_FETCH)


def test_motion_without_fetch(page, door, sharing, canvas):
    """One frame late at the most in some browsers, which takes no harm from motion."""
    page.open(door.port)
    with Motion(canvas) as motion:
        page.eventually(lambda: motion.latest > 20
                        and abs(read_number(page.pixels()) - motion.latest) < 10,
                        "the page keeps up")
        assert page.browser.evaluate("'fetch' in window") is False
        page.wait_for_viewers(sharing)


def test_refusal_without_fetch(page, door, canvas):
    door.answer_stream = unavailable
    page.open(door.port)
    page.wait_for_hint(ViewerPage.DISCONNECTED)
    first = len(door.stream_times)
    page.eventually(lambda: len(door.stream_times) >= first + 2, "it tries again and again")
    door.answer_stream = None
    with Motion(canvas) as motion:
        page.eventually(lambda: motion.latest > 20
                        and abs(read_number(page.pixels()) - motion.latest) < 10,
                        "the page keeps up")
        page.eventually(lambda: page.browser.hint() is None, "no hint over the picture")
