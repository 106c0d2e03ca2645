#!/usr/bin/python3
"""Screen change to last byte: the time from a change of a still screen until a viewer on loopback has the
whole frame that shows it. On Xvfb 1920 × 1080, with the default configuration.

    bench/screen_to_viewer.py [SAMPLES]
"""
import sys
import time

from measuring import median_and_p95, shared_screen

from harness.viewer import Viewer

# x, y, width and height of the changes
CHANGES = {
    "typed character (8x17)": (400, 300, 8, 17),
    "line of text (1900x16)": (0, 304, 1900, 16),
    "quarter of the height": (0, 270, 1920, 270),
    "whole screen": (0, 0, 1920, 1080),
}
STILL_SECONDS = 0.7  # longer than the pacer can delay a change after the last frame


def measure(viewer, canvas, seed, area):
    """Returns the milliseconds and bytes of one change."""
    viewer.last_frame(quiet=STILL_SECONDS)
    canvas.draft(seed)
    started = time.perf_counter()
    canvas.show(*area)
    size = len(viewer.next_frame())
    return (time.perf_counter() - started) * 1000, size


def main(samples):
    with shared_screen() as (program, canvas), Viewer(program.address) as viewer:
        print(f"{'change':26} {'median':>9} {'p95':>9} {'bytes':>8}   ({samples} samples)")
        for name, area in CHANGES.items():
            results = [measure(viewer, canvas, seed, area) for seed in range(1, samples + 1)]
            median, p95 = median_and_p95([milliseconds for milliseconds, _ in results])
            print(f"{name:26} {median:6.1f} ms {p95:6.1f} ms {results[-1][1]:8}", flush=True)


if __name__ == "__main__":
    main(int(sys.argv[1]) if len(sys.argv) > 1 else 50)
