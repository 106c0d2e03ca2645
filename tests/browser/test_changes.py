"""Changes of every kind, faster than the page follows: whenever the screen rests, the page shows it sharply."""
import random

import pytest

ROUNDS = 8
CHANGES = 60  # in each round


class Painter:
    """Makes random changes."""

    def __init__(self, canvas, seed):
        self._canvas = canvas
        self._random = random.Random(seed)

    def change(self):
        with self._canvas.at_once():
            self._random.choice([self._type, self._scroll, self._scroll, self._block, self._page])()

    def _area(self):
        x = self._random.randrange(self._canvas.width - 100)
        y = self._random.randrange(self._canvas.height - 100)
        return (x, y, self._random.randrange(20, self._canvas.width - x),
                self._random.randrange(20, self._canvas.height - y))

    def _type(self):
        x, y, _, _ = self._area()
        self._canvas.write(self._random.choice("aegkmosw"), x, y + 12)

    def _scroll(self):
        x, y, width, height = self._area()
        self._canvas.scroll_part(x, y, width, height, self._random.randrange(1, height))

    def _block(self):
        self._canvas.rectangle(self._random.randrange(1 << 24), *self._area())

    def _page(self):
        self._canvas.draft(self._random.randrange(1000))
        self._canvas.show(*self._area())


@pytest.mark.parametrize("seed", [1, 2])
def test_random_changes(page, sharing, x, canvas, seed):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    painter = Painter(canvas, seed)
    for _ in range(ROUNDS):
        for _ in range(CHANGES):
            painter.change()
        page.wait_for_picture(x)


def test_scrolling(page, sharing, x, canvas):
    """What scrolls is copied within the page."""
    page.open(sharing.listening_port())
    canvas.text(1)
    page.wait_for_picture(x)
    for distance in (16, 3, 40, 7, 100):
        with canvas.at_once():
            canvas.scroll_part(64, 96, 600, 440, distance)
        page.wait_for_picture(x)
