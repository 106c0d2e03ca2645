"""A viewer on a raw socket that checks the stream byte for byte."""
import select
import socket
import struct
import time

from . import http
from .waiting import LIMIT

HEAD = (b"HTTP/1.1 200 OK\r\n"
        b"%s\r\n"
        b"Cache-Control: no-cache, no-store, must-revalidate\r\n"
        b"Pragma: no-cache\r\n"
        b"Connection: close\r\n"
        b"X-Content-Type-Options: nosniff\r\n\r\n")
MULTIPART = b"Content-Type: multipart/x-mixed-replace; boundary=tarvinelframe"
FOR_A_SCRIPT = b"Content-Type: application/octet-stream\r\nContent-Length: 9007199254740991"
TILES = "application/x-tarvinel-tiles"
PART_START = b"--tarvinelframe\r\nContent-Type: image/jpeg\r\nContent-Length: "


class Viewer:
    """One "/stream" request. The constructor returns when the expected head has arrived."""

    def __init__(self, address=None, headers=(), body_headers=MULTIPART, receive_buffer=None,
                 connection=None):
        self.socket = connection or http.connect(address, receive_buffer)
        self._buffer = bytearray()
        self.socket.settimeout(LIMIT)
        self.socket.sendall(http.request("GET", "/stream", *headers))
        expected = HEAD % body_headers
        assert self._take(len(expected)) == expected

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.close()

    def next_frame(self, within=LIMIT):
        """Returns the JPEG of the next part."""
        self.socket.settimeout(within)
        assert self._take(len(PART_START)) == PART_START
        jpeg = self._take(self._take_length())
        assert jpeg[:2] == b"\xff\xd8" and jpeg[-2:] == b"\xff\xd9"
        assert self._take(2) == b"\r\n"
        return jpeg

    def part(self, within=LIMIT):
        """Returns the next part as it is, head and end included."""
        self.socket.settimeout(within)
        head = bytearray()
        while not head.endswith(b"\r\n\r\n"):
            head += self._take(1)
        length = int(head.split(b"Content-Length: ")[1].split(b"\r\n")[0])
        return bytes(head) + self._take(length + 2)

    def frame_where(self, wanted, within=LIMIT):
        """Returns the first frame that `wanted` accepts."""
        deadline = time.monotonic() + within
        while time.monotonic() < deadline:
            jpeg = self.next_frame(max(0.1, deadline - time.monotonic()))
            if wanted(jpeg):
                return jpeg
        raise AssertionError(f"no such frame within {within} s")

    def frame_after(self, act, wanted, within=LIMIT, frame_timeout=0.6):
        """Repeats `act` until a frame arrives that `wanted` accepts, and returns that frame.

        This is for sources that may lose some changes. `act` is repeated when no frame arrived for
        `frame_timeout` seconds.
        """
        deadline = time.monotonic() + within
        while time.monotonic() < deadline:
            act()
            while self.readable(frame_timeout):
                jpeg = self.next_frame()
                if wanted(jpeg):
                    return jpeg
        raise AssertionError(f"no such frame within {within} s")

    def last_frame(self, quiet=1.5, within=LIMIT):
        """Returns the frame after which nothing arrived for `quiet` seconds."""
        deadline = time.monotonic() + within
        jpeg = self.next_frame()
        while self.readable(quiet):
            assert time.monotonic() < deadline, "the stream never rests"
            jpeg = self.next_frame()
        return jpeg

    def readable(self, within):
        """Returns whether data or the end of the stream arrives within that many seconds."""
        return bool(self._buffer or select.select([self.socket], [], [], within)[0])

    def ended(self, within):
        """Returns whether the server ends the stream within that many seconds; drops unread parts."""
        deadline = time.monotonic() + within
        while (left := deadline - time.monotonic()) > 0:
            self.socket.settimeout(left)
            try:
                if not self.socket.recv(1 << 20):
                    return True
            except ConnectionResetError:
                return True
            except TimeoutError:
                return False
        return False

    def close(self):
        self.socket.close()

    def reset(self):
        """Closes the connection with a reset."""
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.socket.close()

    def _take_length(self):
        digits = bytearray()
        while not digits.endswith(b"\r\n\r\n"):
            digits += self._take(1)
            assert len(digits) < 16, digits
        number = bytes(digits[:-4])
        assert number.isdigit() and not number.startswith(b"0"), number
        return int(number)

    def _take(self, count):
        while len(self._buffer) < count:
            piece = self.socket.recv(max(65536, count - len(self._buffer)))
            assert piece, f"the stream ended after {bytes(self._buffer[-80:])!r}"
            self._buffer += piece
        taken = bytes(self._buffer[:count])
        del self._buffer[:count]
        return taken
