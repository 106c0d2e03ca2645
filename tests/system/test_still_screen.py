"""A still screen costs nothing, and a viewer that joins still gets a picture at once."""
import contextlib
import time

from harness import pixels
from harness.viewer import Viewer

MEASURED_SECONDS = 10
MOST_CPU = 0.01  # fraction of one core


def test_a_late_viewer_is_sent_the_sharp_picture_at_once(sharing, x):
    with Viewer(sharing.address) as first:
        settled = first.last_frame()
    with Viewer(sharing.address) as late:
        assert late.next_frame() == settled
    assert pixels.same(pixels.decode(settled), pixels.grab(x))


def test_one_sharp_frame_follows_a_change(sharing, x, canvas):
    with Viewer(sharing.address) as viewer:
        viewer.last_frame()
        canvas.text(2)
        changed = viewer.next_frame()
        settled = viewer.next_frame()
        assert not viewer.readable(2)
    screen = pixels.grab(x)
    assert pixels.same(pixels.decode(changed), screen, pixels.SIMILAR)
    assert not pixels.same(pixels.decode(changed), screen)
    assert pixels.same(pixels.decode(settled), screen)


def test_nothing_is_sent_and_next_to_nothing_computed(sharing):
    with contextlib.ExitStack() as stack:
        viewers = [stack.enter_context(Viewer(sharing.address)) for _ in range(3)]
        for viewer in viewers:
            viewer.last_frame()
        descriptors, before = sharing.descriptors(), sharing.cpu_seconds()
        started = time.monotonic()
        time.sleep(MEASURED_SECONDS)
        used = (sharing.cpu_seconds() - before) / (time.monotonic() - started)
        assert not any(viewer.readable(0) for viewer in viewers)
        assert sharing.descriptors() == descriptors
        assert used < MOST_CPU
