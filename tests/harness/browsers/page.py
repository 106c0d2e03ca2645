"""A page in a browser; the base class of the page objects."""
from .. import pixels
from ..network.lan import Network
from ..waiting import LIMIT, eventually


class BrowserPage:
    """The page in the foreground tab of a browser."""

    def __init__(self, browser):
        self.browser = browser

    def open(self, port, path="/"):
        """Opens a page of the server on this port."""
        self.browser.open(f"http://{Network.SERVER_ADDRESS}:{port}{path}")

    def pixels(self):
        return self.browser.pixels()

    def pixels_of(self, selector):
        """Returns the pixels of an element as signed numbers."""
        zoom = self.browser.screen.width / self.browser.evaluate("innerWidth")
        left, top, right, bottom = (round(edge * zoom) for edge in self.box(selector))
        return self.pixels()[top:bottom, left:right].astype(int)

    def box(self, selector):
        """Returns left, top, right and bottom of an element in CSS pixels, which are the display's pixels
        unless the page is zoomed."""
        return self.browser.evaluate(
            f"(() => {{ const box = document.querySelector('{selector}').getBoundingClientRect();"
            " return [box.left, box.top, box.right, box.bottom].map(Math.round); })()")

    def keep_screenshot(self, name):
        pixels.save(self.pixels(), pixels.SCREENSHOTS / f"{name}-{self.browser.name}.png")

    def eventually(self, condition, what, within=LIMIT, every=0.02):
        try:
            return eventually(condition, within, what, every)
        except AssertionError as error:
            self.keep_screenshot("failed")
            seen = self.browser.evaluate("`${location.href} reads ${document.body.innerText}`")
            raise AssertionError(f"{error}; {seen:.300}") from error
