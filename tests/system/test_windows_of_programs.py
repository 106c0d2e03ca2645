"""Windows of real programs, which draw themselves, look the same as on the screen."""
import pytest

from harness import pixels
from harness.waiting import LIMIT, eventually
from harness.x11.privacy_viewer import SECRET, PrivacyViewer, colour_fraction, save_screenshot
from harness.x11.programs import GtkWindow, glxgears, oclock, on_screen, xterm
from harness.x11.window_managers import KWin, PlainKWin, Xfwm4, openbox, picom
from harness.x11.window_owner import sources_on, windows_of

BLUE, GREEN, ORANGE = 0x2040A0, 0x20A040, 0xE08020
# mutter is left out: pictures are compared with the screen, and mutter's screen sometimes kept an outdated
# picture of a window that was maximised, with and without sharing.
DESKTOPS = {"openbox": [openbox], "composited": [openbox, picom], "xfwm4": [Xfwm4], "kwin": [KWin],
            "plain kwin": [PlainKWin]}


@pytest.fixture
def desktop(request, manage, x):
    """Starts these managers on the X server, with a black root window."""
    x.run("xsetroot", "-solid", "black")
    for manager in DESKTOPS[request.param]:
        manage(manager)
    return request.param


@pytest.fixture
def gtk_window(desktop, x, tmp_path, clients):
    """A window with client-side decorations."""
    clients.append(GtkWindow(x, tmp_path, BLUE, 400, 300))
    return clients[-1]


@pytest.fixture
def share(share, owner, x):
    """Shares the source with that title and moves the pointer out of the picture, because window
    managers may move it while they start."""
    def share_titled(title):
        program = share(title)
        owner("hand").pointer(x.width - 1, x.height - 1)
        return program

    return share_titled


@pytest.fixture
def covered(x, owner):
    """Returns a function that covers the whole screen."""
    def cover():
        owner("other").open("cover", 0, 0, x.width, x.height, SECRET, 1)

    return cover


def expect_as_on_screen(viewer, server, identifier, is_drawn):
    """Waits until the picture is what the screen shows of the window, and returns it."""
    return viewer.wait_until_same(lambda: on_screen(server, identifier), is_drawn)


@pytest.mark.parametrize("desktop", DESKTOPS, indirect=True)
def test_window_with_a_title_bar_of_its_own(desktop, gtk_window, x, tmp_path, share, covered):
    """Its shadow leaves no border, at any size and in any state."""
    program = share(gtk_window.title)
    identifier = windows_of(sources_on(x, tmp_path), gtk_window.title)[0]
    with PrivacyViewer(program) as viewer:
        expect_as_on_screen(viewer, x, identifier, lambda seen: colour_fraction(seen, BLUE) > 0.8)
        gtk_window.execute("maximise")
        expect_as_on_screen(viewer, x, identifier, lambda seen: seen.shape == (600, 800, 3))
        gtk_window.execute("restore")
        picture = expect_as_on_screen(viewer, x, identifier, lambda seen: seen.shape[1] < 500)
        save_screenshot(picture, f"title-bar-of-its-own-{desktop}")
        covered()
        gtk_window.paint(GREEN)
        viewer.wait_for(lambda seen: colour_fraction(seen, GREEN) > 0.8)


@pytest.mark.parametrize("desktop", ["openbox", "xfwm4", "kwin"], indirect=True)
def test_application_with_shadows_of_its_own(desktop, gtk_window, x, share):
    """Its menu, its dialog and its window are stacked as on the screen."""
    with PrivacyViewer(share(gtk_window.application)) as viewer:
        viewer.wait_for(lambda seen: colour_fraction(seen, BLUE) > 0.2)
        gtk_window.execute("dialog")
        gtk_window.execute("menu")
        viewer.wait_until_same(lambda: pixels.grab(x), lambda seen: colour_fraction(seen, 0xFFFFFF) > 0.005)
        save_screenshot(viewer.picture, f"shadows-of-its-own-{desktop}")


@pytest.mark.parametrize("client", [xterm, oclock])
@pytest.mark.parametrize("desktop", ["xfwm4", "kwin"], indirect=True)
def test_covered(desktop, client, x, tmp_path, clients, share, covered):
    drawn = client(x, tmp_path)
    clients.append(drawn.program)
    eventually(lambda: windows_of(sources_on(x, tmp_path), drawn.title), LIMIT, f"{drawn.title} is there")
    program = share(drawn.title)
    identifier = windows_of(sources_on(x, tmp_path), drawn.title)[0]
    with PrivacyViewer(program) as viewer:
        wanted = expect_as_on_screen(viewer, x, identifier, drawn.is_drawn)
    covered()
    with PrivacyViewer(program) as late:
        late.wait_for(lambda seen: pixels.same(seen, wanted))
        save_screenshot(late.picture, f"covered-{client.__name__}")


@pytest.mark.parametrize("desktop", ["openbox", "xfwm4", "kwin"], indirect=True)
def test_drawn_by_opengl(desktop, x, tmp_path, clients, share, covered):
    clients.append(glxgears(x, tmp_path))
    covered()
    with PrivacyViewer(share("App: glxgears")) as viewer:
        first = viewer.wait_for(lambda seen: all(part > 0.02 for part in reddish_greenish_bluish(seen)))
        save_screenshot(first, f"covered-glxgears-{desktop}")
        viewer.wait_for(lambda seen: not pixels.same(seen, first))


def reddish_greenish_bluish(picture):
    """Returns the fractions of the pixels in which red, green and blue dominate."""
    top = picture.argmax(axis=2)
    others = picture.astype(int).sum(axis=2) - picture.max(axis=2)
    strong = (picture.max(axis=2) > 100) & (others < picture.max(axis=2))
    return [(strong & (top == primary)).mean() for primary in range(3)]
