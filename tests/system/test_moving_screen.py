"""While the screen moves: the newest frame wins, and a slow viewer is nobody else's problem."""
import time

import pytest

from harness import pixels
from harness.viewer import Viewer
from harness.waiting import LIMIT
from harness.x11.canvas import read_number
from harness.x11.motion import Motion

# What one viewer that stands still may cost the program: two frames and the kernel's bounded queue
# are far below it; the frames it misses meanwhile are far above.
MOST_GROWTH = 12 << 20
MISSED_BYTES = 2 * MOST_GROWTH
RECEIVE_BUFFER = 64 << 10
GIVEN_UP_AFTER = 30  # seconds
# On its way to a viewer that does not read: its receive buffer (the kernel doubles what was asked
# for), what the server's kernel has sent and not sent of it, and one part in the program.
MOST_BACKLOG = 2 * RECEIVE_BUFFER + (1 << 20)


def number_of(jpeg):
    return read_number(pixels.decode(jpeg))


@pytest.fixture
def moving(sharing, canvas):
    with Motion(canvas) as motion:
        yield motion


def read_along(*viewers):
    """Reads long enough for the kernels to trust each other with all the buffer they give."""
    for _ in range(30):
        for viewer in viewers:
            viewer.next_frame()


def read_until_missed(viewer, count):
    """Reads frames until `count` bytes went by; returns the last one's number."""
    passed = 0
    while passed < count:
        jpeg = viewer.next_frame()
        passed += len(jpeg)
    return number_of(jpeg)


def test_slow_viewer_resumes_with_recent_frames(sharing, moving):
    with Viewer(sharing.address) as fast, \
            Viewer(sharing.address, receive_buffer=RECEIVE_BUFFER) as slow:
        read_along(slow, fast)
        before = sharing.resident_bytes()
        newest = read_until_missed(fast, MISSED_BYTES)
        assert sharing.resident_bytes() - before < MOST_GROWTH
        backlog = 0
        while number_of(jpeg := slow.next_frame()) < newest:
            backlog += len(jpeg)
        assert backlog <= MOST_BACKLOG


def test_fast_viewer_keeps_up_beside_one_that_never_reads(sharing, moving):
    with Viewer(sharing.address, receive_buffer=RECEIVE_BUFFER), \
            Viewer(sharing.address) as fast:
        read_until_missed(fast, MISSED_BYTES // 2)
        for _ in range(5):
            painted = moving.latest
            fast.frame_where(lambda jpeg: number_of(jpeg) >= painted)
            assert sharing.viewers() == 2, "not only once the other had been given up"


@pytest.mark.slow
def test_one_that_reads_nothing_is_given_up_after_half_a_minute(sharing, moving):
    """And not sooner: a device may well be busy for a while."""
    with Viewer(sharing.address, receive_buffer=RECEIVE_BUFFER) as lazy, \
            Viewer(sharing.address) as reading:
        started = time.monotonic()
        while sharing.viewers() == 2:
            reading.next_frame()
            assert time.monotonic() - started < GIVEN_UP_AFTER + LIMIT, "it is still served"
        assert time.monotonic() - started > GIVEN_UP_AFTER - 5
        assert sharing.viewers() == 1
        reading.next_frame()
        assert lazy.ended(LIMIT), "it is told when it reads again"


def test_frames_arrive_in_order(sharing, moving):
    with Viewer(sharing.address) as viewer:
        viewer.frame_where(lambda jpeg: 0 < number_of(jpeg) <= moving.latest)
        numbers = [number_of(viewer.next_frame()) for _ in range(30)]
    assert numbers == sorted(numbers) and len(set(numbers)) > 10
