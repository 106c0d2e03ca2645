#!/usr/bin/python3
"""Memory per viewer: the growth of the program's resident memory from 1 to 200 viewers of a still screen
and of a moving one. On Xvfb 1920 × 1080, with the default configuration.

    bench/viewer_memory.py
"""
import contextlib
import selectors
import threading
import time

from measuring import shared_screen

from harness import http
from harness.waiting import eventually
from harness.x11.motion import Motion

VIEWERS = 200
WATCHED_SECONDS = 5


class Crowd:
    """Viewers whose data one thread reads and discards."""

    def __init__(self, address):
        self._address = address
        self._selector = selectors.DefaultSelector()
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._drain)
        self._thread.start()

    def join(self, count):
        for _ in range(count):
            viewer = http.connect(self._address)
            viewer.sendall(http.request("GET", "/stream"))
            viewer.setblocking(False)
            self._selector.register(viewer, selectors.EVENT_READ)

    def close(self):
        self._stop.set()
        self._thread.join()
        for key in list(self._selector.get_map().values()):
            key.fileobj.close()

    def _drain(self):
        while not self._stop.is_set():
            for key, _ in self._selector.select(0.1):
                with contextlib.suppress(BlockingIOError):
                    key.fileobj.recv(1 << 20)


def highest_resident(program):
    deadline = time.monotonic() + WATCHED_SECONDS
    highest = 0
    while time.monotonic() < deadline:
        highest = max(highest, program.resident_bytes())
        time.sleep(0.02)
    return highest


def growth_per_viewer(program):
    """Returns the bytes per viewer, from the first to the last viewer."""
    crowd = Crowd(program.address)
    try:
        crowd.join(1)
        eventually(lambda: program.viewers() == 1, 10, "one viewer")
        before = highest_resident(program)
        crowd.join(VIEWERS - 1)
        eventually(lambda: program.viewers() == VIEWERS, 30, "all viewers")
        return (highest_resident(program) - before) / (VIEWERS - 1)
    finally:
        crowd.close()


def report(name, program):
    print(f"{name:14} {growth_per_viewer(program) / 1024:6.1f} KiB per viewer", flush=True)


def main():
    with shared_screen() as (program, _):
        report("still screen", program)
    with shared_screen() as (program, canvas), Motion(canvas):
        report("moving screen", program)


if __name__ == "__main__":
    main()
