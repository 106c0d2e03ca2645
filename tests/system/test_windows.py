"""Single windows and applications are shared even when they are covered; viewers never see anything
else."""
import contextlib
import threading

import pytest

from harness import pixels
from harness.viewer import Viewer
from harness.waiting import LIMIT, eventually
from harness.x11.privacy_viewer import (SECRET, PrivacyViewer, colour_fraction, rgb,
                                        save_screenshot)
from harness.x11.window_managers import KWin, Mutter, PlainKWin, Xfwm4, openbox, picom
from harness.x11.window_owner import sources_on, windows_of

BLUE, GREEN, ORANGE = 0x2040A0, 0x20A040, 0xE08020
DESKTOPS = {"bare": [], "openbox": [openbox], "composited": [openbox, picom], "xfwm4": [Xfwm4],
            "mutter": [Mutter], "kwin": [KWin],
            "plain kwin": [PlainKWin]}


@pytest.fixture(params=DESKTOPS)
def desktop(request, manage):
    """Starts these window and compositing managers on the X server; there may be none."""
    for manager in DESKTOPS[request.param]:
        manage(manager)
    return request.param


def painted_again(owner, viewer, name, colour, x, y):
    """Paints repeatedly, as programs do on expose events, until the viewer sees the colour. It may be
    anywhere in the picture, because a window that has grown is shown smaller while it moves."""
    seen = threading.Event()

    def paint():
        while not seen.is_set():
            owner.paint(name, colour, x, y, 20, 20)
            seen.wait(0.1)

    thread = threading.Thread(target=paint)
    thread.start()
    try:
        return viewer.wait_for(lambda picture: colour_fraction(picture, colour) > 0)
    finally:
        seen.set()
        thread.join()


def test_covered_window(desktop, owner, share):
    mine, other = owner("mine"), owner("other")
    mine.open("document", 100, 100, 400, 300, BLUE)
    other.open("cover", 0, 0, 800, 600, SECRET, 1)
    with PrivacyViewer(share("Owner: document")) as viewer:
        picture = viewer.wait_for_colour(BLUE, 200, 150)
        assert picture.shape == (300, 400, 3)
        mine.paint("document", GREEN, 0, 0, 100, 100)
        picture = viewer.wait_for_colour(GREEN, 50, 50)
        assert abs(picture[250, 350] - rgb(BLUE)).max() < 12


def test_nothing_else_is_ever_seen(desktop, owner, share):
    """The shared window has no background, so the server fills it with the contents of the screen."""
    mine, other = owner("mine"), owner("other")
    other.open("below", 0, 0, 800, 600, SECRET, 1)
    mine.open("document", 100, 100, 400, 300, BLUE, 0, 1)
    mine.lift("document")
    mine.paint("document", BLUE, 0, 0, 400, 300)
    other.open("menu", 150, 150, 200, 200, SECRET, 1)
    with PrivacyViewer(share("Owner: document")) as viewer:
        painted_again(mine, viewer, "document", GREEN, 0, 0)
        sizes = [(500, 350), (300, 400), (600, 200), (450, 420)]
        for step, (width, height) in enumerate(sizes):
            mine.place("document", 40 + 30 * step, 60, width, height)
            other.place("menu", 100 + 40 * step, 100, 250, 250)
            other.lift("below")
            other.open(f"popup {step}", 60, 60, 300, 300, SECRET, 1)
            colour = (ORANGE, GREEN)[step % 2]
            mine.paint("document", BLUE, 0, 0, width, height)
            painted_again(mine, viewer, "document", colour, 20 + 40 * step, 40)
            other.close(f"popup {step}")
            mine.lift("document")
        viewer.wait_for(lambda picture: picture.shape == (420, 450, 3))


def test_partly_off_the_screen(desktop, owner, share):
    mine = owner("mine")
    mine.open("document", 100, 100, 400, 300, BLUE)
    program = share("Owner: document")
    with PrivacyViewer(program) as viewer:
        viewer.wait_for_colour(BLUE, 10, 10)
        mine.place("document", 600, 450, 400, 300)
        picture = painted_again(mine, viewer, "document", GREEN, 370, 270)
        assert picture.shape == (300, 400, 3)


@pytest.mark.parametrize("desktop", ["xfwm4", "mutter", "kwin"], indirect=True)
def test_whole_display_that_is_composed(desktop, x, owner, share):
    mine = owner("mine")
    mine.open("document", 100, 100, 400, 300, BLUE)
    program = share("Display 1 (main) 800×600")
    mine.pointer(x.width - 1, x.height - 1)
    with Viewer(program.address) as viewer:
        for colour in (GREEN, ORANGE):
            mine.paint("document", colour, 0, 0, 400, 300)
            viewer.frame_where(lambda jpeg: colour_fraction(pixels.decode(jpeg), colour) > 0.2
                               and pixels.same(pixels.decode(jpeg), pixels.grab(x)))
    with Viewer(program.address) as late:
        assert pixels.same(pixels.decode(late.last_frame()), pixels.grab(x))


