"""An upload client on raw sockets, and checks of the upload folder."""
import hashlib
import json
from pathlib import Path
from urllib.parse import quote

from .. import http


def head(participant, filename, length):
    """Returns the head of an upload request; with None it has no Content-Length."""
    path = f"/upload/{quote(participant, safe='')}/{quote(filename, safe='')}"
    return http.request("PUT", path, *([] if length is None else [f"Content-Length: {length}"]))


def start(address, participant, filename, length, sent=b"", connect=http.connect):
    """Returns a connection on which an upload has begun."""
    connection = connect(address)
    connection.sendall(head(participant, filename, length) + sent)
    return connection


def read_response(connection):
    """Reads a response and returns its status code and JSON document."""
    return parsed(http.read_to_end(connection))


def parsed(response):
    response_head, _, body = response.partition(b"\r\n\r\n")
    assert response_head.startswith(b"HTTP/1.1 "), response
    return int(response_head.split()[1]), json.loads(body)


def upload(address, participant, filename, content):
    """Uploads a whole file and returns the response."""
    with start(address, participant, filename, len(content)) as connection:
        connection.sendall(content)
        return read_response(connection)


def status(address):
    response = http.exchange(address, http.request("GET", "/upload/status"))
    return json.loads(response.split(b"\r\n\r\n", 1)[1])


def visible(folder):
    """Returns the visible files, sorted."""
    return sorted(path.relative_to(folder) for path in Path(folder).rglob("*")
                  if path.is_file() and not path.name.startswith("."))


def hidden(folder):
    return sorted(path.relative_to(folder) for path in Path(folder).rglob(".*"))


def digest(path):
    with open(path, "rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()
