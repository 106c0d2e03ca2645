"""A moving screen: viewers get the newest frame, and a slow viewer does not affect others."""
import time

import pytest

from harness import pixels
from harness.viewer import Viewer
from harness.waiting import LIMIT
from harness.x11.canvas import read_number
from harness.x11.motion import Motion

# The memory that one stalled viewer may cost the program: two frames and the kernel's bounded queue are far
# below it, the frames that it misses are far above.
MOST_GROWTH = 12 << 20
MISSED_BYTES = 2 * MOST_GROWTH
RECEIVE_BUFFER = 64 << 10
GIVEN_UP_AFTER = 30  # seconds
# In transit to a viewer that does not read: its receive buffer (the kernel doubles the requested size), the
# send queue of the server's kernel, and one part in the program.
MOST_BACKLOG = 2 * RECEIVE_BUFFER + (1 << 20)


def number_of(jpeg):
    return read_number(pixels.decode(jpeg))


@pytest.fixture
def moving(sharing, canvas):
    with Motion(canvas) as motion:
        yield motion


def read_along(*viewers):
    """Reads until TCP has grown its windows to the full size of the buffers."""
    for _ in range(30):
        for viewer in viewers:
            viewer.next_frame()


def read_until_missed(viewer, count):
    """Reads frames until `count` bytes were read; returns the number of the last frame."""
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
    """It is not closed earlier, because a device may be busy for a while."""
    with Viewer(sharing.address, receive_buffer=RECEIVE_BUFFER) as lazy, \
            Viewer(sharing.address) as reading:
        started = time.monotonic()
        while sharing.viewers() == 2:
            reading.next_frame()
            assert time.monotonic() - started < GIVEN_UP_AFTER + LIMIT, "it is still served"
        assert time.monotonic() - started > GIVEN_UP_AFTER - 5
        assert sharing.viewers() == 1
        reading.next_frame()
        assert lazy.ended(LIMIT), "it notices when it reads again"


def test_frames_arrive_in_order(sharing, moving):
    with Viewer(sharing.address) as viewer:
        viewer.frame_where(lambda jpeg: 0 < number_of(jpeg) <= moving.latest)
        numbers = [number_of(viewer.next_frame()) for _ in range(30)]
    assert numbers == sorted(numbers) and len(set(numbers)) > 10
