"""Uploads are stored completely or not at all, whatever clients and disks do."""
import concurrent.futures
import contextlib
import hashlib
import os
import shutil
import signal
import socket
import struct
import subprocess
import time
from pathlib import Path

import pytest

from harness import http, uploads
from harness.waiting import LIMIT, eventually

BUSY = (503, {"error": "busy, retry in a few seconds"})
MEGABYTE = 1 << 20
STALL_CHECK = 5  # seconds between two checks for stalled uploads
SILENCE_ALLOWED = 30  # seconds
FAKE_CLOCK = "faketime/libfaketimeMT.so.1"


@pytest.fixture
def folder(tmp_path):
    return tmp_path / "photos"


@pytest.fixture
def program(start, folder):
    return start("--capture", "pattern", "--uploads", "--upload-folder", folder)


def wait_until_nothing_is_left(folder):
    eventually(lambda: not uploads.hidden(folder), LIMIT, "no partial file is left")


def wait_for_partial(folder, count=1):
    eventually(lambda: len(uploads.hidden(folder)) == count, LIMIT, f"{count} uploads are under way")


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()


def test_bytes_and_names_arrive(program, folder):
    content = os.urandom(5 * MEGABYTE + 1)
    assert uploads.upload(program.address, "Zoe\u0308 花", "Фото 1.NEF", content) == \
        (201, {"file": "Zoë 花-Фото 1.NEF"})
    assert (folder / "Zoë 花-Фото 1.NEF").read_bytes() == content
    assert uploads.status(program.address) == {
        "enabled": True, "files": 1, "bytes": len(content), "participants": 1,
        "lastParticipant": "Zoë 花", "lastParticipantFiles": 1}


def test_closed_until_opened_and_a_folder_each(start, tmp_path):
    program = start("--capture", "pattern", "--upload-folder", tmp_path / "a")
    closed = (403, {"error": "Uploads are closed right now, ask your Pro to open them"})
    assert uploads.upload(program.address, "Sam", "a.jpg", b"x") == closed
    program.command("uploads on")
    program.wait_for_line(r"Uploads are open at http://\S+/upload, folder \S+/a")
    assert uploads.upload(program.address, "Sam", "a.jpg", b"x") == (201, {"file": "Sam-a.jpg"})
    program.command("per-participant on")
    program.command(f"folder {tmp_path / 'b c'}")
    program.wait_for_line(r"Uploads are open at http://\S+/upload, folder \S+/b c")
    eventually(lambda: uploads.status(program.address)["files"] == 0, LIMIT, "the new folder counts")
    assert uploads.upload(program.address, "Sam", "a.jpg", b"x") == (201, {"file": "a.jpg"})
    program.command("uploads off")
    program.wait_for_line("Uploads are closed")
    assert uploads.upload(program.address, "Sam", "a.jpg", b"x") == closed
    assert uploads.visible(tmp_path / "a") == [Path("Sam-a.jpg")]
    assert uploads.visible(tmp_path / "b c") == [Path("Sam/a.jpg")]


def test_choices_are_remembered_and_uploads_closed_again(start, tmp_path):
    program = start("--capture", "pattern", "--uploads")
    program.command(f"folder {tmp_path / 'chosen'}")
    program.command("per-participant on")
    program.wait_for_line("One folder per participant")
    program.command("quit")
    assert program.wait(LIMIT) == 0
    again = start("--capture", "pattern")
    assert not uploads.status(again.address)["enabled"]
    again.command("uploads on")
    again.wait_for_line(r"Uploads are open at \S+, folder \S+/chosen")
    assert uploads.upload(again.address, "Sam", "a.jpg", b"x") == (201, {"file": "a.jpg"})
    assert uploads.visible(tmp_path / "chosen") == [Path("Sam/a.jpg")]


def test_what_a_crash_on_another_day_left_is_removed(start, tmp_path):
    days = tmp_path / "Pictures/Tarvinel Uploads"
    for day in ("2024-02-29", "2025-01-01"):
        (days / day).mkdir(parents=True)
        (days / day / ".Sam-a.jpg.partial").write_bytes(b"half")
        (days / day / "Sam-b.jpg").write_bytes(b"whole")
    program = start("--capture", "pattern", "--uploads")
    eventually(lambda: not uploads.hidden(days), 60, "the left-overs are removed")
    assert uploads.visible(days) == [Path("2024-02-29/Sam-b.jpg"), Path("2025-01-01/Sam-b.jpg")]
    assert uploads.upload(program.address, "Sam", "a.jpg", b"x") == (201, {"file": "Sam-a.jpg"})


