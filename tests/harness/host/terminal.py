"""A pseudo-terminal in which a program runs interactively."""
import fcntl
import os
import re
import struct
import subprocess
import termios
import threading

from ..waiting import LIMIT, eventually


class Terminal:
    """Runs one program. stop() ends it and is idempotent."""

    def __init__(self, argv, env, columns=200):
        self._main, other = os.openpty()
        fcntl.ioctl(other, termios.TIOCSWINSZ, struct.pack("HHHH", 50, columns, 0, 0))
        self._shown = b""
        self._child = subprocess.Popen(
            ["setpriv", "--pdeathsig", "KILL", "setsid", "--ctty", "--wait", *map(str, argv)],
            env=env, stdin=other, stdout=other, stderr=other)
        os.close(other)
        self._reader = threading.Thread(target=self._read)
        self._reader.start()

    @property
    def pid(self):
        """The ID of the program, which replaces the command that gives it the terminal."""
        return self._child.pid

    @property
    def shown(self):
        """All output so far, with line ends as in a file."""
        return self._shown.decode(errors="replace").replace("\r\n", "\n")

    def type(self, text):
        os.write(self._main, text.encode())

    def wait_for(self, pattern, within=LIMIT):
        """Waits until the output matches the pattern."""
        return eventually(lambda: re.search(pattern, self.shown), within, pattern)

    def wait(self, within=LIMIT):
        """Waits for the end of the program and returns its exit status."""
        status = self._child.wait(within)
        self._reader.join()
        return status

    def stop(self):
        if self._child.poll() is None:
            self.type("\x03")
            try:
                self._child.wait(5)
            except subprocess.TimeoutExpired:
                self._child.kill()
        self._child.wait()
        self._reader.join()
        if self._main is not None:
            os.close(self._main)
            self._main = None

    def _read(self):
        while True:
            try:
                piece = os.read(self._main, 4096)
            except OSError:  # the other side was closed
                return
            if not piece:
                return
            self._shown += piece
