"""Fixtures of the system tests."""
import os

import pytest

from harness.host.installation import installation
from harness.network.lan import Network
from harness.network.mdns_network import MDNSNetwork
from harness.network.two_links import TwoLinks

pytest_plugins = ["harness.fixtures"]


def _made_by_root(make):
    """Yields what make() builds from network namespaces, and removes it in the end."""
    if os.geteuid() != 0:
        pytest.skip("network namespaces and capabilities need root")
    made = make()
    yield made
    made.remove()


@pytest.fixture
def network():
    """A server and a client on one switch."""
    yield from _made_by_root(Network)


@pytest.fixture
def lan(tmp_path):
    """The hosts presenter, viewer and other on one network with mDNS."""
    yield from _made_by_root(lambda: MDNSNetwork(tmp_path))


@pytest.fixture
def machine(tmp_path):
    """A host with two links, on which port 80 is free and privileged."""
    yield from _made_by_root(lambda: TwoLinks(tmp_path))


@pytest.fixture
def installed(monkeypatch):
    """An installation that an ordinary user can run; TARVINEL names its program."""
    with installation() as prefix:
        monkeypatch.setenv("TARVINEL", str(prefix / "bin/tarvinel"))
        yield prefix
