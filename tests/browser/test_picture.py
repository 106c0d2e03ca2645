"""The picture appears, changes and keeps its position."""

import numpy
import pytest

from harness import pixels
from harness.browsers.viewer_page import ViewerPage
from harness.program import display_ids
from harness.x11.canvas import read_number
from harness.x11.motion import Motion

WHITE = 0xFFFFFF
MARK = 24  # side of the squares in the corners of a framed canvas


def show_framed(canvas, seed):
    """Shows a text with a white square in every corner."""
    canvas.draft(seed)
    for x in (0, canvas.width - MARK):
        for y in (0, canvas.height - MARK):
            canvas.draft_rectangle(WHITE, x, y, MARK, MARK)
    canvas.show()


def corners_are_white(picture, distance=4):
    """Returns whether the squares of show_framed() are in the corners of the page."""
    near = picture[[distance, -1 - distance]][:, [distance, -1 - distance]]
    beside = picture[[MARK + 12, -1 - MARK - 12]][:, [distance, -1 - distance]]
    return near.min() > 200 and beside.max() < 200


def test_join_while_the_screen_is_still(page, sharing, x):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    page.keep_screenshot("picture")
    page.wait_for_viewers(sharing)


def test_join_before_any_sharing(page, x_program, x, canvas, tmp_path):
    canvas.text(3)
    page.open(x_program.listening_port())
    page.wait_for_hint(ViewerPage.WAITING)
    page.keep_screenshot("waiting")
    x_program.share(display_ids(tmp_path, x)[0])
    page.wait_for_picture(x)


def test_burst_and_then_stillness(page, sharing, x, canvas):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    for seed in range(2, 8):
        show_framed(canvas, seed)
    page.wait_for_picture(x)
    canvas.rectangle(0xE05050, 200, 200, 16, 16)
    page.wait_for_picture(x)


def test_steady_motion(page, sharing, x, canvas):
    """The page keeps up with the screen and never shows an older frame."""
    canvas.text(0, number=0)
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    numbers = []
    with Motion(canvas) as motion:
        page.eventually(lambda: read_number(page.pixels()) > 0, "the first number")
        while motion.latest < 60:
            numbers.append(read_number(page.pixels()))
        page.eventually(lambda: read_number(page.pixels()) >= 60, "the page keeps up")
    assert numbers == sorted(numbers)
    assert len(set(numbers)) > 10, numbers
    page.wait_for_picture(x)


@pytest.fixture
def double_scale(x):
    """The shared desktop has scale 2, so motion frames have half the width and height."""
    x.run("sh", "-c", "echo 'Xft.dpi: 192' | xrdb -merge")


def test_sharp_frame_takes_the_place_of_a_small_blurry_one(page, double_scale, start, x, canvas,
                                                           tmp_path):
    show_framed(canvas, 1)
    program = start("--capture", "x11", "--share", display_ids(tmp_path, x)[0], display=x.name)
    page.open(program.listening_port())
    page.wait_for_picture(x)
    blurry = 0
    for seed in (2, 3, 4):
        show_framed(canvas, seed)
        while not pixels.same(page.pixels(), pixels.grab(x)):
            seen = page.pixels()
            assert corners_are_white(seen), keep_flaw(page)
            blurry += pixels.same(seen, pixels.grab(x), pixels.Difference(30, 60))
    assert blurry > 0, "no motion frame was seen"


def keep_flaw(page):
    page.keep_screenshot("failed")
    return "the picture left its place"


def test_presenter_stops_and_starts_again(page, sharing, x, canvas, tmp_path):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    sharing.command("stop")
    sharing.wait_until_sharing(False)
    page.wait_for_text_alone()
    page.keep_screenshot("stopped")
    assert page.browser.hint() is None  # the picture is still shown
    canvas.text(2)
    sharing.share(display_ids(tmp_path, x)[0])
    page.wait_for_picture(x)
    page.wait_for_viewers(sharing)


def test_page_hidden_and_shown_again(page, sharing, x, canvas):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    viewer = page.browser.tab()
    page.browser.new_tab()
    page.eventually(lambda: not page.shows_something_like(x), "another tab is in front")
    for seed in range(2, 6):
        canvas.text(seed)
    page.browser.close_tab()
    page.browser.switch_to(viewer)
    page.wait_for_picture(x)
    canvas.text(7)
    page.wait_for_picture(x)


def test_two_tabs(page, sharing, x, canvas):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    first = page.browser.tab()
    page.browser.new_tab()
    page.open(sharing.listening_port())
    canvas.fill(0x3050A0)
    page.wait_for_colour(0x3050A0)
    page.wait_for_viewers(sharing, 2)
    page.browser.switch_to(first)
    page.wait_for_colour(0x3050A0)
    canvas.fill(0xA05030)
    page.wait_for_colour(0xA05030)


def test_left_and_returned(page, sharing, x, canvas):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    page.browser.open("about:blank")
    page.wait_for_viewers(sharing, 0)
    page.eventually(lambda: page.browser.evaluate("location.href") == "about:blank",
                    "another page has taken its place")
    canvas.text(2)
    page.browser.back()
    page.wait_for_picture(x)
    page.wait_for_viewers(sharing)


def test_window_turned(page, sharing, x, canvas):
    show_framed(canvas, 1)
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    page.browser.resize(600, 800)
    page.eventually(lambda: fills_the_width(page.pixels()), "the picture fits the upright page")
    page.keep_screenshot("upright")
    assert page.browser.evaluate("document.scrollingElement.scrollHeight <= innerHeight"
                                 " && document.scrollingElement.scrollWidth <= innerWidth")
    show_framed(canvas, 2)
    page.browser.resize(800, 600)
    page.wait_for_picture(x)


def fills_the_width(picture, width=600, height=800):
    """Returns whether a 4:3 picture fills the width, with only background above and below."""
    if picture.shape[:2] != (height, width):
        return False
    top = (height - width * 3 // 4) // 2
    around = numpy.concatenate([picture[:top - 1], picture[-top + 1:]])
    return (around == 0x11).all() and corners_are_white(picture[top:-top])


def test_screen_readers_and_fingers(page, x_program, x, canvas, tmp_path):
    """Changes are announced; the picture cannot be selected and nothing scrolls."""
    canvas.text(1)
    page.open(x_program.listening_port())
    page.wait_for_hint(ViewerPage.WAITING)
    assert page.browser.evaluate("document.querySelector('#hint[role=status]') !== null")
    x_program.share(display_ids(tmp_path, x)[0])
    page.wait_for_picture(x)
    assert page.browser.evaluate(
        "document.querySelector('canvas[role=img]').getAttribute('aria-label')") == "Shared screen"
    page.browser.evaluate("getSelection().selectAllChildren(document.body)")
    page.browser.evaluate("scrollTo(0, 1000)")
    page.wait_for_picture(x)
    assert page.browser.evaluate("document.scrollingElement.scrollTop") == 0


def test_terminal_and_clock(page, sharing, x, clients):
    """A terminal scrolls and a clock ticks; then the terminal stops, then the clock is closed."""
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    clock = x.client("xclock", "-update", "1", "-geometry", "150x150+600+20")
    terminal = x.client("xterm", "-geometry", "80x24+20+20", "-e", "sh", "-c",
                        "for i in $(seq 60); do ls -l /usr/lib; sleep 0.05; done; exec cat")
    clients += [clock, terminal]
    before = page.pixels()
    page.eventually(lambda: not pixels.same(page.pixels(), before, pixels.SIMILAR),
                    "the terminal's text is on the page")
    page.wait_for_picture(x)
    clock.stop()
    page.wait_for_picture(x)
