"""The real program: starting it, sending it commands, measuring it and ending it."""
import os
import re
import signal
import subprocess
import time
from pathlib import Path

from . import http
from .process import Process
from .waiting import LIMIT, eventually

HOST = "127.0.0.1"
# a prefix for commands that must end with their terminal even if the tests run under nohup
WITH_TERMINAL = ("env", "--default-signal=HUP")
SANITIZER_MARKS = ("ERROR: AddressSanitizer", "ERROR: LeakSanitizer",
                   "WARNING: ThreadSanitizer", "runtime error:")


def executable():
    """Returns the program under test: $TARVINEL, or the release build of this tree."""
    tree = Path(__file__).resolve().parents[2]
    return Path(os.environ.get("TARVINEL") or tree / "build/release/app/tarvinel").resolve()


def private_env(folder, display=None):
    """Returns an environment without a configuration, in which nothing of the user's is written."""
    env = {key: value for key, value in os.environ.items()
           if key not in ("DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY", "XDG_SESSION_TYPE")}
    env["HOME"] = str(folder)
    env["XDG_CONFIG_HOME"] = str(Path(folder) / "config")
    if display:
        env["DISPLAY"] = display
    return env


def without_name(folder, arguments):
    """Returns options that disable the name, unless the arguments choose a profile."""
    if "--profile" in arguments:
        return []
    profile = Path(folder) / "without-name"
    profile.mkdir(exist_ok=True)
    (profile / "config.json").write_text('{"hostname": ""}')
    return ["--profile", profile]


class Program(Process):
    """One run. `prefix` is a command that runs it, such as "ip netns exec ..."; `connect` opens a
    connection to it; `variables` are added to its environment. It publishes a name only if `named`, so
    that nothing is sent to the machine's own network."""

    def __init__(self, folder, *arguments, display=None, prefix=(), stdin=subprocess.PIPE,
                 connect=http.connect, name="tarvinel", named=False, variables=()):
        if not named:
            arguments = (*arguments, *without_name(folder, arguments))
        super().__init__([*prefix, executable(), *arguments], folder, name,
                         env={**private_env(folder, display), **dict(variables)}, stdin=stdin)
        self._connect = connect

    def wait_until_listening(self):
        eventually(lambda: self.listening_port() or not self.running(), LIMIT,
                   "the server listens")
        assert self.running(), f"ended: {self.stdout}\n{self.stderr}"
        return self

    def listening_port(self):
        found = re.search(r"listening on port (\d+)", self.stderr)
        return int(found[1]) if found else None

    @property
    def address(self):
        return HOST, self.listening_port()

    @property
    def url(self):
        return f"http://{HOST}:{self.listening_port()}/"

    def status(self):
        return http.get_status(self.address, self._connect)

    def viewers(self):
        return self.status()["viewers"]

    def command(self, line):
        """Sends one line to its console."""
        self.stdin.write(line.encode() + b"\n")
        self.stdin.flush()

    def wait_for_line(self, pattern, within=LIMIT, source="stdout"):
        """Waits until its output matches the pattern, and returns the match."""
        return eventually(lambda: re.search(pattern, getattr(self, source)), within,
                          f"{pattern!r} on {source}")

    def share(self, identifier):
        self.command(f"share {identifier}")
        self.wait_until_sharing()

    def wait_until_sharing(self, sharing=True):
        eventually(lambda: self.status()["sharing"] == sharing, LIMIT, f"sharing is {sharing}")

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.pid}/fd"))

    def resident_bytes(self):
        return self._memory("VmRSS")

    def virtual_bytes(self):
        """Returns the size of its address space, used or not."""
        return self._memory("VmSize")

    def _memory(self, kind):
        status = Path(f"/proc/{self.pid}/status").read_text()
        return int(re.search(rf"{kind}:\s+(\d+) kB", status)[1]) * 1024

    def cpu_seconds(self):
        """Returns the processor time of all its threads, including those that ended."""
        return time.clock_gettime((~self.pid << 3) | 2)

    def terminate(self):
        """Sends SIGTERM, unless it has ended."""
        if self.running():
            self.signal(signal.SIGTERM)

    def sanitizer_report(self):
        return next((mark for mark in SANITIZER_MARKS if mark in self.stderr), None)


def list_sources(folder, display, *arguments):
    """Returns the titles of all sources by their IDs, from --list-sources."""
    done = subprocess.run([executable(), "--list-sources", *arguments], capture_output=True,
                          text=True, env=private_env(folder, display), timeout=LIMIT)
    assert done.returncode == 0, done.stderr
    return dict(line.split("\t", 1) for line in done.stdout.splitlines())


def display_ids(folder, server):
    """Returns the IDs of an X server's displays, in the order of the list."""
    sources = list_sources(folder, server.name, "--capture", "x11")
    return [identifier for identifier in sources if identifier.startswith("display-")]
