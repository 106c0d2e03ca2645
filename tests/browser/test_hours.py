"""A page that stays open for hours, and one that receives more frames than it can show."""
import io
import math
import threading
import time

import pytest
from PIL import Image

from harness.tiles import TileViewer
from harness.waiting import eventually

SHOWN = 300  # updates between two samples
SAMPLES = 7
INTERVAL = 1 / 20
LIMIT = 120
RED = 0xC02020
COUNT_SHOWN = """<script>
  window.shown = 0;
  const decode = createImageBitmap;  // where the page itself paints
  window.createImageBitmap = (picture) => { ++window.shown; return decode(picture); };
  window.Worker = class extends Worker {
    constructor(...source) {
      super(...source);
      this.addEventListener("message", ({ data }) => { if (data === "shown") ++window.shown; });
    }
  };
</script>"""
# Without canvas: the page shows each picture in an image.
COUNT_URLS = """<script>
  delete window.createImageBitmap;
  window.liveURLs = window.mostURLs = window.allURLs = 0;
  const create = URL.createObjectURL, revoke = URL.revokeObjectURL;
  URL.createObjectURL = (blob) => {
    ++window.allURLs;
    window.mostURLs = Math.max(window.mostURLs, ++window.liveURLs);
    return create.call(URL, blob);
  };
  URL.revokeObjectURL = (url) => { --window.liveURLs; revoke.call(URL, url); };
</script>"""
# A browser that takes its time to decode: the page does not learn that a picture is loaded until
# showLoaded() is called.
HOLD_LOADS = """<script>
  let holds = true;
  document.addEventListener("load", (event) => {
    if (!holds || event.target.id !== "screen") return;
    event.stopImmediatePropagation();
    window.heldPicture = event.target;
  }, true);
  window.showLoaded = () => {
    holds = false;
    window.heldPicture.dispatchEvent(new Event("load"));
  };
</script>"""
HEAD = (b"HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\n"
        b"Content-Length: 9007199254740991\r\nConnection: close\r\n\r\n")
# Browsers fill caches within the first few hundred updates. Leaking the decoded pictures of 300 updates would
# take fifteen times as much as this.
GROWTH = 40 << 20  # from one sample to the next


class Film:
    """Sends a number of parts, or parts until end(), and then a red frame of that size. The parts are
    frames, unless some are given."""

    def __init__(self, size, interval, frames=math.inf, parts=()):
        self.sent = 0
        self._frames = frames
        self._interval = interval
        self._parts = parts or [_part(_noise(size, shade)) for shade in range(0, 250, 25)]
        self._red = _part(Image.new("RGB", size, f"#{RED:06x}"))
        self._ended = threading.Event()

    def end(self):
        self._ended.set()

    def __call__(self, connection):
        connection.sendall(HEAD)
        started = time.monotonic()
        while self.sent < self._frames and not self._ended.is_set():
            time.sleep(max(0, started + self.sent * self._interval - time.monotonic()))
            connection.sendall(self._parts[self.sent % len(self._parts)])
            self.sent += 1
        connection.sendall(self._red)
        connection.recv(1)  # keeps the stream open until the page closes it


def _noise(size, shade):
    coarse = Image.effect_noise((size[0] // 2, size[1] // 2), 60)
    return coarse.point(lambda value: (value + shade) % 256).resize(size)


def _part(picture):
    jpeg = io.BytesIO()
    picture.save(jpeg, "JPEG", quality=50)
    return (b"--tarvinelframe\r\nContent-Type: image/jpeg\r\nContent-Length: %d\r\n\r\n%s\r\n"
            % (len(jpeg.getvalue()), jpeg.getvalue()))


@pytest.fixture
def show(page, sharing, make_proxy):
    """Opens a page that receives a film, which ends with the test at the latest."""
    shown = []

    def start(film, inject):
        shown.append(film)
        proxy = make_proxy(sharing, inject=inject)
        proxy.stream_handler = film
        page.open(proxy.port)

    yield start
    for film in shown:
        film.end()


def least_memory_until(browser, frames):
    """Returns samples of the memory in use after garbage collection while the page shows frames."""
    least = []

    def shown():
        least.append(browser.memory_bytes())
        # the previous page may still be current
        return (browser.evaluate("window.shown") or 0) >= frames

    eventually(shown, LIMIT, f"{frames} frames are shown", every=0.2)
    return min(least)


def settles(browser):
    """Returns whether the memory stops growing. A browser may delay its garbage collection from one
    sample to the next, but a leak grows with every sample."""
    least_memory_until(browser, SHOWN)  # warms up
    before = least_memory_until(browser, 2 * SHOWN)
    for look in range(3, SAMPLES + 1):
        after = least_memory_until(browser, look * SHOWN)
        print(f"{look}: {(after - before) >> 20} MiB more")
        if after - before < GROWTH:
            return True
        before = after
    return False


def whole_updates(program, network, canvas):
    """Returns parts with every tile of three pictures, as they are sent to viewers who join."""
    parts = []
    with TileViewer(connection=network.connect_at_server(program.address)) as watcher:
        watcher.last_update()
        for colour in (0x3050A0, 0xA05030, 0x50A030):
            canvas.fill(colour)
            watcher.last_update()
            parts.append(whole_update(program, network))
    return parts


def whole_update(program, network):
    with TileViewer(connection=network.connect_at_server(program.address)) as viewer:
        return viewer.part()


def test_thousands_of_updates(page, show, sharing, network, canvas):
    """The memory of a page that paints does not grow."""
    film = Film((800, 600), INTERVAL, parts=whole_updates(sharing, network, canvas))
    show(film, COUNT_SHOWN)
    assert settles(page.browser)
    film.end()
    page.wait_for_colour(RED)


def test_more_updates_than_the_browser_can_paint(page, show, sharing, network):
    """The page shows the last one all the same."""
    film = Film((800, 600), 0, frames=200, parts=[whole_update(sharing, network)])
    show(film, "")
    page.wait_for_colour(RED)


def test_more_and_larger_frames_than_the_browser_can_show(page, show):
    """A browser that cannot paint skips frames instead of lagging behind, and frees those shown."""
    film = Film((3840, 2160), 0, frames=100)
    show(film, COUNT_URLS + HOLD_LOADS)
    page.eventually(lambda: film.sent == 100, "all are taken")
    page.eventually(lambda: page.browser.evaluate("'heldPicture' in window"), "one is loaded")
    assert page.browser.evaluate("window.allURLs") == 1
    page.browser.evaluate("window.showLoaded()")
    page.wait_for_colour(RED)
    assert page.browser.evaluate("window.allURLs") < 50  # the last ones were still on their way
    assert page.browser.evaluate("window.liveURLs") == 1
    assert page.browser.evaluate("window.mostURLs") <= 2
