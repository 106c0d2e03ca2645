"""The stream that the page requests: only what changed."""
import pytest

from harness import http
from harness.program import display_ids
from harness.tiles import TileViewer
from harness.viewer import FOR_A_SCRIPT, HEAD, TILES, Viewer
from harness.waiting import LIMIT, eventually

WIDTH, HEIGHT = 800, 600
ALL = list(range(7 * 38))
STILL = 1.2  # longer than until a picture is sharp


@pytest.fixture
def viewer(sharing):
    with TileViewer(sharing.address) as viewer:
        yield viewer


@pytest.fixture
def sharp(viewer):
    """The viewer, who has the whole picture."""
    viewer.last_update()
    return viewer


def test_the_head_and_the_first_update(sharing):
    with http.connect(sharing.address) as connection:
        connection.sendall(http.request("GET", "/stream", f"Accept: {TILES}"))
        expected = (HEAD % FOR_A_SCRIPT
                    + b"--tarvinelframe\r\nContent-Type: application/x-tarvinel-tiles\r\nContent-Length: ")
        received = b""
        while len(received) < len(expected):
            received += connection.recv(len(expected) - len(received))
        assert received == expected


@pytest.mark.parametrize("value", ["image/*", f"{TILES}, */*", TILES.upper(), f"{TILES};q=1"])
def test_any_other_value_means_frames(sharing, value):
    with Viewer(sharing.address, headers=[f"Accept: {value}"]) as viewer:
        viewer.next_frame()


def test_who_joins_gets_every_tile_sharp(viewer):
    update = viewer.next_update()
    assert update.start == 0
    assert update.size == (WIDTH, HEIGHT)
    assert update.settled == ALL


def test_a_keystroke_costs_some_hundred_bytes_and_nothing_follows(sharp, canvas):
    canvas.draft_slide(1)
    canvas.show()
    sharp.last_update()
    canvas.write("a", 300, 12)
    update = sharp.next_update()
    assert update.settled == [2]
    assert update.motion == []
    assert sharp.last_size < 500
    assert not sharp.readable(STILL)


def test_keystrokes_continue_one_another(sharp, canvas):
    canvas.write("a", 300, 12)
    before = sharp.next_update()
    for letter in "bcd":
        canvas.write(letter, 300, 12)
        update = sharp.next_update()
        assert update.start == before.end
        before = update


def test_a_large_change_is_sharp_once_it_is_still(sharp, canvas):
    canvas.text(5)
    update = sharp.next_update()
    assert len(update.motion) > len(ALL) / 2
    sharp.last_update()


def test_a_scroll_costs_only_what_it_reveals(sharp, canvas):
    canvas.text(2)
    sharp.last_update()
    with canvas.at_once():
        canvas.scroll_part(0, 96, 800, 400, 24)
    update = sharp.next_update()
    assert sum(width * height for _, _, width, height, _ in update.moves) > 800 * 400 * 0.8
    assert {y - before for _, y, _, _, before in update.moves} == {-24}
    revealed = update.tiles
    assert len(revealed) <= 4 * 7
    assert sharp.last_update().tiles == revealed  # sharply


def test_who_joins_after_a_scroll_gets_every_tile(sharp, sharing, canvas):
    canvas.text(2)
    sharp.last_update()
    with canvas.at_once():
        canvas.scroll_part(0, 96, 800, 400, 24)
    assert sharp.next_update().moves
    with TileViewer(sharing.address) as late:
        update = late.next_update()
        assert (update.start, update.tiles) == (0, ALL)


def test_a_viewer_who_does_not_read_gets_the_newest_only(sharing, canvas):
    with TileViewer(sharing.address, connection=http.connect(sharing.address, 4096)) as slow, \
            TileViewer(sharing.address) as quick:
        quick.last_update()
        for seed in range(2, 8):
            canvas.text(seed)
            newest = quick.last_update().end
        updates = []
        while not updates or updates[-1].end != newest:
            updates.append(slow.next_update())
        assert len(updates) <= 3
        assert not slow.blurred


def test_both_kinds_of_viewers_at_once(sharp, sharing, canvas):
    with Viewer(sharing.address) as plain:
        plain.next_frame()
        assert sharing.viewers() == 2
        canvas.text(3)
        plain.next_frame()
        sharp.next_update()


def test_the_end_of_a_share_shows_the_card_and_the_next_one_begins_anew(sharp, sharing, x, tmp_path):
    sharing.command("stop")
    content_type, card = sharp.next_body()
    assert content_type == "image/jpeg"
    assert card.startswith(b"\xff\xd8")
    with TileViewer(sharing.address) as late:
        assert not late.readable(STILL)
    sharing.share(display_ids(tmp_path, x)[0])
    update = sharp.next_update()
    assert update.start == 0
    assert update.tiles == ALL


def test_a_change_of_size_is_a_whole_picture(sharp, x):
    x.resize(640, 480)
    update = sharp.next_update()
    while update.size != (640, 480):
        update = sharp.next_update()
    assert update.start == 0
    assert update.tiles == list(range(5 * 30))


def test_who_comes_after_nobody_watched_gets_everything_sharp_at_once(sharing, canvas):
    with TileViewer(sharing.address) as viewer:
        viewer.last_update()
    eventually(lambda: sharing.viewers() == 0, LIMIT, "the viewer has left")
    canvas.text(6)
    with TileViewer(sharing.address) as viewer:
        assert viewer.next_update().settled == ALL
