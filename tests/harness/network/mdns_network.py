"""A network of hosts with mDNS: each host has a network namespace, a /run and a name service of its own,
so that its daemons are invisible to others."""
import json
import subprocess
from pathlib import Path

from ..process import Process
from ..waiting import LIMIT, eventually
from .lan import Lan

MOUNTS = """mount --bind "$0/run" /run &&
mount --bind "$0/nsswitch.conf" /etc/nsswitch.conf && exec "$@" """

BUS = """<busconfig>
  <type>system</type>
  <listen>unix:path=/run/dbus/system_bus_socket</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/><allow own="*"/><allow send_destination="*"/><allow receive_sender="*"/>
    {policy}
  </policy>
</busconfig>"""

AVAHI = """[server]
host-name={host_name}
use-ipv6=no
[wide-area]
enable-wide-area=no
[publish]
publish-workstation=no
publish-hinfo=no
{publish}
"""


class Host:
    """One host. Every process that is started on it ends with the network."""

    def __init__(self, lan, name, folder):
        self._lan = lan
        self.name = name
        self.folder = Path(folder) / name
        (self.folder / "run/dbus").mkdir(parents=True)
        (self.folder / "nsswitch.conf").write_text("passwd: files\nhosts: files mdns4_minimal\n")
        self._processes = []

    @property
    def prefix(self):
        """The command prefix that runs a program here."""
        return [*self._lan.exec_in(self.name), "sh", "-c", MOUNTS, self.folder]

    def connect(self, address):
        return self._lan.connect_at(self.name, address)

    def run(self, *argv, within=LIMIT):
        """Returns the standard output of a command that runs here, or None if it failed."""
        done = subprocess.run([*map(str, self.prefix), *argv], capture_output=True, text=True,
                              timeout=within)
        return done.stdout if done.returncode == 0 else None

    def start(self, name, *argv):
        """Starts a process, which ends with the network."""
        process = Process([*self.prefix, *argv], self.folder, f"{name}-{len(self._processes)}")
        self._processes.append(process)
        return process

    def start_bus(self, policy=""):
        """Starts a private system bus that permits everything except what `policy` denies."""
        config = self.folder / "bus.conf"
        config.write_text(BUS.format(policy=policy))
        socket = self.folder / "run/dbus/system_bus_socket"
        socket.unlink(missing_ok=True)  # left by an earlier bus
        bus = self.start("bus", "dbus-daemon", f"--config-file={config}", "--nofork",
                         "--nopidfile")
        eventually(socket.exists, LIMIT, "the bus listens")
        return bus

    def start_avahi(self, host_name=None, publish="", ready=True):
        """Starts the Avahi daemon and, if `ready`, waits until it has registered the host's own name."""
        config = self.folder / "avahi.conf"
        config.write_text(AVAHI.format(host_name=host_name or self.name, publish=publish))
        daemon = self.start("avahi", "avahi-daemon", "-f", config, "--no-drop-root", "--no-chroot",
                            "--no-rlimits", "--no-proc-title")
        if ready:
            eventually(lambda: "Server startup complete" in daemon.stderr, LIMIT,
                       "the daemon runs")
        return daemon

    def start_fake_avahi(self, script):
        """Starts a fake Avahi daemon with this script, see fake_avahi.py."""
        fake = self.start("fake-avahi", "/usr/bin/python3",
                          Path(__file__).with_name("fake_avahi.py"), json.dumps(script))
        eventually(lambda: "ready" in fake.stdout, LIMIT, "the fake daemon runs")
        return fake

    def avahi_resolves(self, name):
        """Returns the address to which the Avahi daemon here resolves a name, or None."""
        found = self.run("avahi-resolve", "-4", "-n", name)
        return found.split()[1] if found else None

    def system_resolves(self, name):
        """Returns the address to which the system resolver here resolves a name, or None."""
        found = self.run("getent", "hosts", name)
        return found.split()[0] if found else None

    def add_address(self, address):
        self._lan.add_address(self.name, address)

    def remove_address(self, address):
        self._lan.remove_address(self.name, address)

    def configure(self, *arguments):
        self._lan.configure(self.name, *arguments)

    def cut_silently(self):
        self._lan.cut_silently(self.name)

    def restore_silently(self):
        self._lan.restore_silently(self.name)

    def inside(self, action):
        return self._lan.inside(self.name, action)

    def stop(self):
        for process in reversed(self._processes):
            process.stop()


class MDNSNetwork:
    """The hosts "presenter", "viewer" and "other" on one switch, each with an address."""

    ADDRESSES = {"presenter": "10.98.0.1", "viewer": "10.98.0.2", "other": "10.98.0.3"}

    def __init__(self, folder):
        self._lan = Lan(*self.ADDRESSES)
        self._hosts = [Host(self._lan, name, folder) for name in self.ADDRESSES]
        self.presenter, self.viewer, self.other = self._hosts
        for host in self._hosts:
            host.add_address(self.ADDRESSES[host.name])

    def remove(self):
        for host in self._hosts:
            host.stop()
        self._lan.remove()
