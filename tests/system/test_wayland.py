"""A Wayland desktop's screen, shared through the desktop's portal."""
import contextlib
import json
import re

import numpy
import pytest

from harness import pixels
from harness.viewer import Viewer
from harness.waiting import LIMIT, eventually
from harness.wayland.sway import OUTPUT, SwaySession

SCREEN = "display-1"
ANOTHER = "display-2"
TITLE = "Screen (chosen in the desktop's dialog)"
RED, GREEN, BLUE = (255, 0, 0), (0, 255, 0), (0, 0, 255)


@pytest.fixture
def session():
    with SwaySession() as made:
        yield made


def show(session, colour):
    session.show("#%02x%02x%02x" % colour)


def is_filled(jpeg, colour):
    picture = pixels.decode(jpeg).astype(int)
    return abs(picture - colour).max() <= 3


def sees(session, viewer, colour):
    """Fills the screen with a colour and waits until the viewer sees it."""
    show(session, colour)
    return viewer.frame_where(lambda jpeg: is_filled(jpeg, colour))


def saved_token(session):
    preferences = session.folder / "config/Tarvinel/preferences.json"
    if not preferences.exists():
        return None
    return json.loads(preferences.read_text()).get("PortalRestoreTokenDisplay")


@pytest.fixture
def sharing(session):
    program = session.program("--share", SCREEN)
    program.wait_until_sharing()
    return program


def expect_end(program, reason):
    """Waits until the share has ended for this reason, and checks that the program still runs."""
    program.wait_for_line(f"Sharing stopped: {reason}")
    program.wait_until_sharing(False)
    assert program.running()


def test_the_screen_is_seen_in_its_size_and_colours(session, sharing):
    with Viewer(sharing.address) as viewer:
        for colour in (RED, GREEN, BLUE):
            jpeg = sees(session, viewer, colour)
            assert pixels.decode(jpeg).shape == (session.height, session.width, 3)


def test_a_still_screen_sends_nothing(session, sharing):
    with Viewer(sharing.address) as viewer:
        sees(session, viewer, RED)
        expect_rest(sharing, viewer)


def expect_rest(program, viewer):
    """Waits until the program sends nothing and uses no processor time."""
    while viewer.readable(1.5):
        viewer.next_frame()
    before = program.cpu_seconds()
    assert not viewer.readable(3)
    assert program.cpu_seconds() - before < 0.03


def test_a_terminal_is_seen_as_it_is_and_costs_nothing_at_rest(session, sharing):
    """The picture is compared with the compositor's own screenshot."""
    session.terminal()
    empty = ink(session.screenshot())
    with Viewer(sharing.address) as viewer:
        session.type("quick amber signal")
        viewer.frame_where(lambda jpeg: ink(pixels.decode(jpeg)) > empty + 150
                           and pixels.same(pixels.decode(jpeg), session.screenshot()))
        expect_rest(sharing, viewer)
    with Viewer(sharing.address) as late:
        seen = pixels.decode(late.next_frame())
    pixels.save(seen, pixels.SCREENSHOTS / "terminal-at-sway.png")
    assert pixels.same(seen, session.screenshot())


def ink(picture):
    """Returns the number of bright pixels."""
    return (picture.min(axis=2) > 150).sum()


def test_the_pointer_is_seen_and_its_movements_are_motion(session, sharing):
    show(session, BLUE)
    with contextlib.closing(session.pointer()) as pointer, Viewer(sharing.address) as viewer:
        for place in ((200, 150), (600, 400), (620, 410)):
            pointer.move(*place)
            viewer.frame_where(lambda jpeg: has_pointer_at(pixels.decode(jpeg), place))
        expect_rest(sharing, viewer)


def has_pointer_at(picture, place):
    """Returns whether an arrow with its tip there is the only thing that is not blue."""
    rows, columns = numpy.nonzero(abs(picture.astype(int) - BLUE).max(axis=2) > 100)
    if not len(rows):
        return False
    left, top = columns.min(), rows.min()
    return max(abs(left - place[0]), abs(top - place[1])) <= 3 and \
        columns.max() - left < 40 and rows.max() - top < 40


def test_the_session_chooses_the_portal_and_lists_without_a_dialog(session):
    program = session.program()
    program.wait_for_line("Capturing what this Wayland desktop's own dialog offers.")
    program.command("sources")
    program.wait_for_line(f"\n{SCREEN}.*{re.escape(TITLE)}")
    assert session.dialogs() == 0
    assert program.status()["sharing"] is False


def test_list_sources(session):
    program = session.program("--list-sources", "--capture", "portal", headless=False)
    assert program.wait(LIMIT) == 0
    assert program.stdout == f"{SCREEN}\t{TITLE}\n"
    assert session.dialogs() == 0


def test_a_second_share_needs_no_dialog(session, sharing):
    sharing.command("stop")
    sharing.wait_until_sharing(False)
    sharing.share(SCREEN)
    assert session.dialogs() == 1
    with Viewer(sharing.address) as viewer:
        sees(session, viewer, GREEN)


def test_another_run_needs_no_dialog(session, sharing):
    eventually(lambda: saved_token(session), LIMIT, "there is a token")
    sharing.terminate()
    assert sharing.wait(LIMIT) == 0
    again = session.program("--share", SCREEN, name="again")
    again.wait_until_sharing()
    assert session.dialogs() == 1
    with Viewer(again.address) as viewer:
        sees(session, viewer, GREEN)


