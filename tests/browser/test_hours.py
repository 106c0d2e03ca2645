"""A page that stays open for hours, and one that is sent more than it can show."""
import io
import time

import pytest
from PIL import Image

from harness.waiting import eventually

FRAMES = 2000
FRAMES_PER_SECOND = 80
RED = 0xC02020
COUNT_URLS = """<script>
  window.liveURLs = window.mostURLs = window.allURLs = 0;
  const create = URL.createObjectURL, revoke = URL.revokeObjectURL;
  URL.createObjectURL = (blob) => {
    ++window.allURLs;
    window.mostURLs = Math.max(window.mostURLs, ++window.liveURLs);
    return create.call(URL, blob);
  };
  URL.revokeObjectURL = (url) => { --window.liveURLs; revoke.call(URL, url); };
</script>"""
HEAD = b"HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nConnection: close\r\n\r\n"
# Chromium fills a cache with what it has decoded, within the first few hundred frames. Keeping the
# frames themselves would take twice as much as this, keeping what is decoded thirty times.
GROWTH = 40 << 20


class Film:
    """Sends frames, the last of which is all red, and counts them."""

    def __init__(self, frames, frames_per_second, size):
        self.sent = 0
        self._frames = frames
        self._interval = 1 / frames_per_second
        self._noise = [_part(_noise(size, shade)) for shade in range(0, 250, 25)]
        self._red = _part(Image.new("RGB", size, f"#{RED:06x}"))

    def __call__(self, connection):
        connection.sendall(HEAD)
        started = time.monotonic()
        while self.sent < self._frames:
            time.sleep(max(0, started + self.sent * self._interval - time.monotonic()))
            connection.sendall(self._noise[self.sent % len(self._noise)])
            self.sent += 1
        connection.sendall(self._red)
        connection.recv(1)  # stays open until the page leaves


def _noise(size, shade):
    coarse = Image.effect_noise((size[0] // 2, size[1] // 2), 60)
    return coarse.point(lambda value: (value + shade) % 256).resize(size)


def _part(picture):
    jpeg = io.BytesIO()
    picture.save(jpeg, "JPEG", quality=50)
    return (b"--tarvinelframe\r\nContent-Type: image/jpeg\r\nContent-Length: %d\r\n\r\n%s\r\n"
            % (len(jpeg.getvalue()), jpeg.getvalue()))


@pytest.fixture
def show(page, sharing, relay):
    """Opens a page that is sent a film."""
    def start(film):
        door = relay(sharing, inject=COUNT_URLS)
        door.answer_stream = film
        page.open(door.port)
    return start


def least_memory_until(browser, film, frames):
    """What is left each time that the browser has collected its garbage."""
    least = browser.memory_bytes()
    while film.sent < frames:
        least = min(least, browser.memory_bytes())
        time.sleep(0.2)
    return least


def test_thousands_of_frames(page, show):
    """Neither the memory nor the number of object URLs grows."""
    film = Film(FRAMES, FRAMES_PER_SECOND, (960, 540))
    show(film)
    eventually(lambda: film.sent > FRAMES // 3, 60, "the browser is warm")
    before = least_memory_until(page.browser, film, FRAMES * 2 // 3)
    after = least_memory_until(page.browser, film, FRAMES)
    page.wait_for_colour(RED)
    assert page.browser.evaluate("window.liveURLs") == 1
    assert page.browser.evaluate("window.mostURLs") <= 2
    assert page.browser.evaluate("window.allURLs") > FRAMES // 4
    assert after - before < GROWTH, f"{(after - before) >> 20} MiB"


def test_more_and_larger_frames_than_the_browser_can_show(page, show):
    """It skips some instead of falling behind."""
    film = Film(100, 20, (3840, 2160))
    show(film)
    page.eventually(lambda: film.sent == 100, "all are taken")
    page.wait_for_colour(RED, within=5)
