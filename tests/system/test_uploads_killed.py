"""The program is killed at random moments while eight clients send files."""
import hashlib
import itertools
import random
import re
import threading
import time

import pytest

from harness import http, uploads
from harness.waiting import LIMIT

ROUNDS = 200
CLIENTS = 8
SIZES = (1, 4_000, 60_000, 300_000, 2_000_000)
LONGEST_LIFE = 0.25  # seconds


def content_of(name):
    """Returns the content of the file of this name, which contains the size."""
    size = int(re.search(r"-(\d+)\.jpg$", name)[1])
    seed = hashlib.sha256(name.encode()).digest()
    return (seed * (size // len(seed) + 1))[:size]


def send_until_it_dies(address, number, life, first_under_way, acknowledged):
    for count in itertools.count():
        name = f"{life}-{number}-{count}-{random.choice(SIZES)}.jpg"
        response = response_unless_killed(address, name, first_under_way)
        if not response.endswith(b"}"):
            return
        status, document = uploads.parsed(response)
        acknowledged.append((status, document.get("file")))


def response_unless_killed(address, name, under_way):
    """Returns the received part of the response, which is empty if the program was killed before."""
    content = content_of(name)
    try:
        with uploads.start(address, "Sam", name, len(content)) as connection:
            under_way.set()
            connection.sendall(content)
            return http.read_to_end(connection)
    except OSError:
        return b""


def one_life(program, life):
    """Lets clients send files and kills the program; returns the complete responses."""
    first_under_way = threading.Event()
    acknowledged = []
    clients = [threading.Thread(target=send_until_it_dies,
                                args=(program.address, number, life, first_under_way,
                                      acknowledged))
               for number in range(CLIENTS)]
    for client in clients:
        client.start()
    assert first_under_way.wait(LIMIT)
    time.sleep(random.uniform(0, LONGEST_LIFE))
    program.kill()
    for client in clients:
        client.join()
    return acknowledged


@pytest.mark.slow
def test_no_visible_file_is_ever_incomplete(start, tmp_path):
    folder = tmp_path / "photos"
    folder.mkdir()
    stored = left_over = 0
    for life in range(ROUNDS):
        program = start("--capture", "pattern", "--uploads", "--upload-folder", folder)
        assert not uploads.hidden(folder), "left-overs of the life before are removed"
        acknowledged = one_life(program, life)
        visible = uploads.visible(folder)
        for name in visible:
            original = str(name).removeprefix("Sam-")
            assert (folder / name).read_bytes() == content_of(original), name
        assert set(acknowledged) <= {(201, str(name)) for name in visible}, \
            "every file was taken, and those that were acknowledged are there"
        stored += len(visible)
        left_over += len(uploads.hidden(folder))
        for name in visible:
            (folder / name).unlink()
    print(f"{stored} files stored, {left_over} left-overs in {ROUNDS} lives")
    assert stored > 0 and left_over > 0
