"""Screens and windows as mutter delivers them: without damage, and a window as a crop of a larger
picture."""
import pytest

from harness import pixels
from harness.pixels import is_about
from harness.viewer import Viewer
from harness.wayland.mutter import CURSOR_EMBEDDED, CURSOR_HIDDEN, MutterSession

SCREEN, WINDOW = "display-1", "window-1"
RED, GREEN, BLUE, GREY = (255, 0, 0), (0, 255, 0), (0, 0, 255), (128, 128, 128)
WHITE = (255, 255, 255)
WIDTH, HEIGHT = 400, 300  # size of the window
GONE = "the desktop ended it, or it is gone"
POINTER = 16  # its width and height


@pytest.fixture
def session():
    with MutterSession() as made:
        yield made


@pytest.fixture
def window(session):
    made = session.window(WIDTH, HEIGHT)
    made.paint(RED, GREEN, BLUE, GREY)
    return made


@pytest.fixture
def cast(session, window):
    """A screen cast, which is created after the window."""
    return session.cast()


def share(session, cast, source):
    node = cast.share_monitor() if source == SCREEN else cast.share_window()
    session.backend.approve(node, cast.announced_size())
    program = session.program("--share", source)
    program.wait_until_sharing()
    return program


def place_of(jpeg, colour):
    return pixels.place_of(pixels.decode(jpeg), colour)


def size_of(jpeg):
    return pixels.decode(jpeg).shape[1::-1]


def quarters_of(width, height, left=0, top=0):
    return {RED: (left, top, left + width // 2, top + height // 2),
            GREEN: (left + width // 2, top, left + width, top + height // 2),
            BLUE: (left, top + height // 2, left + width // 2, top + height),
            GREY: (left + width // 2, top + height // 2, left + width, top + height)}


def shows_quarters(jpeg, *place):
    return all(is_about(place_of(jpeg, colour), quarter)
               for colour, quarter in quarters_of(*place).items())


def rest(viewer):
    """Reads frames until no more follow."""
    while viewer.readable(1.5):
        viewer.next_frame()


def painted(window, *colours):
    """Returns a function that paints the window. It has to be repeated until the viewer sees the
    result, because mutter skips a frame while the media server is busy with the one before."""
    return lambda: window.paint(*colours)


def moved(cast, x, y):
    """Returns a function that moves the pointer, which has to be repeated in the same way."""
    def move():
        cast.move_pointer(x + 1, y)
        cast.move_pointer(x, y)
    return move


def expect_end(program, reason):
    program.wait_for_line(f"Sharing stopped: {reason}")
    program.wait_until_sharing(False)
    assert program.running()


def expect_window(viewer, window, width=WIDTH, height=HEIGHT):
    """Waits until the viewer sees the window and nothing else."""
    return viewer.frame_after(
        painted(window, RED, GREEN, BLUE, GREY),
        lambda jpeg: size_of(jpeg) == (width, height) and shows_quarters(jpeg, width, height))


def expect_pointer(viewer, cast, x, y):
    viewer.frame_after(moved(cast, x, y), lambda jpeg: is_about(
        place_of(jpeg, WHITE), (x, y, x + POINTER, y + POINTER)))


def test_the_screen_is_seen_in_its_size_and_colours(session, window, cast):
    program = share(session, cast, SCREEN)
    with Viewer(program.address) as viewer:
        viewer.frame_after(painted(window, RED, GREEN, BLUE, GREY),
                           lambda jpeg: place_of(jpeg, RED))
        jpeg = viewer.last_frame()
        left, top, _, _ = place_of(jpeg, RED)
        assert size_of(jpeg) == (session.width, session.height)
        assert shows_quarters(jpeg, WIDTH, HEIGHT, left, top)
        right_bottom = (left + WIDTH // 2, top + HEIGHT // 2, left + WIDTH, top + HEIGHT)
        viewer.frame_after(painted(window, GREY, BLUE, GREEN, RED),
                           lambda jpeg: is_about(place_of(jpeg, RED), right_bottom))


def test_pictures_that_are_the_same_send_nothing(session, window, cast):
    program = share(session, cast, SCREEN)
    with Viewer(program.address) as viewer:
        viewer.frame_after(painted(window, GREEN), lambda jpeg: place_of(jpeg, GREEN))
        rest(viewer)
        for _ in range(20):
            window.paint(GREEN)
        assert not viewer.readable(1.5)


def test_a_window_is_seen_and_nothing_else(session, window, cast):
    program = share(session, cast, WINDOW)
    with Viewer(program.address) as viewer:
        expect_window(viewer, window)


@pytest.mark.parametrize("size", [(700, 560), (600, 200), (200, 150)])
def test_a_window_is_followed_to_another_size(session, window, cast, size):
    program = share(session, cast, WINDOW)
    with Viewer(program.address) as viewer:
        expect_window(viewer, window)
        window.resize(*size)
        expect_window(viewer, window, *size)


def test_what_lies_over_a_window_is_not_seen(session, window, cast):
    program = share(session, cast, WINDOW)
    with Viewer(program.address) as viewer:
        expect_window(viewer, window)
        session.window(WIDTH, HEIGHT).paint(WHITE)
        jpeg = viewer.frame_after(
            painted(window, GREEN),
            lambda jpeg: is_about(place_of(jpeg, GREEN), (0, 0, WIDTH, HEIGHT)))
        assert place_of(jpeg, WHITE) is None


def test_the_pointer_is_seen_where_it_is(session, window, cast):
    program = share(session, cast, WINDOW)
    with Viewer(program.address) as viewer:
        expect_window(viewer, window)
        expect_pointer(viewer, cast, 100, 50)
        expect_pointer(viewer, cast, 30, 200)
        viewer.frame_after(moved(cast, WIDTH + 50, HEIGHT + 50),
                           lambda jpeg: shows_quarters(jpeg, WIDTH, HEIGHT))


def test_the_pointer_on_a_screen_is_seen_where_it_is(session, window, cast):
    program = share(session, cast, SCREEN)
    with Viewer(program.address) as viewer:
        expect_pointer(viewer, cast, session.width // 2 + 20, session.height // 2 + 30)


@pytest.mark.parametrize("mode, seen", [(CURSOR_EMBEDDED, True), (CURSOR_HIDDEN, False)])
def test_a_pointer_that_is_in_the_picture_or_nowhere(session, window, mode, seen):
    cast = session.cast(mode)
    program = share(session, cast, WINDOW)
    at = (100, 50, 100 + POINTER, 50 + POINTER)

    def act():
        moved(cast, 100, 50)()
        window.paint(RED)

    with Viewer(program.address) as viewer:
        viewer.frame_after(act, lambda jpeg: is_about(place_of(jpeg, RED), (0, 0, WIDTH, HEIGHT))
                           and (is_about(place_of(jpeg, WHITE), at) if seen
                                else place_of(jpeg, WHITE) is None))


def test_closing_the_window_ends_the_share(session, window, cast):
    program = share(session, cast, WINDOW)
    window.close()
    expect_end(program, GONE)


def test_the_desktop_ends_the_share(session, window, cast):
    program = share(session, cast, SCREEN)
    cast.stop()
    expect_end(program, GONE)
    cast = session.cast()
    session.backend.approve(cast.share_monitor())
    program.share(SCREEN)
    with Viewer(program.address) as viewer:
        viewer.frame_after(painted(window, RED), lambda jpeg: place_of(jpeg, RED))


def test_mutter_dies_while_sharing(session, cast):
    program = share(session, cast, SCREEN)
    session.compositor.kill()
    expect_end(program, GONE)