def test_nine_at_once(program, folder):
    with contextlib.ExitStack() as stack:
        eight = [stack.enter_context(uploads.start(program.address, "Sam", "a.jpg", 2, b"x"))
                 for _ in range(8)]
        wait_for_partial(folder, 8)
        assert uploads.upload(program.address, "Sam", "a.jpg", b"xx") == BUSY
        eight[0].sendall(b"x")
        assert uploads.read_response(eight[0])[0] == 201
        assert uploads.upload(program.address, "Sam", "a.jpg", b"xx")[0] == 201
        for connection in eight[1:]:
            connection.sendall(b"x")
            assert uploads.read_response(connection)[0] == 201
    assert len(uploads.visible(folder)) == 9


def from_another_address(address):
    return socket.create_connection(address, timeout=http.LIMIT, source_address=("127.0.0.2", 0))


def test_one_device_keeps_nobody_else_out(program, folder):
    with contextlib.ExitStack() as stack:
        for number in range(12):
            stack.enter_context(uploads.start(program.address, "Eve", f"{number}.jpg", 2, b"x"))
        wait_for_partial(folder, 8)
        others = [stack.enter_context(uploads.start(program.address, "Sam", f"{number}.jpg", 2,
                                                    b"x", connect=from_another_address))
                  for number in range(4)]
        for connection in others:
            connection.sendall(b"x")
            assert uploads.read_response(connection)[0] == 201
    assert len(uploads.visible(folder)) == 4


def test_a_hundred_at_once(program, folder):
    contents = [os.urandom(200_000) for _ in range(100)]
    with concurrent.futures.ThreadPoolExecutor(100) as pool:
        responses = list(pool.map(
            lambda number: uploads.upload(program.address, "Sam", f"{number}.jpg",
                                          contents[number]), range(100)))
    stored = [number for number, response in enumerate(responses) if response[0] == 201]
    assert len(stored) >= 8
    assert all(response == BUSY for number, response in enumerate(responses) if number not in stored)
    assert uploads.visible(folder) == sorted(Path(f"Sam-{number}.jpg") for number in stored)
    for number in stored:
        assert (folder / f"Sam-{number}.jpg").read_bytes() == contents[number]


def test_two_thousand_of_one_name(program, folder):
    def send(_):
        while (response := uploads.upload(program.address, "Sam", "a.jpg", b"x")) == BUSY:
            time.sleep(0.01)
        return response

    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        responses = list(pool.map(send, range(2000)))
    assert sorted(response[1]["file"] for response in responses if response[0] == 201) == \
        sorted(["Sam-a.jpg", *(f"Sam-a-{n}.jpg" for n in range(2, 101))])
    rejections = [response for response in responses if response[0] != 201]
    assert rejections == [(500, {"error": "could not create the file"})] * 1900
    assert len(uploads.visible(folder)) == 100
    assert not uploads.hidden(folder)


@pytest.mark.parametrize("leave", [socket.socket.close, reset], ids=["close", "reset"])
def test_leaving_after_any_byte(program, folder, leave):
    content = bytes(range(100))
    request = uploads.head("Sam", "a.jpg", len(content)) + content
    for length in range(len(request)):
        connection = http.connect(program.address)
        connection.sendall(request[:length])
        leave(connection)
    wait_until_nothing_is_left(folder)
    assert not uploads.visible(folder)
    eventually(lambda: uploads.upload(program.address, "Sam", "a.jpg", content)[0] == 201, LIMIT,
               "the places of those that left are free")


def test_leaving_in_the_middle_of_much(program, folder):
    assert uploads.upload(program.address, "Sam", "first.jpg", b"x")[0] == 201
    descriptors = program.descriptors()
    for leave in (socket.socket.close, reset) * 8:
        connection = uploads.start(program.address, "Sam", "a.jpg", 50 * MEGABYTE)
        with contextlib.suppress(OSError):
            connection.sendall(bytes(5 * MEGABYTE))
        leave(connection)
    wait_until_nothing_is_left(folder)
    eventually(lambda: program.descriptors() <= descriptors, LIMIT, "their descriptors are closed")
    assert uploads.visible(folder) == [Path("Sam-first.jpg")]


