"""A browser that lacks something: the page falls back to what is there, at last to the image alone."""
import pytest

from harness.browsers.viewer_page import ViewerPage
from harness.network.intercepting_proxy import respond_unavailable
from harness.x11.canvas import read_number
from harness.x11.motion import Motion

WITHOUT_FETCH = "<script>delete window.fetch;</script>"
WITHOUT_WORKER = "<script>delete window.OffscreenCanvas;</script>"
WITHOUT_CANVAS = "<script>delete window.createImageBitmap;</script>"
FAILS_LATER = """<script>
  delete window.OffscreenCanvas;
  const decode = createImageBitmap;
  let left = 3;
  window.createImageBitmap = async (picture) => {
    if (left-- <= 0) throw new DOMException("no memory");
    return decode(picture);
  };
</script>"""


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


@pytest.mark.parametrize("missing", [WITHOUT_WORKER, WITHOUT_CANVAS, FAILS_LATER],
                         ids=["worker", "canvas", "decoding later"])
def test_without(page, sharing, make_proxy, x, canvas, missing):
    page.open(make_proxy(sharing, inject=missing).port)
    page.wait_for_picture(x)
    for seed in range(2, 6):
        canvas.text(seed)
        page.wait_for_picture(x)
    paints = page.browser.evaluate("document.querySelector('canvas') !== null")
    assert paints == (missing is WITHOUT_WORKER)
    page.wait_for_viewers(sharing)
