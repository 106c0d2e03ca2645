"""Clients that send garbage or nothing, or that disconnect halfway, occupy no resources for long."""
import contextlib
import resource
import socket
import struct
import time

import pytest

from harness import http
from harness.viewer import Viewer
from harness.waiting import LIMIT, eventually

MAX_CONNECTIONS = 256
HEAD_TIMEOUT = 15
AT_ONCE = HEAD_TIMEOUT - 1  # before the timeout
GARBAGE = bytes(range(256)) * 16


@pytest.fixture
def program(sharing):
    """The program while it shares; after the test it still serves and has no additional descriptors."""
    sharing.status()
    settled = eventually(lambda: resting_descriptors(sharing), LIMIT, "descriptors rest")
    yield sharing
    eventually(lambda: sharing.descriptors() <= settled, LIMIT,
               f"descriptors are back to {settled}")
    assert sharing.running()
    with Viewer(sharing.address) as viewer:
        viewer.next_frame()


def resting_descriptors(program):
    """Returns the number of descriptors when the sockets of finished requests are closed."""
    first = program.descriptors()
    time.sleep(0.4)
    return first if program.descriptors() == first else None


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()


def ended_without_a_byte(connection, within):
    connection.settimeout(within)
    try:
        return connection.recv(1) == b""
    except ConnectionResetError:
        return True


@pytest.mark.parametrize("head", [
    GARBAGE[:4096], b"GET", b"GET / HTTP/1.1\r\nHost: x\r\n", b"GET stream HTTP/1.1\r\n\r\n",
    b"\r\n\r\n", b"GET / HTTP/1.1\r\nX: \xff\xfe\r\n\r\n", b"\x16\x03\x01\x02\x00\x01\x00", b"\0"],
    ids=["bytes", "word", "half-head", "no-slash", "blank", "not-utf8", "tls", "zero"])
def test_malformed_head_is_dropped_when_the_client_stops(program, head):
    with http.connect(program.address) as connection:
        connection.sendall(head)
        connection.shutdown(socket.SHUT_WR)
        assert ended_without_a_byte(connection, AT_ONCE)


@pytest.mark.parametrize("filling", [b"a", b"\r\nA: b", GARBAGE],
                         ids=["letters", "lines", "bytes"])
def test_head_over_16_kib_is_dropped_at_once(program, filling):
    with http.connect(program.address) as connection:
        connection.sendall((b"GET / HTTP/1.1" + filling * 20000)[:20000])
        assert ended_without_a_byte(connection, AT_ONCE)
    program.wait_for_line("request head over 16 KiB from 127.0.0.1:", source="stderr")


def test_largest_head_is_answered(program):
    head = b"GET /nothing HTTP/1.1\r\nX: "
    head += b"a" * (16384 - len(head) - 4) + b"\r\n\r\n"
    assert http.exchange(program.address, head).startswith(b"HTTP/1.1 404 Not Found\r\n")


@pytest.mark.slow
def test_slow_heads_are_dropped_after_fifteen_seconds(program):
    started = time.monotonic()
    with contextlib.ExitStack() as stack:
        silent, halfway, dripping = (
            stack.enter_context(http.connect(program.address)) for _ in range(3))
        halfway.sendall(b"GET / HTTP/1.1\r\nHost:")
        while time.monotonic() - started < HEAD_TIMEOUT - 1:
            dripping.sendall(b"G")
            time.sleep(0.2)
        for connection in (silent, halfway, dripping):
            connection.setblocking(False)
            with pytest.raises(BlockingIOError):
                connection.recv(1)
        for connection in (silent, halfway, dripping):
            assert ended_without_a_byte(connection, LIMIT)
    program.wait_for_line(r"request head not received in 15\.0+s from 127\.0\.0\.1:\d+; closing",
                          source="stderr")


@pytest.mark.parametrize("sent", [
    b"", b"GET / HT", http.request("GET", "/"), http.request("GET", "/stream"),
    http.request("GET", "/status"), http.request("POST", "/") + bytes(100000)],
    ids=["nothing", "half-head", "page", "stream", "status", "body"])
def test_reset_right_after(program, sent):
    for _ in range(20):
        connection = http.connect(program.address)
        connection.sendall(sent)
        reset(connection)


def test_reset_in_the_middle_of_an_answer(program):
    for path in ["/", "/stream", "/status"] * 5:
        connection = http.connect(program.address, receive_buffer=2048)
        connection.sendall(http.request("GET", path))
        connection.recv(10)
        reset(connection)


def test_257th_connection_is_refused_without_a_byte(program):
    with contextlib.ExitStack() as stack:
        held = [stack.enter_context(http.connect(program.address))
                for _ in range(MAX_CONNECTIONS)]
        with http.connect(program.address) as extra:
            assert ended_without_a_byte(extra, AT_ONCE)
        held[0].close()
        eventually(lambda: accepts_connections(program), AT_ONCE, "a new connection is taken")
        program.wait_for_line(r"connection cap \(256\) reached; refusing 127\.0\.0\.1:\d+",
                              source="stderr")


def accepts_connections(program):
    return http.exchange(program.address, http.request("GET", "/")).startswith(b"HTTP/1.1 200")


def test_viewers_that_never_read_are_no_burden(program, canvas):
    with contextlib.ExitStack() as stack:
        for _ in range(20):
            lazy = stack.enter_context(http.connect(program.address, receive_buffer=4096))
            lazy.sendall(http.request("GET", "/stream"))
        eventually(lambda: program.viewers() == 20, LIMIT, "all of them are viewers")
        with Viewer(program.address) as viewer:
            for seed in range(3):
                viewer.last_frame(quiet=1)
                canvas.text(seed + 10)
                viewer.next_frame()
    eventually(lambda: program.viewers() == 0, LIMIT, "all of them left")


def test_out_of_descriptors_the_others_are_served_and_who_waits_gets_its_turn(program):
    before = resource.prlimit(program.pid, resource.RLIMIT_NOFILE)
    with Viewer(program.address) as viewer, contextlib.ExitStack() as stack:
        viewer.next_frame()
        # allows two more
        resource.prlimit(program.pid, resource.RLIMIT_NOFILE, (program.descriptors() + 2, before[1]))
        held = [stack.enter_context(http.connect(program.address)) for _ in range(2)]
        waiting = stack.enter_context(http.connect(program.address))  # the kernel has accepted it
        waiting.sendall(http.request("GET", "/"))
        spent = program.cpu_seconds()
        time.sleep(1)
        assert program.cpu_seconds() - spent < 0.2, "it spins over a connection it cannot take"
        for connection in held:
            connection.close()
        assert waiting.recv(12) == b"HTTP/1.1 200"
        resource.prlimit(program.pid, resource.RLIMIT_NOFILE, before)
