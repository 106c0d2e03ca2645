"""Uploads on raw sockets, and what the folder must look like."""
import hashlib
import json
from pathlib import Path
from urllib.parse import quote

from .. import http


def head(participant, filename, length):
    """The head of an upload; without a length it announces none."""
    path = f"/upload/{quote(participant, safe='')}/{quote(filename, safe='')}"
    return http.request("PUT", path, *([] if length is None else [f"Content-Length: {length}"]))


def start(address, participant, filename, length, sent=b"", connect=http.connect):
    """A connection on which an upload has begun."""
    connection = connect(address)
    connection.sendall(head(participant, filename, length) + sent)
    return connection


def read_response(connection):
    """Status code and JSON document of an answer."""
    return parsed(http.read_to_end(connection))


def parsed(answer):
    answer_head, _, body = answer.partition(b"\r\n\r\n")
    assert answer_head.startswith(b"HTTP/1.1 "), answer
    return int(answer_head.split()[1]), json.loads(body)


def upload(address, participant, filename, content):
    """Sends a whole file and returns its answer."""
    with start(address, participant, filename, len(content)) as connection:
        connection.sendall(content)
        return read_response(connection)


def status(address):
    answer = http.exchange(address, http.request("GET", "/upload/status"))
    return json.loads(answer.split(b"\r\n\r\n", 1)[1])


def visible(folder):
    """The files that a presenter sees."""
    return sorted(path.relative_to(folder) for path in Path(folder).rglob("*")
                  if path.is_file() and not path.name.startswith("."))


def hidden(folder):
    return sorted(path.relative_to(folder) for path in Path(folder).rglob(".*"))


def digest(path):
    with open(path, "rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()
