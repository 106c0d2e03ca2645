"""The name under .local: resolved, updated, withdrawn and rejected, with and without an Avahi daemon."""
import re
import signal

import pytest

from harness.network.mdns_observer import MDNSObserver
from harness.waiting import LIMIT, eventually

NAME = "tarvinel.local"
URL = "http://tarvinel.local/"
RETRIED_WITHIN = 30 + LIMIT  # a failed publication is retried every thirty seconds
BEFORE_THE_RETRY = 20

FETCH = "import sys, urllib.request; print(urllib.request.urlopen(sys.argv[1]).read().decode())"


@pytest.fixture
def viewer(lan):
    """A host with an Avahi daemon, which resolves the name."""
    lan.viewer.start_bus()
    lan.viewer.start_avahi()
    return lan.viewer


@pytest.fixture
def mdns(lan):
    """Observes mDNS on the viewer's host."""
    observer = MDNSObserver(lan.viewer, lan.ADDRESSES["viewer"])
    yield observer
    observer.close()


@pytest.fixture
def present(lan, start):
    """Starts the program on a host and port 80, where it publishes its name."""
    def start_program(host=lan.presenter, **keywords):
        return start("--capture", "pattern", "--verbose", port=80, named=True, prefix=host.prefix,
                     connect=host.connect, **keywords)
    return start_program


@pytest.fixture(params=["daemon", "no-daemon", "no-bus"])
def responder(request, lan):
    """Prepares the presenter's host: with an Avahi daemon, with a bus only, or with neither."""
    return prepare(lan.presenter, request.param)


def prepare(host, responder):
    if responder != "no-bus":
        host.start_bus()
    if responder == "daemon":
        host.start_avahi()
    return responder


def wait_until_registered(program):
    program.wait_for_line(f"Open {URL} in any browser")
    return program


def wait_until_answered(mdns, address):
    """Waits until the latest response to a query has this address."""
    def answered():
        mdns.query(NAME)
        return mdns.records(NAME)[-1:] == [(120, address)]

    mdns.clear()
    eventually(answered, LIMIT, f"a response with {address}", every=0.5)


def lines(program, text):
    return [line for line in program.stdout.splitlines() if text in line]


def test_found_followed_and_withdrawn(lan, viewer, mdns, responder, present):
    program = wait_until_registered(present())
    address = lan.ADDRESSES["presenter"]
    publisher = "the Avahi daemon" if responder == "daemon" else "a responder of our own"
    assert re.findall("publishing (?:through|by) (.*)", program.stderr) == [publisher]
    eventually(lambda: (120, address) in mdns.records(NAME), LIMIT, "announced")
    assert viewer.avahi_resolves(NAME) == address
    assert viewer.system_resolves(NAME) == address
    assert '"sharing":false' in viewer.run("python3", "-c", FETCH, URL + "status")

    lan.presenter.remove_address(address)
    lan.presenter.add_address("10.98.0.77")
    eventually(lambda: viewer.system_resolves(NAME) == "10.98.0.77", LIMIT, "followed")
    assert '"sharing":false' in viewer.run("python3", "-c", FETCH, URL + "status")
    assert len(lines(program, URL)) == 1
    assert "Open http://10.98.0.77/ in any browser" in program.stdout

    program.command("quit")
    assert program.wait(LIMIT) == 0
    eventually(lambda: mdns.withdrawn(NAME), LIMIT, "withdrawn")
    assert mdns.is_unanswered(NAME)


# The name is taken

TAKEN = f'{NAME} is taken on this network; set "hostname" in config.json to use another name'


def wait_until_taken(program):
    eventually(lambda: lines(program, TAKEN), LIMIT, "the name is taken")


@pytest.mark.slow
@pytest.mark.parametrize("responder", ["daemon", "no-bus"])
def test_taken_by_another_computer_until_it_leaves(lan, mdns, responder, present):
    first = wait_until_registered(present())
    prepare(lan.other, responder)
    second = present(lan.other)
    wait_until_taken(second)
    assert not lines(second, URL)
    second.wait_for_line(r"\[app\] tarvinel\.local name conflict", source="stderr")
    wait_until_answered(mdns, lan.ADDRESSES["presenter"])

    first.terminate()
    second.wait_for_line(f"Open {URL} in any browser", RETRIED_WITHIN)
    assert len(lines(second, TAKEN)) == 1
    assert "Open http://10.98.0.3/ in any browser" in second.stdout


