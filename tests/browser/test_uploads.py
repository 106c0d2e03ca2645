"""Photos are uploaded from the upload page: picked or dragged, with names in every script, or rejected."""
import contextlib
import os
import shutil
import signal
import time

import numpy
import pytest
from PIL import Image

from harness import uploads
from harness.uploads.page import ORANGE, RED, UploadPage

MEGABYTE = 1 << 20
PLACES = 8  # uploads that the program accepts at once
SENDING_LIMIT = 600  # gigabytes, on a busy machine
PHONE = (390, 844)
STORED = {  # uploaded files, and their names in the folder
    "IMG 0001.jpg": "IMG 0001.jpg",
    "Φωτογραφία.TIFF": "Φωτογραφία.TIFF",
    "花 & 50% #1?.png": "花 50 1.png",
    "Cafe\u0301.jpeg": "Caf\u00e9.jpeg",
    "DSC_1234.NEF": "DSC_1234.NEF",
}


@pytest.fixture
def page(browser):
    return UploadPage(browser)


@pytest.fixture
def folder(tmp_path):
    received = tmp_path / "received"
    yield received
    shutil.rmtree(received, ignore_errors=True)


@pytest.fixture
def program(start, folder):
    return start("--capture", "pattern", "--uploads", "--upload-folder", folder)


@pytest.fixture
def taken(program, folder, page, network):
    """Two other participants occupy every slot of the program until this stack of connections is closed;
    one participant alone would have to yield."""
    _, port = program.address
    with contextlib.ExitStack() as stack:
        for number in range(PLACES):
            address = ("127.0.0.1", network.SERVER_ADDRESS)[number % 2]
            stack.enter_context(uploads.start((address, port), "Other", f"{number}.jpg", 1000,
                                              b"x", network.connect_at_server))
        page.eventually(lambda: len(uploads.hidden(folder)) == PLACES, "all places are taken")
        yield stack


@pytest.fixture(scope="session")
def photos(tmp_path_factory):
    """Real pictures, a large raw file without repeated parts, and a film."""
    made = tmp_path_factory.mktemp("photos")
    noise = numpy.random.default_rng(1).integers(0, 255, (1200, 1600, 3), dtype=numpy.uint8)
    for name in list(STORED)[:-1]:
        Image.fromarray(noise).save(made / name)
    _write_noise(made / "DSC_1234.NEF", 300)
    _write_noise(made / "clip.mov", 3)
    yield made
    shutil.rmtree(made)


@pytest.fixture
def on_phone(page, program):
    """Opens the upload page of a program on a phone."""
    page.visit(program)
    page.browser.become_phone(*PHONE)
    yield page
    page.browser.leave_phone()


def _write_noise(path, megabytes):
    with open(path, "wb") as file:
        for _ in range(megabytes):
            file.write(os.urandom(MEGABYTE))


def assert_received(page, program, folder, photos, participant):
    """Checks that every photo is in the folder byte for byte, and that the page shows its name there."""
    stored = {sent: f"{participant}-{name}" for sent, name in STORED.items()}
    page.wait_for_statuses(*(f"done as {name}" for name in stored.values()), within=SENDING_LIMIT)
    assert page.labels() == list(stored)
    assert page.bars() == [100] * len(stored)
    assert [path.name for path in uploads.visible(folder)] == sorted(stored.values())
    for sent, name in stored.items():
        assert uploads.digest(folder / name) == uploads.digest(photos / sent), name
    page.wait_for_text("#total", "5 files received from 1 participant")


def test_photos_that_are_picked(page, program, folder, photos):
    page.open_as(program, "Ζωή 花子")
    page.pick(*(photos / name for name in STORED))
    assert_received(page, program, folder, photos, "Ζωή 花子")
    page.keep_screenshot("upload-done")


def test_photos_that_are_dragged(page, program, folder, photos, tmp_path):
    page.open_as(program, "Zoe\u0308")
    page.drag(tmp_path, *(photos / name for name in STORED))
    assert_received(page, program, folder, photos, "Zo\u00eb")


def test_the_same_photo_twice(page, program, photos):
    page.open_as(program, "Sam")
    page.pick(photos / "IMG 0001.jpg")
    page.wait_for_statuses("done as Sam-IMG 0001.jpg")
    page.pick(photos / "IMG 0001.jpg")
    page.wait_for_statuses("done as Sam-IMG 0001.jpg", "done as Sam-IMG 0001-2.jpg")


def test_two_at_a_time_with_progress(page, program, photos, tmp_path):
    """The program is stopped by a signal, so that the uploads stay in progress."""
    files = [tmp_path / f"{number}.nef" for number in range(10)]
    for file in files:
        file.touch()
        os.truncate(file, 60 * MEGABYTE if file in files[:2] else MEGABYTE)
    page.open_as(program, "Sam")
    program.signal(signal.SIGSTOP)
    try:
        page.pick(*files)
        page.eventually(lambda: [text.startswith("uploading ") for text in page.statuses()]
                        == [True] * 2 + [False] * 8, "two files are under way")
        rows = page.rows()
        assert all(bar < 100 and text == f"uploading {bar}%" for _, bar, text in rows[:2])
        assert [row[1:] for row in rows[2:]] == [[0, "waiting"]] * 8
        page.keep_screenshot("upload-progress")
    finally:
        program.signal(signal.SIGCONT)
    page.wait_for_statuses(*(f"done as Sam-{file.name}" for file in files), within=SENDING_LIMIT)


