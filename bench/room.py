#!/usr/bin/python3
"""A room: viewers behind one link, who follow a screen that is typed on, pointed at, scrolled, turned to
another slide, or shows a film. Prints the delay from a change until a viewer has the last byte of the update
that brings it (median, 95th percentile, worst viewer's median), the share of changes that a viewer never got,
and the bytes that each change cost a viewer. Requires root, for the network.

    bench/room.py [--viewers 1,30,100] [--mbit 100,20] [--seconds 10]
"""
import argparse
import multiprocessing
import os
import random
import selectors
import statistics
import subprocess
import time

from measuring import shared_screen

from harness import http
from harness.network.lan import Network
from harness.tiles import read_update
from harness.viewer import TILES
from harness.waiting import eventually

WIDTH, HEIGHT = 1920, 1080
COLUMNS, ROWS = 15, 68  # of tiles
MARKED_COLUMN = 14      # every change also marks one tile of this column: by that it is recognised
ROOM_WIDTH = MARKED_COLUMN * 128
REST = 1.5  # seconds without an update


class Tap:
    """One viewer's stream: the indices and qualities of the tiles of each update, with its time."""

    def __init__(self, connection):
        self.connection = connection
        self.updates = []  # time, bytes, indices of motion tiles, indices of settled tiles
        self._buffer = bytearray()
        self._missing = 0

    def read(self):
        piece = self.connection.recv(1 << 18)
        assert piece, "the stream ended"
        self._buffer += piece
        while self._next():
            pass

    def _next(self):
        if not self._missing:
            end = self._buffer.find(b"\r\n\r\n")
            if end < 0:
                return False
            head = bytes(self._buffer[:end])
            if head.startswith(b"HTTP/"):
                del self._buffer[:end + 4]
                return True
            self._head = end + 4
            self._missing = end + 4 + int(head.split(b"Content-Length: ")[1]) + 2
        if len(self._buffer) < self._missing:
            return False
        body = bytes(self._buffer[self._head:self._missing - 2])
        update = read_update(body)
        self.updates.append((time.monotonic(), self._missing, update.motion, update.settled))
        del self._buffer[:self._missing]
        self._missing = 0
        return True


def watch(count, connect, control, last_read):
    """The viewers' process: follows the streams until told to end, then sends what they received."""
    selector = selectors.DefaultSelector()
    taps = []
    for _ in range(count):
        connection = connect()
        connection.sendall(http.request("GET", "/stream", f"Accept: {TILES}"))
        taps.append(Tap(connection))
        selector.register(connection, selectors.EVENT_READ, taps[-1])
    selector.register(control, selectors.EVENT_READ, None)
    while True:
        for key, _ in selector.select():
            if key.data is None:
                control.send([tap.updates for tap in taps])
                return
            key.data.read()
            last_read.value = time.monotonic()


class Room:
    def __init__(self, network, program, count):
        self._control, theirs = multiprocessing.Pipe()
        self._last_read = multiprocessing.Value("d", 0)
        port = program.listening_port()
        self._process = multiprocessing.get_context("fork").Process(
            target=watch,
            args=(count, lambda: network.connect_from_client(port), theirs, self._last_read))
        self._process.start()
        eventually(lambda: program.viewers() == count, 30, "all viewers are there")

    def wait_for_rest(self):
        """Waits until nothing has arrived for a while."""
        eventually(lambda: time.monotonic() - self._last_read.value > REST, 120, "the room rests")

    def end(self):
        """Returns the updates of each viewer."""
        self._control.send(None)
        updates = self._control.recv()
        self._process.join()
        return updates


class Screen:
    """The shared screen, and what happens on it."""

    def __init__(self, canvas):
        self._canvas = canvas
        self._random = random.Random(1)
        self._changes = 0

    def change(self, kind):
        """Makes a change and returns its time and the index of a tile that it always changes."""
        self._changes += 1
        now = time.monotonic()
        with self._canvas.at_once():
            tile = getattr(self, "_" + kind)()
        return now, tile

    def _mark(self):
        """Changes one tile of the marked column."""
        row = self._changes % ROWS
        colour = self._random.randrange(1 << 24)
        self._canvas.rectangle(colour, MARKED_COLUMN * 128 + 40, row * 16, 8, 12)
        return row * COLUMNS + MARKED_COLUMN

    def _typing(self):
        column, row = self._changes % MARKED_COLUMN, self._changes // MARKED_COLUMN % ROWS
        self._canvas.write(self._random.choice("aegkmosw"), column * 128 + 40, row * 16 + 12)
        return row * COLUMNS + column

    def _pointer(self):
        x, y = self._random.randrange(ROOM_WIDTH), self._random.randrange(HEIGHT - 20)
        self._canvas.point_at(x, y)
        return (y + 4) // 16 * COLUMNS + x // 128

    def _scrolling(self):
        self._canvas.scroll_part(0, 270, ROOM_WIDTH, 540, 48)
        return self._mark()

    def _slide(self):
        self._canvas.draft_slide(self._changes)
        self._canvas.show(0, 0, ROOM_WIDTH, HEIGHT)
        return self._mark()

    def _film(self):
        self._canvas.draft_blocks(640, 360, self._changes)
        self._canvas.show(0, 0, 640, 360)
        return self._mark()


