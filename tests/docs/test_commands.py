"""Runs every command of the documents on a scratch machine. It must end with status 0 unless the tables say
otherwise."""
from typing import NamedTuple

import pytest

from harness.documents import TREE, Document, command_blocks, user_documents, words_of
from harness.waiting import LIMIT, eventually

# Commands that another test runs, because they need packages or a network, or belong to a scenario.
ELSEWHERE = {
    "./run": "tests/clean/machine",
    "./test": "tests/clean/machine",
    "systemctl --user enable --now tarvinel-headless\nsystemctl --user status tarvinel-headless":
        "tests/clean/service",
    "tools/package\nsudo apt install ./build/packages/tarvinel_*.deb": "tests/clean/package",
    **{block.command: "tests/docs/test_larger_audiences.py"
       for block in Document(TREE / "docs/larger-audiences.md").blocks("sh")},
}

PROGRAM = "tarvinel --headless --capture pattern"
LISTENING = "listening on port"
GIVE_PRIVILEGE = "sudo setcap cap_net_bind_service=ep build/run/app/tarvinel-bind"


class Case(NamedTuple):
    """The exceptions for a command: the output that proves success, whether it keeps running, statuses
    other than 0, commands to run before it, and commands that run at the same time."""
    prints: str = ""
    stays: bool = False
    statuses: tuple = (0,)
    before: str = ""
    meanwhile: str = ""


CASES = {
    "tarvinel": Case(prints=LISTENING, stays=True, meanwhile="Xvfb :0 -nolisten tcp"),
    "tarvinel --port 8080": Case(prints=f"{LISTENING} 8080", stays=True,
                                 meanwhile="Xvfb :0 -nolisten tcp"),
    "tarvinel --headless": Case(prints="Open http://192.168.1.20/ in any browser", stays=True),
    'tarvinel --headless --share "$(tarvinel --list-sources | head -n 1 | cut -f 1)" --uploads':
        Case(prints="Uploads are open", stays=True),
    "tarvinel --headless --capture pattern --share display-1 --port 8080": Case(
        prints="Sharing Display 1", stays=True),
    "tarvinel --autostart off": Case(before="tarvinel --autostart on"),
    "tarvinel --doctor": Case(statuses=(0, 1)),
    "tarvinel --list-sources": Case(prints="display-1\t"),
    "curl http://127.0.0.1/status": Case(prints='"sharing":false', meanwhile=PROGRAM),
    "sudo ss --listening --tcp --processes 'sport = :80'": Case(prints="tarvinel",
                                                                 meanwhile=PROGRAM),
    "sudo setcap -r build/run/app/tarvinel-bind": Case(before=GIVE_PRIVILEGE),
}

# First words that make a code span in the prose a command.
PROGRAMS = {"tarvinel", "sudo", "apt", "curl", "ffmpeg", "cmake", "./run", "./test"}


def typed_here():
    blocks = {block.command: block for block in command_blocks() if block.command not in ELSEWHERE}
    return [pytest.param(command, id=str(block)) for command, block in blocks.items()]


@pytest.mark.parametrize("command", typed_here())
def test_command(machine, command):
    case = CASES.get(command, Case())
    if case.before:
        done = machine.run(case.before)
        assert done.returncode == 0, done.stderr
    if case.meanwhile:
        start_beside(machine, case.meanwhile)
    if case.stays:
        stays(machine, command, case)
    else:
        ends(machine, command, case)


def start_beside(machine, command):
    started = machine.start(command)
    if command == PROGRAM:
        started.wait_for_line(LISTENING)
    else:
        eventually(machine.path("/tmp/.X11-unix/X0").is_socket, LIMIT, "the X server is there")


def stays(machine, command, case):
    display = "env DISPLAY=:0 " if case.meanwhile.startswith("Xvfb") else ""
    running = machine.start(display + command)
    running.wait_for_line(case.prints)
    assert running.end() == 0, running.stderr


def ends(machine, command, case):
    done = machine.run(command, within=600)
    assert done.returncode in case.statuses, f"{done.stdout}\n{done.stderr}"
    assert case.prints in done.stdout


@pytest.mark.parametrize("test", sorted(set(ELSEWHERE.values())))
def test_what_runs_the_others_exists(test):
    assert (TREE / test).is_file()


def test_no_table_names_a_command_that_no_document_has():
    written = {block.command for block in command_blocks()}
    assert set(ELSEWHERE) - written == set()
    assert set(CASES) - written == set()


@pytest.mark.parametrize("document", user_documents(), ids=lambda document: document.name)
def test_commands_in_the_prose_stand_in_a_block_too(document):
    """Commands in the prose must also be in a block, so that they are run here."""
    written = [words for block in command_blocks() for words in words_of(block.command)]
    for code in document.codes():
        words = code.split()
        if len(words) > 1 and words[0] in PROGRAMS:
            assert words in written, code


def test_lines_for_the_console(machine):
    blocks = [block for document in user_documents() for block in document.blocks("tarvinel")]
    assert blocks
    for block in blocks:
        lines = "".join(line + "\n" for line in block.command.splitlines())
        assert lines.endswith("quit\n")
        done = machine.run(f"{PROGRAM} <<'END'\n{lines}END")
        assert done.returncode == 0, done.stderr
        for complaint in ("Unknown command", " needs "):
            assert complaint not in done.stdout
