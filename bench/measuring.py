"""Functions that the benchmarks of the running program share."""
import contextlib
import os
import statistics
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests"))

from harness.program import Program, display_ids  # noqa: E402
from harness.x11.canvas import Canvas  # noqa: E402
from harness.x11.server import XServer  # noqa: E402


@contextlib.contextmanager
def shared_screen(width=1920, height=1080, **keywords):
    """Yields the program, which shares a display of that size, and a canvas over the display. Accepts the
    keywords of Program."""
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


SIZES = {"1080p": (1920, 1080), "4K": (3840, 2160)}


def drain(viewer):
    """Reads and discards data until the connection ends."""
    with contextlib.suppress(OSError, AssertionError):
        while True:
            viewer.next_frame(60)


def print_costs(kinds, changes, run):
    """Prints a table of run(kind, width, height, seconds), which returns per cent by kind of change. The
    command line may set the seconds."""
    seconds = float(sys.argv[1]) if len(sys.argv) > 1 else 10
    print(f"load before: {os.getloadavg()[0]:.1f}")
    print(f"{'':16}" + "".join(f"{name:>24}" for name in changes))
    for kind in kinds:
        for size, (width, height) in SIZES.items():
            results = run(kind, width, height, seconds)
            print(f"{kind + ', ' + size:16}"
                  + "".join(f"{results[name]:22.1f} %" for name in changes), flush=True)
    print(f"load after: {os.getloadavg()[0]:.1f}")


def median_and_p95(samples):
    return statistics.median(samples), statistics.quantiles(samples, n=20)[-1]
