"""What the benchmarks that drive the real program share with the system tests."""
import contextlib
import statistics
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests"))

from harness.canvas import Canvas  # noqa: E402
from harness.program import Program, display_ids  # noqa: E402
from harness.xserver import XServer  # noqa: E402


@contextlib.contextmanager
def shared_screen(width=1920, height=1080, **keywords):
    """The program sharing a display of that size: yields it and a canvas over the display. Takes
    the keywords of Program."""
    with contextlib.ExitStack() as stack:
        folder = stack.enter_context(tempfile.TemporaryDirectory())
        server = XServer(folder, width, height)
        stack.callback(server.stop)
        canvas = Canvas(server)
        stack.callback(canvas.close)
        canvas.text(0)
        program = Program(folder, "--headless", "--port", "0", "--capture", "x11",
                          "--share", display_ids(folder, server)[0], display=server.name, **keywords)
        stack.callback(program.stop)
        program.wait_until_listening()
        program.wait_until_sharing()
        yield program, canvas


def median_and_p95(samples):
    return statistics.median(samples), statistics.quantiles(samples, n=20)[-1]
