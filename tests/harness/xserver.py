"""A private X server without a screen of its own (Xvfb)."""
import errno
import os
import select
import signal
import socket
import subprocess
from pathlib import Path

from Xlib import X
from Xlib.display import Display

from .process import Process
from .waiting import eventually

START_LIMIT = 20
FIRST_NUMBER = 500  # far above those that servers choose by themselves, upwards from 0


class XServer:
    """One Xvfb. `name` is its display (":500"); restart() brings it back under the same name.

    Its number is kept for it until stop(), also while it is killed: other servers start and end
    all the time beside it.
    """

    def __init__(self, folder, width=800, height=600, label="xvfb"):
        self.width, self.height = width, height
        self._folder, self._label = folder, label
        self._process = None
        self._modes = set()
        self._claim, self.number = _claimed_number()
        try:
            self._start()
        except BaseException:
            self._claim.close()
            raise

    @property
    def name(self):
        return f":{self.number}"

    @property
    def env(self):
        return {**os.environ, "DISPLAY": self.name}

    def resize(self, width, height):
        """Gives the display another size, at most the one that it was started with."""
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
        """Lets it sleep without answering, until thaw()."""
        self._process.signal(signal.SIGSTOP)

    def thaw(self):
        self._process.signal(signal.SIGCONT)

    def restart(self):
        self._start()

    def stop(self):
        self._process.stop()
        Path(f"/tmp/.X{self.number}-lock").unlink(missing_ok=True)  # a killed one leaves it
        self._claim.close()

    def run(self, *argv):
        """Runs a short-lived client such as xrandr to its end and returns its output."""
        done = subprocess.run(argv, env=self.env, capture_output=True, text=True, timeout=20)
        assert done.returncode == 0, f"{argv}: {done.stderr}"
        return done.stdout

    def window_tree(self):
        """All its windows, as xwininfo lists them."""
        return eventually(self._listed_windows, 10, "a list of the windows")

    def _listed_windows(self):
        """None when a window went while the list was made."""
        done = subprocess.run(["xwininfo", "-root", "-tree"], env=self.env, capture_output=True,
                              text=True, timeout=20)
        return done.stdout if done.returncode == 0 else None

    def client(self, *argv):
        """Starts a client that stays; the caller stops it."""
        return Process(argv, self._folder, f"{self._label}-{argv[0]}", env=self.env)

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
        """It writes its number once it listens."""
        text = b""
        while not text.endswith(b"\n"):
            ready, _, _ = select.select([descriptor], [], [], START_LIMIT)
            piece = os.read(descriptor, 16) if ready else b""
            assert piece, f"Xvfb did not start: {self._process.stderr}"
            text += piece


class Watch:
    """Looks at one pixel of a display, again and again and at little cost."""

    def __init__(self, server, x, y):
        self._display = Display(server.name)
        self._root = self._display.screen().root
        self._place = x, y

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self._display.close()

    def brightness(self):
        """The least of its red, green and blue, 0 to 255."""
        return min(self._root.get_image(*self._place, 1, 1, X.ZPixmap, 0xFFFFFFFF).data[:3])


def _claimed_number():
    """A display number that no other test run of this machine uses, and what keeps it so."""
    number = FIRST_NUMBER
    while True:
        claim = socket.socket(socket.AF_UNIX)
        try:
            claim.bind(f"\0display-{number}-of-a-test")
            return claim, number
        except OSError as error:
            claim.close()
            if error.errno != errno.EADDRINUSE:
                raise
        number += 1


def _timing(length):
    """What a mode line says of one direction; nothing is ever sent to a tube."""
    return [str(length + blank) for blank in (0, 8, 16, 24)]
