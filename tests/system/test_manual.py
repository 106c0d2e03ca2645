"""The manual page and the shell completions agree with the program."""
import re
import subprocess
from pathlib import Path

import pytest

from harness.host.shells import Bash, Fish, Zsh
from harness.program import executable, private_env
from harness.waiting import LIMIT

TREE = Path(__file__).resolve().parents[2]
PAGE = TREE / "docs/tarvinel.1"
OPTION = re.compile(r"(?<![\w-])--[a-z][\w-]*")


@pytest.fixture
def options(tmp_path):
    """Returns the options of --help."""
    done = subprocess.run([executable(), "--help"], capture_output=True, text=True, timeout=LIMIT,
                          env=private_env(tmp_path))
    return set(re.findall(r"^ +(?:-\w,)?(--[\w-]+)", done.stdout, re.M))


@pytest.fixture(params=[Bash, Zsh, Fish])
def shell(request, tmp_path):
    home = tmp_path / "home"
    (home / "folder").mkdir(parents=True)
    (home / "file.json").touch()
    made = request.param(home)
    yield made
    made.stop()


def test_the_manual_page_has_the_options_of_the_program(options):
    page = PAGE.read_text()
    described = set(re.findall(r"^\.It (?:Fl h , )?Fl (-[\w-]+)", page, re.M))
    assert {f"-{name}" for name in described} == options
    synopsis = page.partition(".Sh SYNOPSIS")[2].partition(".Sh")[0]
    assert {f"-{name}" for name in re.findall(r"(?:Fl|\|) (-[\w-]+)", synopsis)} == options


def test_the_manual_page_has_the_console_commands(start):
    program = start("--capture", "pattern")
    program.command("help")
    program.wait_for_line("quit +end")
    commands = re.findall(r"^([a-z-]+) (?:\S+)? {2,}[a-z]", program.stdout, re.M)
    section = PAGE.read_text().partition(".Sh CONSOLE COMMANDS")[2].partition(".Sh")[0]
    described = re.findall(r"^\.It Ic ([\w-]+)", section, re.M)
    assert [name for name in described if name != "help"] == commands


def test_the_manual_page_is_well_formed():
    lint = subprocess.run(["mandoc", "-Tlint", "-Wwarning", PAGE], capture_output=True, text=True)
    assert (lint.returncode, lint.stdout) == (0, "")
    shown = subprocess.run(["man", "--warnings", "-l", PAGE], capture_output=True, text=True,
                           env={"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8", "MANWIDTH": "80"})
    assert (shown.returncode, shown.stderr) == (0, "")
    assert "share a screen with every browser in the room" in shown.stdout


def test_options_are_completed(shell, options):
    completions = shell.completions("tarvinel --", "--headless", "--version", "--help")
    assert set(OPTION.findall(completions)) == options


def test_ways_of_capture_are_completed(shell):
    completions = shell.completions("tarvinel --capture ", "auto", "x11", "pattern", "portal")
    assert not OPTION.findall(completions)


def test_sources_are_completed(shell):
    completions = shell.completions("tarvinel --capture pattern --share ", "display-1")
    assert not OPTION.findall(completions)


def test_what_has_begun_is_completed(shell):
    completions = shell.completions("tarvinel --capture p", "pattern", "portal")
    assert "x11" not in completions and "auto" not in completions


@pytest.mark.parametrize("option", ["--upload-folder", "--profile"])
def test_folders_are_completed(shell, option):
    assert "file.json" not in shell.completions(f"tarvinel {option} ", "folder")


def test_files_are_completed(shell):
    shell.completions("tarvinel --config ", "folder", "file.json")


def test_an_installation_has_them(tmp_path):
    build = executable().parents[1]
    subprocess.run(["cmake", "--install", build, "--prefix", tmp_path], check=True,
                   capture_output=True)
    for place in ("share/man/man1/tarvinel.1", "share/bash-completion/completions/tarvinel",
                  "share/zsh/vendor-completions/_tarvinel",
                  "share/fish/vendor_completions.d/tarvinel.fish"):
        assert (tmp_path / place).is_file(), place
    assert not (tmp_path / "share/tarvinel/completions").exists()
