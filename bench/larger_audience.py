#!/usr/bin/python3
"""The costs of the recipe in docs/larger-audiences.md: the processor time of each step as a multiple of the
program's, and the delay of each step after a change of the screen as a multiple of the delay of a viewer.
The commands are those of the document.

    bench/larger_audience.py [SECONDS]
"""
import contextlib
import re
import statistics
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

import numpy
from measuring import shared_screen

from harness import pixels
from harness.documents import TREE, Document
from harness.process import Process
from harness.viewer import Viewer
from harness.waiting import eventually
from harness.x11.motion import Motion

COLOURS = [0xE05050, 0x50C050, 0x6090FF, 0xE0C040, 0xC060D0, 0x30C0C0, 0xF0F0F0, 0x202020]
LIMIT = 30


def recipe(program, folder):
    """Returns the two commands of the document with the address and the paths of this run."""
    commands = [block.command for block in Document(TREE / "docs/larger-audiences.md").blocks("sh")
                if block.command.startswith("ffmpeg")]
    places = {"http://192.168.1.20/": program.url, "/dev/shm/room.jpg": f"{folder}/room.jpg",
              "/var/www/html/room": str(folder)}
    for written, here in places.items():
        commands = [command.replace(written, here) for command in commands]
    return commands[:2]


def cpu_seconds(process):
    return time.clock_gettime((~process.pid << 3) | 2)


def close_to(picture, colour):
    middle = picture[picture.shape[0] // 2, picture.shape[1] // 2].astype(int)
    return all(abs(int(middle[i]) - (colour >> shift & 255)) < 40
               for i, shift in enumerate((16, 8, 0)))


def last_pixel(video):
    """Returns the last picture of a video, scaled to one pixel."""
    done = subprocess.run(["ffmpeg", "-v", "quiet", "-i", video, "-vf", "scale=1:1", "-f", "rawvideo",
                           "-pix_fmt", "rgb24", "-"], capture_output=True)
    return numpy.frombuffer(done.stdout[-3:], numpy.uint8).reshape(1, 1, 3)


def segment_has(folder, colour, seen):
    """Returns whether a new segment ends with the colour."""
    listed = re.findall(r"^.+\.ts$", (folder / "index.m3u8").read_text(), re.M)
    for name in listed:
        if name in seen:
            continue
        seen.add(name)
        if close_to(last_pixel(folder / name), colour):
            return True
    return False


def delays(canvas, program, folder):
    """Returns the seconds until viewer, file and video show a new colour. The screen is still before
    each change, so that the next picture is the one that shows it."""
    found = {"viewer": [], "file": [], "video": []}
    with Viewer(program.address) as viewer:
        for colour in COLOURS:
            viewer.last_frame()
            seen = {path.name for path in folder.glob("*.ts")}
            with FileWatch(folder / "room.jpg") as watch:
                began = time.monotonic()
                canvas.fill(colour)
                jpeg = viewer.next_frame()
                found["viewer"].append(time.monotonic() - began)
                assert close_to(pixels.decode(jpeg), colour)
                eventually(lambda: segment_has(folder, colour, seen), LIMIT, "the video")
                found["video"].append(time.monotonic() - began)
            found["file"].append(watch.replaced - began)
    return found


class FileWatch:
    """Records when a file is first replaced."""

    def __init__(self, path):
        self._path = path
        self._before = path.stat().st_ino
        self._thread = threading.Thread(target=self._watch)
        self.replaced = None

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *unused):
        self._thread.join()

    def _watch(self):
        deadline = time.monotonic() + LIMIT
        while self.replaced is None and time.monotonic() < deadline:
            with contextlib.suppress(OSError):
                if self._path.stat().st_ino != self._before:
                    self.replaced = time.monotonic()
            time.sleep(0.001)


def load(processes, seconds):
    """Returns the processor time of each process in per cent of a core."""
    before = [cpu_seconds(process) for process in processes]
    time.sleep(seconds)
    return [100 * (cpu_seconds(process) - start) / seconds
            for process, start in zip(processes, before)]


def main():
    seconds = float(sys.argv[1]) if len(sys.argv) > 1 else 15
    with contextlib.ExitStack() as stack:
        folder = Path(stack.enter_context(tempfile.TemporaryDirectory(dir="/dev/shm")))
        program, canvas = stack.enter_context(shared_screen())
        processes = [program]
        for number, command in enumerate(recipe(program, folder)):
            made = Process(["bash", "-c", f"exec {command}"], folder, f"ffmpeg-{number}")
            stack.callback(made.stop)
            awaited = folder / ("room.jpg", "index.m3u8")[number]
            eventually(awaited.exists, LIMIT, f"{awaited.name} is there")
            processes.append(made)
        print("still:  program %.1f %%, file %.1f %%, video %.1f %% of a core"
              % tuple(load(processes, seconds)))
        with Motion(canvas):
            moving = load(processes, seconds)
        print("moving: program %.1f %%, file %.1f %%, video %.1f %% of a core" % tuple(moving))
        print("moving, program = 1: file %.2f, video %.2f"
              % (moving[1] / moving[0], moving[2] / moving[0]))
        found = {name: statistics.median(values)
                 for name, values in delays(canvas, program, folder).items()}
        print("change, medians: " + ", ".join(
            f"{name} {value * 1000:.0f} ms, {value / found['viewer']:.1f} times the viewer's"
            for name, value in found.items()))


if __name__ == "__main__":
    main()
