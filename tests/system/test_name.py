"""The name under .local: found, followed, withdrawn, refused, with and without an Avahi daemon."""
import os
import re
import signal
import time

import pytest

from harness.multicast import Multicast
from harness.room import Room
from harness.waiting import eventually

NAME = "tarvinel.local"
URL = "http://tarvinel.local/"
REGISTERED_WITHIN = 20
FOLLOWED_WITHIN = 30  # the address is looked at every five seconds
RETRIED_WITHIN = 45   # thirty seconds after a failure

FETCH = "import sys, urllib.request; print(urllib.request.urlopen(sys.argv[1]).read().decode())"


@pytest.fixture
def room(tmp_path):
    if os.geteuid() != 0:
        pytest.skip("network namespaces need root")
    made = Room(tmp_path)
    yield made
    made.remove()


@pytest.fixture
def viewer(room):
    """Who looks for the name: a computer with everything that finds names."""
    room.viewer.start_bus()
    room.viewer.start_avahi()
    return room.viewer


@pytest.fixture
def air(room):
    """What is heard of names where the viewer is."""
    listening = Multicast(room.viewer, room.ADDRESSES["viewer"])
    yield listening
    listening.close()


@pytest.fixture
def present(room, start):
    """Starts the program on a host on port 80, where it publishes its name."""
    def start_program(host=room.presenter, **keywords):
        return start("--capture", "pattern", "--verbose", port=80, named=True, prefix=host.prefix,
                     connect=host.connect, **keywords)
    return start_program


@pytest.fixture(params=["daemon", "no-daemon", "no-bus"])
def responder(request, room):
    """What there is on the presenter's computer: an Avahi daemon, only a bus, neither."""
    return prepare(room.presenter, request.param)


def prepare(host, responder):
    if responder != "no-bus":
        host.start_bus()
    if responder == "daemon":
        host.start_avahi()
    return responder


def wait_until_registered(program):
    program.wait_for_line(f"Open {URL} in any browser", REGISTERED_WITHIN)
    return program


def lines(program, text):
    return [line for line in program.stdout.splitlines() if text in line]


def test_found_followed_and_withdrawn(room, viewer, air, responder, present):
    program = wait_until_registered(present())
    address = room.ADDRESSES["presenter"]
    road = "the Avahi daemon" if responder == "daemon" else "a responder of our own"
    assert re.findall("publishing (?:through|by) (.*)", program.stderr) == [road]
    assert (120, address) in air.records(NAME)
    assert viewer.avahi_resolves(NAME) == address
    assert viewer.system_resolves(NAME) == address
    assert '"sharing":false' in viewer.run("python3", "-c", FETCH, URL + "status")

    room.presenter.take_address(address)
    room.presenter.give_address("10.98.0.77")
    eventually(lambda: viewer.system_resolves(NAME) == "10.98.0.77", FOLLOWED_WITHIN, "followed")
    assert '"sharing":false' in viewer.run("python3", "-c", FETCH, URL + "status")
    assert len(lines(program, URL)) == 1
    assert "Open http://10.98.0.77/ in any browser" in program.stdout

    program.command("quit")
    assert program.wait(10) == 0
    eventually(lambda: air.withdrawn(NAME), 10, "withdrawn")
    assert air.silent_about(NAME)
