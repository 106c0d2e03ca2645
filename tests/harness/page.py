"""The viewer page as its visitor sees it."""
from pathlib import Path

import numpy

from . import pixels
from .network import Network
from .waiting import eventually

SCREENSHOTS = Path(__file__).resolve().parents[2] / "build/screenshots"
LIMIT = 20
GIVEN_UP_WITHIN = 45


class Page:
    """A page in the foreground tab of a browser."""

    WAITING = "Tarvinel - waiting for the presenter to start sharing"
    DISCONNECTED = "Stream disconnected - reconnecting"

    def __init__(self, browser):
        self.browser = browser

    def open(self, port):
        """Opens the page of the server that listens on this port."""
        self.browser.open(f"http://{Network.SERVER_ADDRESS}:{port}/")

    def wait_for_hint(self, text, within=LIMIT):
        self.eventually(self._only_a_hint_is_seen, "nothing but the hint is seen", within)
        self.eventually(lambda: self.browser.hint() == text, f"the page reads {text!r}", within)

    def wait_for_picture(self, server, within=LIMIT):
        """Waits until the visitor sees, sharply and in every corner, what the display shows."""
        self.eventually(lambda: pixels.same(self.pixels(), pixels.grab(server)),
                        "the shared picture is on the page", within)
        assert self.browser.hint() is None

    def wait_for_colour(self, colour, within=LIMIT):
        """Waits until the middle of the page is of one colour, given as 0xRRGGBB."""
        wanted = numpy.frombuffer(colour.to_bytes(3, "big"), numpy.uint8).astype(int)

        def filled():
            picture = self.pixels()
            height, width = picture.shape[0] // 4, picture.shape[1] // 4
            return (abs(picture[height:-height, width:-width] - wanted) < 12).all()

        self.eventually(filled, f"the page is of colour {colour:06x}", within)

    def wait_for_viewers(self, program, count=1):
        """Waits until the program has so many viewers: one for each page.

        One page in fifty, WebKit neither reads nor closes a request that it has given up, until the
        server gives up the connection as well.
        """
        self.eventually(lambda: program.viewers() == count, f"viewers: {count}", GIVEN_UP_WITHIN)

    def shows_something_like(self, server):
        return pixels.same(self.pixels(), pixels.grab(server), pixels.SIMILAR)

    def pixels(self):
        return self.browser.pixels()

    def keep_screenshot(self, name):
        pixels.save(self.pixels(), SCREENSHOTS / f"{name}-{self.browser.name}.png")

    def eventually(self, condition, what, within=LIMIT):
        try:
            return eventually(condition, within, what)
        except AssertionError:
            self.keep_screenshot("failed")
            raise

    def _only_a_hint_is_seen(self):
        """Light letters in the middle of a dark page, which is otherwise empty."""
        picture = self.pixels()
        quarter = picture.shape[0] // 4
        letters = (picture.max(axis=2) > 100).sum(axis=1)
        return (letters[quarter:-quarter].sum() > 300
                and not letters[:quarter].any() and not letters[-quarter:].any())
