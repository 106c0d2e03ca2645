"""A host with Ethernet and Wi-Fi, made of a network namespace and a folder in place of sysfs."""
import itertools
import os
import subprocess
from pathlib import Path

from ..waiting import LIMIT
from .lan import connect_inside, listen_inside


class TwoLinks:
    """Interfaces "eth0" and "wlan0" with one neighbour each; the folder `sysfs` describes them. There is
    no default route until route_over(). Requires root."""

    GATEWAYS = {"eth0": "10.1.0.2", "wlan0": "10.2.0.2"}
    _numbers = itertools.count()

    def __init__(self, folder):
        self.name = f"tv{os.getpid()}l{next(self._numbers)}"
        self.sysfs = Path(folder) / "sysfs"
        self._describe("eth0")
        self._describe("wlan0")
        (self.sysfs / "class/net/wlan0/wireless").mkdir()
        _ip("netns", "add", self.name)
        try:
            self._build()
        except BaseException:
            self.remove()
            raise

    def exec_in(self):
        """The command prefix that runs a program there."""
        return ["ip", "netns", "exec", self.name]

    def connect(self, address, _receive_buffer=None):
        """Connects to an address of its loopback interface."""
        return connect_inside(self.name, address)

    def listen(self, port):
        """Returns a listening socket on all its addresses."""
        return listen_inside(self.name, port)

    def route_over(self, link):
        """Moves the default route to a link."""
        _ip("-n", self.name, "route", "replace", "default", "via", self.GATEWAYS[link])

    def pull(self, link):
        """Removes the carrier of a link: the link stays up, with its address and its routes."""
        _ip("-n", self.name, "link", "set", self._neighbour(link), "down")

    def unplug(self):
        """Takes both links down."""
        for link in self.GATEWAYS:
            _ip("-n", self.name, "link", "set", link, "down")

    def plug_in(self):
        for link in self.GATEWAYS:
            _ip("-n", self.name, "link", "set", link, "up")

    def remove(self):
        subprocess.run(["ip", "netns", "del", self.name], check=False, capture_output=True)

    def _describe(self, link):
        device = self.sysfs / "class/net" / link / "device"
        device.mkdir(parents=True)
        (device.parent / "type").write_text("1\n")

    def _build(self):
        _ip("-n", self.name, "link", "set", "lo", "up")
        for number, link in enumerate(self.GATEWAYS, 1):
            neighbour = self._neighbour(link)
            _ip("-n", self.name, "link", "add", link, "type", "veth", "peer", "name", neighbour)
            _ip("-n", self.name, "address", "add", f"10.{number}.0.1/24", "dev", link)
            _ip("-n", self.name, "link", "set", link, "up")
            _ip("-n", self.name, "link", "set", neighbour, "up")

    def _neighbour(self, link):
        return f"peer{list(self.GATEWAYS).index(link) + 1}"


def _ip(*arguments):
    subprocess.run(["ip", *arguments], check=True, capture_output=True, timeout=LIMIT)
