"""An HTTP proxy in front of the program that records and changes what passes between page and program."""
import contextlib
import re
import socket
import struct
import threading
import time

UNAVAILABLE = (b"HTTP/1.1 503 Service Unavailable\r\nContent-Type: text/plain\r\n"
               b"Content-Length: 5\r\nConnection: close\r\n\r\nbusy\n")


class InterceptingProxy:
    """Forwards every connection to the server that `connect` reaches.

    `inject` is inserted at the start of the page's <head>. While `stream_handler` is set, it is called
    with the connection of each "/stream" request instead of forwarding that. `stream_times` are the
    times of such requests, `max_streams` the maximum number that was open at once.
    """

    def __init__(self, listener, connect, inject=""):
        self._listener = listener
        self._connect = connect
        self._inject = inject.encode()
        self._lock = threading.Lock()
        self.stream_handler = None
        self.stream_times = []
        self.max_streams = 0
        self._open = set()
        threading.Thread(target=self._accept, daemon=True).start()

    def open_streams(self):
        with self._lock:
            return len(self._open)

    def break_streams(self):
        """Breaks all open streams, resets `max_streams` and returns the time."""
        with self._lock:
            open_streams = list(self._open)
            self.max_streams = 0
        now = time.monotonic()
        for client in open_streams:
            with contextlib.suppress(OSError):
                client.shutdown(socket.SHUT_RDWR)
        return now

    @property
    def port(self):
        return self._listener.getsockname()[1]

    def close(self):
        with contextlib.suppress(OSError):
            self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()

    def _accept(self):
        while True:
            try:
                client, _ = self._listener.accept()
            except OSError:  # closed
                return
            threading.Thread(target=self._serve, args=[client], daemon=True).start()

    def _serve(self, client):
        with client, contextlib.suppress(OSError):
            head = _read_head(client)
            if head.startswith(b"GET /stream"):
                self._serve_stream(client, head)
            elif head:
                client.sendall(self._with_injection(self._fetch_response(head)))

    def _serve_stream(self, client, head):
        with self._lock:
            self.stream_times.append(time.monotonic())
            self._open.add(client)
            self.max_streams = max(self.max_streams, len(self._open))
        try:
            if self.stream_handler:
                self.stream_handler(client)
            else:
                self._forward(client, head)
        finally:
            with self._lock:
                self._open.discard(client)

    def _forward(self, client, head):
        with self._connect() as server:
            server.settimeout(None)
            # It closes with a reset, because a page that leaves does not read the rest of the stream.
            server.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            server.sendall(head)
            back = threading.Thread(target=_pump, args=[client, server], daemon=True)
            back.start()
            _pump(server, client)

    def _fetch_response(self, head):
        with self._connect() as server:
            server.sendall(head)
            response = bytearray()
            while piece := server.recv(65536):
                response += piece
        return bytes(response)

    def _with_injection(self, response):
        head, _, body = response.partition(b"\r\n\r\n")
        body = body.replace(b"<head>", b"<head>" + self._inject, 1)
        head = re.sub(rb"Content-Length: \d+", b"Content-Length: %d" % len(body), head)
        return head + b"\r\n\r\n" + body


def respond_unavailable(connection):
    connection.sendall(UNAVAILABLE)


def close_without_response(connection):
    """Closes the connection without a response."""


def _read_head(connection):
    head = bytearray()
    while b"\r\n\r\n" not in head:
        piece = connection.recv(65536)
        if not piece:
            return b""
        head += piece
    return bytes(head)


def _pump(source, sink):
    """Forwards bytes until either side closes, then closes both connections."""
    with contextlib.suppress(OSError):
        while piece := source.recv(1 << 20):
            sink.sendall(piece)
    for end in (source, sink):
        with contextlib.suppress(OSError):
            end.shutdown(socket.SHUT_RDWR)