@pytest.mark.parametrize("responder", ["daemon", "no-bus"])
def test_taken_by_both_at_once(lan, responder, present):
    for host in (lan.presenter, lan.other):
        prepare(host, responder)
    programs = [present(host) for host in (lan.presenter, lan.other)]
    eventually(lambda: all(lines(program, URL) or lines(program, TAKEN) for program in programs),
               LIMIT, "both know")
    eventually(lambda: sorted(bool(lines(program, TAKEN)) for program in programs) == [False, True],
               LIMIT, "one of them has lost")


@pytest.mark.parametrize("responder", ["daemon", "no-bus"])
def test_taken_when_two_networks_become_one(lan, mdns, responder, present):
    for host in (lan.presenter, lan.other):
        prepare(host, responder)
    lan.other.cut_silently()
    programs = [wait_until_registered(present(host)) for host in (lan.presenter, lan.other)]
    lan.other.restore_silently()

    def someone_noticed():
        mdns.query(NAME)  # as viewers' computers do
        return any(lines(program, TAKEN) for program in programs)

    eventually(someone_noticed, LIMIT, "one of them gives way", every=0.5)


@pytest.mark.parametrize("responder", ["daemon", "no-bus"])
def test_two_programs_on_one_computer_share_the_name(lan, mdns, responder, present, start):
    prepare(lan.presenter, responder)
    first = wait_until_registered(present())
    second = start("--capture", "pattern", named=True, prefix=lan.presenter.prefix,
                   connect=lan.presenter.connect)
    second.wait_for_line(f"Open http://{NAME}:{second.listening_port()}/ in any browser")
    first.terminate()
    assert first.wait(LIMIT) == 0
    wait_until_answered(mdns, lan.ADDRESSES["presenter"])


def test_the_computers_own_name_counts_as_published(lan, mdns, present):
    lan.presenter.start_bus()
    lan.presenter.start_avahi(host_name="Tarvinel")
    program = wait_until_registered(present())
    wait_until_answered(mdns, lan.ADDRESSES["presenter"])

    mdns.clear()
    lan.presenter.run("avahi-set-host-name", "elsewhere")
    eventually(lambda: mdns.records("elsewhere.local"), LIMIT, "the computer is renamed")
    wait_until_answered(mdns, lan.ADDRESSES["presenter"])
    assert len(lines(program, URL)) == 1
    assert not lines(program, TAKEN)


def test_a_daemon_that_appears_and_gives_the_computer_this_name(lan, mdns, present):
    lan.presenter.start_bus()
    program = wait_until_registered(present())
    lan.presenter.start_avahi(host_name="tarvinel")
    program.wait_for_line("publishing through the Avahi daemon", source="stderr")
    wait_until_answered(mdns, lan.ADDRESSES["presenter"])
    assert not lines(program, TAKEN)


# Addresses

def test_without_a_network_until_there_is_one(lan, mdns, present):
    address = lan.ADDRESSES["presenter"]
    lan.presenter.configure("link", "set", "eth0", "down")
    lan.presenter.remove_address(address)
    program = present()
    trouble = f"No network address to publish {NAME} for"
    program.wait_for_line(trouble)
    program.wait_for_line(r"sources:[^$]*sources:", source="stderr")  # after ten seconds
    assert "Open http://localhost/ in any browser\n" in program.stdout
    assert program.stdout.count(trouble) == 1
    assert "mdns" not in program.stderr

    lan.presenter.add_address(address)
    lan.presenter.configure("link", "set", "eth0", "up")
    wait_until_registered(program)
    assert len(lines(program, trouble)) == 1
    eventually(lambda: (120, address) in mdns.records(NAME), LIMIT, "heard")

    lan.presenter.remove_address(address)
    eventually(lambda: len(lines(program, trouble)) == 2, LIMIT, "the message is printed again")
    assert lines(program, "Open")[-1] == "Open http://localhost/ in any browser"


