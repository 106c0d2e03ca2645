"""HTTP requests on raw connections, with responses byte for byte."""
import json
import socket

from .waiting import LIMIT


def connect(address, receive_buffer=None):
    """Returns a connected socket; with a small receive buffer, its viewer is soon congested."""
    connection = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    if receive_buffer:
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
    connection.settimeout(LIMIT)
    try:
        connection.connect(address)
    except BaseException:
        connection.close()
        raise
    return connection


def read_to_end(connection):
    """Returns all bytes up to the end of the stream; a reset counts as the end."""
    pieces = []
    while True:
        try:
            piece = connection.recv(65536)
        except ConnectionResetError:
            return b"".join(pieces)
        if not piece:
            return b"".join(pieces)
        pieces.append(piece)


def exchange(address, request, connect=connect):
    """Sends the bytes and returns everything that comes back until the server closes."""
    with connect(address) as connection:
        connection.sendall(request)
        return read_to_end(connection)


def request(method, path, *headers):
    lines = [f"{method} {path} HTTP/1.1", "Host: tarvinel.local", *headers]
    return "\r\n".join(lines).encode() + b"\r\n\r\n"


def get_status(address, connect=connect):
    """Returns the "/status" document."""
    head, body = exchange(address, request("GET", "/status"), connect).split(b"\r\n\r\n", 1)
    assert head.startswith(b"HTTP/1.1 200 OK\r\n"), head
    return json.loads(body)
