"""The configuration file, the brand and the help page, with the real program."""
import json
import os
import re
import socket
from pathlib import Path

import jsonschema
import pytest

from harness import http, pixels
from harness.program import Program
from harness.viewer import Viewer
from harness.waiting import eventually

DOCS = Path(__file__).resolve().parents[2] / "docs"
NOT_FOUND = b"HTTP/1.1 404 Not Found\r\n"


def get(program, path):
    return http.exchange(program.address, http.request("GET", path))


def asset_head(content_type, length):
    return (b"HTTP/1.1 200 OK\r\nContent-Type: %s\r\nContent-Length: %d\r\n"
            b"Cache-Control: public, max-age=300\r\nConnection: close\r\n"
            b"X-Content-Type-Options: nosniff\r\nX-Frame-Options: DENY\r\n"
            b"Content-Security-Policy: default-src 'none'; style-src 'unsafe-inline'\r\n\r\n"
            % (content_type, length))


@pytest.fixture
def start_with(start, tmp_path):
    """Starts the program with this text as the user's configuration file."""
    def start_program(text, *arguments):
        file = tmp_path / "config.json"
        file.write_bytes(text.encode() if isinstance(text, str) else text)
        return start("--capture", "pattern", "--config", str(file), *arguments)
    return start_program


def test_the_default_places_in_their_order(start, tmp_path):
    def page_title():
        body = get(start("--capture", "pattern"), "/")
        return re.search(rb"<title>(.*)</title>", body)[1]

    def write(place, name):
        folder = tmp_path / place / "Tarvinel"
        folder.mkdir(parents=True)
        (folder / "config.json").write_text(json.dumps({"brand": {"name": name}}))

    assert page_title() == b"Tarvinel"
    write("Library/Application Support", "in the library")
    assert page_title() == b"in the library"
    write("config", "in the config home")  # the tests' XDG_CONFIG_HOME
    assert page_title() == b"in the config home"


def preferences(tmp_path, place):
    file = tmp_path / place / "Tarvinel/preferences.json"
    return json.loads(file.read_text()) if file.exists() else {}


def choose(program, folder):
    program.command(f"folder {folder}")
    program.wait_for_line(f"upload folder set to {folder}", source="stderr")


def test_preferences_lie_beside_the_users_file(start, tmp_path):
    choose(start("--capture", "pattern"), tmp_path / "a")
    assert preferences(tmp_path, "config")["uploadFolder"] == str(tmp_path / "a")
    library = tmp_path / "Library/Application Support/Tarvinel"
    library.mkdir(parents=True)
    (library / "config.json").write_text("{}")
    program = start("--capture", "pattern", "--uploads")
    program.wait_for_line(f"folder {tmp_path / 'a'}")  # earlier choices are kept
    choose(program, tmp_path / "b")
    assert preferences(tmp_path, library.parent)["uploadFolder"] == str(tmp_path / "b")
    assert preferences(tmp_path, "config")["uploadFolder"] == str(tmp_path / "a")


def test_two_programs_keep_each_others_preferences(start, tmp_path):
    first, second = (start("--capture", "pattern") for _ in range(2))
    choose(first, tmp_path / "a")
    second.command("per-participant on")
    eventually(lambda: preferences(tmp_path, "config") ==
               {"uploadFolder": str(tmp_path / "a"), "uploadPerParticipant": True}, 60,
               "both choices are remembered")


def test_the_port_of_the_file(tmp_path):
    with socket.socket() as free:
        free.bind(("127.0.0.1", 0))
        port = free.getsockname()[1]
    (tmp_path / "config.json").write_text(json.dumps({"port": port}))
    program = Program(tmp_path, "--headless", "--capture", "pattern",
                      "--config", str(tmp_path / "config.json"))
    try:
        assert program.wait_until_listening().listening_port() == port
    finally:
        program.stop()


def test_a_profile_under_the_users_file(start_with, tmp_path):
    profile = tmp_path / "Maker"
    profile.mkdir()
    (profile / "logo.svg").write_text("<svg/>")
    (profile / "config.json").write_text(
        json.dumps({"brand": {"name": "Maker", "image": "logo.svg", "waiting": "Soon"}}))
    program = start_with('{"brand": {"waiting": "Later"}}', "--profile", str(profile))
    assert get(program, "/brand/image") == asset_head(b"image/svg+xml", 6) + b"<svg/>"
    page = get(program, "/")
    assert b"<title>Maker</title>" in page and b">Later</div>" in page


@pytest.mark.parametrize("text, problem", [
    ("[]", " ignored: config.json is valid JSON but not an object"),
    ('{\n "fps": }', " ignored: config.json is not valid JSON: line 2, column 9: "),
    (b"\xff", " ignored: config.json is not valid JSON: line 1, column 1: "),
    ('{"fps": 20.5}', ' ignored: "fps" must be a whole number'),
    ('{"port": 65536}', ' ignored: "port" must be a whole number from 0 to 65535'),
    ('{"fps": 1e400}', " ignored: config.json is not valid JSON: line 1, column 13: "),
    ("[" * 10_000, " ignored: config.json is not valid JSON: line 1, column 10001: "),
    ('{"x": "' + "x" * 100_000_000 + '"}', " ignored: config.json is larger than 1 MiB"),
    ('{"hostname": "my.room"}', ': hostname "my.room" must be 1-63 letters, digits, or '
                                'hyphens (no dots); using "tarvinel"'),
    ('{"brand": {"color": "red"}}', ': brand.color "red" must be #rrggbb; ignoring it')],
    ids=lambda value: "long" if len(value) > 1_000 else None)