@pytest.mark.parametrize("token", ["nonsense", "00000000-1111-2222-3333-444444444444"])
def test_a_token_that_means_nothing_opens_the_dialog(session, token):
    session.write("config/Tarvinel/preferences.json", f'{{"PortalRestoreTokenDisplay": "{token}"}}')
    program = session.program("--share", SCREEN)
    program.wait_until_sharing()
    assert session.dialogs() == 1
    eventually(lambda: saved_token(session) not in (None, token), LIMIT, "there is a new token")


def test_a_refusal_leaves_things_as_they_were(session):
    session.choose_output("")
    program = session.program("--share", SCREEN)
    program.wait_for_line("startCapture failed", source="stderr")
    program.command("status")
    eventually(lambda: program.stdout.count("Not sharing") > 1, LIMIT, "it tells the status")
    assert program.status()["sharing"] is False
    assert "anceled" not in program.stdout and "stopped" not in program.stdout
    session.choose_output(OUTPUT)
    program.share(SCREEN)
    assert session.dialogs() == 2


def test_another_screen_is_asked_for_again(session, sharing):
    sharing.command("stop")
    sharing.wait_until_sharing(False)
    sharing.command("sources")
    sharing.wait_for_line(rf"\n{SCREEN}.*Screen \(the last one chosen\)")
    sharing.share(ANOTHER)
    assert session.dialogs() == 2
    with Viewer(sharing.address) as viewer:
        sees(session, viewer, GREEN)
    sharing.command("sources")
    sharing.command("status")
    eventually(lambda: sharing.stdout.count("Another screen") > 1, LIMIT, "it lists")
    assert sharing.status()["sharing"] is True


def test_a_refusal_while_sharing_leaves_the_share_on(session, sharing):
    with Viewer(sharing.address) as viewer:
        sees(session, viewer, RED)
        session.choose_output("")
        with session.dialog_held_open():  # this backend sends no frames while the dialog is open
            sharing.command(f"share {ANOTHER}")
            eventually(lambda: session.dialogs() == 2, LIMIT, "the dialog is open")
            assert sharing.status()["sharing"] is True
        sharing.wait_for_line("startCapture failed", source="stderr")
        sees(session, viewer, BLUE)
        assert sharing.status()["sharing"] is True
        assert "stopped" not in sharing.stdout


def test_a_dialog_that_is_open_blocks_nothing(session):
    with session.dialog_held_open():
        program = session.program("--share", SCREEN)
        eventually(lambda: session.dialogs() == 1, LIMIT, "the dialog is open")
        program.command("sources")
        program.wait_for_line(f"\n{SCREEN}")
        program.command("stop")
        program.command("status")
        assert program.status()["sharing"] is False
        program.terminate()
        assert program.wait(LIMIT) == 0


def test_the_portal_dies_while_the_dialog_is_open(session):
    with session.dialog_held_open():
        program = session.program("--share", SCREEN)
        eventually(lambda: session.dialogs() == 1, LIMIT, "the dialog is open")
        session.portal.kill()
        program.wait_for_line("the desktop's screen sharing service ended")
    assert program.status()["sharing"] is False


def test_the_portal_dies_while_sharing(session, sharing):
    session.portal.kill()
    expect_end(sharing, "the desktop's screen sharing service ended")
    session.portal = session.start_portal()
    sharing.share(SCREEN)
    with Viewer(sharing.address) as viewer:
        sees(session, viewer, GREEN)


def test_the_back_end_dies_while_sharing(session, sharing):
    session.backend.kill()
    expect_end(sharing, "the desktop ended it")


def test_the_compositor_dies_while_sharing(session, sharing):
    session.compositor.kill()
    expect_end(sharing, "the desktop ended it")


def test_the_media_server_dies_while_sharing(session, sharing):
    session.pipewire.kill()
    expect_end(sharing, r"the desktop's media server \(PipeWire\) ended")


def test_the_media_server_comes_back(session, sharing):
    session.pipewire.kill()
    expect_end(sharing, r"the desktop's media server \(PipeWire\) ended")
    session.session_manager.stop()
    session.backend.stop()
    session.pipewire = session.start_pipewire()
    session.backend = session.start_backend()
    sharing.share(SCREEN)
    with Viewer(sharing.address) as viewer:
        sees(session, viewer, GREEN)


def test_the_bus_dies_while_sharing(session, sharing):
    session.bus.kill()
    expect_end(sharing, "there is no session bus|the desktop")


def test_no_portal(session):
    session.portal.kill()
    program = session.program("--share", SCREEN)
    program.wait_for_line("shareable content failed: this desktop offers no sharing of its screen",
                          source="stderr")
    assert program.status()["sharing"] is False


def test_the_screen_is_resized_while_sharing(session, sharing):
    with Viewer(sharing.address) as viewer:
        sees(session, viewer, RED)
        session.sway("output", OUTPUT, "resolution", "640x480")
        show(session, GREEN)
        eventually(lambda: not sharing.status()["sharing"] or pixels.decode(
            viewer.frame_where(lambda jpeg: is_filled(jpeg, GREEN))).shape == (480, 640, 3),
            LIMIT, "the new size, or the end")
    assert sharing.running()


def test_nothing_is_left_behind_by_shares_that_ended(session, sharing):
    sharing.command("stop")
    sharing.wait_until_sharing(False)
    before = sharing.descriptors()
    for _ in range(5):
        sharing.share(SCREEN)
        sharing.command("stop")
        sharing.wait_until_sharing(False)
    eventually(lambda: sharing.descriptors() <= before, LIMIT, "no descriptor is left")
