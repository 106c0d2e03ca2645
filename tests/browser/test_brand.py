"""The pages with and without a brand, on a phone and on a desktop, with a logo and a font from Debian's
packages. The screenshots are kept in build/screenshots/."""
import json
from pathlib import Path

import numpy
import pytest

from harness.browsers.page import BrowserPage

LOGO = Path("/usr/share/icons/hicolor/scalable/apps/xterm-color.svg")
FONT = Path("/usr/share/fonts/woff2/dejavu/DejaVuSerif.woff2")
PAGE_BACKGROUND = 0x11
ORANGE = (0xE2, 0x79, 0x1B)
PHONE, DESKTOP = (390, 844), (1440, 900)
SIZES = pytest.mark.parametrize("size", [PHONE, DESKTOP], ids=["phone", "desktop"])


class BrandedPage(BrowserPage):
    """Any page of the program, on a screen of a given size."""

    def __init__(self, browser):
        super().__init__(browser)
        self._is_phone = False

    def visit(self, program, path, size=DESKTOP):
        port = program.listening_port()
        self.open(port, path)
        self.wait_for(f"location.port === '{port}' && location.pathname === '{path}'"
                      " && document.querySelector('#hint, #form, main') !== null")
        if size == PHONE:
            self._is_phone = True
            self.browser.become_phone(*size)
        else:
            self.browser.resize(*size)
            self.wait_for(f"innerWidth === {size[0]} && innerHeight === {size[1]}")

    def leave(self):
        if self._is_phone:
            self.browser.leave_phone()
        else:
            self.browser.resize(800, 600)

    def wait_for(self, expression):
        self.eventually(lambda: self.browser.evaluate(expression), expression)

    def wait_for_logo(self):
        """Waits until the logo's colours are visible at the position of the logo."""
        def seen():
            logo = self.pixels_of("#logo")
            ink = abs(logo - PAGE_BACKGROUND).max(axis=2, initial=0) > 30
            return logo.size and ink.mean() > 0.15 and len(
                numpy.unique(logo.reshape(-1, 3), axis=0)) > 50

        self.eventually(seen, "the logo is seen")

    def wait_for_colour(self, selector, colour):
        self.eventually(lambda: (abs(self.pixels_of(selector) - colour).max(axis=2) < 8).any(),
                        f"{selector} is seen in {colour}")

    def wait_for_font(self, selector):
        """Waits until a text in the element's style has the width that only the brand's font gives it."""
        self.wait_for("[...document.fonts].map((font) => font.status).join() === 'loaded'")
        with_brand, without = self.browser.evaluate(
            f"(() => {{ const copy = document.querySelector('{selector}').cloneNode(true);"
            " copy.textContent = 'WWWWWWWWWW iiiiiiiiii';"
            " copy.style.cssText += ';position:absolute;white-space:nowrap;max-width:none';"
            " document.body.append(copy); const branded = copy.getBoundingClientRect().width;"
            " copy.style.fontFamily = 'sans-serif'; const plain = copy.getBoundingClientRect().width;"
            " copy.remove(); return [branded, plain]; })()")
        assert abs(with_brand - without) > 5

    def assert_inside(self, *selectors):
        """Checks that the elements are within the screen and the page does not scroll horizontally."""
        width, height, whole = self.browser.evaluate(
            "[innerWidth, innerHeight, document.documentElement.scrollWidth]")
        for selector in selectors:
            left, top, right, bottom = self.box(selector)
            assert 0 <= left < right <= width and 0 <= top < bottom <= height, selector
        assert whole <= width


@pytest.fixture
def page(browser):
    made = BrandedPage(browser)
    yield made
    made.leave()


@pytest.fixture
def plain(start):
    return start("--capture", "pattern", "--uploads")


@pytest.fixture
def branded(start, tmp_path):
    """Starts the program with these settings of the brand."""
    def start_program(**brand):
        file = tmp_path / "config.json"
        file.write_text(json.dumps({"hostname": "", "brand": brand}))
        return start("--capture", "pattern", "--uploads", "--config", str(file))
    return start_program


@pytest.fixture
def studio(branded):
    """The program with a logo and a font."""
    return branded(name="Studio Example", waiting="We begin in a moment", image=str(LOGO),
                   font=str(FONT), color="#e2791b")


def save_screenshot(page, name, size):
    page.keep_screenshot(f"{name}-{'phone' if size == PHONE else 'desktop'}")


