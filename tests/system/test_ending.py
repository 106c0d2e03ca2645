"""The program's end while something hangs: first it stops sending to viewers, then it waits for what hangs,
with a timeout."""
import os
import signal

import pytest

from harness import http
from harness.program import display_ids
from harness.uploads.hanging_disk import HangingDisk
from harness.viewer import Viewer
from harness.waiting import eventually

LIMIT = 60
GIVEN_UP = "tarvinel: ended without waiting longer than 10 seconds for a disk, a display or a service"


@pytest.fixture
def hanging_disk(tmp_path):
    if os.geteuid() != 0:
        pytest.skip("mounting needs root")
    try:
        disk = HangingDisk(tmp_path)
    except OSError as error:
        pytest.skip(str(error))
    yield disk
    disk.remove()


def shares_with(start, disk, **keywords):
    """Starts the program, which shares while its upload folder is on that disk."""
    program = start("--capture", "pattern", "--share", "display-1",
                    "--upload-folder", disk.path / "photos", **keywords)
    program.wait_until_sharing()
    return program


def end(program):
    """Ends the program and checks that viewers receive nothing from then on."""
    with Viewer(program.address) as viewer:
        viewer.next_frame()
        program.terminate()
        assert viewer.ended(LIMIT)
    # A process that looks at this one's descriptors in /proc can hold the socket for a moment longer.
    eventually(lambda: refuses(program.address), LIMIT, "connections are refused")


def refuses(address):
    try:
        http.connect(address).close()
    except ConnectionRefusedError:
        return True
    return False


def test_a_hanging_upload_folder_does_not_keep_the_screen_shared(start, hanging_disk):
    program = shares_with(start, hanging_disk)
    end(program)
    assert program.wait(LIMIT) == 1
    assert program.stderr.splitlines()[-1].startswith(GIVEN_UP)


def test_the_same_on_a_desktop(start, x, hanging_disk):
    program = shares_with(start, hanging_disk, headless=False, display=x.name)
    end(program)
    assert program.wait(LIMIT) == 1
    assert program.stderr.splitlines()[-1].startswith(GIVEN_UP)


def test_a_second_signal_ends_it_at_once(start, hanging_disk):
    program = shares_with(start, hanging_disk)
    end(program)
    program.terminate()
    assert program.wait(LIMIT) == -signal.SIGTERM
    assert GIVEN_UP not in program.stderr


def test_a_disk_that_answers_again_is_waited_for(start, hanging_disk):
    program = shares_with(start, hanging_disk)
    end(program)
    hanging_disk.release()
    assert program.wait(LIMIT) == 0
    assert GIVEN_UP not in program.stderr


@pytest.fixture
def frozen(x):
    """Returns a function that freezes the display."""
    yield x.freeze
    x.thaw()


def see_a_frame(program):
    with Viewer(program.address) as viewer:
        viewer.next_frame(LIMIT)


def test_a_display_that_hangs_does_not_hold_up_the_end(sharing, frozen):
    see_a_frame(sharing)
    frozen()
    sharing.command("sources")  # now the capture blocks on the display
    end(sharing)
    assert sharing.wait(LIMIT) == 0


def test_a_display_that_hangs_under_the_desktop_program(desktop, start, x, tmp_path, frozen):
    program = start("--capture", "x11", "--share", display_ids(tmp_path, x)[0], headless=False,
                    display=x.name, variables=desktop.variables)
    program.wait_until_sharing()
    see_a_frame(program)
    frozen()
    end(program)
    assert program.wait(LIMIT) in (0, 1), "the toolkit may wait for the display as well"
