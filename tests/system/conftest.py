"""Fixtures of the system tests."""
import os

import pytest

from harness.installed import installation
from harness.network import Network
from harness.room import Room
from harness.two_links import TwoLinks

pytest_plugins = ["harness.fixtures"]


@pytest.fixture
def network():
    if os.geteuid() != 0:
        pytest.skip("network namespaces need root")
    made = Network()
    yield made
    made.remove()


@pytest.fixture
def room(tmp_path):
    if os.geteuid() != 0:
        pytest.skip("network namespaces need root")
    made = Room(tmp_path)
    yield made
    made.remove()


@pytest.fixture
def machine(tmp_path):
    """A machine of its own: port 80 is free there, and privileged for certain."""
    if os.geteuid() != 0:
        pytest.skip("network namespaces and capabilities need root")
    made = TwoLinks(tmp_path)
    yield made
    made.remove()


@pytest.fixture
def installed(monkeypatch):
    """Copies of the program and the helper that an ordinary user can run."""
    with installation() as prefix:
        monkeypatch.setenv("TARVINEL", str(prefix / "bin/tarvinel"))
        yield prefix