@pytest.mark.slow
def test_a_trickle_is_cut_off_after_ten_seconds(program, folder):
    started = time.monotonic()
    with uploads.start(program.address, "Sam", "a.jpg", MEGABYTE) as connection, \
            uploads.start(program.address, "Alex", "b.jpg", MEGABYTE) as quick:
        connection.settimeout(0.1)
        while time.monotonic() - started < 9:
            connection.sendall(b"x" * 100)
            time.sleep(0.1)
        with pytest.raises(TimeoutError):
            connection.recv(1)
        connection.settimeout(LIMIT)
        assert uploads.read_response(connection) == (408, {"error": "connection stalled, retry"})
        assert 9 < time.monotonic() - started < 9 + SILENCE_ALLOWED
        quick.sendall(bytes(MEGABYTE))
        assert uploads.read_response(quick)[0] in (201, 408)  # it has been silent for the same time
    wait_until_nothing_is_left(folder)


@pytest.mark.slow
def test_the_clock_may_be_set(start, folder, tmp_path):
    """Setting the computer's clock by years in either direction ends no upload."""
    clock = tmp_path / "clock"
    program = start("--capture", "pattern", "--uploads", "--upload-folder", folder, prefix=[
        "env", f"LD_PRELOAD=/usr/$LIB/{FAKE_CLOCK}", f"FAKETIME_TIMESTAMP_FILE={clock}",
        "FAKETIME_NO_CACHE=1", "FAKETIME_DONT_FAKE_MONOTONIC=1"])
    pieces = [os.urandom(MEGABYTE) for _ in range(3)]
    with uploads.start(program.address, "Sam", "a.jpg", 3 * MEGABYTE, pieces[0]) as connection:
        for year, piece in ((2041, pieces[1]), (2011, pieces[2])):
            clock.write_text(f"@{year}-06-15 12:00:00")
            with uploads.start(program.address, "Sam", f"{year}.jpg", 1, b"x") as other:
                assert uploads.read_response(other) == (201, {"file": f"Sam-{year}.jpg"})
            eventually(lambda: f"{year}-06-15" in program.stderr, LIMIT, "the clock is set")
            time.sleep(STALL_CHECK + 1)  # nothing is expected to happen
            connection.sendall(piece)
        assert uploads.read_response(connection) == (201, {"file": "Sam-a.jpg"})
    assert (folder / "Sam-a.jpg").read_bytes() == b"".join(pieces)


def test_a_refused_client_that_sends_on_reads_why(program):
    content = bytes(100 * MEGABYTE)
    for participant, filename, status in (("!!!", "a.jpg", 400), ("Sam", "a.mov", 415)):
        assert uploads.upload(program.address, participant, filename, content)[0] == status
    program.command("uploads off")
    program.wait_for_line("Uploads are closed")
    assert uploads.upload(program.address, "Sam", "a.jpg", content)[0] == 403


def test_a_folder_that_goes_and_returns(program, folder):
    with uploads.start(program.address, "Sam", "a.jpg", 10, b"12345") as connection:
        wait_for_partial(folder)
        shutil.rmtree(folder)
        connection.sendall(b"67890")
        assert uploads.read_response(connection) == (500, {"error": "could not place the file"})
    # a volume that cannot be queried counts as full for participants; the presenter sees the reason
    assert uploads.upload(program.address, "Sam", "a.jpg", b"x") == \
        (507, {"error": "not enough space on the Pro's disk"})
    program.wait_for_line("Can't use upload folder: could not create or use upload root")
    program.wait_for_line(f"upload store at {folder} failed: ", source="stderr")
    folder.mkdir()
    assert uploads.upload(program.address, "Sam", "a.jpg", b"x") == (201, {"file": "Sam-a.jpg"})
    program.wait_for_line(f"upload store at {folder} can be used again", source="stderr")


def test_a_folder_replaced_by_a_link_leads_nothing_elsewhere(program, folder, tmp_path):
    outside = tmp_path / "outside"
    outside.mkdir()
    with uploads.start(program.address, "Sam", "a.jpg", 10, b"12345") as connection:
        wait_for_partial(folder)
        folder.rename(tmp_path / "moved")
        folder.symlink_to(outside)
        connection.sendall(b"67890")
        assert uploads.read_response(connection) == (201, {"file": "Sam-a.jpg"})
    assert uploads.upload(program.address, "Sam", "b.jpg", b"x")[0] == 507
    assert not list(outside.iterdir())
    assert (tmp_path / "moved/Sam-a.jpg").read_bytes() == b"1234567890"


