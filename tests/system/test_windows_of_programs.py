"""Windows of real programs, which draw by themselves, are seen as they are on the screen."""
import pytest

from harness import pixels
from harness.waiting import LIMIT, eventually
from harness.x11.privacy_viewer import SECRET, Watcher, amount, keep
from harness.x11.programs import GtkWindow, glxgears, oclock, on_screen, xterm
from harness.x11.window_managers import KWin, PlainKWin, Xfwm4, openbox, picom
from harness.x11.window_owner import sources_on, windows_of

BLUE, GREEN, ORANGE = 0x2040A0, 0x20A040, 0xE08020
# Not mutter: its screen, which is what pictures are compared with, was seen to keep the last picture but
# one of a window that was maximised. It did so without any sharing, too.
DESKTOPS = {"openbox": [openbox], "composited": [openbox, picom], "xfwm4": [Xfwm4], "kwin": [KWin],
            "plain kwin": [PlainKWin]}


@pytest.fixture
def desktop(request, manage, x):
    """The X server with that desktop, its surface black."""
    x.run("xsetroot", "-solid", "black")
    for manager in DESKTOPS[request.param]:
        manage(manager)
    return request.param


@pytest.fixture
def gtk_window(desktop, x, tmp_path, clients):
    """A window whose title bar, corners and shadow are its own."""
    clients.append(GtkWindow(x, tmp_path, BLUE, 400, 300))
    return clients[-1]


@pytest.fixture
def share(share, owner, x):
    """Shares the source with that title, and moves the pointer out of the picture; managers may move
    it while they start."""
    def share_titled(title):
        program = share(title)
        owner("hand").pointer(x.width - 1, x.height - 1)
        return program

    return share_titled


@pytest.fixture
def covered(x, owner):
    """Covers the whole screen: covered()."""
    def cover():
        owner("other").open("cover", 0, 0, x.width, x.height, SECRET, 1)

    return cover


def expect_as_on_screen(watcher, server, identifier, is_drawn):
    """The picture becomes what the screen shows of the window; gives it."""
    return watcher.until_as(lambda: on_screen(server, identifier), is_drawn)


@pytest.mark.parametrize("desktop", DESKTOPS, indirect=True)
def test_window_with_a_title_bar_of_its_own(desktop, gtk_window, x, tmp_path, share, covered):
    """No border is left of its shadow, in no size and in no state."""
    program = share(gtk_window.title)
    identifier = windows_of(sources_on(x, tmp_path), gtk_window.title)[0]
    with Watcher(program) as watcher:
        expect_as_on_screen(watcher, x, identifier, lambda seen: amount(seen, BLUE) > 0.8)
        gtk_window.tell("maximise")
        expect_as_on_screen(watcher, x, identifier, lambda seen: seen.shape == (600, 800, 3))
        gtk_window.tell("restore")
        picture = expect_as_on_screen(watcher, x, identifier, lambda seen: seen.shape[1] < 500)
        keep(picture, f"title-bar-of-its-own-{desktop}")
        covered()
        gtk_window.paint(GREEN)
        watcher.until(lambda seen: amount(seen, GREEN) > 0.8)


@pytest.mark.parametrize("desktop", ["openbox", "xfwm4", "kwin"], indirect=True)
def test_application_with_shadows_of_its_own(desktop, gtk_window, x, share):
    """Its menu, its dialog and its window lie over each other as on the screen."""
    with Watcher(share(gtk_window.application)) as watcher:
        watcher.until(lambda seen: amount(seen, BLUE) > 0.2)
        gtk_window.tell("dialog")
        gtk_window.tell("menu")
        watcher.until_as(lambda: pixels.grab(x), lambda seen: amount(seen, 0xFFFFFF) > 0.005)
        keep(watcher.picture, f"shadows-of-its-own-{desktop}")


@pytest.mark.parametrize("client", [xterm, oclock])
@pytest.mark.parametrize("desktop", ["xfwm4", "kwin"], indirect=True)
def test_covered(desktop, client, x, tmp_path, clients, share, covered):
    drawn = client(x, tmp_path)
    clients.append(drawn.program)
    eventually(lambda: windows_of(sources_on(x, tmp_path), drawn.title), LIMIT, f"{drawn.title} is there")
    program = share(drawn.title)
    identifier = windows_of(sources_on(x, tmp_path), drawn.title)[0]
    with Watcher(program) as watcher:
        wanted = expect_as_on_screen(watcher, x, identifier, drawn.is_drawn)
    covered()
    with Watcher(program) as late:
        late.until(lambda seen: pixels.same(seen, wanted))
        keep(late.picture, f"covered-{client.__name__}")


@pytest.mark.parametrize("desktop", ["openbox", "xfwm4", "kwin"], indirect=True)
def test_drawn_by_opengl(desktop, x, tmp_path, clients, share, covered):
    clients.append(glxgears(x, tmp_path))
    covered()
    with Watcher(share("App: glxgears")) as watcher:
        first = watcher.until(lambda seen: all(part > 0.02 for part in reddish_greenish_bluish(seen)))
        keep(first, f"covered-glxgears-{desktop}")
        watcher.until(lambda seen: not pixels.same(seen, first))


def reddish_greenish_bluish(picture):
    """The shares of the pixels in which one of the primaries has at least twice the others."""
    top = picture.argmax(axis=2)
    others = picture.astype(int).sum(axis=2) - picture.max(axis=2)
    strong = (picture.max(axis=2) > 100) & (others < picture.max(axis=2))
    return [(strong & (top == primary)).mean() for primary in range(3)]
