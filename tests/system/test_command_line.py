"""The command line, the console and the ways in which the program ends."""
import re
import signal
import socket
import subprocess
from pathlib import Path

import pytest

from harness.program import WITH_TERMINAL, executable, list_sources, private_env
from harness.waiting import LIMIT, eventually


def run(folder, *arguments):
    return subprocess.run([executable(), *arguments], capture_output=True, text=True, timeout=LIMIT,
                          stdin=subprocess.DEVNULL, env=private_env(folder))


def test_version(tmp_path):
    done = run(tmp_path, "--version")
    assert done.returncode == 0
    assert any(character.isdigit() for character in done.stdout)


def test_help_names_every_option(tmp_path):
    done = run(tmp_path, "--help")
    assert done.returncode == 0
    for option in ("--headless", "--capture", "--share", "--port", "--list-sources",
                   "--uploads", "--upload-folder", "--autostart", "--config", "--profile",
                   "--version", "--help"):
        assert option in done.stdout


@pytest.mark.parametrize("arguments", [
    ["--nonsense"], ["nonsense"], ["--headless", "--port"], ["--headless", "--port", "many"],
    ["--headless", "--port", "65536"], ["--headless", "--port", "-1"],
    ["--headless", "--capture", "video"]])
def test_wrong_command_line(tmp_path, arguments):
    done = run(tmp_path, *arguments)
    assert done.returncode == 2
    assert done.stderr


@pytest.mark.parametrize("arguments", [
    ["--help"], ["--version"], ["--list-sources", "--capture", "pattern"], ["--doctor"],
    ["--autostart", "off"]], ids=" ".join)
def test_what_could_not_be_printed_does_not_go_unnoticed(tmp_path, arguments):
    """Standard output is redirected to a full disk."""
    with open("/dev/full", "wb", buffering=0) as full:
        done = subprocess.run([executable(), *arguments], stdout=full, stderr=subprocess.PIPE,
                              text=True, timeout=LIMIT, stdin=subprocess.DEVNULL,
                              env=private_env(tmp_path))
    assert done.returncode == 1
    assert done.stderr.endswith("tarvinel: standard output cannot be written to\n")


def test_autostart(tmp_path):
    entry = tmp_path / "config/autostart/org.tarvinel.Tarvinel.desktop"
    done = run(tmp_path, "--autostart", "on")
    assert (done.returncode, done.stdout) == (0, f"Tarvinel starts when you log in, by {entry}\n")
    assert subprocess.run(["desktop-file-validate", entry], check=False).returncode == 0
    assert run(tmp_path, "--autostart", "off").returncode == 0
    assert not entry.exists()


def test_autostart_leaves_another_entry(tmp_path):
    entry = tmp_path / "config/autostart/org.tarvinel.Tarvinel.desktop"
    entry.parent.mkdir(parents=True)
    entry.write_text("[Desktop Entry]\n")
    done = run(tmp_path, "--autostart", "on")
    assert done.returncode == 1
    assert str(entry) in done.stderr
    assert entry.read_text() == "[Desktop Entry]\n"


def test_list_sources_of_the_pattern(tmp_path):
    sources = list_sources(tmp_path, None, "--capture", "pattern")
    assert sources == {"display-1": "Display 1 (main) 1280×720"}


def test_list_sources_of_a_display(x, tmp_path):
    sources = list_sources(tmp_path, x.name, "--capture", "x11")
    assert [identifier for identifier in sources if identifier.startswith("display-")]
    assert all(sources.values())


def test_list_sources_without_a_screen_tells_what_to_do(tmp_path):
    done = run(tmp_path, "--list-sources", "--capture", "x11")
    assert (done.returncode, done.stdout) == (1, "")
    reason, advice = done.stderr.splitlines()
    assert reason.endswith("there is no X server: DISPLAY is not set")
    assert advice == ("tarvinel: there is nothing to list, as the log says above; --doctor tells "
                      "what to do")


