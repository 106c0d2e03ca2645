"""An X server that accepts connections but never replies: a frozen one, or something else on its socket."""
import errno
import socket
import subprocess

import pytest

from harness.program import executable, private_env
from harness.waiting import eventually

LIMIT = 60
FIRST_NUMBER = 60000


@pytest.fixture(params=["frozen", "silent"])
def display(request):
    """The name of a display that never replies."""
    if request.param == "frozen":
        server = request.getfixturevalue("x")
        server.freeze()
        yield server.name
        server.thaw()
    else:
        listening, number = listen_like_a_display()
        yield f":{number}"
        listening.close()


def listen_like_a_display():
    number = FIRST_NUMBER
    while True:
        listening = socket.socket(socket.AF_UNIX)
        try:
            listening.bind(f"\0/tmp/.X11-unix/X{number}")
            listening.listen()
            return listening, number
        except OSError as error:
            listening.close()
            if error.errno != errno.EADDRINUSE:
                raise
        number += 1


def test_the_start_goes_on_without_it(start, display):
    program = start("--share", "display-1", display=display, listening=False)
    program.wait_for_line(f"Showing the built-in picture: the X server {display} does not answer",
                          LIMIT)
    eventually(program.listening_port, LIMIT, "the server listens")
    program.wait_for_line("Sharing Display", LIMIT)


def test_the_desktop_program_says_so(start, display):
    program = start("--capture", "pattern", display=display, headless=False, listening=False)
    assert program.wait(LIMIT) == 1
    assert "tarvinel: there is no display here" in program.stderr


def test_there_is_nothing_to_list(tmp_path, display):
    done = subprocess.run([executable(), "--list-sources", "--capture", "x11"], timeout=LIMIT,
                          capture_output=True, text=True, env=private_env(tmp_path, display))
    assert (done.returncode, done.stdout) == (1, "")
    assert "the X server does not answer" in done.stderr
