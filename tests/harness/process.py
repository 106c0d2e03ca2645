"""A child process with its output in files, which is stopped by its own ID and never left behind."""
import os
import signal
import subprocess
from pathlib import Path


class Process:
    """Owns one child in a session of its own. stop() is idempotent and always succeeds.

    The kernel kills the child if the test run itself is killed.
    """

    def __init__(self, argv, folder, name, env=None, stdin=subprocess.DEVNULL, pass_fds=()):
        self.stdout_path = Path(folder) / f"{name}.stdout"
        self.stderr_path = Path(folder) / f"{name}.stderr"
        with open(self.stdout_path, "wb") as out, open(self.stderr_path, "wb") as err:
            self._child = subprocess.Popen(
                ["setpriv", "--pdeathsig", "KILL", *map(str, argv)],
                env=env, stdin=stdin, stdout=out, stderr=err,
                pass_fds=pass_fds, start_new_session=True)

    @property
    def pid(self):
        return self._child.pid

    @property
    def stdin(self):
        return self._child.stdin

    @property
    def stdout(self):
        return self.stdout_path.read_text(errors="replace")

    @property
    def stderr(self):
        return self.stderr_path.read_text(errors="replace")

    def running(self):
        return self._child.poll() is None

    def signal(self, number):
        self._child.send_signal(number)

    def wait(self, within):
        """Returns the exit status, or the negative signal number; fails after the timeout."""
        try:
            return self._child.wait(within)
        except subprocess.TimeoutExpired:
            raise AssertionError(f"process {self.pid} still runs after {within} s") from None

    def kill(self):
        """Kills it, so that it cannot clean up, as in a crash."""
        self.signal(signal.SIGKILL)
        self._child.wait()

    def stop(self, grace=5):
        """Terminates the process, then kills what is left of its session."""
        if self.running():
            self.signal(signal.SIGTERM)
            try:
                self._child.wait(grace)
            except subprocess.TimeoutExpired:
                pass
        self._end_session()
        self._child.wait()
        if self._child.stdin:
            try:
                self._child.stdin.close()
            except BrokenPipeError:
                pass

    def _end_session(self):
        try:
            os.killpg(self.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