def test_a_problem_is_logged_and_told_and_the_program_starts(start_with, tmp_path, text, problem):
    program = start_with(text)
    line = f"config at {tmp_path}/config.json{problem}"
    assert line in program.stdout
    program.wait_for_line(re.escape(f" error [config] {line}"), source="stderr")
    assert b"<title>Tarvinel</title>" in get(program, "/")


def size(jpeg):
    return pixels.decode(jpeg).shape[1::-1]


@pytest.mark.parametrize("scale, settled", [(2.0, (2560, 1440)), (1.5, (1920, 1080)),
                                            (1.0, (1280, 720))])
def test_the_scale_is_that_of_still_pictures(start_with, scale, settled):
    program = start_with(json.dumps({"scale": scale}), "--share", "display-1")
    program.wait_until_sharing()
    with Viewer(program.address) as viewer:
        viewer.frame_where(lambda jpeg: size(jpeg) == (1280, 720))  # the pattern moves
        assert size(viewer.last_frame()) == settled


def test_a_file_that_is_not_there(start, tmp_path):
    program = start("--capture", "pattern", "--config", str(tmp_path / "typo.json"))
    assert f"config at {tmp_path}/typo.json does not exist\n" in program.stdout
    program.wait_for_line(r"\[server\] listening on port", source="stderr")
    assert re.findall(r"\[config\] (.*)", program.stderr) == ["loaded bundled profile hostname="]


def test_special_files_hold_nothing_up(start, tmp_path):
    os.mkfifo(tmp_path / "pipe.svg")
    os.mkfifo(tmp_path / "Tarvinel")
    (tmp_path / "folder.woff2").mkdir()
    brand = {"image": str(tmp_path / "pipe.svg"), "font": str(tmp_path / "folder.woff2")}
    (tmp_path / "config.json").write_text(json.dumps({"brand": brand}))
    program = start("--capture", "pattern", "--config", str(tmp_path / "config.json"))
    assert get(program, "/brand/image").startswith(NOT_FOUND)
    assert get(program, "/brand/font").startswith(NOT_FOUND)
    piped = start("--capture", "pattern", "--config", str(tmp_path / "Tarvinel"))
    assert " ignored: Tarvinel is not a regular file" in piped.stdout


def test_long_hostile_texts_stay_texts(start_with):
    text = '</title></div><script>alert("1")</script>\0' * 2_500
    program = start_with(json.dumps({"brand": dict.fromkeys(["name", "waiting", "disconnected"],
                                                            text)}))
    for path in ("/", "/help"):
        page = get(program, path)
        assert len(page) > 100_000
        assert b"<script>alert" not in page and page.count(b"</title>") == 1


def test_many_slow_readers_of_a_large_logo_share_one_copy(start, tmp_path):
    logo = tmp_path / "logo.png"
    logo.write_bytes(bytes(10 << 20))
    (tmp_path / "config.json").write_text(json.dumps({"brand": {"image": str(logo)}}))
    program = start("--capture", "pattern", "--config", str(tmp_path / "config.json"))
    before = program.resident_bytes()
    readers = [http.connect(program.address, receive_buffer=4096) for _ in range(50)]
    try:
        for reader in readers:
            reader.sendall(http.request("GET", "/brand/image"))
            assert reader.recv(15) == b"HTTP/1.1 200 OK"
        assert program.resident_bytes() - before < 50 << 20
    finally:
        for reader in readers:
            reader.close()


@pytest.mark.parametrize("method", ["GET", "HEAD"])
@pytest.mark.parametrize("path", ["/help", "/help/"])
def test_help_page(start_with, method, path):
    program = start_with('{"hostname": "Studio-A"}')
    response = http.exchange(program.address, http.request(method, path))
    head, body = response.split(b"\r\n\r\n", 1)
    assert head == (b"HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\n"
                    b"Content-Length: %d\r\nCache-Control: no-cache\r\nConnection: close\r\n"
                    b"X-Content-Type-Options: nosniff\r\nX-Frame-Options: DENY" % len(body))
    assert b"<title>Tarvinel Help</title>" in body and b"http://studio-a.local/" in body


def schema():
    return json.loads((DOCS / "config.schema.json").read_text())


def test_the_schema_takes_the_samples_and_refuses_mistakes():
    jsonschema.Draft202012Validator.check_schema(schema())
    validator = jsonschema.Draft202012Validator(schema())
    for sample in DOCS.glob("*.sample.json"):
        validator.validate(json.loads(sample.read_text()))
    for wrong in ([], {"prot": 80}, {"port": "80"}, {"fps": 20.5}, {"fps": 61},
                  {"hostname": "my.room"}, {"brand": {"color": "red"}}, {"brand": {"colour": "x"}}):
        assert not validator.is_valid(wrong), wrong


def test_the_samples_of_the_help_page(start_with):
    page = get(start_with("{}"), "/help").decode()
    for identifier in ("config-sample", "brand-sample"):
        sample = re.search(rf'<pre id="{identifier}"><code>(.*?)</code>', page, re.S)[1]
        jsonschema.Draft202012Validator(schema()).validate(json.loads(sample))
        assert "config at" not in start_with(sample).stdout