@pytest.mark.parametrize("moment", ["registering", "registered"])
@pytest.mark.parametrize("responder", ["daemon", "no-bus"])
def test_an_address_that_changes_twenty_times_in_a_second(lan, mdns, responder, moment, present):
    presenter = lan.presenter
    prepare(presenter, responder)
    program = present()
    program.wait_for_line(rf"tarvinel\.local.* {moment}|{moment} tarvinel\.local",
                          source="stderr")
    address = lan.ADDRESSES["presenter"]
    for number in range(20):
        presenter.configure("link", "set", "eth0", "down")
        presenter.remove_address(address)
        address = f"10.98.0.{100 + number}"
        presenter.add_address(address)
        presenter.configure("link", "set", "eth0", "up")

    wait_until_answered(mdns, address)
    eventually(lambda: lines(program, "Open")[-1] in (
        f"Open {URL} in any browser", f"Open http://{address}/ in any browser"), LIMIT, "shown")
    program.terminate()
    assert program.wait(LIMIT) == 0
    eventually(lambda: mdns.withdrawn(NAME), LIMIT, "withdrawn")


def test_more_interfaces_than_a_socket_can_listen_on(lan, mdns, present):
    """The kernel limits the memberships of a socket to twenty."""
    for number in range(25):
        lan.presenter.configure("link", "add", f"x{number}", "type", "veth",
                                 "peer", "name", f"y{number}")
        lan.presenter.configure("address", "add", f"10.97.{number}.1/24", "dev", f"x{number}")
        for end in "xy":
            lan.presenter.configure("link", "set", f"{end}{number}", "up")
    address = lan.ADDRESSES["presenter"]
    program = wait_until_registered(present())
    eventually(lambda: (120, address) in mdns.records(NAME), LIMIT, "announced")
    wait_until_answered(mdns, address)

    lan.presenter.remove_address(address)
    lan.presenter.add_address("10.98.0.77")
    eventually(lambda: mdns.records(NAME)[-1:] == [(120, "10.98.0.77")], LIMIT,
               "followed")
    program.terminate()
    assert program.wait(LIMIT) == 0
    eventually(lambda: mdns.withdrawn(NAME), LIMIT, "withdrawn")


# Daemons that appear, disappear, reject and hang

def failed(code):
    return re.escape(f"Couldn't publish {NAME} (error {code})")


@pytest.mark.slow
def test_handed_over_to_a_daemon_and_back(lan, mdns, present):
    address = lan.ADDRESSES["presenter"]
    lan.presenter.start_bus()
    program = wait_until_registered(present())
    program.wait_for_line("publishing by a responder of our own", source="stderr")
    mdns.clear()
    daemon = lan.presenter.start_avahi()
    program.wait_for_line("publishing through the Avahi daemon", source="stderr")
    eventually(lambda: (0, address) in mdns.records(NAME)
               and mdns.records(NAME)[-1] == (120, address), LIMIT, "withdrawn, then announced again")
    assert not lines(program, "Couldn't")

    daemon.kill()
    program.wait_for_line(failed(-65537))
    eventually(lambda: len(lines(program, URL)) == 2, RETRIED_WITHIN, "published again")
    assert program.stderr.count("publishing by a responder of our own") == 2
    wait_until_answered(mdns, address)
    assert len(lines(program, "Couldn't")) == 1


def test_a_daemon_that_restarts_is_used_again_at_once(lan, mdns, present):
    lan.presenter.start_bus()
    daemon = lan.presenter.start_avahi()
    program = wait_until_registered(present())
    daemon.kill()
    program.wait_for_line(failed(-65537))
    lan.presenter.start_avahi()
    eventually(lambda: len(lines(program, URL)) == 2, BEFORE_THE_RETRY, "published again")
    wait_until_answered(mdns, lan.ADDRESSES["presenter"])


