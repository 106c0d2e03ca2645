"""Fixtures of the system tests."""
import os

import pytest

from harness.host.installation import installation
from harness.network.lan import Network
from harness.network.mdns_network import Room
from harness.network.two_links import TwoLinks

pytest_plugins = ["harness.fixtures"]


def _made_by_root(make):
    """What makes network namespaces, removed in the end."""
    if os.geteuid() != 0:
        pytest.skip("network namespaces and capabilities need root")
    made = make()
    yield made
    made.remove()


@pytest.fixture
def network():
    yield from _made_by_root(Network)


@pytest.fixture
def room(tmp_path):
    yield from _made_by_root(lambda: Room(tmp_path))


@pytest.fixture
def machine(tmp_path):
    """A machine of its own: port 80 is free there, and privileged for certain."""
    yield from _made_by_root(lambda: TwoLinks(tmp_path))


@pytest.fixture
def installed(monkeypatch):
    """Copies of the program and the helper that an ordinary user can run."""
    with installation() as prefix:
        monkeypatch.setenv("TARVINEL", str(prefix / "bin/tarvinel"))
        yield prefix
