"""Responses of the real server, byte for byte over a real socket."""
import json

import pytest

from harness import http
from harness.viewer import FOR_A_SCRIPT, Viewer

CLOSING = b"Connection: close\r\nX-Content-Type-Options: nosniff\r\nX-Frame-Options: DENY\r\n"
NOT_FOUND = (b"HTTP/1.1 404 Not Found\r\nContent-Type: text/plain; charset=utf-8\r\n"
             b"Content-Length: 10\r\nCache-Control: no-cache\r\n" + CLOSING + b"\r\nNot found\n")
NOT_ALLOWED = (b"HTTP/1.1 405 Method Not Allowed\r\nContent-Type: text/plain; charset=utf-8\r\n"
               b"Content-Length: 19\r\nCache-Control: no-cache\r\n" + CLOSING +
               b"Allow: GET\r\n\r\nMethod not allowed\n")


@pytest.fixture
def idle(start):
    return start("--capture", "pattern")


def html_head(body):
    return (b"HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\n"
            b"Content-Length: %d\r\nCache-Control: no-cache\r\n" % len(body) + CLOSING + b"\r\n")


@pytest.mark.parametrize("method", ["GET", "HEAD"])
@pytest.mark.parametrize("path", ["/", "/index.html", "/?a=b"])
def test_page(idle, method, path):
    response = http.exchange(idle.address, http.request(method, path))
    head, body = response.split(b"\r\n\r\n", 1)
    assert head + b"\r\n\r\n" == html_head(body)
    assert body.startswith(b"<!DOCTYPE html>") and body.rstrip().endswith(b"</html>")
    assert b'<img id="screen" src="/stream" alt="">' in body
    assert b"<title>Tarvinel</title>" in body


@pytest.mark.parametrize("method", ["GET", "HEAD"])
def test_status_before_sharing(idle, method):
    head, body = http.exchange(idle.address, http.request(method, "/status")).split(b"\r\n\r\n", 1)
    assert head + b"\r\n" == (
        b"HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"
        b"Content-Length: %d\r\nCache-Control: no-cache\r\n" % len(body) + CLOSING)
    status = json.loads(body)
    assert set(status) == {"sharing", "viewers", "fps", "version", "build"}
    assert (status["sharing"], status["viewers"]) == (False, 0)


@pytest.mark.parametrize("method, path", [
    ("GET", "/nothing"), ("GET", "/INDEX.HTML"), ("HEAD", "//"), ("GET", "/stream/"),
    ("GET", "/upload/ann/a.jpg"), ("GET", "/brand/image"), ("GET", "/brand/font"),
    ("GET", "/../etc/passwd"), ("GET", "/%73tream")])
def test_unknown_path(idle, method, path):
    assert http.exchange(idle.address, http.request(method, path)) == NOT_FOUND


@pytest.mark.parametrize("method, path", [
    ("POST", "/"), ("PUT", "/"), ("PUT", "/stream"), ("PUT", "/upload/status"),
    ("DELETE", "/status"), ("OPTIONS", "/"), ("X", "/nothing")])
def test_other_methods(idle, method, path):
    assert http.exchange(idle.address, http.request(method, path)) == NOT_ALLOWED


def test_a_body_behind_a_refused_request_does_not_lose_the_answer(idle):
    request = http.request("POST", "/", "Content-Length: 200000") + bytes(200000)
    assert http.exchange(idle.address, request) == NOT_ALLOWED


def test_head_in_single_bytes(idle):
    with http.connect(idle.address) as connection:
        for byte in http.request("GET", "/nothing"):
            connection.sendall(bytes([byte]))
        assert http.read_to_end(connection) == NOT_FOUND


def test_lower_case_method_and_extra_bytes_after_the_head(idle):
    request = b"get /nothing HTTP/1.1\r\n\r\nGET / HTTP/1.1\r\n\r\n"
    assert http.exchange(idle.address, request) == NOT_FOUND


def test_stream_head_and_parts(sharing):
    with Viewer(sharing.address) as viewer:
        viewer.next_frame()


def test_stream_for_a_script(sharing):
    with Viewer(sharing.address, headers=["Accept: application/octet-stream"],
                body_headers=FOR_A_SCRIPT) as viewer:
        viewer.next_frame()


def test_stream_to_a_head_request(sharing):
    """A HEAD request is answered exactly like GET."""
    with http.connect(sharing.address) as connection:
        connection.sendall(http.request("HEAD", "/stream?1"))
        assert connection.recv(65536).startswith(
            b"HTTP/1.1 200 OK\r\nContent-Type: multipart/x-mixed-replace; "
            b"boundary=tarvinelframe\r\n")