@SIZES
def test_idle_screen_without_a_brand(page, plain, size):
    page.visit(plain, "/", size)
    page.eventually(lambda: (page.pixels().max(axis=2) > 100).any(), "a text is seen")
    save_screenshot(page, "idle", size)
    page.assert_inside("#hint")
    assert not page.browser.evaluate("document.querySelector('#logo, #name') !== null")


@SIZES
def test_idle_screen_with_logo_and_font(page, studio, size):
    page.visit(studio, "/", size)
    page.wait_for_logo()
    page.wait_for_font("#hint")
    save_screenshot(page, "idle-logo", size)
    page.assert_inside("#hint", "#logo")
    assert page.browser.evaluate("document.title") == "Studio Example"


# Lays the page out before its script runs, so that font and logo are being loaded then.
EARLY_LAYOUT = """<script>
new MutationObserver(() => document.body?.offsetWidth).observe(document, {
  childList: true, subtree: true });
</script>"""


def test_requests_while_the_page_starts(page, studio, make_proxy):
    proxy = make_proxy(studio, inject=EARLY_LAYOUT)
    page.open(proxy.port)
    page.wait_for("document.getElementById('hint') !== null")
    page.wait_for_font("#hint")
    page.wait_for_logo()
    page.eventually(lambda: proxy.open_streams() == 1, "only the script's request remains")


@SIZES
def test_idle_screen_with_a_name(page, branded, size):
    page.visit(branded(name="Studio <Example> & Sons", color="#e2791b"), "/", size)
    page.wait_for_colour("#name", ORANGE)
    save_screenshot(page, "idle-name", size)
    page.assert_inside("#hint", "#name")
    assert page.browser.evaluate("document.getElementById('name').textContent") == \
        "Studio <Example> & Sons"


def test_idle_screen_with_long_words(page, branded):
    page.visit(branded(name="W" * 60, waiting="m" * 100), "/", PHONE)
    page.wait_for_colour("#name", (0xCC, 0xCC, 0xCC))
    save_screenshot(page, "idle-long", PHONE)
    page.assert_inside("#hint", "#name")


@SIZES
def test_idle_screen_with_a_logo_that_cannot_be_read(page, branded, size):
    page.visit(branded(image="/nowhere.png", font="/nowhere.woff2"), "/", size)
    page.wait_for("document.getElementById('logo').complete")
    save_screenshot(page, "idle-lost", size)
    page.assert_inside("#hint")


@SIZES
def test_upload_page_with_logo_and_font(page, studio, size):
    page.visit(studio, "/upload", size)
    page.wait_for_logo()
    page.wait_for_font("h1")
    save_screenshot(page, "upload-logo", size)
    page.assert_inside("#logo", "h1", "#form")
    assert page.browser.evaluate("document.title") == "Studio Example"


@SIZES
def test_help_page_without_a_brand(page, plain, size):
    page.visit(plain, "/help", size)
    page.assert_inside("h1", "#name")
    save_screenshot(page, "help", size)
    main_left, _, main_right, _ = page.box("main")
    assert main_right - main_left == min(720, page.browser.evaluate(
        "document.documentElement.clientWidth"))


@SIZES
def test_help_page_with_logo_and_font(page, studio, size):
    page.visit(studio, "/help", size)
    page.wait_for_logo()
    page.wait_for_font("h1")
    save_screenshot(page, "help-logo", size)
    page.assert_inside("h1", "#logo")
    assert page.browser.evaluate("document.title") == "Studio Example Help"


def test_help_page_with_the_longest_host_name(page, start, tmp_path):
    file = tmp_path / "config.json"
    file.write_text(json.dumps({"hostname": "m" * 63}))
    page.visit(start("--capture", "pattern", "--config", str(file), named=True), "/help", PHONE)
    save_screenshot(page, "help-long", PHONE)
    page.assert_inside("h1")


def test_the_brand_sample_of_the_help_page_works_when_pasted(page, plain, start, tmp_path):
    """The logo and the font are where the sample expects them, below the tests' home."""
    page.visit(plain, "/help")
    sample = page.browser.evaluate("document.getElementById('brand-sample').textContent")
    brand = json.loads(sample)["brand"]
    for path, file in ((brand["image"], LOGO), (brand["font"], FONT)):
        target = tmp_path / path.removeprefix("~/")
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(file.read_bytes())
    settings = tmp_path / "config/Tarvinel/config.json"
    settings.parent.mkdir(parents=True)
    settings.write_text(sample)
    page.visit(start("--capture", "pattern"), "/")
    page.wait_for_logo()
    page.wait_for_font("#hint")
    save_screenshot(page, "idle-sample", DESKTOP)
