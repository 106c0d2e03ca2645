"""All viewers reconnect at once to a server that was restarted."""
import contextlib
from concurrent.futures import ThreadPoolExecutor

from harness.program import display_ids
from harness.viewer import Viewer
from harness.waiting import LIMIT

VIEWERS = 256  # the maximum number of viewers


def test_all_viewers_return_at_once(sharing, start, x, tmp_path):
    port = sharing.listening_port()
    with contextlib.ExitStack() as stack, ThreadPoolExecutor(VIEWERS) as pool:
        viewers = [stack.enter_context(Viewer(sharing.address)) for _ in range(VIEWERS)]
        assert all(viewer.next_frame() for viewer in viewers)
        sharing.kill()
        assert all(viewer.ended(LIMIT) for viewer in viewers)
        again = start("--capture", "x11", "--share", display_ids(tmp_path, x)[0],
                      display=x.name, port=port)
        again.wait_until_sharing()
        returned = list(pool.map(lambda _: stack.enter_context(Viewer(again.address)),
                                 range(VIEWERS)))
        assert all(pool.map(Viewer.next_frame, returned))
