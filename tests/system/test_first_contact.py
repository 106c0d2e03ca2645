"""The first start of the program from a terminal, a launcher or a pipe: the user always sees something."""
import os
import re
import socket
import subprocess
from pathlib import Path

import pytest

from harness.desktop.notifications import Notifications
from harness.host.terminal import Terminal
from harness.program import executable, private_env
from harness.waiting import LIMIT, eventually

ADDRESS = r"Open http://[\d.]+:\d+/ in any browser\n"
IN_THE_PANEL = "Tarvinel's menu is behind its icon in the panel; Ctrl+C ends it\n"
IN_THE_WINDOW = "Tarvinel's menu is in its window; Ctrl+C ends it\n"
CTRL_C = "\x03"


@pytest.fixture
def terminal(tmp_path):
    """Starts the program in a terminal, without publishing a name."""
    started = []
    profile = tmp_path / "without-name"
    profile.mkdir()
    (profile / "config.json").write_text('{"hostname": ""}')

    def start_program(*arguments, env=None, bare=False):
        options = () if bare else ("--profile", profile, "--port", "0")
        made = Terminal([executable(), *options, *arguments], env or private_env(tmp_path))
        started.append(made)
        return made

    yield start_program
    for made in started:
        made.stop()


@pytest.fixture
def notifications(desktop):
    service = Notifications(desktop.bus.address)
    yield service
    service.stop()


def end(terminal):
    terminal.type(CTRL_C)
    assert terminal.wait() == 0


def test_a_tray_from_a_terminal(desktop, terminal):
    desktop.start_tray()
    program = terminal(env=desktop.env)
    program.wait_for(ADDRESS)
    program.wait_for(re.escape(IN_THE_PANEL))
    assert not desktop.window()
    end(program)


def test_a_window_from_a_terminal(desktop, terminal, tmp_path):
    program = terminal("--config", tmp_path / "typo.json", env=desktop.env)
    program.wait_for(re.escape(f"config at {tmp_path}/typo.json does not exist\n"))
    program.wait_for(ADDRESS)
    program.wait_for(re.escape(IN_THE_WINDOW))
    assert desktop.window()
    end(program)


def test_headless_without_a_source(terminal):
    program = terminal("--headless", "--capture", "pattern")
    shown = program.wait_for(rf"(?s).*{ADDRESS}.*ends Tarvinel\n")[0]
    assert "Showing the built-in picture, as asked for.\n" in shown
    assert "Not sharing\n" in shown
    assert 'Type "sources", then "share ID", or "help" for more; Ctrl+C ends Tarvinel\n' in shown
    program.type("sources\n")
    program.wait_for(r"display-1\t\S")
    end(program)


def test_headless_with_a_source(terminal):
    program = terminal("--headless", "--capture", "pattern", "--share", "display-1")
    program.wait_for(ADDRESS)
    program.wait_for(r'Type "help" for the commands; Ctrl\+C ends Tarvinel\n')
    program.wait_for(r"Sharing .* · 0 viewers\n")
    end(program)


def test_headless_without_a_screen_tells_what_it_shows(terminal):
    program = terminal("--headless")
    program.wait_for(r"Showing the built-in picture: there is no screen here\.\n")
    program.wait_for(ADDRESS)
    end(program)


@pytest.mark.parametrize("display", [None, ":3999"])
def test_no_display_names_the_ways_out(tmp_path, display):
    done = subprocess.run([executable()], env=private_env(tmp_path, display), capture_output=True,
                          text=True, timeout=LIMIT)
    assert (done.returncode, done.stdout) == (1, "")
    assert done.stderr == ("tarvinel: there is no display here; --headless runs in a terminal, "
                           "--doctor tells what is missing\n")


def test_a_second_start(desktop, terminal):
    desktop.start_tray()
    first = terminal(env=desktop.env)
    first.wait_for(re.escape(IN_THE_PANEL))
    second = terminal(env=desktop.env, bare=True)
    assert second.wait() == 0
    assert second.shown == "Tarvinel is already running: its window is open now\n"
    eventually(desktop.window, LIMIT, "the window")
    end(first)