def test_a_bus_that_restarts_with_a_daemon_on_it(lan, mdns, present):
    bus = lan.presenter.start_bus()
    program = wait_until_registered(present())
    bus.kill()
    wait_until_answered(mdns, lan.ADDRESSES["presenter"])
    prepare(lan.presenter, "daemon")
    program.wait_for_line("publishing through the Avahi daemon", source="stderr")
    wait_until_answered(mdns, lan.ADDRESSES["presenter"])
    assert not lines(program, "Couldn't")


def test_a_bus_that_dies_with_the_daemon_in_use(lan, present):
    bus = lan.presenter.start_bus()
    lan.presenter.start_avahi()
    program = wait_until_registered(present())
    bus.kill()
    program.wait_for_line(failed(-65537))


def test_a_daemon_that_still_registers_the_computers_name_is_waited_for(lan, present):
    lan.presenter.start_bus()
    daemon = lan.presenter.start_avahi(ready=False)
    eventually(lambda: "Server startup" in daemon.stderr or "New relevant" in daemon.stderr, 10,
               "it has begun")
    program = wait_until_registered(present())
    assert not lines(program, "Couldn't")


@pytest.mark.parametrize("publish", ["disable-publishing=yes",
                                     "disable-user-service-publishing=yes"])
def test_a_daemon_that_does_not_permit_it(lan, publish, present):
    lan.presenter.start_bus()
    lan.presenter.start_avahi(publish=publish)
    program = present()
    program.wait_for_line(failed(-65555))
    program.wait_for_line(rf"\[app\] {re.escape(NAME)} registration failed: -65555", source="stderr")


def test_a_bus_that_does_not_permit_it(lan, present):
    lan.presenter.start_bus(policy="""<deny send_destination="org.freedesktop.Avahi"
                                             send_interface="org.freedesktop.Avahi.Server"/>""")
    lan.presenter.start_avahi()
    present().wait_for_line(failed(-65555))


@pytest.mark.parametrize("script, shown", [
    ({"GetState": 4}, failed(-65537)),
    ({"GetState": "two"}, failed(-65537)),
    ({"GetState": {"error": "org.freedesktop.DBus.Error.UnknownMethod"}}, failed(-65537)),
    ({"EntryGroupNew": 7}, failed(-65537)),
    ({"EntryGroupNew": {"error": "org.freedesktop.Avahi.TooManyObjectsError"}}, failed(-65537)),
    ({"AddRecord": {"error": "org.freedesktop.Avahi.CollisionError"}}, re.escape(TAKEN)),
    ({"Commit": {"error": "org.freedesktop.Avahi.BadStateError"}}, failed(-65537)),
    ({"Commit": "silent"}, failed(-65537)),
    ({"states": [1, 2, 3]}, re.escape(TAKEN)),
    ({"states": [1, 2, 4]}, failed(-65537)),
    ({"GetState": 1, "server states": [3, 1, 2], "states": [1, 2]}, re.escape(URL)),
], ids=["failure", "not-a-state", "no-such-method", "no-path", "too-many", "taken", "bad-state",
        "silent", "taken-later", "failing-later", "not-yet-running"])
def test_a_daemon_that_misbehaves(lan, script, shown, present):
    lan.presenter.start_bus()
    lan.presenter.start_fake_avahi(script)
    program = present()
    program.wait_for_line(shown)
    assert len(lines(program, NAME)) == (2 if script.get("states", [])[2:] else 1)


@pytest.mark.parametrize("what_hangs", ["bus", "daemon"])
def test_what_hangs_is_given_up_and_holds_nobody_up(lan, what_hangs, present):
    bus = lan.presenter.start_bus()
    daemon = lan.presenter.start_avahi()
    hanging = {"bus": bus, "daemon": daemon}[what_hangs]
    hanging.signal(signal.SIGSTOP)
    try:
        program = present()
        program.command("status")
        program.wait_for_line("Not sharing[^$]*Not sharing")
        assert program.status()["sharing"] is False
        assert not lines(program, NAME)
        program.wait_for_line(failed(-65537))
        program.terminate()
        assert program.wait(LIMIT) == 0
    finally:
        hanging.signal(signal.SIGCONT)