def test_links_planted_in_the_folder_are_not_followed(program, folder, tmp_path):
    outside = tmp_path / "outside.jpg"
    outside.write_bytes(b"untouched")
    (folder / "Sam-a.jpg").symlink_to(outside)
    (folder / ".Sam-a-2.jpg.partial").symlink_to(outside)
    (folder / "Sam-a-3.jpg").symlink_to(tmp_path / "nowhere")
    os.link(outside, folder / ".Sam-a-4.jpg.partial")
    assert uploads.upload(program.address, "Sam", "a.jpg", b"new") == \
        (201, {"file": "Sam-a-4.jpg"})
    assert outside.read_bytes() == b"untouched"
    assert not (tmp_path / "nowhere").exists()


def test_a_read_only_folder(start, folder):
    # without root's capabilities, for which no folder is read-only
    program = start("--capture", "pattern", "--uploads", "--upload-folder", folder,
                    prefix=["setpriv", "--bounding-set", "-dac_override,-dac_read_search"])
    with uploads.start(program.address, "Sam", "a.jpg", 10, b"12345") as connection:
        wait_for_partial(folder)
        folder.chmod(0o555)
        try:
            connection.sendall(b"67890")
            assert uploads.read_response(connection) == (500, {"error": "could not place the file"})
            assert uploads.upload(program.address, "Sam", "b.jpg", b"x") == \
                (500, {"error": "could not write the file"})
            program.command("per-participant on")
            program.wait_for_line("Can't use upload folder: could not create or use upload root")
        finally:
            folder.chmod(0o755)
    program.command("per-participant off")
    eventually(lambda: uploads.status(program.address)["enabled"], LIMIT, "the folder is used again")
    assert uploads.upload(program.address, "Sam", "b.jpg", b"x")[0] == 201


@pytest.fixture
def small_disk(folder):
    """A separate file system under the upload folder; resize(bytes) changes its size."""
    if os.geteuid() != 0:
        pytest.skip("mounting needs root")
    folder.mkdir()
    subprocess.run(["mount", "-t", "tmpfs", "-o", "size=2g", "tmpfs", folder], check=True)
    yield lambda size: subprocess.run(
        ["mount", "-o", f"remount,size={size}", folder], check=True)
    subprocess.run(["umount", "--lazy", folder], check=True)


def test_a_disk_that_fills_up_in_the_middle(start, folder, small_disk):
    program = start("--capture", "pattern", "--uploads", "--upload-folder", folder)
    with uploads.start(program.address, "Sam", "a.jpg", 20 * MEGABYTE, bytes(MEGABYTE)) \
            as connection:
        wait_for_partial(folder)
        small_disk(4 * MEGABYTE)
        connection.sendall(bytes(19 * MEGABYTE))
        assert uploads.read_response(connection) == (500, {"error": "could not write the file"})
    wait_until_nothing_is_left(folder)
    assert not uploads.visible(folder)
    program.wait_for_line("write failed: No space left on device", source="stderr")
    assert uploads.upload(program.address, "Sam", "a.jpg", b"x") == \
        (507, {"error": "not enough space on the Pro's disk"})
    small_disk(2048 * MEGABYTE)
    assert uploads.upload(program.address, "Sam", "a.jpg", b"x")[0] == 201


@pytest.fixture
def memory_card(folder, tmp_path):
    """An exFAT file system under the upload folder, as on cameras' cards: it supports neither hard links
    nor renaming without replacing."""
    if os.geteuid() != 0:
        pytest.skip("mounting needs root")
    image = tmp_path / "card.img"
    with open(image, "wb") as file:
        file.truncate(3 << 30)
    subprocess.run(["mkfs.exfat", image], check=True, capture_output=True)
    folder.mkdir()
    done = subprocess.run(["losetup", "--find", "--show", image], capture_output=True, text=True)
    if done.returncode != 0:
        pytest.skip(f"no loop device: {done.stderr.strip()}")
    device = done.stdout.strip()
    try:
        subprocess.run(["mount.exfat-fuse", device, folder], check=True, capture_output=True)
        yield
    finally:
        subprocess.run(["umount", "--lazy", folder], check=False)
        subprocess.run(["losetup", "--detach", device], check=True)


def test_nothing_is_overwritten_on_a_memory_card(start, folder, memory_card):
    (folder / "Sam-a.jpg").write_bytes(b"older")
    with pytest.raises(OSError):
        os.link(folder / "Sam-a.jpg", folder / "Sam-b.jpg")
    program = start("--capture", "pattern", "--uploads", "--upload-folder", folder)
    contents = {name: os.urandom(MEGABYTE) for name in ("Sam-a-2.jpg", "Sam-a-3.jpg")}
    for name, content in contents.items():
        assert uploads.upload(program.address, "Sam", "a.jpg", content) == (201, {"file": name})
    with uploads.start(program.address, "Sam", "a.jpg", MEGABYTE, b"x"):
        wait_for_partial(folder)
    wait_until_nothing_is_left(folder)
    assert {path.name: path.read_bytes() for path in folder.iterdir()} == \
        {"Sam-a.jpg": b"older", **contents}


