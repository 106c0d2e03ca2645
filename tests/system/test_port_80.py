"""Port 80 for an ordinary user, through the helper with the capability."""
import os
import re
import socket
import subprocess
from pathlib import Path

import pytest

from harness import http
from harness.host.installation import AS_USER, USER, give_capability
from harness.waiting import LIMIT


@pytest.fixture
def start_as_user(start, machine, installed):
    def start_program(*prefix, **keywords):
        return start("--capture", "pattern", "--upload-folder", str(installed / "home/uploads"),
                     port=80, prefix=[*machine.exec_in(), *AS_USER, *prefix],
                     connect=machine.connect, **keywords)

    return start_program


def status_of(program, key):
    text = Path(f"/proc/{program.pid}/status").read_text()
    return re.search(rf"{key}:\t(.*)", text)[1]


def test_an_ordinary_user_serves_port_80(start_as_user, installed, machine):
    give_capability(installed)
    program = start_as_user()
    program.wait_for_line(r"(?m)^Open http://10\.1\.0\.1/ in any browser$")
    assert program.status()["sharing"] is False
    assert b"200 OK" in http.exchange(("::1", 80), http.request("GET", "/"), machine.connect)


def test_the_program_itself_stays_an_ordinary_one(start_as_user, installed):
    give_capability(installed)
    program = start_as_user()
    for key in ("CapInh", "CapPrm", "CapEff", "CapAmb"):
        assert int(status_of(program, key), 16) == 0, key
    # the /proc files of a non-dumpable process belong to root
    assert os.stat(f"/proc/{program.pid}/environ").st_uid == USER
    children = Path(f"/proc/{program.pid}/task/{program.pid}/children").read_text()
    assert children == "", "the helper is gone"


def expect_refusal(program, reason):
    assert program.wait(LIMIT) == 1
    assert f"Can't listen on port 80: {reason}\n" in program.stdout
    assert f"[server] listener failed: {reason}\n" in program.stderr


def test_without_the_capability_the_refusal_stands(start_as_user):
    expect_refusal(start_as_user(listening=False), "Permission denied")


def test_without_the_helper_the_refusal_stands(start_as_user, installed):
    (installed / "libexec/tarvinel/tarvinel-bind").unlink()
    expect_refusal(start_as_user(listening=False), "Permission denied")


def test_where_no_program_may_gain_a_privilege_the_refusal_stands(start_as_user, installed):
    give_capability(installed)
    expect_refusal(start_as_user("setpriv", "--no-new-privs", listening=False),
                   "Permission denied")


def test_a_port_that_is_taken_is_said_to_be(start_as_user, installed, machine):
    give_capability(installed)
    with machine.listen(80):
        expect_refusal(start_as_user(listening=False), "Address already in use")


def test_standard_streams_that_are_closed_do_not_confuse_the_helper(
        start_as_user, installed, machine):
    give_capability(installed)
    program = start_as_user("sh", "-c", 'exec "$0" "$@" <&-')
    assert program.status()["sharing"] is False


def run_helper(installed, machine, **keywords):
    helper = installed / "libexec/tarvinel/tarvinel-bind"
    return subprocess.run([*machine.exec_in(), *AS_USER, helper], capture_output=True, timeout=LIMIT,
                          **keywords)


def test_run_by_hand_the_helper_tells_whether_it_may(installed, machine):
    assert run_helper(installed, machine).returncode == 1
    give_capability(installed)
    done = run_helper(installed, machine)
    assert (done.returncode, done.stdout, done.stderr) == (0, b"", b"")


def run_helper_with(channel, installed, machine):
    """Runs the helper with this file or socket in place of its channel."""
    run_helper_in = [*machine.exec_in(), *AS_USER, "sh", "-c", 'exec "$0" 3<&0 0</dev/null']
    done = subprocess.run([*run_helper_in, installed / "libexec/tarvinel/tarvinel-bind"],
                          stdin=channel, capture_output=True, timeout=LIMIT)
    assert (done.returncode, done.stdout, done.stderr) == (0, b"", b"")


def test_the_helper_writes_to_nothing_but_the_channel_it_expects(installed, machine, tmp_path):
    give_capability(installed)
    with open(tmp_path / "file", "w+b") as file:
        run_helper_with(file, installed, machine)
        assert (tmp_path / "file").read_bytes() == b""
    ours, theirs = socket.socketpair(socket.AF_UNIX, socket.SOCK_STREAM)
    with ours, theirs:
        run_helper_with(theirs, installed, machine)
        theirs.close()
        assert ours.recv(10) == b""
