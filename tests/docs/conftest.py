"""Fixtures of the tests of the documents."""
import os

import pytest

from harness.documents import TREE
from harness.host.scratch_machine import ScratchMachine

pytest_plugins = ["harness.fixtures"]


@pytest.fixture
def machine(tmp_path):
    """A scratch machine on which every command of the documents may be run."""
    if os.geteuid() != 0:
        pytest.skip("a scratch machine needs root")
    made = ScratchMachine(tmp_path, TREE)
    yield made
    made.stop()
