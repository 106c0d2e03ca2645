"""Under a service manager: the notifications to it and the entries in the journal."""
import contextlib
import os
import socket
import subprocess

import pytest

from harness.host.journal import Journal, datagrams
from harness.waiting import LIMIT, eventually


def wait_for(listening, wanted):
    """Returns all messages up to the first that `wanted` accepts."""
    received = []
    while not received or not wanted(received[-1]):
        received.append(listening.recv(65536).decode())
    return received


def test_the_service_manager_is_told(start, tmp_path):
    with datagrams(tmp_path / "notify") as manager:
        program = start("--capture", "pattern", "--share", "display-1", stdin=subprocess.DEVNULL,
                        variables={"NOTIFY_SOCKET": str(tmp_path / "notify")})
        messages = wait_for(manager, lambda message: "· Sharing" in message)
        assert messages[0] == "STATUS=Starting server…"
        assert messages.count("READY=1") == 1
        assert messages[-1].startswith("STATUS=http://")
        program.terminate()
        assert program.wait(LIMIT) == 0
        assert wait_for(manager, lambda message: message == "STOPPING=1")


def test_a_server_that_cannot_listen_is_never_ready(start, tmp_path):
    with socket.create_server(("0.0.0.0", 0)) as holder, datagrams(tmp_path / "notify") as manager:
        program = start("--capture", "pattern", port=holder.getsockname()[1], listening=False,
                        variables={"NOTIFY_SOCKET": str(tmp_path / "notify")})
        assert program.wait(LIMIT) == 1
        messages = wait_for(manager, lambda message: message == "STOPPING=1")
        assert "READY=1" not in messages
        assert any("STATUS=Can't listen on port" in message for message in messages)


@pytest.fixture
def journal(tmp_path):
    if os.geteuid() != 0:
        pytest.skip("mounts need root")
    with contextlib.closing(Journal(tmp_path)) as made:
        yield made


def test_lines_in_the_journal_have_fields(start, journal):
    program = start("--capture", "pattern", listening=False, prefix=journal.prefix)
    line = wait_for(journal.socket, lambda message: "listening on port" in message)[-1]
    fields = dict(field.split("=", 1) for field in line.splitlines())
    assert fields.pop("MESSAGE").startswith("listening on port ")
    assert fields == {"PRIORITY": "6", "SYSLOG_IDENTIFIER": "tarvinel",
                      "TARVINEL_CATEGORY": "server"}
    assert program.stderr == "", "a line is written once"


def test_a_variable_that_was_inherited_does_not_hide_the_log(start):
    """Terminals on a desktop that systemd started inherit the variable."""
    program = start("--capture", "pattern", variables={"JOURNAL_STREAM": "8:12345"})
    eventually(lambda: "[server] listening on port" in program.stderr, LIMIT, "the log is shown")
