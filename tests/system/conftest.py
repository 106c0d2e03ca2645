"""Fixtures of the system tests."""
import os

import pytest

from harness.network import Network

pytest_plugins = ["harness.fixtures"]


@pytest.fixture
def network():
    if os.geteuid() != 0:
        pytest.skip("network namespaces need root")
    made = Network()
    yield made
    made.remove()
