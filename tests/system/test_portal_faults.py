"""A desktop portal that responds late, not at all, or with invalid values."""
import json
import os
from pathlib import Path

import pytest

import harness
from harness.desktop.session_bus import SessionBus
from harness.process import Process
from harness.waiting import LIMIT, eventually

FAKE_PORTAL = Path(harness.__file__).with_name("wayland") / "fake_portal.py"
SCREEN = "display-1"
GIVEN_UP_WITHIN = 25 + LIMIT  # the bus waits 25 seconds for a reply

NO_SHARING = "this desktop offers no sharing of its screen"
NOT_STARTED = "the desktop could not start sharing its screen"
NO_SENSE = "the desktop gave an answer that makes no sense"
NO_MEDIA_SERVER = r"the desktop's media server \(PipeWire\) (cannot be reached|ended)"


@pytest.fixture
def bus(tmp_path):
    made = SessionBus(tmp_path)
    yield made
    made.stop()


@pytest.fixture
def portal(tmp_path, bus, clients):
    """Starts a portal with this script, see fake_portal.py."""
    def start_portal(script):
        fake = Process(["/usr/bin/python3", FAKE_PORTAL, json.dumps(script)], tmp_path, "portal",
                       env={**os.environ, "DBUS_SESSION_BUS_ADDRESS": bus.address})
        clients.append(fake)
        eventually(lambda: "ready" in fake.stdout, LIMIT, "the portal is there")
        return fake
    return start_portal


@pytest.fixture
def start_on_portal(start, bus, portal):
    """Starts the program with a scripted portal and returns both."""
    def start_it(script, *arguments):
        fake = portal(script)
        program = start("--capture", "portal", *arguments,
                        variables={"DBUS_SESSION_BUS_ADDRESS": bus.address})
        return program, fake
    return start_it


@pytest.fixture
def sharing_fails(start_on_portal):
    """Expects that sharing fails, that the program prints the reason and keeps running."""
    def expect(script, reason, within=LIMIT):
        program, _ = start_on_portal(script, "--share", SCREEN)
        program.wait_for_line(reason, within)
        assert program.status()["sharing"] is False
        program.command("status")
        program.wait_for_line("\nNot sharing")
    return expect


@pytest.mark.parametrize("behaviour", [{"error": "org.freedesktop.DBus.Error.AccessDenied"}])
def test_a_listing_that_is_refused(start_on_portal, behaviour):
    program, _ = start_on_portal({"GetAll": behaviour})
    program.wait_for_line(f"shareable content failed: {NO_SHARING}", source="stderr")


def test_a_listing_that_is_never_answered(start_on_portal):
    program, _ = start_on_portal({"GetAll": "silent"})
    program.command("status")
    program.wait_for_line("Not sharing")
    program.wait_for_line(f"shareable content failed: {NO_SHARING}", GIVEN_UP_WITHIN, "stderr")


@pytest.mark.parametrize("properties", [
    [],
    [["version", "u", 4]],
    [["AvailableSourceTypes", "s", "screens"], ["version", "s", "four"]],
    [["AvailableSourceTypes", "u", 4]],
    [["AvailableSourceTypes", "a{sv}", {}]],
])
def test_a_portal_that_offers_nothing_that_is_known(start_on_portal, properties):
    program, _ = start_on_portal({"properties": properties})
    program.wait_for_line("sources: 0 displays, 0 windows, 0 apps", source="stderr")


def test_a_portal_of_the_future(start_on_portal):
    program, _ = start_on_portal({"properties": [
        ["AvailableSourceTypes", "u", 0xFFFFFFFF], ["AvailableCursorModes", "u", 0xFFFFFFFF],
        ["version", "u", 99], ["Colour", "(iiu)", (1, 2, 3)], ["Names", "as", ["a", "b"]]]})
    program.wait_for_line("sources: 1 displays, 1 windows, 0 apps", source="stderr")


@pytest.mark.parametrize("method", ["CreateSession", "SelectSources", "Start"])
@pytest.mark.parametrize("behaviour, reason", [
    ({"error": "org.freedesktop.portal.Error.Failed"}, NOT_STARTED),
    ({"code": 2}, NOT_STARTED),
    ({"code": 4294967295}, NOT_STARTED),
])
def test_a_request_that_fails(sharing_fails, method, behaviour, reason):
    sharing_fails({method: behaviour}, reason)


