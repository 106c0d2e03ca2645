"""The QR code of the address, read by another program."""
import os
import re
import subprocess
from pathlib import Path

import numpy
import pytest
from PIL import Image

from harness import pixels
from harness.process import Process
from harness.program import executable, private_env
from harness.waiting import LIMIT, eventually
from harness.x11.server import XServer

SCREENSHOTS = Path(__file__).resolve().parents[2] / "build/screenshots"
HALVES = {" ": (False, False), "▀": (True, False), "▄": (False, True), "█": (True, True)}
MODULE = 6


def decoded(image):
    """Returns the text of the QR code in a picture, or "" if there is none."""
    done = subprocess.run(["zbarimg", "--quiet", "--raw", "-Sdisable", "-Sqrcode.enable", image],
                          capture_output=True, text=True, timeout=LIMIT)
    return done.stdout.strip()


def painted(lines, path):
    """Converts half blocks to a picture with square modules, dark on white."""
    rows = []
    for line in lines:
        halves = numpy.array([HALVES[character] for character in line])
        rows += [halves[:, 0], halves[:, 1]]
    dark = numpy.kron(numpy.array(rows), numpy.ones((MODULE, MODULE), bool))
    Image.fromarray(numpy.where(dark, 0, 255).astype(numpy.uint8)).save(path)
    return path


def test_in_a_pipe_it_is_made_of_half_blocks_alone(start, tmp_path):
    program = start("--capture", "pattern")
    address = program.wait_for_line(r"Open (http://\S+/) in any browser")[1]
    program.command("qr")
    found = program.wait_for_line(r"((?:[ ▀▄█]{20,}\n){10,})Open (http\S+) in any browser\n")
    assert found[2] == address
    assert decoded(painted(found[1].splitlines(), tmp_path / "code.png")) == address
    assert "\x1b" not in program.stdout


@pytest.fixture
def screen(tmp_path):
    server = XServer(tmp_path, width=1000, height=700)
    yield server
    server.stop()


class Terminal:
    """The program in an xterm that covers the screen."""

    def __init__(self, screen, folder, colours):
        self._commands = folder / "commands"
        os.mkfifo(self._commands)
        log = folder / "log"
        script = f'"$0" --headless --capture pattern --port 0 <>"$1" 2>{log}'
        self._xterm = Process(
            ["xterm", "-u8", "-fullscreen", "-fa", "DejaVu Sans Mono", "-fs", "11", *colours,
             "-e", "sh", "-c", script, executable(), self._commands],
            folder, "xterm", env=private_env(folder, screen.name))
        self._log = log

    def port(self):
        found = re.search(r"listening on port (\d+)", self._log.read_text()) \
            if self._log.exists() else None
        return found and found[1]

    def command(self, line):
        with open(self._commands, "w") as commands:
            commands.write(line + "\n")

    def stop(self):
        self._xterm.stop()


@pytest.mark.parametrize("name, colours", [
    ("dark", ["-bg", "black", "-fg", "grey90"]), ("light", ["-bg", "white", "-fg", "black"]),
    ("reversed", ["-bg", "#002b36", "-fg", "#839496", "-rv"])])
def test_in_a_terminal_it_can_be_read_from_the_screen(screen, tmp_path, name, colours):
    terminal = Terminal(screen, tmp_path, colours)
    try:
        port = eventually(terminal.port, LIMIT, "the server listens")
        terminal.command("qr")
        shot = SCREENSHOTS / f"qr-{name}.png"

        def read_from_the_screen():
            pixels.save(pixels.grab(screen), shot)
            return decoded(shot)

        address = eventually(read_from_the_screen, LIMIT, "a QR code on the screen", every=0.2)
        assert re.fullmatch(rf"http://[\w.]+:{port}/", address)
    finally:
        terminal.stop()