KINDS = {"typing": 0.2, "pointer": 0.1, "scrolling": 0.1, "slide": 3.0, "film": 0.04}  # seconds between


def run(kind, screen, room_of, seconds):
    """Returns the changes (time and marked tile) and the updates of each viewer."""
    room = room_of()
    room.wait_for_rest()
    changes = []
    started = time.monotonic()
    while time.monotonic() - started < seconds:
        changes.append(screen.change(kind))
        time.sleep(max(0, started + len(changes) * KINDS[kind] - time.monotonic()))
    room.wait_for_rest()
    return changes, room.end()


def delays_of(changes, updates):
    """Returns the milliseconds of each change until the viewer has it, or None."""
    delays = []
    for at, tile in changes:
        seen = next((update[0] for update in updates
                     if update[0] > at and (tile in update[2] or tile in update[3])), None)
        delays.append(seen and (seen - at) * 1000)
    return delays


def seconds_until_sharp(at, until, updates):
    """Returns how long after the change the last tile of the viewer's picture became sharp."""
    blurred, sharp_at = set(), at
    for when, _, motion, settled in updates:
        if not at < when < until:
            continue
        blurred = (blurred | set(motion)) - set(settled)
        if not blurred:
            sharp_at = when
    return None if blurred else sharp_at - at


def report(kind, count, mbit, changes, viewers):
    by_viewer = [delays_of(changes, updates) for updates in viewers]
    seen = [delay for delays in by_viewer for delay in delays if delay is not None]
    total = len(changes) * count
    worst = max(statistics.median([d for d in delays if d is not None] or [float("inf")])
                for delays in by_viewer)
    first = changes[0][0]
    sent = sum(update[1] for updates in viewers for update in updates if update[0] > first)
    line = (f"{kind:10} {count:4} {mbit:5}  {statistics.median(seen):7.0f} "
            f"{statistics.quantiles(seen, n=20)[-1]:7.0f} {worst:7.0f} ms "
            f"{100 * (1 - len(seen) / total):5.1f} % {sent / total:9.0f} bytes")
    if kind == "slide":
        ends = [at for at, _ in changes[1:]] + [float("inf")]
        sharp = [seconds_until_sharp(at, end, updates)
                 for (at, _), end in zip(changes, ends) for updates in viewers]
        late = sum(each is None for each in sharp)
        longest = max(each for each in sharp if each is not None)
        line += f"  sharp after {longest:.2f} s at most, {late} never"
    print(line, flush=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--viewers", default="1,30,100")
    parser.add_argument("--mbit", default="100,20")
    parser.add_argument("--seconds", type=float, default=10)
    parser.add_argument("--kinds", default=",".join(KINDS))
    options = parser.parse_args()
    print(f"load before: {os.getloadavg()[0]:.1f}")
    print("change     viewers Mbit  median     95 %   worst      unseen   a change and viewer")
    for mbit in options.mbit.split(","):
        network = Network()
        try:
            subprocess.run([*network.exec_in_server(), "tc", "qdisc", "add", "dev", "eth0", "root",
                            "tbf", "rate", f"{mbit}mbit", "burst", "64kb", "latency", "50ms"],
                           check=True)
            with shared_screen(WIDTH, HEIGHT, prefix=network.exec_in_server(),
                               connect=network.connect_at_server) as (program, canvas):
                canvas.draft_slide(0)
                canvas.show()
                screen = Screen(canvas)
                for count in map(int, options.viewers.split(",")):
                    for kind in options.kinds.split(","):
                        changes, viewers = run(kind, screen, lambda: Room(network, program, count),
                                               options.seconds)
                        report(kind, count, mbit, changes, viewers)
        finally:
            network.remove()
    print(f"load after: {os.getloadavg()[0]:.1f}")


if __name__ == "__main__":
    main()
