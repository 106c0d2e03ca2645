"""Two machines with a switch between them, made of network namespaces."""
import ctypes
import itertools
import os
import socket
import subprocess
import threading

CLONE_NEWNET = 0x40000000


class Network:
    """`server` and `client` are namespaces joined by a bridge in a third. Needs root."""

    SERVER_ADDRESS = "10.99.0.1"
    CLIENT_ADDRESS = "10.99.0.2"
    _numbers = itertools.count()

    def __init__(self):
        tag = f"tv{os.getpid()}n{next(self._numbers)}"
        self.server, self.client, self._switch = f"{tag}s", f"{tag}c", f"{tag}b"
        self._made = []
        try:
            self._build()
        except BaseException:
            self.remove()
            raise

    def exec_in_server(self):
        """The command prefix that runs a program on the server's side."""
        return ["ip", "netns", "exec", self.server]

    def exec_in_client(self):
        return ["ip", "netns", "exec", self.client]

    def connect_from_client(self, port):
        """A socket of the client's side, connected to the server's."""
        return _inside(self.client,
                       lambda: socket.create_connection((self.SERVER_ADDRESS, port), 10))

    def connect_at_server(self, address):
        """A socket of the server's side, for what it serves on its loopback interface."""
        return connect_inside(self.server, address)

    def connect_at_client(self, port):
        """A socket of the client's side, for what it serves on its loopback interface."""
        return _inside(self.client, lambda: socket.create_connection(("127.0.0.1", port), 10))

    def listen_at_server(self):
        """A listening socket of the server's side, on a free port."""
        return _inside(self.server, lambda: socket.create_server((self.SERVER_ADDRESS, 0)))

    def cut(self):
        """Pulls the client's cable: the client is told, the server is not."""
        _ip("-n", self._switch, "link", "set", "client", "down")

    def restore(self):
        _ip("-n", self._switch, "link", "set", "client", "up")

    def cut_silently(self):
        """Makes the switch forget the client: every link stays up, nothing comes through."""
        _ip("-n", self._switch, "link", "set", "client", "nomaster")

    def restore_silently(self):
        _ip("-n", self._switch, "link", "set", "client", "master", "bridge")

    def remove(self):
        for name in self._made:
            subprocess.run(["ip", "netns", "del", name], check=False, capture_output=True)

    def _build(self):
        for name in (self.server, self.client, self._switch):
            _ip("netns", "add", name)
            self._made.append(name)
        _ip("-n", self._switch, "link", "add", "bridge", "type", "bridge")
        _ip("-n", self._switch, "link", "set", "bridge", "up")
        self._plug_in(self.server, "server", self.SERVER_ADDRESS)
        self._plug_in(self.client, "client", self.CLIENT_ADDRESS)
        # a browser takes a machine without a default route for one that is offline
        _ip("-n", self.client, "route", "add", "default", "via", self.SERVER_ADDRESS)

    def _plug_in(self, namespace, port, address):
        _ip("-n", self._switch, "link", "add", port, "type", "veth",
            "peer", "name", "eth0", "netns", namespace)
        _ip("-n", self._switch, "link", "set", port, "master", "bridge", "up")
        _ip("-n", namespace, "address", "add", f"{address}/24", "dev", "eth0")
        _ip("-n", namespace, "link", "set", "lo", "up")
        _ip("-n", namespace, "link", "set", "eth0", "up")


def connect_inside(namespace, address):
    """A socket of a namespace, connected to an address there."""
    return _inside(namespace, lambda: socket.create_connection(address, 10))


def listen_inside(namespace, port):
    """A listening socket of a namespace, on all its addresses."""
    return _inside(namespace, lambda: socket.create_server(("", port)))


def _inside(namespace, action):
    """Runs the action on a thread that has moved to the namespace: a socket stays in the
    namespace that it was made in."""
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
    subprocess.run(["ip", *arguments], check=True, capture_output=True, timeout=20)
