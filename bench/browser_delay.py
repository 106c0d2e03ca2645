#!/usr/bin/python3
"""Screen change to pixels: the time from a change of a still screen until it is visible on the X display of
a browser that shows the page full-screen. 1920 × 1080 on both sides, with the
default configuration. Requires root, for the network between them.

    bench/browser_delay.py [SAMPLES]
"""
import contextlib
import itertools
import random
import sys
import tempfile
import time

from measuring import median_and_p95, shared_screen

from harness.browsers import ENGINES, BrowserHost
from harness.browsers.viewer_page import ViewerPage
from harness.network.lan import Network
from harness.x11.server import PixelProbe

WIDTH, HEIGHT = 1920, 1080
MARK = (960, 544, 8, 17)  # the observed area in the middle of the screen
CHANGES = {"typed character (8x17)": MARK, "whole screen": (0, 0, WIDTH, HEIGHT)}
COLOURS = itertools.cycle((0xFFFFFF, 0x000000))
STILL_SECONDS = 1.2  # the settled frame has arrived as well
GIVE_UP = 10


def measure(watch, canvas, seed, area):
    """Returns the milliseconds of one change."""
    time.sleep(STILL_SECONDS + random.random() / 10)
    colour = next(COLOURS)
    canvas.draft(seed)
    canvas.draft_rectangle(colour, *MARK)
    started = time.perf_counter()
    canvas.show(*area)
    while abs(watch.brightness() - (colour & 0xFF)) > 64:
        assert time.perf_counter() - started < GIVE_UP, "the change is not seen"
    return (time.perf_counter() - started) * 1000


@contextlib.contextmanager
def page_in(engine, folder):
    """Yields a canvas over the shared screen and the centre of the browser's display."""
    with contextlib.ExitStack() as stack:
        network = Network()
        stack.callback(network.remove)
        program, canvas = stack.enter_context(shared_screen(
            WIDTH, HEIGHT, prefix=network.exec_in_server(), connect=network.connect_at_server))
        canvas.draft(0)
        canvas.draft_rectangle(next(COLOURS), *MARK)
        canvas.show()
        host = BrowserHost(network.exec_in_client(), network.connect_at_client)
        browser = engine(folder, host, WIDTH, HEIGHT)
        stack.callback(browser.stop)
        page = ViewerPage(browser)
        page.open(program.listening_port())
        page.eventually(lambda: browser.hint() is None, "there is a picture")
        watch = stack.enter_context(PixelProbe(browser.screen, MARK[0] + 4, MARK[1] + 8))
        yield watch, canvas


def main(samples):
    print(f"{'':10} {'change':26} {'median':>9} {'p95':>9}   ({samples} samples)")
    with tempfile.TemporaryDirectory() as folder:
        for name, engine in ENGINES.items():
            with page_in(engine, folder) as (watch, canvas):
                for change, area in CHANGES.items():
                    median, p95 = median_and_p95(
                        [measure(watch, canvas, seed, area) for seed in range(samples)])
                    print(f"{name:10} {change:26} {median:6.1f} ms {p95:6.1f} ms", flush=True)


if __name__ == "__main__":
    main(int(sys.argv[1]) if len(sys.argv) > 1 else 30)
