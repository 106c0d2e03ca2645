"""The page from which participants send photos, in Chromium: used as they use it."""
import base64
import os
import shutil
import time
from pathlib import Path

import numpy
import pytest
from PIL import Image

from harness import uploads
from harness.waiting import eventually

SCREENSHOTS = Path(__file__).resolve().parents[2] / "build/screenshots"
CLOSED = "Uploads are closed right now, ask your Pro to open them"
NOT_ACCEPTED = ("file type not accepted; allowed: 3fr, arw, cr2, cr3, dng, fff, heic, heif, iiq, "
                "jpeg, jpg, nef, nrw, orf, pef, png, raf, rw2, srw, tif, tiff, x3f")
PAGE_LIMIT = 30
PHONE = {"width": 390, "height": 844, "deviceScaleFactor": 2, "mobile": True}


class Page:
    """The upload page as its participant uses it."""

    def __init__(self, browser):
        self._browser = browser

    def open(self, program, name="Sam"):
        self._browser.open(program.url + "upload")
        eventually(lambda: self.text("#total").endswith("participants")
                   or self.text("#total").endswith("participant"), PAGE_LIMIT, "the page is there")
        self._browser.evaluate(
            "(() => { const field = document.getElementById('name'); field.value = "
            f"{name!r}; field.dispatchEvent(new Event('input')); }})()")

    def text(self, selector):
        """The text of an element, empty when there is none or it is hidden."""
        return self._browser.evaluate(
            f"(() => {{ const found = document.querySelector('{selector}');"
            " return found && !found.hidden ? found.textContent : ''; })()")

    def choose(self, *paths):
        self._browser.choose_files("#file-input", paths)

    def drop(self, *paths):
        """Drops files from outside the browser onto the drop zone."""
        zone = self._browser.evaluate(
            "(() => { const box = document.getElementById('drop').getBoundingClientRect();"
            " return [box.x + box.width / 2, box.y + box.height / 2]; })()")
        data = {"items": [], "files": [str(path) for path in paths], "dragOperationsMask": 1}
        for kind in ("dragEnter", "dragOver", "drop"):
            self._browser.devtools("Input.dispatchDragEvent", type=kind, x=zone[0], y=zone[1],
                                   data=data)

    def rows(self):
        """Label, bar and status of every file."""
        return [tuple(row) for row in self._browser.evaluate(
            "Array.from(document.querySelectorAll('#queue li'), (row) =>"
            " [row.querySelector('.label').textContent, row.querySelector('progress').value,"
            "  row.querySelector('.status').textContent])")]

    def statuses(self):
        return [status for _, _, status in self.rows()]

    def wait_for_statuses(self, *expected, within=PAGE_LIMIT):
        eventually(lambda: self.statuses() == list(expected), within,
                   f"the files read {expected}")

    def disabled(self):
        return self._browser.evaluate(
            "['name', 'pick', 'file-input'].map((id) => document.getElementById(id).disabled)")

    def keep_screenshot(self, name):
        shot = self._browser.devtools("Page.captureScreenshot", format="png")["data"]
        SCREENSHOTS.mkdir(parents=True, exist_ok=True)
        (SCREENSHOTS / f"{name}.png").write_bytes(base64.b64decode(shot))


@pytest.fixture
def folder(tmp_path):
    return tmp_path / "received"


@pytest.fixture
def program(start, folder):
    return start("--capture", "pattern", "--uploads", "--upload-folder", folder)


@pytest.fixture
def page(browser):
    yield Page(browser)
    browser.devtools("Emulation.clearDeviceMetricsOverride")
    browser.devtools("Network.disable")


@pytest.fixture(scope="session")
def photos(tmp_path_factory):
    """Real pictures, one large file, and one that is no picture."""
    made = tmp_path_factory.mktemp("photos")
    noise = numpy.random.default_rng(1).integers(0, 255, (1200, 1600, 3), dtype=numpy.uint8)
    for name in ("IMG 0001.jpg", "Фото.TIFF", "花 & 50% #1?.png"):
        Image.fromarray(noise).save(made / name)
    with open(made / "DSC_1234.NEF", "wb") as large:
        for _ in range(300):
            large.write(os.urandom(1 << 20))
    (made / "clip.mov").write_bytes(os.urandom(3 << 20))
    return made


def received(folder, photos, participant):
    """Whether every picture has arrived byte for byte."""
    return all(uploads.digest(folder / f"{participant}-{stored}") == uploads.digest(photos / sent)
               for sent, stored in (("IMG 0001.jpg", "IMG 0001.jpg"), ("Фото.TIFF", "Фото.TIFF"),
                                    ("花 & 50% #1?.png", "花 50 1.png"),
                                    ("DSC_1234.NEF", "DSC_1234.NEF")))


PICTURES = ("IMG 0001.jpg", "Фото.TIFF", "花 & 50% #1?.png", "DSC_1234.NEF")


@pytest.mark.parametrize("way", [Page.choose, Page.drop], ids=["picker", "drop"])
def test_pictures_arrive_byte_for_byte(page, program, folder, photos, way):
    page.open(program, "Zoë")
    way(page, *(photos / name for name in PICTURES))
    page.wait_for_statuses("done as Zoë-IMG 0001.jpg", "done as Zoë-Фото.TIFF",
                           "done as Zoë-花 50 1.png", "done as Zoë-DSC_1234.NEF", within=60)
    assert [bar for _, bar, _ in page.rows()] == [100] * 4
    assert [label for label, _, _ in page.rows()] == list(PICTURES)
    assert received(folder, photos, "Zoë")
    eventually(lambda: page.text("#total") == "4 files received from 1 participant", PAGE_LIMIT,
               "the total counts them")
    page.keep_screenshot(f"upload-done-{way.__name__}")


