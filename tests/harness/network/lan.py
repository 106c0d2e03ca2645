"""Hosts on a switch, made of network namespaces."""
import ctypes
import itertools
import os
import shutil
import socket
import subprocess
import threading
from pathlib import Path

from ..waiting import LIMIT

CLONE_NEWNET = 0x40000000
NAMESPACE_FILES = Path("/etc/netns")  # files here replace those in /etc (ip-netns(8))


class Lan:
    """Hosts on one switch; each is a namespace with an interface "eth0". Requires root."""

    _numbers = itertools.count()

    def __init__(self, *hosts):
        """`hosts` are names; the caller assigns addresses to them."""
        tag = f"tv{os.getpid()}n{next(self._numbers)}"
        self._namespaces = {host: f"{tag}{index}" for index, host in enumerate(hosts)}
        self._switch = f"{tag}b"
        self._made = []
        self._folders = []
        try:
            self._build()
        except BaseException:
            self.remove()
            raise

    def namespace(self, host):
        return self._namespaces[host]

    def exec_in(self, host):
        """The command prefix that runs a program on that host."""
        return ["ip", "netns", "exec", self.namespace(host)]

    def inside(self, host, action):
        """Runs the action on a thread in the host's namespace. A socket stays in the namespace in
        which it was created."""
        return _inside(self.namespace(host), action)

    def connect_at(self, host, address):
        """Connects from the host to an address, such as one of its loopback interface."""
        return self.inside(host, lambda: socket.create_connection(address, 10))

    def configure(self, host, *arguments):
        """Runs an "ip" command on that host."""
        _ip("-n", self.namespace(host), *arguments)

    def add_address(self, host, address):
        self.configure(host, "address", "add", f"{address}/24", "dev", "eth0")

    def remove_address(self, host, address):
        self.configure(host, "address", "del", f"{address}/24", "dev", "eth0")

    def use_name_server(self, host, address):
        """Makes programs that are started on the host from now on use that DNS server."""
        folder = NAMESPACE_FILES / self.namespace(host)
        folder.mkdir(parents=True)
        self._folders.append(folder)
        (folder / "resolv.conf").write_text(f"nameserver {address}\n")

    def cut(self, host):
        """Takes the host's link down: only the host notices."""
        _ip("-n", self._switch, "link", "set", host, "down")

    def restore(self, host):
        _ip("-n", self._switch, "link", "set", host, "up")

    def cut_silently(self, host):
        """Disconnects the host from the switch: every link stays up, but no packets pass."""
        _ip("-n", self._switch, "link", "set", host, "nomaster")

    def restore_silently(self, host):
        _ip("-n", self._switch, "link", "set", host, "master", "bridge")

    def remove(self):
        for name in self._made:
            subprocess.run(["ip", "netns", "del", name], check=False, capture_output=True)
        for folder in self._folders:
            shutil.rmtree(folder)

    def _build(self):
        for name in (*self._namespaces.values(), self._switch):
            _ip("netns", "add", name)
            self._made.append(name)
        _ip("-n", self._switch, "link", "add", "bridge", "type", "bridge")
        _ip("-n", self._switch, "link", "set", "bridge", "up")
        for host in self._namespaces:
            self._plug_in(host)

    def _plug_in(self, host):
        _ip("-n", self._switch, "link", "add", host, "type", "veth",
            "peer", "name", "eth0", "netns", self.namespace(host))
        _ip("-n", self._switch, "link", "set", host, "master", "bridge", "up")
        self.configure(host, "link", "set", "lo", "up")
        self.configure(host, "link", "set", "eth0", "up")


class Network:
    """A server and a client on one switch. Requires root."""

    SERVER_ADDRESS = "10.99.0.1"
    CLIENT_ADDRESS = "10.99.0.2"

    def __init__(self):
        self._lan = Lan("server", "client")
        self._lan.add_address("server", self.SERVER_ADDRESS)
        self._lan.add_address("client", self.CLIENT_ADDRESS)
        # browsers consider a machine without a default route offline
        self._lan.configure("client", "route", "add", "default", "via", self.SERVER_ADDRESS)

    def exec_in_server(self):
        """The command prefix that runs a program on the server."""
        return self._lan.exec_in("server")

    def exec_in_client(self):
        return self._lan.exec_in("client")

    def connect_from_client(self, port):
        """Connects from the client to a port of the server."""
        return self._lan.connect_at("client", (self.SERVER_ADDRESS, port))

    def connect_at_server(self, address):
        """Connects on the server to an address, such as one of its loopback interface."""
        return self._lan.connect_at("server", address)

    def connect_at_client(self, port):
        """Connects on the client to a port of its loopback interface."""
        return self._lan.connect_at("client", ("127.0.0.1", port))

    def listen_at_server(self):
        """Returns a listening socket on a free port of the server."""
        return self._lan.inside("server",
                                lambda: socket.create_server((self.SERVER_ADDRESS, 0)))

    def cut(self):
        """Takes the client's link down: only the client notices."""
        self._lan.cut("client")

    def restore(self):
        self._lan.restore("client")

    def cut_silently(self):
        """Disconnects the client from the switch: every link stays up, but no packets pass."""
        self._lan.cut_silently("client")

    def restore_silently(self):
        self._lan.restore_silently("client")

    def remove(self):
        self._lan.remove()


def connect_inside(namespace, address):
    """Connects to an address in a namespace."""
    return _inside(namespace, lambda: socket.create_connection(address, 10))


def listen_inside(namespace, port):
    """Returns a listening socket in a namespace, on all its addresses."""
    return _inside(namespace, lambda: socket.create_server(("", port)))


def _inside(namespace, action):
    outcome = []

    def run():
        try:
            _enter(namespace)
            outcome.append(action())
        except OSError as error:
            outcome.append(error)

    thread = threading.Thread(target=run)
    thread.start()
    thread.join()
    if isinstance(outcome[0], OSError):
        raise outcome[0]
    return outcome[0]


def _enter(namespace):
    with open(f"/run/netns/{namespace}", "rb") as handle:
        if ctypes.CDLL(None, use_errno=True).setns(handle.fileno(), CLONE_NEWNET):
            raise OSError(ctypes.get_errno(), "setns")


def _ip(*arguments):
    subprocess.run(["ip", *arguments], check=True, capture_output=True, timeout=LIMIT)
