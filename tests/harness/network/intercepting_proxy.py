"""A server in front of the program, to see and to change what passes between page and program."""
import contextlib
import re
import socket
import struct
import threading
import time

UNAVAILABLE = (b"HTTP/1.1 503 Service Unavailable\r\nContent-Type: text/plain\r\n"
               b"Content-Length: 5\r\nConnection: close\r\n\r\nbusy\n")


class Relay:
    """Hands every connection on to what `connect` reaches.

    `inject` is put at the start of the page's head. `answer_stream`, while set, is called with the
    connection of a "/stream" request instead of handing it on. `stream_times` are the moments at
    which such requests came; `most_streams` is how many were open at once.
    """

    def __init__(self, listener, connect, inject=""):
        self._listener = listener
        self._connect = connect
        self._inject = inject.encode()
        self._lock = threading.Lock()
        self.answer_stream = None
        self.stream_times = []
        self.most_streams = 0
        self._open = set()
        threading.Thread(target=self._accept, daemon=True).start()

    def break_streams(self):
        """Breaks all streams that are open; returns when. Counts the most anew."""
        with self._lock:
            open_streams = list(self._open)
            self.most_streams = 0
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
                client.sendall(self._with_injection(self._whole_answer(head)))

    def _serve_stream(self, client, head):
        with self._lock:
            self.stream_times.append(time.monotonic())
            self._open.add(client)
            self.most_streams = max(self.most_streams, len(self._open))
        try:
            if self.answer_stream:
                self.answer_stream(client)
            else:
                self._hand_on(client, head)
        finally:
            with self._lock:
                self._open.discard(client)

    def _hand_on(self, client, head):
        with self._connect() as server:
            server.settimeout(None)
            # its end is a reset: a page that leaves does not read what is still on its way
            server.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            server.sendall(head)
            back = threading.Thread(target=_pump, args=[client, server], daemon=True)
            back.start()
            _pump(server, client)

    def _whole_answer(self, head):
        with self._connect() as server:
            server.sendall(head)
            answer = bytearray()
            while piece := server.recv(65536):
                answer += piece
        return bytes(answer)

    def _with_injection(self, answer):
        head, _, body = answer.partition(b"\r\n\r\n")
        body = body.replace(b"<head>", b"<head>" + self._inject, 1)
        head = re.sub(rb"Content-Length: \d+", b"Content-Length: %d" % len(body), head)
        return head + b"\r\n\r\n" + body


def unavailable(connection):
    connection.sendall(UNAVAILABLE)


def slam(connection):
    """Ends the connection without an answer."""


def _read_head(connection):
    head = bytearray()
    while b"\r\n\r\n" not in head:
        piece = connection.recv(65536)
        if not piece:
            return b""
        head += piece
    return bytes(head)


def _pump(source, sink):
    """Hands bytes on until either side ends; then both connections end."""
    with contextlib.suppress(OSError):
        while piece := source.recv(1 << 20):
            sink.sendall(piece)
    for end in (source, sink):
        with contextlib.suppress(OSError):
            end.shutdown(socket.SHUT_RDWR)
