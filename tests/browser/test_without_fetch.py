"""An old browser without streaming responses: the page falls back to the image alone."""
import pytest

from harness.browsers.viewer_page import ViewerPage
from harness.network.intercepting_proxy import respond_unavailable
from harness.x11.canvas import read_number
from harness.x11.motion import Motion

WITHOUT_FETCH = "<script>delete window.fetch;</script>"


@pytest.fixture
def proxy(sharing, make_proxy):
    return make_proxy(sharing, inject=WITHOUT_FETCH)


def test_motion_without_fetch(page, proxy, sharing, canvas):
    """Some browsers show the picture one frame late, which does not matter in motion."""
    page.open(proxy.port)
    with Motion(canvas) as motion:
        page.eventually(lambda: motion.latest > 20
                        and abs(read_number(page.pixels()) - motion.latest) < 10,
                        "the page keeps up")
        assert page.browser.evaluate("'fetch' in window") is False
        page.wait_for_viewers(sharing)


def test_refusal_without_fetch(page, proxy, canvas):
    proxy.stream_handler = respond_unavailable
    page.open(proxy.port)
    page.wait_for_hint(ViewerPage.DISCONNECTED)
    first = len(proxy.stream_times)
    page.eventually(lambda: len(proxy.stream_times) >= first + 2, "it tries again and again")
    proxy.stream_handler = None
    with Motion(canvas) as motion:
        page.eventually(lambda: motion.latest > 20
                        and abs(read_number(page.pixels()) - motion.latest) < 10,
                        "the page keeps up")
        page.eventually(lambda: page.browser.hint() is None, "no hint over the picture")
