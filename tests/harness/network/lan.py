"""Machines with a switch between them, made of network namespaces."""
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
NAMESPACE_FILES = Path("/etc/netns")  # seen in place of those in /etc (ip-netns(8))


class Lan:
    """Hosts on one switch, each a namespace with an interface "eth0". Needs root."""

    _numbers = itertools.count()

    def __init__(self, *hosts):
        """`hosts` are names; their addresses are for the caller to give."""
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
        """Runs the action on a thread that has moved to the host: a socket stays in the
        namespace that it was made in."""
        return _inside(self.namespace(host), action)

    def connect_at(self, host, address):
        """A socket of the host, for what it serves on its loopback interface."""
        return self.inside(host, lambda: socket.create_connection(address, 10))

    def configure(self, host, *arguments):
        """An "ip" command on that host."""
        _ip("-n", self.namespace(host), *arguments)

    def give_address(self, host, address):
        self.configure(host, "address", "add", f"{address}/24", "dev", "eth0")

    def take_address(self, host, address):
        self.configure(host, "address", "del", f"{address}/24", "dev", "eth0")

    def use_name_server(self, host, address):
        """Programs that are started on the host from now on ask that name server."""
        folder = NAMESPACE_FILES / self.namespace(host)
        folder.mkdir(parents=True)
        self._folders.append(folder)
        (folder / "resolv.conf").write_text(f"nameserver {address}\n")

    def cut(self, host):
        """Pulls the host's cable: it is told, the others are not."""
        _ip("-n", self._switch, "link", "set", host, "down")

    def restore(self, host):
        _ip("-n", self._switch, "link", "set", host, "up")

    def cut_silently(self, host):
        """Makes the switch forget the host: every link stays up, nothing comes through."""
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
    """A server and a client with a switch between them. Needs root."""

    SERVER_ADDRESS = "10.99.0.1"
    CLIENT_ADDRESS = "10.99.0.2"

    def __init__(self):
        self._lan = Lan("server", "client")
        self._lan.give_address("server", self.SERVER_ADDRESS)
        self._lan.give_address("client", self.CLIENT_ADDRESS)
        # a browser takes a machine without a default route for one that is offline
        self._lan.configure("client", "route", "add", "default", "via", self.SERVER_ADDRESS)

    def exec_in_server(self):
        """The command prefix that runs a program on the server's side."""
        return self._lan.exec_in("server")

    def exec_in_client(self):
        return self._lan.exec_in("client")

    def connect_from_client(self, port):
        """A socket of the client's side, connected to the server's."""
        return self._lan.connect_at("client", (self.SERVER_ADDRESS, port))

    def connect_at_server(self, address):
        """A socket of the server's side, for what it serves on its loopback interface."""
        return self._lan.connect_at("server", address)

    def connect_at_client(self, port):
        """A socket of the client's side, for what it serves on its loopback interface."""
        return self._lan.connect_at("client", ("127.0.0.1", port))

    def listen_at_server(self):
        """A listening socket of the server's side, on a free port."""
        return self._lan.inside("server",
                                lambda: socket.create_server((self.SERVER_ADDRESS, 0)))

    def cut(self):
        """Pulls the client's cable: the client is told, the server is not."""
        self._lan.cut("client")

    def restore(self):
        self._lan.restore("client")

    def cut_silently(self):
        """Makes the switch forget the client: every link stays up, nothing comes through."""
        self._lan.cut_silently("client")

    def restore_silently(self):
        self._lan.restore_silently("client")

    def remove(self):
        self._lan.remove()


def connect_inside(namespace, address):
    """A socket of a namespace, connected to an address there."""
    return _inside(namespace, lambda: socket.create_connection(address, 10))


def listen_inside(namespace, port):
    """A listening socket of a namespace, on all its addresses."""
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
