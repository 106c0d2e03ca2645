#!/usr/bin/python3
"""Uploads: one of 1 GB alternating with `cat` of the same bytes and fsync; eight of 200 MB at once; the
program's memory during these; and the effect of eight uploads on viewers of a changing screen.

    bench/uploads.py [RUNS]
"""
import concurrent.futures
import contextlib
import itertools
import multiprocessing
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

from measuring import median_and_p95, shared_screen

from harness import uploads
from harness.program import Program
from harness.viewer import Viewer

GIGABYTE = 1_000_000_000
CHANGES = 60
STILL_SECONDS = 0.7
CHARACTER = (400, 300, 8, 17)


def source_file(folder, size):
    """Yields a file in memory, so that reading it costs both sides the same."""
    path = Path(folder) / f"{size}.source"
    with open(path, "wb") as file:
        block = os.urandom(1_000_000)
        for _ in range(size // len(block)):
            file.write(block)
    return path


def send(address, name, source):
    """Uploads a file without copying it in this process, and waits for the response."""
    size = source.stat().st_size
    with uploads.start(address, "Bench", name, size) as connection, open(source, "rb") as file:
        connection.settimeout(None)
        sent = 0
        while sent < size:
            sent += os.sendfile(connection.fileno(), file.fileno(), sent, size - sent)
        status, document = uploads.read_response(connection)
        assert status == 201, document


def seconds(operation):
    started = time.perf_counter()
    operation()
    return time.perf_counter() - started


def settle():
    """Waits until the disk is idle, so that runs do not affect each other."""
    os.sync()
    time.sleep(0.5)


def cat(source, target):
    subprocess.run(["sh", "-c", 'cat "$1" > "$2" && sync "$2"', "sh", source, target], check=True)


def empty(folder):
    for path in Path(folder).iterdir():
        path.unlink()


@contextlib.contextmanager
def watched_memory(program):
    """Yields a list whose only element is the program's maximum resident size in the context."""
    highest = [program.resident_bytes()]
    over = threading.Event()

    def watch():
        while not over.wait(0.01):
            highest[0] = max(highest[0], program.resident_bytes())

    watcher = threading.Thread(target=watch)
    watcher.start()
    try:
        yield highest
    finally:
        over.set()
        watcher.join()


def one_large(program, folder, source, runs):
    ratios = []
    for run in range(runs):
        settle()
        ours = seconds(lambda: send(program.address, f"{run}.jpg", source))
        empty(folder)
        settle()
        bare = seconds(lambda: cat(source, Path(folder) / "cat.bin"))
        empty(folder)
        ratios.append(ours / bare)
        print(f"1 GB upload {ours:6.2f} s   cat and fsync {bare:6.2f} s   ratio {ours / bare:.2f}",
              flush=True)
    print(f"median ratio {statistics.median(ratios):.2f}")


def eight_at_once(program, folder, source):
    settle()
    idle = program.resident_bytes()
    with watched_memory(program) as highest, \
            concurrent.futures.ThreadPoolExecutor(8) as pool:
        took = seconds(lambda: list(pool.map(
            lambda number: send(program.address, f"{number}.jpg", source), range(8))))
    total = 8 * source.stat().st_size / 1e6
    empty(folder)
    settle()
    bare = seconds(lambda: [cat(source, Path(folder) / f"{n}.bin") for n in range(8)])
    empty(folder)
    print(f"8 × {total / 8:.0f} MB: {took:.2f} s, {total / took:.0f} MB/s; cat and fsync, one "
          f"after the other: {bare:.2f} s, ratio {took / bare:.2f}; memory at the most "
          f"{(highest[0] - idle) / 2**20:.1f} MiB above idle")


def keep_sending(address, number, source, over):
    os.nice(10)  # participants use other computers
    for count in itertools.count():
        if over.is_set():
            return
        send(address, f"{number}-{count}.jpg", source)


@contextlib.contextmanager
def eight_uploads_running(address, source):
    over = multiprocessing.Event()
    senders = [multiprocessing.Process(target=keep_sending, args=(address, n, source, over))
               for n in range(8)]
    for sender in senders:
        sender.start()
    time.sleep(1)
    try:
        yield
    finally:
        over.set()
        for sender in senders:
            sender.join()


def changes_to_wire(viewer, canvas, seeds):
    """Returns the milliseconds from each change of the still screen to the last byte of its frame."""
    samples = []
    for seed in seeds:
        viewer.last_frame(quiet=STILL_SECONDS)
        canvas.draft(seed)
        started = time.perf_counter()
        canvas.show(*CHARACTER)
        viewer.next_frame()
        samples.append((time.perf_counter() - started) * 1000)
    return samples


def viewers_meanwhile(folder, source):
    with shared_screen() as (program, canvas):
        program.command(f"folder {folder}")
        program.command("uploads on")
        program.wait_for_line("Uploads are open")
        with Viewer(program.address) as viewer:
            alone = changes_to_wire(viewer, canvas, range(1, CHANGES + 1))
            with eight_uploads_running(program.address, source):
                beside = changes_to_wire(viewer, canvas, range(CHANGES + 1, 2 * CHANGES + 1))
    empty(folder)
    for name, samples in (("without uploads", alone), ("with 8 uploads", beside)):
        median, p95 = median_and_p95(samples)
        print(f"change to wire {name:16} median {median:6.1f} ms   p95 {p95:6.1f} ms")
    print(f"ratio of the medians {statistics.median(beside) / statistics.median(alone):.2f}")


def main(runs):
    with contextlib.ExitStack() as stack:
        memory = stack.enter_context(tempfile.TemporaryDirectory(dir="/dev/shm"))
        disk = Path(stack.enter_context(tempfile.TemporaryDirectory(dir="/var/tmp")))
        folder = disk / "photos"
        program = Program(disk, "--headless", "--port", "0", "--capture", "pattern", "--uploads",
                          "--upload-folder", folder)
        stack.callback(program.stop)
        program.wait_until_listening()
        one_large(program, folder, source_file(memory, GIGABYTE), runs)
        medium = source_file(memory, GIGABYTE // 5)
        eight_at_once(program, folder, medium)
        program.stop()
        viewers_meanwhile(folder, medium)
        shutil.rmtree(folder)


if __name__ == "__main__":
    main(int(sys.argv[1]) if len(sys.argv) > 1 else 5)