def test_address_on_standard_output(start):
    program = start("--capture", "pattern")
    program.wait_for_line(rf"http://\S+:{program.listening_port()}\b")


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP])
def test_signals_end_it_in_order(start, number):
    program = start("--capture", "pattern", "--share", "display-1", prefix=WITH_TERMINAL)
    program.signal(number)
    assert program.wait(LIMIT) == 0


def test_under_nohup_it_outlives_its_terminal(start):
    program = start("--capture", "pattern", prefix=["nohup"])
    ignored = re.search(r"^SigIgn:\t(\w+)", Path(f"/proc/{program.pid}/status").read_text(), re.M)
    assert int(ignored[1], 16) & 1 << (signal.SIGHUP - 1)


def test_signal_right_after_the_start(start):
    """The program ends without a crash, whether or not its signal handlers are installed yet."""
    program = start("--capture", "pattern", listening=False)
    program.signal(signal.SIGTERM)
    assert program.wait(LIMIT) in (0, -signal.SIGTERM)


def test_quit_ends_it_in_order(start):
    program = start("--capture", "pattern")
    program.command("quit")
    assert program.wait(LIMIT) == 0


def test_end_of_input_is_not_the_end(start):
    program = start("--capture", "pattern", "--share", "display-1")
    program.stdin.close()
    before = program.cpu_seconds()
    eventually(lambda: program.status()["sharing"], LIMIT, "it still serves")
    program.wait_until_sharing()
    assert program.cpu_seconds() - before < 5


@pytest.mark.parametrize("last", [b"status", b"status\n", b"\n\n", b"\xff\xfe\x00"])
def test_input_that_ends_anyhow(start, last):
    program = start("--capture", "pattern")
    program.stdin.write(last)
    program.stdin.close()
    assert program.status()["sharing"] is False


def test_without_input(start):
    program = start("--capture", "pattern", "--share", "display-1", stdin=subprocess.DEVNULL)
    program.wait_until_sharing()


def test_console_shares_and_stops(start):
    program = start("--capture", "pattern")
    program.command("sources")
    program.wait_for_line(r"display-1\t\S")
    program.share("display-1")
    program.command("stop")
    program.wait_until_sharing(False)


def test_console_helps_and_survives_rubbish(start):
    program = start("--capture", "pattern")
    for line in ("", "nonsense", "share", "share nowhere-7", "stop", "\t", "x" * 100000):
        program.command(line)
    program.command("help")
    for word in ("sources", "share ID", "stop", "status", "quit"):
        program.wait_for_line(word)
    assert program.status()["sharing"] is False


def test_port_taken(start):
    with socket.socket() as holder:
        holder.bind(("0.0.0.0", 0))
        holder.listen()
        port = holder.getsockname()[1]
        program = start("--capture", "pattern", port=port, listening=False)
        assert program.wait(LIMIT) == 1
    assert f"Can't listen on port {port}: Address already in use\n" in program.stdout
    assert program.stderr.endswith("tarvinel: --doctor tells what to do about the port\n")


def test_port_refused(network, start):
    """It runs in a network namespace in which the ports below 1024 are privileged."""
    program = start("--capture", "pattern", port=80, listening=False,
                    prefix=[*network.exec_in_server(),
                            "setpriv", "--bounding-set", "-net_bind_service"])
    assert program.wait(LIMIT) == 1
    assert "Can't listen on port 80: " in program.stdout + program.stderr


def test_port_is_free_again_at_once(start):
    """The port is free even while a viewer's connection is still closing."""
    first = start("--capture", "pattern", "--share", "display-1")
    first.wait_until_sharing()
    port = first.listening_port()
    with socket.create_connection(("127.0.0.1", port)) as viewer:
        viewer.sendall(b"GET /stream HTTP/1.1\r\n\r\n")
        viewer.recv(100)
        first.kill()
        second = start("--capture", "pattern", port=port)
        assert second.listening_port() == port