@pytest.mark.parametrize("desktop", ["openbox", "composited", "xfwm4", "mutter", "kwin",
                                     "plain kwin"], indirect=True)
def test_minimised_and_restored(desktop, x, owner, share):
    mine, other = owner("mine"), owner("other")
    mine.open("document", 100, 100, 400, 300, BLUE)
    other.open("below", 0, 0, 800, 600, SECRET)
    program = share("Owner: document")
    with PrivacyViewer(program) as viewer:
        viewer.wait_for_colour(BLUE, 200, 150)
        mine.hide("document")
        program.command("sources")
        program.wait_for_line("window-[0-9]+\tOwner: document")
        assert program.status()["sharing"]
        with PrivacyViewer(program) as late:
            late.wait_for_colour(BLUE, 200, 150)
        mine.show("document")
        painted_again(mine, viewer, "document", GREEN, 30, 30)


def test_closing_ends_the_share(desktop, owner, share, x, tmp_path):
    mine = owner("mine")
    mine.open("document", 100, 100, 400, 300, BLUE)
    program = share("Owner: document")
    with PrivacyViewer(program) as viewer:
        viewer.wait_for_colour(BLUE, 200, 150)
        mine.close("document")
        program.wait_for_line("Sharing stopped: the window was closed")
        program.wait_until_sharing(False)
    assert not windows_of(sources_on(x, tmp_path), "Owner: document")


def test_application_with_menu_and_dialog(desktop, owner, share):
    mine, other = owner("mine"), owner("other")
    mine.open("document", 100, 80, 400, 300, BLUE)
    other.open("below", 0, 0, 800, 600, SECRET, 1)
    program = share("Owner (app)")
    with PrivacyViewer(program) as viewer:
        picture = viewer.wait_for(lambda seen: colour_fraction(seen, BLUE) > 0.2)
        assert picture.shape == (600, 800, 3)
        mine.open("menu", 110, 110, 150, 200, ORANGE, 1)
        viewer.wait_for_colour(ORANGE, 150, 200)
        other.lift("below")
        mine.open("dialog", 300, 250, 250, 200, GREEN)
        with_dialog = viewer.wait_for(lambda seen: colour_fraction(seen, GREEN) > 0.05)
        save_screenshot(with_dialog, f"application-{desktop}")
        rest = 1 - sum(colour_fraction(with_dialog, colour) for colour in (BLUE, ORANGE, GREEN))
        assert colour_fraction(with_dialog, 0) > 0.9 * rest
        mine.close("menu")
        viewer.wait_for(lambda seen: colour_fraction(seen, ORANGE) == 0)
        mine.close("dialog")
        mine.close("document")
        program.wait_for_line("Sharing stopped: the application was closed")


@pytest.mark.parametrize("desktop", ["openbox", "xfwm4", "mutter", "kwin",
                                     "plain kwin"], indirect=True)
def test_what_the_presenter_put_away_is_not_seen(desktop, x, owner, share, tmp_path):
    """Some window managers leave minimised windows and those of other workspaces mapped."""
    mine = owner("mine")
    mine.open("document", 50, 50, 300, 200, BLUE)
    mine.open("notes", 420, 300, 300, 200, ORANGE)
    program = share("Owner (app)")
    with PrivacyViewer(program) as viewer:
        viewer.wait_for(lambda seen: colour_fraction(seen, BLUE) > 0.1
                        and colour_fraction(seen, ORANGE) > 0.1)
        mine.hide("notes")
        viewer.wait_for(lambda seen: colour_fraction(seen, BLUE) > 0.1 and colour_fraction(seen, ORANGE) == 0)
        x.run("xdotool", "search", "--name", "^notes$", "windowactivate")
        viewer.wait_for(lambda seen: colour_fraction(seen, ORANGE) > 0.1)
        x.run("xdotool", "set_desktop", "1")
        viewer.wait_for(lambda seen: colour_fraction(seen, BLUE) == 0 == colour_fraction(seen, ORANGE))
        assert "Owner: notes" not in sources_on(x, tmp_path).values()
        x.run("xdotool", "set_desktop", "0")
        viewer.wait_for(lambda seen: colour_fraction(seen, BLUE) > 0.1
                        and colour_fraction(seen, ORANGE) > 0.1)


def test_compositing_manager_comes_and_goes(manage, owner, share):
    manage(openbox)
    mine, other = owner("mine"), owner("other")
    mine.open("document", 100, 100, 400, 300, BLUE)
    other.open("cover", 0, 0, 800, 600, SECRET, 1)
    program = share("Owner: document")
    with PrivacyViewer(program) as viewer:
        viewer.wait_for_colour(BLUE, 200, 150)
        for step in range(2):
            manager = manage(picom)
            painted_again(mine, viewer, "document", GREEN, 0, 0)
            manager.kill() if step else manager.stop()
            painted_again(mine, viewer, "document", ORANGE, 0, 0)
    assert program.status()["sharing"]


