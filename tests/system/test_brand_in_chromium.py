"""The idle screen and the help page as a visitor sees them, on a phone and on a desktop, with a
brand and without: a logo and a font from Debian's packages are really shown. The pictures are left
in build/screenshots/."""
import base64
import io
import json
import os
import re
import urllib.request
from pathlib import Path

import numpy
import pytest
from PIL import Image

from harness.process import Process
from harness.waiting import LIMIT, eventually

LOGO = Path("/usr/share/icons/hicolor/scalable/apps/xterm-color.svg")
FONT = Path("/usr/share/fonts/woff2/dejavu/DejaVuSerif.woff2")
SCREENSHOTS = Path(__file__).resolve().parents[2] / "build/screenshots"
PAGE_BACKGROUND = 0x11
PHONE, DESKTOP = (390, 844), (1440, 900)
SIZES = pytest.mark.parametrize("size", [PHONE, DESKTOP], ids=["phone", "desktop"])
FLAGS = ("--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --hide-scrollbars "
         "--disable-background-networking --disable-component-update --disable-sync "
         "--disable-dev-shm-usage --force-device-scale-factor=1").split()


class Page:
    """A headless Chromium without a window, whose pages have any size."""

    def __init__(self, folder):
        self._driver = Process(["chromedriver", "--port=0"], folder, "chromedriver-pages",
                               env={**os.environ, "HOME": str(folder)})
        self._session = ""
        try:
            found = eventually(
                lambda: re.search(r"started successfully on port (\d+)", self._driver.stdout),
                LIMIT, "chromedriver listens")
            self._base = f"http://127.0.0.1:{found[1]}/session"
            options = {"args": [*FLAGS, f"--user-data-dir={folder}/profile"]}
            self._session = "/" + self._call("", {"capabilities": {"alwaysMatch": {
                "browserName": "chrome", "pageLoadStrategy": "none",
                "goog:chromeOptions": options}}})["sessionId"]
        except BaseException:
            self.stop()
            raise

    def open(self, program, path, size):
        width, height = size
        self._cdp("Emulation.setDeviceMetricsOverride", width=width, height=height,
                  deviceScaleFactor=1, mobile=size == PHONE)
        self._call("/url", {"url": program.url.rstrip("/") + path})
        self.wait_for("document.readyState !== 'loading' && location.pathname === "
                      + json.dumps(path))
        self.wait_for("document.fonts.status === 'loaded'")

    def evaluate(self, expression):
        return self._call("/execute/sync", {"script": f"return {expression};", "args": []})

    def wait_for(self, expression):
        eventually(lambda: self.evaluate(expression), LIMIT, expression)

    def pixels(self, name, whole=False):
        """Its pixels, also left as a file; `whole`: what can be scrolled to as well."""
        answer = self._cdp("Page.captureScreenshot", captureBeyondViewport=whole)
        png = base64.b64decode(answer["data"])
        SCREENSHOTS.mkdir(parents=True, exist_ok=True)
        (SCREENSHOTS / f"{name}.png").write_bytes(png)
        return numpy.asarray(Image.open(io.BytesIO(png)).convert("RGB")).astype(int)

    def box(self, selector):
        """Left, top, right and bottom of an element, in pixels of the screenshot."""
        box = self.evaluate(f"(() => {{ const box = document.querySelector('{selector}')"
                            ".getBoundingClientRect();"
                            " return [box.left, box.top, box.right, box.bottom]; })()")
        return [round(length) for length in box]

    def stop(self):
        try:
            if self._session:
                self._call("", None, "DELETE")
        finally:
            self._driver.stop()

    def _cdp(self, command, **parameters):
        return self._call("/goog/cdp/execute", {"cmd": command, "params": parameters})

    def _call(self, path, body, method="POST"):
        call = urllib.request.Request(
            self._base + self._session + path, method=method,
            data=None if body is None else json.dumps(body).encode(),
            headers={"Content-Type": "application/json"})
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        with opener.open(call, timeout=LIMIT) as answer:
            return json.load(answer)["value"]


@pytest.fixture(scope="module")
def page(tmp_path_factory):
    made = Page(tmp_path_factory.mktemp("pages"))
    yield made
    made.stop()


@pytest.fixture
def branded(start, tmp_path):
    """Starts the program with a brand of these entries."""
    def start_program(**brand):
        file = tmp_path / "config.json"
        file.write_text(json.dumps({"hostname": "studio", "brand": brand}))
        return start("--capture", "pattern", "--config", str(file))
    return start_program


def name_of(size, page_name):
    return f"{page_name}-{'phone' if size == PHONE else 'desktop'}"


def assert_inside(page, size, *selectors):
    """The elements are within the screen and the page does not scroll sideways."""
    for selector in selectors:
        left, top, right, bottom = page.box(selector)
        assert 0 <= left < right <= size[0] and 0 <= top < bottom <= size[1], selector
    assert page.evaluate("document.documentElement.scrollWidth") <= size[0]


def assert_logo_is_seen(page, pixels):
    """The logo's own colours stand where the logo is."""
    left, top, right, bottom = page.box("#logo")
    logo = pixels[top:bottom, left:right]
    seen = (abs(logo - PAGE_BACKGROUND).max(axis=2) > 30).mean()
    assert seen > 0.15
    assert len(numpy.unique(logo.reshape(-1, 3), axis=0)) > 50