def test_refusals_show_their_reasons(page, program, folder, photos, tmp_path):
    empty, huge = tmp_path / "empty.jpg", tmp_path / "huge.tif"
    empty.touch()
    huge.touch()
    os.truncate(huge, (2 << 30) + 1)
    page.open_as(program, "Sam")
    page.pick(photos / "clip.mov", empty, huge)
    page.wait_for_statuses(UploadPage.NOT_ACCEPTED, "empty file", UploadPage.TOO_LARGE,
                           within=SENDING_LIMIT)
    assert page.failed() == [True, True, True]
    page.wait_until_seen("#queue li:first-child", RED)
    page.keep_screenshot("upload-refused")
    assert uploads.visible(folder) == []


def test_what_failed_looks_otherwise_than_what_arrived(page, program, photos):
    page.open_as(program, "Sam")
    page.pick(photos / "IMG 0001.jpg", photos / "clip.mov")
    page.wait_for_statuses("done as Sam-IMG 0001.jpg", UploadPage.NOT_ACCEPTED)
    assert page.failed() == [False, True]
    assert [edges(page, selector) for selector in ("#queue", "#queue li")] == [edges(page, "#form")] * 2
    page.keep_screenshot("upload-mixed")


def edges(page, selector):
    left, _, right, _ = page.box(selector)
    return left, right


@pytest.mark.parametrize("name", ["  ", ".", " .. "], ids=["blank", "dot", "dots"])
def test_a_missing_name_is_asked_for(page, program, photos, name):
    page.open_as(program, name)
    page.pick(photos / "IMG 0001.jpg")
    page.wait_for_statuses("name must contain letters or digits")


def test_a_type_that_is_not_taken_is_not_sent_again(page, program, photos):
    page.open_as(program, "Sam")
    page.shorten_retry_delays()
    page.pick(photos / "clip.mov")
    page.wait_for_statuses(UploadPage.NOT_ACCEPTED)
    time.sleep(1)  # nothing is expected to happen
    assert page.attempts() == 1
    assert page.statuses() == [UploadPage.NOT_ACCEPTED]


def test_a_second_visit(page, program, photos):
    page.open_as(program, "Ζωή 花子 e\u0301")
    page.pick(photos / "IMG 0001.jpg")
    page.wait_for_statuses("done as Ζωή 花子 \u00e9-IMG 0001.jpg")
    page.visit(program)
    assert page.text("#total") == "1 file received from 1 participant"
    assert page.statuses() == []
    assert page.name() == "Ζωή 花子 e\u0301"


def test_closed_is_shown_and_open_again(page, program, photos, tmp_path):
    page.open_as(program, "Sam")
    assert page.text("#closed") == ""
    program.command("uploads off")
    page.wait_for_text("#closed", UploadPage.CLOSED)
    page.wait_until_seen("#closed", ORANGE)
    assert page.text("#total") == ""
    assert page.disabled() == [True, True, True]
    page.drag(tmp_path, photos / "IMG 0001.jpg", photos / "DSC_1234.NEF")
    page.wait_for_statuses(UploadPage.CLOSED, UploadPage.CLOSED, within=SENDING_LIMIT)
    page.keep_screenshot("upload-closed")
    program.command("uploads on")
    page.wait_for_text("#closed", "")
    assert page.text("#total") == "0 files received from 0 participants"
    assert page.disabled() == [False, False, False]


def test_busy_is_retried_and_arrives(page, program, taken, photos):
    page.open_as(program, "Sam")
    page.pick(photos / "IMG 0001.jpg")
    page.wait_for_statuses("busy, retrying")
    page.keep_screenshot("upload-busy")
    taken.close()
    page.wait_for_statuses("done as Sam-IMG 0001.jpg")


def test_the_sixth_time_that_it_is_busy_is_final(page, program, folder, taken, photos):
    page.open_as(program, "Sam")
    page.shorten_retry_delays()
    page.pick(photos / "IMG 0001.jpg")
    page.wait_for_statuses("busy, retry in a few seconds")
    assert page.failed() == [True]
    taken.close()
    time.sleep(1)  # nothing is expected to happen, although a slot is free now
    assert page.attempts() == 6
    assert page.statuses() == ["busy, retry in a few seconds"]
    assert uploads.visible(folder) == []


def test_a_lost_server_is_a_connection_error(page, program, photos):
    page.open_as(program, "Sam")
    program.kill()
    page.pick(photos / "IMG 0001.jpg")
    page.wait_for_statuses("connection error")
    assert page.failed() == [True]


def test_on_a_phone(on_phone, photos):
    on_phone.keep_screenshot("upload-phone")
    on_phone.browser.write("#name", "Sam")
    on_phone.pick(photos / "IMG 0001.jpg", photos / "clip.mov")
    on_phone.wait_for_statuses("done as Sam-IMG 0001.jpg", UploadPage.NOT_ACCEPTED)
    on_phone.wait_until_seen("#queue li:last-child", RED)
    on_phone.keep_screenshot("upload-phone-done")
    assert on_phone.width() == on_phone.browser.evaluate("innerWidth")
