"""Viewers that disconnect in any way are noticed, even while nothing is sent to them."""
import os
import re
import socket
from pathlib import Path

import pytest

from harness import pixels
from harness.program import display_ids
from harness.viewer import Viewer
from harness.waiting import LIMIT, eventually
from harness.x11.canvas import Canvas
from harness.x11.motion import Motion
from harness.x11.server import XServer

# TCP keep-alive would find them after ten seconds of silence; they must be noticed earlier.
NOTICED_WITHIN = 9
RETURNED_WITHIN = 60 + LIMIT  # the intervals of retransmission grow
VANISHED_WITHIN = 30 + LIMIT
STAYS = 3.5  # seconds to wait when nothing is expected


def wait_for_viewers(program, count, within=LIMIT):
    eventually(lambda: program.viewers() == count, within, f"viewers: {count}")


@pytest.fixture
def not_sharing(x_program):
    return x_program


@pytest.mark.parametrize("leave", [Viewer.close, Viewer.reset])
def test_leaving_a_still_screen(sharing, leave):
    with Viewer(sharing.address) as staying:
        staying.last_frame()
        leaving = Viewer(sharing.address)
        leaving.next_frame()
        wait_for_viewers(sharing, 2)
        descriptors = sharing.descriptors()
        leave(leaving)
        wait_for_viewers(sharing, 1, NOTICED_WITHIN)
        eventually(lambda: sharing.descriptors() < descriptors, LIMIT, "its descriptor is closed")
        assert not staying.readable(0.5)


@pytest.mark.parametrize("leave", [Viewer.close, Viewer.reset])
def test_leaving_before_anything_was_shared(not_sharing, leave):
    staying, leaving = Viewer(not_sharing.address), Viewer(not_sharing.address)
    with staying:
        wait_for_viewers(not_sharing, 2)
        leave(leaving)
        wait_for_viewers(not_sharing, 1, NOTICED_WITHIN)


def test_leaving_with_frames_unread(sharing):
    leaving = Viewer(sharing.address)
    assert leaving.readable(LIMIT)
    wait_for_viewers(sharing, 1)
    leaving.close()
    wait_for_viewers(sharing, 0, NOTICED_WITHIN)


def test_one_that_only_ended_its_side_stays(sharing, canvas, x):
    with Viewer(sharing.address) as viewer:
        settled = viewer.last_frame()
        viewer.socket.shutdown(socket.SHUT_WR)
        assert viewer.next_frame() == settled
        assert not viewer.readable(STAYS)
        assert sharing.viewers() == 1
        canvas.text(2)
        assert pixels.same(pixels.decode(viewer.last_frame()), pixels.grab(x))


def test_one_that_only_ended_its_side_stays_before_anything_was_shared(
        not_sharing, x, canvas, tmp_path):
    with Viewer(not_sharing.address) as viewer:
        viewer.socket.shutdown(socket.SHUT_WR)
        canvas.text(1)
        not_sharing.share(display_ids(tmp_path, x)[0])
        assert pixels.same(pixels.decode(viewer.last_frame()), pixels.grab(x))


@pytest.mark.slow
def test_vanished_viewers_are_found_and_told_on_their_return(network, start, x, canvas, tmp_path):
    """Two viewers lose their link: one of a still screen, and one with unacknowledged data."""
    canvas.text(1)
    moving_x = XServer(tmp_path, label="moving")
    try:
        still = start_behind(network, start, x, tmp_path)
        moving = start_behind(network, start, moving_x, tmp_path)
        with Motion(Canvas(moving_x)), watch_from_afar(network, still) as waiting, \
                watch_from_afar(network, moving) as receiving:
            network.cut()
            assert (still.viewers(), moving.viewers()) == (1, 1)
            wait_for_viewers(still, 0, VANISHED_WITHIN)
            wait_for_viewers(moving, 0, VANISHED_WITHIN)
            network.restore()
            assert waiting.ended(RETURNED_WITHIN), "the server has closed the connection"
            assert receiving.ended(RETURNED_WITHIN), "the server has closed the connection"
    finally:
        moving_x.stop()


def start_behind(network, start, server, folder):
    program = start("--capture", "x11", "--share", display_ids(folder, server)[0],
                    display=server.name, prefix=network.exec_in_server(),
                    connect=network.connect_at_server)
    program.wait_until_sharing()
    return program


def watch_from_afar(network, program):
    viewer = Viewer(connection=network.connect_from_client(program.listening_port()))
    viewer.next_frame()
    return viewer


def test_no_program_that_it_starts_keeps_a_viewer_connected(not_sharing):
    before = inherited_sockets(not_sharing)
    with Viewer(not_sharing.address):
        wait_for_viewers(not_sharing, 1)
        assert inherited_sockets(not_sharing) == before


def inherited_sockets(program):
    """Returns the names of the sockets that programs which it starts would inherit."""
    process = Path("/proc") / str(program.pid)
    names = []
    for fd in (process / "fd").iterdir():
        try:
            flags = re.search(r"^flags:\s*(\d+)$", (process / "fdinfo" / fd.name).read_text(), re.M)
            if os.readlink(fd).startswith("socket:") and not int(flags[1], 8) & os.O_CLOEXEC:
                names.append(fd.name)
        except FileNotFoundError:
            pass  # closed meanwhile
    return names