def assert_brand_font_is_used(page, selector):
    assert page.evaluate("[...document.fonts].map((font) => font.status)") == ["loaded"]
    with_brand, without = page.evaluate(
        f"(() => {{ const copy = document.querySelector('{selector}').cloneNode(true);"
        " copy.textContent = 'WWWWWWWWWW iiiiiiiiii';"
        " copy.style.cssText += ';position:absolute;white-space:nowrap;max-width:none';"
        " document.body.append(copy); const branded = copy.getBoundingClientRect().width;"
        " copy.style.fontFamily = 'sans-serif'; const plain = copy.getBoundingClientRect().width;"
        " copy.remove(); return [branded, plain]; })()")
    assert abs(with_brand - without) > 5


@SIZES
def test_idle_screen_without_a_brand(page, start, size):
    page.open(start("--capture", "pattern"), "/", size)
    pixels = page.pixels(name_of(size, "idle"))
    assert_inside(page, size, "#hint")
    assert (pixels.max(axis=2) > 100).any()
    assert not page.evaluate("document.querySelector('#logo, #name') !== null")


@SIZES
def test_idle_screen_with_logo_and_font(page, branded, size):
    page.open(branded(name="Studio Example", waiting="We begin in a moment",
                      image=str(LOGO), font=str(FONT), color="#e2791b"), "/", size)
    page.wait_for("document.getElementById('logo').naturalWidth > 0")
    pixels = page.pixels(name_of(size, "idle-logo"))
    assert_inside(page, size, "#hint", "#logo")
    assert_logo_is_seen(page, pixels)
    assert_brand_font_is_used(page, "#hint")
    assert page.evaluate("document.title") == "Studio Example"


@SIZES
def test_idle_screen_with_a_name(page, branded, size):
    page.open(branded(name="Studio <Example> & Sons", color="#e2791b"), "/", size)
    pixels = page.pixels(name_of(size, "idle-name"))
    assert_inside(page, size, "#hint", "#name")
    assert page.evaluate("document.getElementById('name').textContent") == "Studio <Example> & Sons"
    left, top, right, bottom = page.box("#name")
    assert (abs(pixels[top:bottom, left:right] - [0xE2, 0x79, 0x1B]).max(axis=2) < 8).any()


def test_idle_screen_with_long_words(page, branded):
    page.open(branded(name="W" * 60, waiting="m" * 100), "/", PHONE)
    page.pixels(name_of(PHONE, "idle-long"))
    assert_inside(page, PHONE, "#hint", "#name")


@SIZES
def test_idle_screen_with_a_logo_that_cannot_be_read(page, branded, size):
    page.open(branded(image="/nowhere.png", font="/nowhere.woff2"), "/", size)
    page.wait_for("document.getElementById('logo').complete")
    page.pixels(name_of(size, "idle-lost"))
    assert_inside(page, size, "#hint")


@SIZES
def test_help_page_without_a_brand(page, start, size):
    page.open(start("--capture", "pattern"), "/help", size)
    page.pixels(name_of(size, "help"))
    page.pixels(name_of(size, "help-whole"), whole=True)
    assert_inside(page, size, "h1", "#name")
    main_left, _, main_right, _ = page.box("main")
    assert main_right - main_left == min(720, size[0])


@SIZES
def test_help_page_with_logo_and_font(page, branded, size):
    page.open(branded(name="Studio Example", image=str(LOGO), font=str(FONT)), "/help", size)
    page.wait_for("document.getElementById('logo').naturalWidth > 0")
    pixels = page.pixels(name_of(size, "help-logo"))
    assert_inside(page, size, "h1", "#logo")
    assert_logo_is_seen(page, pixels)
    assert_brand_font_is_used(page, "h1")
    assert page.evaluate("document.title") == "Studio Example Help"


def test_help_page_with_the_longest_host_name(page, start, tmp_path):
    file = tmp_path / "config.json"
    file.write_text(json.dumps({"hostname": "m" * 63}))
    page.open(start("--capture", "pattern", "--config", str(file)), "/help", PHONE)
    page.pixels(name_of(PHONE, "help-long"))
    assert_inside(page, PHONE, "h1")


def test_the_brand_sample_of_the_help_page_works_when_pasted(page, start, tmp_path):
    """With a logo and a font where the sample says, which is under the home of the tests."""
    page.open(start("--capture", "pattern"), "/help", DESKTOP)
    sample = page.evaluate("document.getElementById('brand-sample').textContent")
    brand = json.loads(sample)["brand"]
    for path, file in ((brand["image"], LOGO), (brand["font"], FONT)):
        target = tmp_path / path.removeprefix("~/")
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(file.read_bytes())
    settings = tmp_path / "config/Tarvinel/config.json"
    settings.parent.mkdir(parents=True)
    settings.write_text(sample)
    page.open(start("--capture", "pattern"), "/", DESKTOP)
    page.wait_for("document.getElementById('logo').naturalWidth > 0")
    assert_logo_is_seen(page, page.pixels("idle-sample"))
    assert_brand_font_is_used(page, "#hint")