@pytest.fixture
def freezable_disk(folder, tmp_path):
    """A separate ext4 file system under the upload folder; freeze(True) makes it hang."""
    if os.geteuid() != 0:
        pytest.skip("mounting needs root")
    image = tmp_path / "disk.img"
    with open(image, "wb") as file:
        file.truncate(4 << 30)
    subprocess.run(["mkfs.ext4", "-q", "-F", image], check=True)
    folder.mkdir()
    done = subprocess.run(["mount", "-o", "loop", image, folder], capture_output=True, text=True)
    if done.returncode != 0:
        pytest.skip(f"no loop device: {done.stderr.strip()}")

    def freeze(frozen):
        subprocess.run(["fsfreeze", "--freeze" if frozen else "--unfreeze", folder], check=True)

    try:
        yield freeze
    finally:
        subprocess.run(["fsfreeze", "--unfreeze", folder], check=False, capture_output=True)
        subprocess.run(["umount", "--lazy", folder], check=True)


def test_a_disk_that_hangs_stalls_only_uploads_to_it(start, folder, freezable_disk, tmp_path):
    program = start("--capture", "pattern", "--uploads", "--upload-folder", folder)
    contents = [os.urandom(MEGABYTE) for _ in range(8)]
    with contextlib.ExitStack() as stack:
        eight = [stack.enter_context(uploads.start(program.address, "Sam", f"{number}.jpg",
                                                   MEGABYTE, content[:1000]))
                 for number, content in enumerate(contents)]
        wait_for_partial(folder, 8)
        freezable_disk(True)
        for connection, content in zip(eight, contents):
            connection.sendall(content[1000:])
        time.sleep(1)  # every upload has reached its first write to the frozen disk
        for _ in range(20):
            assert uploads.status(program.address)["enabled"]
            assert http.exchange(program.address, http.request("GET", "/upload")).startswith(
                b"HTTP/1.1 200 OK")
        assert uploads.upload(program.address, "Sam", "a.jpg", b"x") == BUSY
        freezable_disk(False)
        for number, connection in enumerate(eight):
            assert uploads.read_response(connection) == (201, {"file": f"Sam-{number}.jpg"})
    for number, content in enumerate(contents):
        assert (folder / f"Sam-{number}.jpg").read_bytes() == content


def test_a_second_program_on_the_same_folder(start, program, folder):
    with uploads.start(program.address, "Sam", "a.jpg", 10, b"12345") as connection:
        wait_for_partial(folder)
        second = start("--capture", "pattern", "--uploads", "--upload-folder", folder)
        assert uploads.upload(second.address, "Sam", "a.jpg", b"second") == \
            (201, {"file": "Sam-a-2.jpg"})
        connection.sendall(b"67890")
        assert uploads.read_response(connection) == (201, {"file": "Sam-a.jpg"})
    assert (folder / "Sam-a.jpg").read_bytes() == b"1234567890"


def test_an_order_to_end_leaves_nothing_of_what_is_under_way(program, folder):
    with contextlib.ExitStack() as stack:
        for number in range(8):
            stack.enter_context(uploads.start(program.address, "Sam", f"{number}.jpg",
                                              MEGABYTE, bytes(1000)))
        wait_for_partial(folder, 8)
        program.signal(signal.SIGTERM)
        assert program.wait(LIMIT) == 0
    assert not uploads.hidden(folder)
    assert not uploads.visible(folder)


def test_memory_stays_small(program, folder):
    before = program.resident_bytes()
    content = os.urandom(100 * MEGABYTE)
    highest = 0
    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        sent = [pool.submit(uploads.upload, program.address, "Sam", f"{number}.jpg", content)
                for number in range(8)]
        while not all(upload.done() for upload in sent):
            highest = max(highest, program.resident_bytes())
            time.sleep(0.005)
    assert [upload.result()[0] for upload in sent] == [201] * 8
    assert highest - before < 40 * MEGABYTE
    expected = hashlib.sha256(content).hexdigest()
    for number in range(8):
        assert uploads.digest(folder / f"Sam-{number}.jpg") == expected
