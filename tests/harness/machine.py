"""Where a process of a test runs and can be reached."""
from typing import Callable, NamedTuple


class Machine(NamedTuple):
    """`prefix` is the command that runs another there; `connect` makes a connection to a port of
    its loopback interface."""
    prefix: list
    connect: Callable
