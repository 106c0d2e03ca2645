"""A journal socket that the test reads, connected to a program's standard error as systemd does it for a
service."""
import socket
from pathlib import Path

LIMIT = 60
CONNECTED = """mount -t tmpfs run /run && mkdir -p /run/systemd/journal &&
mount --bind "$0" /run/systemd/journal &&
exec env JOURNAL_STREAM="$(stat -Lc %d:%i /proc/self/fd/2)" "$@" """


def datagrams(path):
    """Returns a datagram socket that is bound to the path."""
    listening = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    listening.bind(str(path))
    listening.settimeout(LIMIT)
    return listening


class Journal:
    """The journal's socket. Requires root, because it is mounted in place of the real one."""

    def __init__(self, folder):
        self._folder = Path(folder) / "journal"
        self._folder.mkdir()
        self.socket = datagrams(self._folder / "socket")

    @property
    def prefix(self):
        """The command prefix that connects a program."""
        return ["unshare", "--mount", "sh", "-c", CONNECTED, self._folder]

    def close(self):
        self.socket.close()
