"""What a visitor sees: the pixels of the X display that Chromium is on."""
from pathlib import Path

import pytest

from harness import pixels
from harness.program import display_ids
from harness.waiting import eventually

WAITING = "Tarvinel - waiting for the presenter to start sharing"
DISCONNECTED = "Stream disconnected - reconnecting"
SCREENSHOTS = Path(__file__).resolve().parents[2] / "build/screenshots"
PAGE_LIMIT = 20


@pytest.fixture
def page(browser):
    return Page(browser)


class Page:
    """The viewer page as its visitor sees it."""

    def __init__(self, browser):
        self._browser = browser

    def open(self, program):
        self._browser.open(program.url)

    def wait_for_hint(self, text):
        eventually(lambda: self._browser.hint() == text, PAGE_LIMIT, f"the page reads {text!r}")
        self._eventually(self._only_a_hint_is_seen, "nothing but the hint is seen")

    def wait_for_picture(self, server):
        """Waits until the visitor sees, sharply, what the shared display shows."""
        self._eventually(lambda: pixels.same(self.pixels(), pixels.grab(server)),
                         "the shared picture is on the page")
        assert self._browser.hint() is None

    def pixels(self):
        return self._browser.pixels()

    def keep_screenshot(self, name):
        pixels.save(self.pixels(), SCREENSHOTS / f"{name}.png")

    def _eventually(self, condition, what):
        try:
            eventually(condition, PAGE_LIMIT, what)
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


def test_still_screen_appears_for_a_late_visitor(page, sharing, x):
    eventually(lambda: sharing.status()["sharing"], 10, "shared before anyone came")
    page.open(sharing)
    page.wait_for_picture(x)
    page.keep_screenshot("picture")


def test_change_and_then_the_sharp_frame_appear(page, sharing, x, canvas):
    page.open(sharing)
    page.wait_for_picture(x)
    canvas.text(2)
    page.wait_for_picture(x)
    canvas.rectangle(0xE05050, 200, 200, 16, 16)
    page.wait_for_picture(x)


def test_waiting_and_then_the_picture(page, x_program, x, canvas, tmp_path):
    canvas.text(3)
    page.open(x_program)
    page.wait_for_hint(WAITING)
    page.keep_screenshot("waiting")
    x_program.share(display_ids(tmp_path, x)[0])
    page.wait_for_picture(x)


def test_killed_server_and_its_return(page, sharing, start, x, canvas, tmp_path):
    page.open(sharing)
    page.wait_for_picture(x)
    port = sharing.listening_port()
    sharing.kill()
    page.wait_for_hint(DISCONNECTED)
    assert not pixels.same(page.pixels(), pixels.grab(x), pixels.SIMILAR)
    page.keep_screenshot("disconnected")
    canvas.text(4)
    start("--capture", "x11", "--share", display_ids(tmp_path, x)[0], display=x.name, port=port)
    page.wait_for_picture(x)


def test_terminal_and_clock(page, sharing, x, clients):
    """A terminal that scrolls and a clock that ticks; then the terminal rests, then the clock
    goes."""
    page.open(sharing)
    page.wait_for_picture(x)
    clock = x.client("xclock", "-update", "1", "-geometry", "150x150+600+20")
    terminal = x.client("xterm", "-geometry", "80x24+20+20", "-e", "sh", "-c",
                        "for i in $(seq 60); do ls -l /usr/lib; sleep 0.05; done; exec cat")
    clients += [clock, terminal]
    before = page.pixels()
    eventually(lambda: not pixels.same(page.pixels(), before, pixels.SIMILAR), PAGE_LIMIT,
               "the terminal's text is on the page")
    page.wait_for_picture(x)
    clock.stop()
    page.wait_for_picture(x)