def test_a_second_start_with_options_tells_that_nothing_came_of_them(desktop, start, tmp_path):
    tray = desktop.start_tray()
    first = start_from_a_launcher(start, desktop)
    tray.item().entry("Not sharing")
    second = subprocess.run(
        [executable(), "--capture", "x11", "--share", "display-1", "--port", "0", "--uploads"],
        env=desktop.env, capture_output=True, text=True, timeout=LIMIT)
    assert (second.returncode, second.stdout) == (1, "")
    assert second.stderr == (
        "tarvinel: it is already running, so nothing came of --capture, --share, --port, "
        "--uploads; use its window, which is open now, or quit it and start again\n")
    eventually(desktop.window, LIMIT, "the window")
    assert not first.status()["sharing"]


def test_into_a_pipe(desktop, tmp_path):
    """The output in a pager or in a file of "tee" is the same."""
    desktop.start_tray()
    profile = tmp_path / "profile"
    profile.mkdir()
    (profile / "config.json").write_text('{"hostname": ""}')
    with subprocess.Popen([executable(), "--port", "0", "--profile", profile], env=desktop.env,
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as program:
        lines = []
        try:
            for line in program.stdout:
                lines.append(line)
                if line == IN_THE_PANEL:
                    break
        finally:
            program.terminate()
    assert re.search(ADDRESS, "".join(lines))


def start_from_a_launcher(start, desktop):
    """Starts the program as a launcher does, with its output discarded."""
    return start(headless=False, display=desktop.screen.name, variables=desktop.variables)


def test_the_first_start_in_a_tray_tells_where_it_is(desktop, start, notifications):
    tray = desktop.start_tray()
    program = start_from_a_launcher(start, desktop)
    eventually(lambda: notifications.shown, LIMIT, "a notification")
    assert notifications.shown == [
        ("Tarvinel is in the panel",
         "Click on its icon to share your screen.")]
    assert program.stdout == ""
    program.terminate()
    assert program.wait(LIMIT) == 0
    again = start_from_a_launcher(start, desktop)
    eventually(lambda: len(tray.items()) == 2, LIMIT, "its icon again")
    tray.item().entry("Not sharing")
    assert again.running()
    assert len(notifications.shown) == 1, "one notification is enough"


def test_the_first_start_without_its_port_tells_what_to_do(desktop, start, notifications, tmp_path):
    opener = tmp_path / "bin/xdg-open"
    opener.parent.mkdir()
    opener.write_text(f'#!/bin/sh\nprintf %s "$1" > {tmp_path}/opened\n')
    opener.chmod(0o755)
    variables = {**desktop.variables, "PATH": f"{opener.parent}:{os.environ['PATH']}"}
    tray = desktop.start_tray()
    with socket.create_server(("", 0)) as taken:
        port = taken.getsockname()[1]
        program = start(headless=False, display=desktop.screen.name, variables=variables,
                        port=port, listening=False)
        item = tray.item()
        eventually(lambda: notifications.shown, LIMIT, "a notification")
        title, text = notifications.shown[0]
        assert title == "Nobody can open Tarvinel"
        reason, holder, *advice = text.splitlines()
        assert reason == f"Can't listen on port {port}: Address already in use."
        assert holder.startswith(f"Port {port} is taken by python3 (process {os.getpid()}, ")
        assert advice == ["End that program if it may end.",
                          'Or set &quot;port&quot; in config.json, or start with --port 8080.']
        item.click("Tarvinel Help")
        opened = eventually(lambda: (tmp_path / "opened").exists()
                            and (tmp_path / "opened").read_text(), LIMIT, "the help page")
        assert opened == f"file://{tmp_path}/.cache/Tarvinel/help.html"
        page = Path(opened.removeprefix("file://")).read_text()
        assert "<title>Tarvinel Help</title>" in page
        program.terminate()
        assert program.wait(LIMIT) == 0
    assert len(notifications.shown) == 1, "nobody is invited to share what nobody can see"
    again = start_from_a_launcher(start, desktop)
    eventually(lambda: len(notifications.shown) == 2, LIMIT, "the invitation")
    assert notifications.shown[1][0] == "Tarvinel is in the panel"
    assert again.running()


def test_where_the_window_opens_nothing_is_told(desktop, start, notifications):
    start_from_a_launcher(start, desktop)
    eventually(desktop.window, LIMIT, "the window")
    tray = desktop.start_tray()
    tray.item().entry("Not sharing")
    assert notifications.shown == []
