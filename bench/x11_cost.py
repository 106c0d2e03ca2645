#!/usr/bin/python3
"""The cost of sharing a display, a window or an application of an X server: processor time of the program in
per cent of one core, while the window types, scrolls or plays, with one viewer on loopback. The window fills the display.

    bench/x11_cost.py [SECONDS]
"""
import tempfile
import threading
import time

from measuring import Canvas, Program, XServer, drain, print_costs

from harness.program import list_sources
from harness.viewer import Viewer

KINDS = ("display", "window", "app")


def typing(canvas, step):
    canvas.show(8 * (step % 200), 16 * (step // 200 % 50), 8, 17)


def scrolling(canvas, step):
    canvas.scroll(16)


def video(canvas, step):
    canvas.draft_rectangle(0x101010 * (step % 15), 0, 0, 1280, 720)
    canvas.show(0, 0, 1280, 720)


CHANGES = {"typing (8x17)": typing, "scrolling (all of it)": scrolling, "video (1280x720)": video}
CHANGES_A_SECOND = 20


def measure(program, canvas, change, seconds):
    """Returns the processor time in per cent of a core."""
    canvas.text(1)
    canvas.draft(2)
    time.sleep(1.5)  # its settled frame is not measured
    before, started = program.cpu_seconds(), time.monotonic()
    step = 0
    while (elapsed := time.monotonic() - started) < seconds:
        change(canvas, step)
        step += 1
        time.sleep(max(0.0, started + step / CHANGES_A_SECOND - time.monotonic()))
    return 100 * (program.cpu_seconds() - before) / elapsed


def run(kind, width, height, seconds):
    with tempfile.TemporaryDirectory() as folder:
        server = XServer(folder, width, height)
        canvas = Canvas(server, title="document")
        sources = list_sources(folder, server.name, "--capture", "x11")
        identifier = next(one for one in sources if one.startswith(kind))
        program = Program(folder, "--headless", "--port", "0", "--capture", "x11", "--share",
                          identifier, display=server.name)
        try:
            program.wait_until_listening()
            program.wait_until_sharing()
            canvas.text(0)
            viewer = Viewer(program.address)
            threading.Thread(target=drain, args=(viewer,), daemon=True).start()
            return {name: measure(program, canvas, change, seconds)
                    for name, change in CHANGES.items()}
        finally:
            program.stop()
            canvas.close()
            server.stop()


if __name__ == "__main__":
    print_costs(KINDS, CHANGES, run)
