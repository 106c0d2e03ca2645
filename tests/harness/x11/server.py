"""A private virtual X server (Xvfb)."""
import contextlib
import fcntl
import os
import random
import select
import signal
import struct
import subprocess
from pathlib import Path

from Xlib import X
from Xlib.display import Display

from ..process import Process
from ..waiting import LIMIT, eventually

NUMBERS = range(10000, 50000)  # far above the numbers that servers choose, which start at 0
CLAIMS = "/tmp/.tarvinel-test-displays"  # tests/support/XServer.cpp claims its numbers there as well
ATTEMPTS = 5


class XServer:
    """One Xvfb. `name` is its display (":12345"); restart() starts it again under the same name.

    No other test run uses the number until stop(), even while the server is down. The sockets do not
    ensure that: a server in another network namespace replaces the file in /tmp/.X11-unix, and clients
    try the abstract socket first, which is not in that folder.
    """

    def __init__(self, folder, width=800, height=600, label="xvfb"):
        self.width, self.height = width, height
        self._folder, self._label = folder, label
        self._process = None
        self._modes = set()
        self._start_on_a_number_of_its_own()

    @property
    def name(self):
        return f":{self.number}"

    @property
    def env(self):
        return {**os.environ, "DISPLAY": self.name}

    def resize(self, width, height):
        """Resizes the display, to at most the size that it was started with."""
        mode = f"{width}x{height}"
        if mode not in self._modes:
            self.run("xrandr", "--newmode", mode, "25", *_timing(width), *_timing(height))
            self.run("xrandr", "--addmode", "screen", mode)
            self._modes.add(mode)
        self.run("xrandr", "--output", "screen", "--mode", mode)
        self.width, self.height = width, height

    def kill(self):
        self._process.kill()

    def freeze(self):
        """Stops the process, so that it does not reply until thaw()."""
        self._process.signal(signal.SIGSTOP)

    def thaw(self):
        self._process.signal(signal.SIGCONT)

    def restart(self):
        self._start()

    def stop(self):
        self._process.stop()
        Path(f"/tmp/.X11-unix/X{self.number}").unlink(missing_ok=True)  # a killed server leaves it behind
        os.close(self._claim)

    def run(self, *argv):
        """Runs a short-lived client such as xrandr to its end and returns its output."""
        done = subprocess.run(argv, env=self.env, capture_output=True, text=True, timeout=LIMIT)
        assert done.returncode == 0, f"{argv}: {done.stderr}"
        return done.stdout

    def window_tree(self):
        """Returns the window tree as xwininfo prints it."""
        return eventually(self._listed_windows, LIMIT, "a list of the windows")

    def _listed_windows(self):
        """Returns None if a window was destroyed while xwininfo ran."""
        done = subprocess.run(["xwininfo", "-root", "-tree"], env=self.env, capture_output=True,
                              text=True, timeout=LIMIT)
        return done.stdout if done.returncode == 0 else None

    def client(self, *argv):
        """Starts a long-running client, which the caller stops."""
        return Process(argv, self._folder, f"{self._label}-{argv[0]}", env=self.env)

    def _start_on_a_number_of_its_own(self):
        """Tries another number if a server outside the tests uses this one."""
        for attempt in range(1, ATTEMPTS + 1):
            self.number, self._claim = _claimed_number()
            try:
                return self._start()
            except BaseException as error:
                os.close(self._claim)
                if attempt == ATTEMPTS or not isinstance(error, AssertionError):
                    raise

    def _start(self):
        read_end, write_end = os.pipe()
        self._process = Process(
            ["Xvfb", self.name, "-displayfd", write_end, "-noreset", "-nolisten", "tcp",
             "-screen", "0", f"{self.width}x{self.height}x24"],
            self._folder, self._label, pass_fds=[write_end])
        os.close(write_end)
        try:
            self._wait_until_ready(read_end)
        except BaseException:
            self._process.stop()
            raise
        finally:
            os.close(read_end)

    def _wait_until_ready(self, descriptor):
        """Waits until the server writes its number, which it does when it listens."""
        text = b""
        while not text.endswith(b"\n"):
            ready, _, _ = select.select([descriptor], [], [], LIMIT)
            piece = os.read(descriptor, 16) if ready else b""
            assert piece, f"Xvfb did not start: {self._process.stderr}"
            text += piece


class PixelProbe:
    """Reads one pixel of a display repeatedly, at little cost."""

    def __init__(self, server, x, y):
        self._display = Display(server.name)
        self._root = self._display.screen().root
        self._place = x, y

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self._display.close()

    def brightness(self):
        """Returns the minimum of red, green and blue, 0 to 255."""
        return min(self._root.get_image(*self._place, 1, 1, X.ZPixmap, 0xFFFFFFFF).data[:3])


def _claimed_number():
    """Returns a display number that no test run on this machine uses, and its claim."""
    while True:
        number = random.choice(NUMBERS)
        claim = claim_display(number)
        if claim is not None:
            return number, claim


def claim_display(number):
    """Returns a descriptor that reserves the number while it is open, or None if another test run has
    it."""
    with contextlib.suppress(FileExistsError):
        made = os.open(CLAIMS, os.O_CREAT | os.O_EXCL | os.O_WRONLY)
        os.fchmod(made, 0o666)  # other users run tests as well
        os.close(made)
    claims = os.open(CLAIMS, os.O_RDWR)
    try:
        fcntl.fcntl(claims, fcntl.F_OFD_SETLK,
                    struct.pack("hhqqi4x", fcntl.F_WRLCK, os.SEEK_SET, number, 1, 0))
        return claims
    except BlockingIOError:
        os.close(claims)
        return None


def _timing(length):
    """Returns the timings of a mode line for one direction; a virtual display accepts any."""
    return [str(length + blank) for blank in (0, 8, 16, 24)]