def test_on_a_phone(page, browser, program, photos):
    browser.devtools("Emulation.setDeviceMetricsOverride", **PHONE)
    page.open(program)
    page.keep_screenshot("upload-phone")
    page.choose(photos / "IMG 0001.jpg", photos / "clip.mov")
    page.wait_for_statuses("done as Sam-IMG 0001.jpg", NOT_ACCEPTED)
    page.keep_screenshot("upload-phone-done")
    assert browser.evaluate("document.documentElement.scrollWidth") <= PHONE["width"]


def test_two_at_a_time_with_progress(page, browser, program, photos, tmp_path):
    page.open(program)
    browser.devtools("Network.enable")
    browser.devtools("Network.emulateNetworkConditions", offline=False, latency=0,
                     downloadThroughput=-1, uploadThroughput=2_000_000)
    files = []
    for number in range(10):
        files.append(tmp_path / f"{number}.jpg")
        files[-1].write_bytes(os.urandom(3_000_000))
    page.drop(*files)
    eventually(lambda: sum(status.startswith("uploading ") for status in page.statuses()) == 2,
               PAGE_LIMIT, "two files are under way")
    assert page.statuses()[2:] == ["waiting"] * 8
    bars = [bar for _, bar, _ in page.rows()]
    assert bars[2:] == [0] * 8
    page.keep_screenshot("upload-progress")
    browser.devtools("Network.disable")
    page.wait_for_statuses(*(f"done as Sam-{number}.jpg" for number in range(10)), within=60)


def test_refusals_show_their_reasons(page, program, photos, tmp_path):
    page.open(program)
    empty = tmp_path / "empty.jpg"
    empty.touch()
    huge = tmp_path / "huge.tif"
    with open(huge, "wb") as file:
        file.truncate((2 << 30) + 1)
    large_clip = tmp_path / "large.mov"
    shutil.copy(photos / "DSC_1234.NEF", large_clip)
    page.choose(photos / "clip.mov", empty, tmp_path / "huge.tif", large_clip)
    page.wait_for_statuses(NOT_ACCEPTED, "empty file", "files over 2 GB are not accepted",
                           NOT_ACCEPTED, within=90)
    page.keep_screenshot("upload-refused")


def test_a_missing_name_is_asked_for(page, program, photos):
    page.open(program, "  ")
    page.choose(photos / "IMG 0001.jpg")
    page.wait_for_statuses("name must contain letters or digits")


def test_the_name_is_remembered(page, browser, program):
    page.open(program, "Zoë 花")
    browser.open(program.url + "upload/")
    eventually(lambda: browser.evaluate("document.getElementById('name')?.value") == "Zoë 花",
               PAGE_LIMIT, "the name is filled in")


def test_closed_is_shown_and_open_again(page, program, photos):
    page.open(program)
    assert page.text("#closed") == ""
    program.command("uploads off")
    eventually(lambda: page.text("#closed") == CLOSED, PAGE_LIMIT, "the page says closed")
    assert page.text("#total") == ""
    assert page.disabled() == [True, True, True]
    page.keep_screenshot("upload-closed")
    page.drop(photos / "IMG 0001.jpg", photos / "DSC_1234.NEF")
    page.wait_for_statuses(CLOSED, CLOSED)
    program.command("uploads on")
    eventually(lambda: page.text("#closed") == "", PAGE_LIMIT, "the page says open")
    assert page.text("#total") == "0 files received from 0 participants"
    assert page.disabled() == [False, False, False]


def test_busy_is_retried_and_arrives(page, program, folder, photos):
    page.open(program)
    others = [uploads.start(program.address, "Other", f"{number}.jpg", 1000, b"x")
              for number in range(8)]
    eventually(lambda: len(uploads.hidden(folder)) == 8, 10, "all places are taken")
    page.choose(photos / "IMG 0001.jpg")
    page.wait_for_statuses("busy, retrying")
    page.keep_screenshot("upload-busy")
    for connection in others:
        connection.close()
    page.wait_for_statuses("done as Sam-IMG 0001.jpg")


@pytest.mark.slow
def test_busy_for_too_long_is_final(page, program, folder, photos):
    page.open(program)
    others = [uploads.start(program.address, "Other", f"{number}.jpg", 1_000_000_000, b"x")
              for number in range(8)]
    eventually(lambda: len(uploads.hidden(folder)) == 8, 10, "all places are taken")
    page.choose(photos / "IMG 0001.jpg")
    page.wait_for_statuses("busy, retrying")
    deadline = time.monotonic() + 60
    while page.statuses() == ["busy, retrying"] and time.monotonic() < deadline:
        for connection in others:
            connection.sendall(bytes(100_000))  # fast enough to keep its place
        time.sleep(0.2)
    assert page.statuses() == ["busy, retry in a few seconds"]
    for connection in others:
        connection.close()


def test_a_lost_server_is_a_connection_error(page, program, photos):
    page.open(program)
    program.kill()
    page.choose(photos / "IMG 0001.jpg")
    page.wait_for_statuses("connection error")
