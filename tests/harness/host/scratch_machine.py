"""A container with the files of this machine, in which everything that is written is discarded."""
import subprocess
from pathlib import Path

from ..process import Process
from ..program import executable
from ..waiting import LIMIT, eventually

# The state after the packages were installed and a user has logged in, without the services of this machine.
MAKE = """
mount -t tmpfs tmpfs "$0"
mkdir "$0"/changes "$0"/work "$0"/root
mount -t overlay -o lowerdir=/,upperdir="$0"/changes,workdir="$0"/work overlay "$0"/root
cd "$0"/root
mount -t proc proc proc
mount -t sysfs sysfs sys
mount --rbind /dev dev
for folder in run tmp dev/shm; do mount -t tmpfs -o mode=1777 tmpfs $folder; done
mkdir -p run/lock var/log/nginx
ip link set lo up
ip link add eth0 type veth peer name socket
ip link set socket up
ip address add "$1"/24 dev eth0
ip link set eth0 up
ip route add default via 192.168.1.1
printf '#!/bin/sh\\nexec "$@"\\n' > usr/local/sbin/sudo
chmod +x usr/local/sbin/sudo
mkdir -p home/presenter
git clone --quiet "$2" home/presenter/tarvinel
mkdir -p home/presenter/tarvinel/build/run/app
cp "$3" "$(dirname "$3")"/tarvinel-bind home/presenter/tarvinel/build/run/app
ln -sf /home/presenter/tarvinel/build/run/app/tarvinel usr/local/bin/tarvinel
echo ready
exec sleep infinity
"""


class ScratchMachine:
    """A machine with the address 192.168.1.20 and an empty home. Commands run as root in a clone of the
    committed tree, with a "sudo" that only executes its arguments. stop() ends every process in it.
    Requires root, and a file system that supports overlays.
    """

    ADDRESS = "192.168.1.20"
    CLONE = "/home/presenter/tarvinel"

    def __init__(self, folder, tree):
        self._folder = Path(folder)
        self._root = self._folder / "machine"
        self._root.mkdir()
        self._count = 0
        self._keeper = Process(
            ["unshare", "--mount", "--net", "--pid", "--fork", "--kill-child",
             "bash", "-euc", MAKE, self._root, self.ADDRESS, tree, executable()],
            folder, "machine-log")
        try:
            eventually(lambda: "ready" in self._keeper.stdout or not self._keeper.running(),
                       LIMIT, "the scratch machine is made")
            assert self._keeper.running(), self._keeper.stderr
        except BaseException:
            self.stop()
            raise

    def path(self, inside):
        """Returns the path of a file of the machine as seen from outside while the machine runs."""
        return Path(f"/proc/{self._first_process()}/root{self._root}/root") / inside.lstrip("/")

    def run(self, command, within=LIMIT):
        """Runs shell commands to their end and returns the completed process."""
        return subprocess.run(self._entering(command), capture_output=True, text=True,
                              timeout=within, stdin=subprocess.DEVNULL)

    def start(self, command):
        """Starts a long-running command."""
        self._count += 1
        return Running(self, self._entering("echo $$ > /run/command-%d; exec %s"
                                            % (self._count, command)), self._count, self._folder)

    def stop(self):
        self._keeper.stop()

    def _first_process(self):
        children = Path(f"/proc/{self._keeper.pid}/task/{self._keeper.pid}/children")
        return children.read_text().split()[0]

    def _entering(self, command):
        return ["nsenter", "--target", self._first_process(), "--mount", "--root", "--net", "--pid",
                "chroot", self._root / "root", "env", "-i", "HOME=/home/presenter", "USER=root",
                "TERM=dumb", "LANG=C.UTF-8", "DBUS_SESSION_BUS_ADDRESS=unix:path=/nowhere",
                "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
                "bash", "-euo", "pipefail", "-c", f"cd {self.CLONE}\n{command}"]


class Running(Process):
    """A long-running command in a scratch machine."""

    def __init__(self, machine, argv, number, folder):
        super().__init__(argv, folder, f"command-{number}")
        self._machine, self._number = machine, number

    def end(self):
        """Terminates the command and returns its status."""
        self._machine.run(f"kill -TERM $(cat /run/command-{self._number})")
        return self.wait(LIMIT)

    def wait_for_line(self, text, within=LIMIT):
        eventually(lambda: text in self.stdout + self.stderr or not self.running(), within,
                   f"it prints {text!r}")
        assert text in self.stdout + self.stderr, f"{self.stdout}\n{self.stderr}"
