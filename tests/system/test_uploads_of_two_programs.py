"""Two programs store photos in one folder, as the tray and a terminal do with their common default: every
photo with a 201 response exists with the right content."""
import contextlib
import hashlib
import random
import threading

import pytest

from harness import http, uploads

CLIENTS_OF_EACH = 4
PHOTOS_OF_EACH = 150
SIZES = (1, 4_000, 60_000)
LIVES = 12


def content_of(*number):
    """Returns the content of one photo, which is unique."""
    seed = hashlib.sha256(repr(number).encode()).digest()
    return seed * (random.choice(SIZES) // len(seed) + 1)


def upload_unless_killed(address, name, content):
    """Returns status code and document of the response, or None if the program ended before."""
    try:
        with uploads.start(address, "Sam", name, len(content), content) as connection:
            response = http.read_to_end(connection)
    except OSError:
        return None
    return uploads.parsed(response) if response.endswith(b"}") else None


class Client(threading.Thread):
    """Sends photos to one program. It records the content of acknowledged photos by their final names,
    and all other responses. All clients send each name at the same time."""

    def __init__(self, life, number, address, photos, together):
        super().__init__()
        self.acknowledged = []
        self.rejections = []
        self._life = life
        self._number = number
        self._address = address
        self._photos = photos
        self._together = together

    def run(self):
        for count in range(self._photos):
            with contextlib.suppress(threading.BrokenBarrierError):
                self._together.wait()
            if not self._send(count):
                self._together.abort()  # the others continue alone
                return

    def _send(self, count):
        """Returns False if the program ended before it responded."""
        content = content_of(self._life, self._number, count)
        response = upload_unless_killed(self._address, f"{self._life}-{count}.jpg", content)
        if response is None:
            return False
        status, document = response
        if status == 201:
            self.acknowledged.append((document["file"], content))
        else:
            self.rejections.append(response)
        return True


def clients_of(*programs, photos=PHOTOS_OF_EACH, life=0):
    count = CLIENTS_OF_EACH * len(programs)
    together = threading.Barrier(count)
    clients = [Client(life, number, programs[number % len(programs)].address, photos, together)
               for number in range(count)]
    for client in clients:
        client.start()
    return clients


def expect_all_of(acknowledged, folder):
    assert len({name for name, _ in acknowledged}) == len(acknowledged), "no name was given twice"
    wrong = [name for name, content in acknowledged
             if not (folder / name).exists() or (folder / name).read_bytes() != content]
    assert not wrong, f"{len(wrong)} of {len(acknowledged)} photos are lost"


def test_every_acknowledged_photo_is_there(start, tmp_path):
    folder = tmp_path / "photos"
    programs = [start("--capture", "pattern", "--uploads", "--upload-folder", folder)
                for _ in range(2)]
    clients = clients_of(*programs)
    for client in clients:
        client.join()
    acknowledged = [photo for client in clients for photo in client.acknowledged]
    expect_all_of(acknowledged, folder)
    assert not [refusal for client in clients for refusal in client.rejections]
    assert len(acknowledged) == 2 * CLIENTS_OF_EACH * PHOTOS_OF_EACH
    assert len(uploads.visible(folder)) == len(acknowledged)
    assert not uploads.hidden(folder)


@pytest.mark.slow
def test_the_same_while_one_is_killed_and_started_again_and_again(start, tmp_path):
    folder = tmp_path / "photos"

    def program():
        return start("--capture", "pattern", "--uploads", "--upload-folder", folder)

    steady = program()
    clients = []
    for life in range(LIVES):
        mortal = program()
        beside = clients_of(steady, mortal, photos=40, life=life)
        threading.Event().wait(random.uniform(0, 0.3))  # a random moment
        mortal.kill()
        for client in beside:
            client.join()
        clients += beside
    expect_all_of([photo for client in clients for photo in client.acknowledged], folder)
    assert not [refusal for client in clients for refusal in client.rejections]