def test_a_desktops_part_that_is_just_being_started(start_on_portal):
    """GNOME 43 replies like this at that time, and after another program's dialog made it crash."""
    program, fake = start_on_portal({"CreateSession": [{"code": 2}, {"code": 2}, {}],
                                     "Start": {"code": 1}}, "--share", SCREEN)
    program.wait_for_line("startCapture failed .*Operation canceled", source="stderr")
    assert fake.stdout.split().count("CreateSession") == 3
    assert NOT_STARTED not in program.stdout


def test_what_waits_for_a_desktops_part_can_be_given_up(start_on_portal):
    program, fake = start_on_portal({"CreateSession": {"code": 2}}, "--share", SCREEN)
    eventually(lambda: "CreateSession" in fake.stdout, LIMIT, "it was asked")
    program.command("stop")
    program.terminate()
    assert program.wait(LIMIT) == 0
    assert NOT_STARTED not in program.stdout


def test_a_token_that_did_not_keep_the_desktop_from_asking_is_gone(start_on_portal):
    stream = [["streams", "a(ua{sv})", [[42, {}]]], ["restore_token", "s", "once"]]
    program, _ = start_on_portal({"Start": [{"results": stream}, {"code": 1}],
                                  "media server": "closed"}, "--share", SCREEN)
    program.wait_for_line(NO_MEDIA_SERVER)
    program.command("sources")
    program.wait_for_line(r"Screen \(the last one chosen\)")
    program.command(f"share {SCREEN}")
    program.wait_for_line("startCapture failed .*Operation canceled", source="stderr")
    program.command("sources")
    program.wait_for_line(f"{SCREEN}\tScreen \\(chosen in the desktop's dialog\\)")


@pytest.mark.parametrize("results", [
    [], [["session_handle", "u", 7]], [["session_handle", "s", ""]],
    [["session_handle", "s", "not a path"]], [["session_handle", "s", "/" + "x" * 100000 + "//"]],
])
def test_a_session_without_a_path(sharing_fails, results):
    sharing_fails({"CreateSession": {"results": results}}, NO_SENSE)


@pytest.mark.parametrize("results", [
    [], [["streams", "s", "none"]], [["streams", "a(ua{sv})", []]], [["streams", "au", [42]]],
    [["streams", "a(ux)", [(42, 1)]]],
])
def test_a_share_without_a_stream(sharing_fails, results):
    sharing_fails({"Start": {"results": results}}, NOT_STARTED)


@pytest.mark.parametrize("method", ["CreateSession", "Start"])
def test_a_request_that_is_never_taken(sharing_fails, method):
    sharing_fails({method: "silent"}, NOT_STARTED, GIVEN_UP_WITHIN)


@pytest.mark.parametrize("method", ["CreateSession", "SelectSources", "Start"])
def test_a_response_that_never_comes_can_be_given_up(start_on_portal, method):
    program, fake = start_on_portal({method: "no response"}, "--share", SCREEN)
    eventually(lambda: method in fake.stdout.split(), LIMIT, "it was asked")
    program.command("stop")
    program.command("status")
    program.wait_for_line("Not sharing")
    assert program.status()["sharing"] is False


@pytest.mark.parametrize("kind", ["nothing", "closed", "garbage", "silent"])
def test_a_media_server_that_is_none(sharing_fails, kind):
    sharing_fails({"media server": kind}, NO_MEDIA_SERVER)


def test_a_media_server_that_is_refused(sharing_fails):
    sharing_fails({"OpenPipeWireRemote": {"error": "org.freedesktop.portal.Error.NotAllowed"}},
                  NO_MEDIA_SERVER)


def test_a_refusal_says_nothing(start_on_portal):
    program, fake = start_on_portal({"Start": {"code": 1}}, "--share", SCREEN)
    program.wait_for_line("startCapture failed", source="stderr")
    program.command("status")
    program.wait_for_line("Not sharing")
    assert "anceled" not in program.stdout