@pytest.mark.parametrize("window_manager", [openbox, Xfwm4, Mutter, KWin])
def test_window_manager_restarts(window_manager, manage, owner, share):
    mine = owner("mine")
    mine.open("document", 100, 100, 400, 300, BLUE)
    program = share("Owner: document")
    with PrivacyViewer(program) as viewer:
        viewer.wait_for_colour(BLUE, 200, 150)
        for step in range(2):
            manager = manage(window_manager)
            painted_again(mine, viewer, "document", GREEN, 0, 0)
            manager.kill()
            painted_again(mine, viewer, "document", ORANGE, 0, 0)
    assert program.status()["sharing"]


def test_list_is_right_soon_after_a_change(start, x, owner, tmp_path):
    mine = owner("mine")
    program = start("--capture", "x11", display=x.name)
    mine.open("late", 100, 100, 400, 300, BLUE)

    def listed():
        program.command("sources")
        return "Owner: late" in program.stdout

    eventually(listed, LIMIT, "the new window is listed", every=0.5)


def test_two_hundred_windows_with_any_title(x, owner, tmp_path):
    mine = owner("mine")
    mine.many(200)
    titles = {"invalid": b"a\xff\xfeb", "long": b"x" * 10240, "controls": b"one\ntwo\x1b[31m\tthree"}
    for name, raw in titles.items():
        mine.open(name, 0, 0, 300, 200, BLUE)
        mine.title(name, raw.hex())
    found = sources_on(x, tmp_path)
    assert sum(title.startswith("Owner: many ") for title in found.values()) == 200
    assert "Owner: a\ufffd\ufffdb" in found.values()
    assert "Owner: " + "x" * 200 + "…" in found.values()
    assert "Owner: one two [31m three" in found.values()
    assert sum(title == "Owner (app)" for title in found.values()) == 1
    menu = list(found)
    assert [identifier.partition("-")[0] for identifier in menu] == \
        ["display"] + ["app"] + ["window"] * 203
    numbers = [int(title.rpartition(" ")[2]) for title in found.values()
               if title.startswith("Owner: many ")]
    assert numbers == list(range(200))


def test_own_and_small_windows_are_not_listed(x, owner, tmp_path):
    mine = owner("mine")
    mine.open("just large enough", 0, 0, 200, 150, BLUE)
    mine.open("too narrow", 0, 0, 199, 400, BLUE)
    mine.open("menu", 0, 0, 300, 300, BLUE, 1)
    titles = list(sources_on(x, tmp_path).values())
    assert "Owner: just large enough" in titles
    assert not {"Owner: too narrow", "Owner: menu"} & set(titles)


def test_a_minimised_window_is_shared_by_its_program_too(manage, start, x, owner, tmp_path):
    manage(openbox)
    mine = owner("mine")
    mine.open("document", 100, 100, 400, 300, BLUE)
    program = start("--capture", "x11", display=x.name)
    identifier = eventually(lambda: windows_of(sources_on(x, tmp_path), "Owner (app)"), LIMIT,
                            "it is listed")[0]
    program.command(f"share {identifier}")
    program.wait_until_sharing()
    mine.hide("document")
    program.command(f"share {identifier}")
    program.command("sources")
    program.wait_for_line(f"{identifier}\tOwner \\(app\\)")
    assert program.status()["sharing"]
    mine.close("document")
    program.wait_for_line("Sharing stopped: ")
    assert not program.status()["sharing"]


def test_windows_beyond_the_coordinates_leave_the_x_server_alone(start, x, owner, tmp_path):
    mine = owner("mine")
    mine.open("document", 100, 100, 400, 300, BLUE)
    mine.open("huge", 0, 0, 40000, 300, SECRET)
    program = start("--capture", "x11", display=x.name)
    titles = sources_on(x, tmp_path)
    assert not windows_of(titles, "Owner: huge")
    program.command(f"share {windows_of(titles, 'Owner (app)')[0]}")
    program.wait_until_sharing()
    with PrivacyViewer(program) as viewer:
        viewer.wait_for_colour(BLUE, 200, 150)
    assert sources_on(x, tmp_path) == titles


def test_a_window_gone_since_the_list(start, x, owner, tmp_path):
    mine = owner("mine")
    mine.open("document", 100, 100, 400, 300, BLUE)
    program = start("--capture", "x11", display=x.name)
    identifier = windows_of(sources_on(x, tmp_path), "Owner: document")[0]
    program.command("sources")
    program.wait_for_line("Owner: document")
    mine.close("document")
    program.command(f"share {identifier}")
    program.wait_for_line('No source "window-')
    assert not program.status()["sharing"]


def test_still_window_costs_nothing(owner, share):
    mine = owner("mine")
    mine.open("document", 100, 100, 400, 300, BLUE)
    program = share("Owner: document")
    with contextlib.closing(Viewer(program.address)) as viewer:
        viewer.last_frame()
        before = program.cpu_seconds()
        assert not viewer.readable(3)
        assert program.cpu_seconds() - before < 0.03
