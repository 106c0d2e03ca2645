"""Standard error, standard output or the journal blocks: a pipe that nobody reads, a stopped terminal.
Viewers are not affected, the program ends on command, and it logs later how many lines were dropped."""
import contextlib
import fcntl
import os
import re
import select
import signal
import socket
from pathlib import Path

import pytest

from harness import http
from harness.host.journal import Journal
from harness.host.terminal import Terminal
from harness.program import executable, private_env, without_name
from harness.viewer import Viewer
from harness.waiting import eventually

LIMIT = 60
CTRL_S, CTRL_Q = "\x13", "\x11"
MISSING = rb"(\d+) lines are missing here: nothing took them in time"
# with --verbose more than four times the size of the program's queue of lines
LONG_PATH, REQUESTS = "/" + "a" * 8000, 600
SHARING = ["--capture", "pattern", "--share", "display-1", "--verbose"]


class HeldPipe:
    """A pipe that nobody reads before read_until()."""

    def __init__(self, folder):
        self.path = Path(folder) / "held"
        os.mkfifo(self.path)
        self._end = os.open(self.path, os.O_RDWR)
        fcntl.fcntl(self._end, fcntl.F_SETPIPE_SZ, 4096)

    def read_until(self, pattern):
        """Reads until the output matches the pattern, and returns the match."""
        text = b""
        while not (found := re.search(pattern, text)):
            readable, _, _ = select.select([self._end], [], [], LIMIT)
            assert readable, f"no {pattern} until {text}"
            text = text[-4096:] + os.read(self._end, 65536)
        return found

    def close(self):
        os.close(self._end)


@pytest.fixture
def held_pipe(tmp_path):
    with contextlib.closing(HeldPipe(tmp_path)) as pipe:
        yield pipe


@pytest.fixture
def start_into(start, held_pipe):
    """Starts the program with a descriptor connected to the held pipe; returns the program and its
    address."""
    def start_with(descriptor):
        return start_with_prefix(start, ["sh", "-c",
                                         f'exec "$0" "$@" {descriptor}>{held_pipe.path}'])

    return start_with


def start_with_prefix(start, prefix):
    with socket.create_server(("127.0.0.1", 0)) as listening:
        address = listening.getsockname()
    program = start(*SHARING, port=address[1], listening=False, prefix=prefix)
    wait_until_sharing(address)
    return program, address


def wait_until_sharing(address):
    def shares():
        with contextlib.suppress(OSError):
            return http.get_status(address)["sharing"]

    eventually(shares, LIMIT, "it shares")


def flood(address):
    """Sends requests; --verbose logs a line about each."""
    for _ in range(REQUESTS):
        http.exchange(address, http.request("GET", LONG_PATH))


def see_frames_go_on(address):
    with Viewer(address) as viewer:
        for _ in range(3):
            viewer.next_frame(LIMIT)


def test_a_log_into_a_pipe_that_nobody_reads(start_into, held_pipe):
    program, address = start_into(2)
    flood(address)
    see_frames_go_on(address)
    missing = held_pipe.read_until(MISSING + rb"\n")
    assert 0 < int(missing[1]) < REQUESTS + 50
    flood(address)
    program.terminate()
    assert program.wait(LIMIT) == 0


def test_a_console_into_a_pipe_that_nobody_reads(start_into, held_pipe):
    program, address = start_into(1)
    program.command("help\n" * 20000)
    see_frames_go_on(address)
    held_pipe.read_until(MISSING + rb"\)\n")
    program.command("help\n" * 20000 + "quit")
    assert program.wait(LIMIT) == 0


def test_a_log_that_somebody_reads_is_complete_at_the_end(start_into, held_pipe):
    program, address = start_into(2)
    http.exchange(address, http.request("GET", "/the-last-request"))
    program.terminate()
    held_pipe.read_until(rb"GET /the-last-request from ")
    assert program.wait(LIMIT) == 0


@pytest.fixture
def terminal(tmp_path):
    made = Terminal([executable(), "--headless", "--port", "0", *SHARING,
                     *without_name(tmp_path, [])], private_env(tmp_path))
    yield made
    made.stop()


def test_a_terminal_that_is_held(terminal):
    found = terminal.wait_for(r"Open http://[\d.]+:(\d+)/ in any browser")
    address = ("127.0.0.1", int(found[1]))
    wait_until_sharing(address)
    terminal.type(CTRL_S)
    flood(address)
    see_frames_go_on(address)
    terminal.type(CTRL_Q)
    terminal.wait_for(MISSING.decode(), LIMIT)
    terminal.type(CTRL_S)
    flood(address)
    os.kill(terminal.pid, signal.SIGTERM)
    assert terminal.wait(LIMIT) == 0


@pytest.fixture
def journal(tmp_path):
    if os.geteuid() != 0:
        pytest.skip("mounts need root")
    with contextlib.closing(Journal(tmp_path)) as made:
        yield made


def test_a_journal_that_hangs(start, journal):
    program, address = start_with_prefix(start, journal.prefix)
    flood(address)
    see_frames_go_on(address)
    while not re.search(MISSING, journal.socket.recv(65536)):
        pass
    flood(address)
    program.terminate()
    assert program.wait(LIMIT) == 0
