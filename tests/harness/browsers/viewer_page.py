"""The viewer page."""
import numpy

from .. import pixels
from ..waiting import LIMIT
from .page import BrowserPage

GIVEN_UP_WITHIN = 30 + LIMIT  # seconds; the server closes a silent connection after 30


class ViewerPage(BrowserPage):
    """The page with the stream, or with the hint in place of the stream."""

    WAITING = "Tarvinel - waiting for the presenter to start sharing"
    DISCONNECTED = "Stream disconnected - reconnecting"

    def wait_for_hint(self, text, within=LIMIT):
        self.wait_for_text_alone(within)
        self.eventually(lambda: self.browser.hint() == text, f"the page reads {text!r}", within)

    def wait_for_text_alone(self, within=LIMIT):
        """Waits until the page shows only a text in the middle: the hint, or a card with that text."""
        self.eventually(self._only_a_text_is_seen, "nothing but a text is seen", within)

    def wait_for_picture(self, server, within=LIMIT):
        """Waits until the page shows the display, sharply and up to every corner."""
        self.eventually(lambda: pixels.same(self.pixels(), pixels.grab(server)),
                        "the shared picture is on the page", within)
        assert self.browser.hint() is None

    def wait_for_colour(self, colour, within=LIMIT):
        """Waits until the middle of the page has one colour, given as 0xRRGGBB."""
        wanted = numpy.frombuffer(colour.to_bytes(3, "big"), numpy.uint8).astype(int)

        def filled():
            picture = self.pixels()
            height, width = picture.shape[0] // 4, picture.shape[1] // 4
            return (abs(picture[height:-height, width:-width] - wanted) < 12).all()

        self.eventually(filled, f"the page is of colour {colour:06x}", within)

    def wait_for_viewers(self, program, count=1):
        """Waits until the program has this number of viewers, one for each page.

        For one page in fifty, WebKit neither reads nor closes a request that it has abandoned, until
        the server closes the connection.
        """
        self.eventually(lambda: program.viewers() == count, f"viewers: {count}", GIVEN_UP_WITHIN)

    def shows_something_like(self, server):
        return pixels.same(self.pixels(), pixels.grab(server), pixels.SIMILAR)

    def _only_a_text_is_seen(self):
        """Returns whether there are light letters in the middle of an otherwise dark page."""
        picture = self.pixels()
        quarter = picture.shape[0] // 4
        letters = (picture.max(axis=2) > 100).sum(axis=1)
        return (letters[quarter:-quarter].sum() > 300
                and not letters[:quarter].any() and not letters[-quarter:].any())
