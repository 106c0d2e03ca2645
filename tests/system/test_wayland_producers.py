"""PipeWire producers other than the usual ones, and producers whose metadata is invalid.

The program either shows the right picture or skips the buffer, and it keeps running in every case.
"""
import pytest

from harness import pixels
from harness.pixels import is_about
from harness.program import executable
from harness.viewer import Viewer
from harness.waiting import LIMIT, eventually
from harness.wayland.producer import ProducerSession
from harness.wayland.scripted_portal import METADATA

SCREEN = "display-1"
WIDTH, HEIGHT = 320, 240
BUFFERS = 4  # buffers of a producer
SIZE = f"{WIDTH} {HEIGHT}"
BYTES = WIDTH * HEIGHT * 4
RED, GREEN, BLUE, GREY = (255, 0, 0), (0, 255, 0), (0, 0, 255), (128, 128, 128)
WHITE = (255, 255, 255)
GONE = "the desktop ended it, or it is gone"
STOPPED = f"Sharing stopped: {GONE}"
NOT_STARTED = "the desktop could not start sharing its screen"
NOTHING_FOLLOWS = 0.6  # seconds to wait when no frame is expected
CHUNK_IS_RIGHT, FLAGS_ARE_RIGHT = "chunk right right right", "flags 0 0"


@pytest.fixture(scope="module")
def session():
    with ProducerSession(cursor_modes=METADATA) as made:
        yield made


@pytest.fixture
def program(session, request):
    """The program before it shares; the fixture checks that it still runs after the test."""
    made = session.program(name=request.node.name.replace("/", "-"))
    yield made
    assert made.running()
    made.terminate()
    assert made.wait(LIMIT) == 0


@pytest.fixture
def start(session, program):
    """Starts a producer with these commands and shares it."""
    started = []

    def share(*commands, layout="BGRx", announced_size=None):
        producer = session.producer(f"format {layout} {SIZE}", *commands, announced_size=announced_size)
        started.append(producer)
        program.command(f"share {SCREEN}")
        producer.wait_until_streaming()
        program.wait_until_sharing()
        return producer

    yield share
    for producer in started:
        producer.process.stop()


@pytest.fixture
def viewer(program):
    with Viewer(program.address) as made:
        yield made


def hexadecimal(colour):
    return "%02x%02x%02x" % colour


def colours(*quarters):
    return "colours " + " ".join(hexadecimal(colour) for colour in quarters)


def filled(colour):
    return colours(colour, colour, colour, colour)


def shows(jpeg, quarters, width=WIDTH, height=HEIGHT):
    """Returns whether the picture has this size and its quarters have these colours at their centres."""
    picture = pixels.decode(jpeg)
    middles = [(height // 4, width // 4), (height // 4, 3 * width // 4),
               (3 * height // 4, width // 4), (3 * height // 4, 3 * width // 4)]
    return picture.shape == (height, width, 3) and all(
        near(picture[at], colour) for at, colour in zip(middles, quarters))


def near(pixel, colour):
    return abs(pixel.astype(int) - colour).max() <= 6


def send_until(producer, viewer, seen, *commands):
    """Sends a picture until the viewer sees it, because the media server may lose one."""
    producer.send_commands(*commands)
    return viewer.frame_after(producer.send, seen)


def show(producer, viewer, *quarters, **size):
    """Sends a picture of one or four colours until the viewer sees exactly that."""
    paint = colours(*quarters * (4 // len(quarters)))
    return expect(producer, viewer, *quarters, commands=[paint], **size)


def expect(producer, viewer, *quarters, commands=(), **size):
    """Sends pictures with these commands until the viewer sees these colours."""
    quarters *= 4 // len(quarters)
    return send_until(producer, viewer, lambda jpeg: shows(jpeg, quarters, **size), *commands)


def rest(viewer):
    """Reads frames until no more follow."""
    while viewer.readable(NOTHING_FOLLOWS):
        viewer.next_frame()


@pytest.mark.parametrize("layout", ["BGRx", "BGRA", "RGBx", "RGBA"])
def test_every_layout_is_seen_in_its_colours(start, viewer, layout):
    producer = start(layout=layout)
    show(producer, viewer, RED, GREEN, BLUE, GREY)


def test_a_layout_that_is_not_taken_ends_the_share(session, program):
    producer = session.producer(f"format I420 {SIZE}")
    program.command(f"share {SCREEN}")
    program.wait_for_line(f"startCapture failed for .*: ({NOT_STARTED}|{GONE})", source="stderr")
    assert program.status()["sharing"] is False
    producer.process.stop()


def test_pictures_that_are_the_same_send_nothing(start, viewer):
    producer = start()
    show(producer, viewer, RED)
    rest(viewer)
    for _ in range(20):
        producer.send()
    assert not viewer.readable(NOTHING_FOLLOWS)


def test_only_what_is_told_to_be_damaged_is_taken_over(start, viewer):
    producer = start("metadata damage")
    show(producer, viewer, RED)
    expect(producer, viewer, GREEN, RED, RED, RED,
           commands=[f"damage 0 0 {WIDTH // 2} {HEIGHT // 2}", filled(GREEN)])


@pytest.mark.parametrize("damage", [
    f"damage -50 -50 {WIDTH * 2} {HEIGHT * 2}",
    "damage -2147483648 -2147483648 4294967295 4294967295",
    f"damage 2147483647 2147483647 4294967295 4294967295 0 0 {WIDTH} {HEIGHT}",
    "damage 100000 100000 10 10",
    "damage",
])
def test_damage_out_of_the_frame_does_no_harm(start, viewer, damage):
    producer = start("metadata damage")
    show(producer, viewer, RED)
    producer.send_commands(damage)
    show(producer, viewer, GREEN, BLUE, GREY, WHITE)


def test_the_crop_is_all_that_is_seen(start, viewer):
    producer = start("metadata crop damage", f"crop {WIDTH // 2} 0 {WIDTH // 2} {HEIGHT}")
    expect(producer, viewer, GREEN, GREEN, BLUE, BLUE, width=WIDTH // 2,
           commands=[colours(RED, GREEN, RED, BLUE)])
    expect(producer, viewer, BLUE, GREY, BLUE, GREY, height=HEIGHT // 2,
           commands=[f"crop 0 {HEIGHT // 2} {WIDTH} {HEIGHT // 2}", colours(RED, RED, BLUE, GREY)])


@pytest.mark.parametrize("crop", ["crop 0 0 0 0", "crop 400 300 10 10",
                                  "crop -2147483648 -2147483648 4294967295 4294967295"])
def test_a_crop_that_makes_no_sense_is_none(start, viewer, crop):
    producer = start("metadata crop", crop)
    show(producer, viewer, RED, GREEN, BLUE, GREY)


WRONG_BUFFERS = {
    "empty": "chunk 0 0 right",
    "size too small": f"chunk 0 {BYTES - 1} right",
    "stride too small": f"chunk 0 right {WIDTH * 4 - 1}",
    "stride negative": f"chunk 0 right -{WIDTH * 4}",
    "stride huge": "chunk 0 4294967295 2147483647",
    "stride too large": f"chunk 0 right {WIDTH * 4 + 1}",
    "stride too large and size with it": f"chunk 0 4294967295 {WIDTH * 4 + 4}",
    "offset beyond the memory": f"chunk {BYTES + 1} right right",
    "offset huge": "chunk 4294967295 right right",
    "offset leaves too little": "chunk 4 right right",
    "corrupted by its header": "flags 2 0",
    "corrupted by its chunk": "flags 0 1",
}


@pytest.mark.parametrize("wrong", WRONG_BUFFERS.values(), ids=WRONG_BUFFERS)
def test_a_buffer_that_makes_no_sense_is_passed_over(start, viewer, wrong):
    producer = start("metadata header")
    show(producer, viewer, GREEN)
    rest(viewer)
    producer.send(wrong, filled(RED))
    assert not viewer.readable(NOTHING_FOLLOWS)
    producer.send_commands(CHUNK_IS_RIGHT, FLAGS_ARE_RIGHT)
    show(producer, viewer, BLUE)


def test_a_size_larger_than_the_memory_does_no_harm(start, viewer):
    producer = start("chunk 0 4294967295 right")
    show(producer, viewer, RED)


def test_what_changed_in_a_buffer_that_was_passed_over_is_not_lost(start, viewer):
    producer = start("metadata damage header")
    show(producer, viewer, RED)
    producer.send("flags 2 0", filled(GREEN))
    producer.send_commands(FLAGS_ARE_RIGHT, f"damage 0 0 {WIDTH // 2} {HEIGHT // 2}")
    show(producer, viewer, GREEN)


@pytest.mark.parametrize("true_bytes", [1, 4096, BYTES // 2, BYTES - 1])
def test_memory_that_is_shorter_than_told_is_not_read(start, viewer, true_bytes):
    producer = start(f"memory {BYTES} {true_bytes}")
    producer.send(filled(RED))
    assert not viewer.readable(NOTHING_FOLLOWS)


def test_memory_that_is_cut_off_later_is_not_read(start, viewer):
    producer = start()
    show(producer, viewer, RED)
    rest(viewer)
    producer.send_commands("shrink 0")
    producer.wait_for("shrunk")
    producer.send(filled(GREEN))
    assert not viewer.readable(NOTHING_FOLLOWS)


NONSENSE = "ignored a picture: the desktop describes its memory in a way that makes no sense"


@pytest.mark.parametrize("transform", [0, 1, 2, 5])
def test_rows_that_are_not_whole_pixels_apart_are_passed_over(start, program, viewer, transform):
    size = seen_size(transform)
    producer = start("metadata header transform", f"memory {2 * BYTES} {2 * BYTES}",
                     f"transform {transform}")
    show(producer, viewer, WHITE, **size)
    rest(viewer)
    for stride in (WIDTH * 4 + 1, WIDTH * 4 + 2, WIDTH * 4 + 1):
        producer.send(f"chunk 0 {2 * BYTES} {stride}", filled(RED))
    program.wait_for_line(NONSENSE, source="stderr")
    assert not viewer.readable(NOTHING_FOLLOWS)
    producer.send_commands(CHUNK_IS_RIGHT)
    show(producer, viewer, BLUE, **size)
    assert program.stderr.count(NONSENSE) == 1, "said once"


LOST = "lost a picture: the desktop gave less memory than it said, or took it back"


def test_memory_that_is_cut_off_while_it_is_read_does_no_harm(start, program, viewer):
    size = {"width": 4 * WIDTH, "height": 4 * HEIGHT}  # large enough to be still read meanwhile
    producer = start("format BGRx {width} {height}".format(**size))
    show(producer, viewer, RED, **size)
    producer.send_commands("flicker")
    for _ in range(100):
        producer.send()
        assert program.running()
    program.wait_for_line(LOST, source="stderr")
    producer.send_commands("steady")
    show(producer, viewer, GREEN, **size)


def test_a_picture_of_which_nobody_was_told_is_seen(start, viewer):
    producer = start("metadata header")
    producer.withhold(filled(RED))
    viewer.frame_where(lambda jpeg: shows(jpeg, [RED] * 4))
    producer.change_format("BGRx", WIDTH * 2, HEIGHT * 2)
    producer.withhold(filled(GREEN))
    viewer.frame_where(lambda jpeg: shows(jpeg, [GREEN] * 4, WIDTH * 2, HEIGHT * 2))


def test_the_newest_of_the_pictures_of_which_nobody_was_told_is_seen(start, viewer):
    producer = start("metadata header")
    producer.withhold(filled(RED))
    producer.withhold(filled(GREEN))
    viewer.frame_where(lambda jpeg: shows(jpeg, [GREEN] * 4))


@pytest.mark.parametrize("rounds", [1, 4])
def test_buffers_that_come_without_memory_come_again(start, viewer, rounds):
    producer = start(f"unallocated {rounds * BUFFERS}")
    show(producer, viewer, RED)


def test_buffers_that_never_have_memory_are_asked_for_a_few_times(start, viewer):
    producer = start(f"unallocated {1000 * BUFFERS}")
    eventually(lambda: len(producer.negotiated_formats()) == 6, LIMIT, "all negotiations have ended")
    assert not viewer.readable(NOTHING_FOLLOWS)
    assert len(producer.negotiated_formats()) == 6


def test_a_picture_that_is_not_sent_yet_is_not_seen_once_others_came(start, viewer):
    producer = start("metadata header")
    show(producer, viewer, RED)
    rest(viewer)
    producer.withhold(filled(GREEN))
    assert not viewer.readable(NOTHING_FOLLOWS)


def test_another_size_is_seen_in_full_although_the_desktop_told_the_first(start, viewer, session):
    producer = start(announced_size=(WIDTH, HEIGHT))
    show(producer, viewer, RED)
    producer.change_format("BGRx", WIDTH * 4, HEIGHT * 3)
    show(producer, viewer, RED, GREEN, BLUE, GREY, width=WIDTH * 4, height=HEIGHT * 3)
    show(producer, viewer, GREEN, width=WIDTH * 4, height=HEIGHT * 3)


def test_another_format_in_the_middle(start, viewer):
    producer = start("metadata damage crop")
    show(producer, viewer, RED)
    producer.change_format("RGBA", 160, 120)
    show(producer, viewer, RED, GREEN, BLUE, GREY, width=160, height=120)
    producer.change_format("BGRx", WIDTH * 2, HEIGHT * 2)
    show(producer, viewer, BLUE, GREEN, RED, GREY, width=WIDTH * 2, height=HEIGHT * 2)


@pytest.mark.skipif(not {"asan", "tsan"}.isdisjoint(executable().parts),
                    reason="sanitizers end the program themselves when there is no memory")
def test_a_picture_for_which_there_is_no_memory_ends_the_share(session, start, program, viewer):
    producer = start()
    show(producer, viewer, RED)
    side = 5000
    picture = side * side * 4
    most = program.virtual_bytes() + BUFFERS * picture + picture // 2
    session.run("prlimit", f"--pid={program.pid}", f"--as={most}")
    producer.change_format("BGRx", side, side)

    def has_ended():
        producer.send_commands(filled(GREEN), "send")  # the media server may lose one
        return not program.status()["sharing"]

    eventually(has_ended, LIMIT, "the share ends", every=0.5)
    program.wait_for_line("Sharing stopped: there is not enough memory for a picture of the screen")


def test_a_stream_that_another_format_has_halted_is_taken_anew(start, viewer):
    """KWin stalls its stream like this when a shared window grows."""
    producer = start("stall-on-format")
    show(producer, viewer, RED)
    producer.change_format("BGRx", 160, 120)
    show(producer, viewer, GREEN, width=160, height=120)
    producer.change_format("BGRx", WIDTH, HEIGHT)
    show(producer, viewer, BLUE)


def test_buffers_that_never_come_end_the_share(session, program):
    producer = session.producer(f"format BGRx {SIZE}", "buffers never")
    program.command(f"share {SCREEN}")
    program.wait_for_line(f"({NOT_STARTED}|{GONE})")
    program.wait_until_sharing(False)
    producer.process.stop()


# The quarters (top left, top right, bottom left, bottom right) after the transform was undone.
TURNS = {
    0: (RED, GREEN, BLUE, GREY),
    1: (BLUE, RED, GREY, GREEN),  # was rotated counter-clockwise
    2: (GREY, BLUE, GREEN, RED),
    3: (GREEN, GREY, RED, BLUE),
    4: (GREEN, RED, GREY, BLUE),  # was flipped
    5: (RED, BLUE, GREEN, GREY),
    6: (BLUE, GREY, RED, GREEN),
    7: (GREY, GREEN, BLUE, RED),
    8: (RED, GREEN, BLUE, GREY),  # not a valid transform
}


def seen_size(transform):
    turned = transform in (1, 3, 5, 7)
    return {"width": HEIGHT if turned else WIDTH, "height": WIDTH if turned else HEIGHT}


def test_a_picture_is_turned_upright(start, viewer):
    producer = start("metadata transform")
    show(producer, viewer, WHITE)
    for transform, quarters in TURNS.items():
        expect(producer, viewer, *quarters, **seen_size(transform),
               commands=[f"transform {transform}", colours(RED, GREEN, BLUE, GREY)])


@pytest.mark.parametrize("transform", [1, 2, 3, 4, 5, 6, 7])
def test_damage_and_crop_are_turned_with_the_picture(start, viewer, transform):
    producer = start("metadata transform damage crop", f"transform {transform}",
                     f"crop 20 10 {WIDTH - 20} {HEIGHT - 10}")
    size = seen_size(transform)
    dx, dy = (10, 20) if transform in (1, 3, 5, 7) else (20, 10)
    size = {"width": size["width"] - dx, "height": size["height"] - dy}
    show(producer, viewer, RED, **size)
    seen = (GREEN if quarter == RED else RED for quarter in TURNS[transform])
    expect(producer, viewer, *seen, **size,
           commands=[f"damage 0 0 {WIDTH // 2} {HEIGHT // 2}", filled(GREEN)])


POINTER = "bitmap BGRA 16 16 64 20 ffffffff"


def pointer_at(jpeg):
    return pixels.place_of(pixels.decode(jpeg), WHITE, tolerance=55)


def expect_pointer(producer, viewer, place, *commands):
    send_until(producer, viewer, lambda jpeg: is_about(pointer_at(jpeg), place), *commands)


def test_the_pointer_is_drawn_where_it_is_told_to_be(start, viewer):
    producer = start("metadata cursor", "cursor 1 100 50 2 1", POINTER, filled(RED))
    expect_pointer(producer, viewer, (98, 49, 114, 65))
    without_picture = "chunk 0 0 right"
    expect_pointer(producer, viewer, (198, 149, 214, 165), "cursor 1 200 150 2 1", "nobitmap",
                   without_picture)
    send_until(producer, viewer, lambda jpeg: pointer_at(jpeg) is None, "cursor 0 0 0 0 0")


def test_the_pointer_is_turned_with_the_picture(start, viewer):
    producer = start("metadata cursor transform", "transform 1", "cursor 1 100 50 0 0",
                     "bitmap BGRA 16 8 64 20 ffffffff", filled(RED))
    left = HEIGHT - 50 - 8
    expect_pointer(producer, viewer, (left, 100, left + 8, 116))


def test_the_pointer_stays_in_its_place_when_the_crop_moves(start, viewer):
    producer = start("metadata cursor crop", "cursor 1 100 50 0 0", POINTER, "crop 20 10 200 200",
                     filled(RED))
    expect_pointer(producer, viewer, (80, 40, 96, 56))
    expect_pointer(producer, viewer, (60, 30, 76, 46), "nobitmap", "crop 40 20 200 200")


WRONG_POINTERS = [
    "bitmap BGRA 4294967295 4294967295 64 20 ffffffff",
    "bitmap BGRA 0 0 64 20 ffffffff",
    "bitmap BGRA 384 384 1536 20 ffffffff",
    "bitmap BGRA 16 16 63 20 ffffffff",
    "bitmap BGRA 16 16 -64 20 ffffffff",
    "bitmap BGRA 16 16 2147483647 20 ffffffff",
    "bitmap BGRA 16 16 64 4294967295 ffffffff",
    "bitmap BGRA 16 16 64 0 ffffffff",
    "bitmap I420 16 16 64 20 ffffffff",
]


def test_a_pointer_that_makes_no_sense_is_not_drawn(start, viewer):
    producer = start("metadata cursor")
    places = ("cursor 1 100 50 0 0", "cursor 1 2147483647 -2147483648 2147483647 2147483647")
    show(producer, viewer, GREEN)
    cases = [*((places[0], wrong) for wrong in WRONG_POINTERS), (places[1], POINTER),
            (places[0], POINTER, "bitmapat 4294967295"), (places[0], POINTER, "bitmapat 1")]
    for number, commands in enumerate(cases):
        producer.send_commands(*commands)
        jpeg = show(producer, viewer, (RED, BLUE)[number % 2])
        assert pointer_at(jpeg) is None, commands


def test_the_pointer_is_seen_at_the_edge(start, viewer):
    producer = start("metadata cursor", "cursor 1 -8 -8 0 0", POINTER, filled(RED))
    expect_pointer(producer, viewer, (0, 0, 8, 8))


def test_a_producer_that_goes_away_while_shared(start, program, viewer):
    producer = start()
    show(producer, viewer, RED)
    producer.send_commands("close")
    program.wait_for_line(STOPPED)
    program.wait_until_sharing(False)
    again = start()
    show(again, viewer, GREEN)
    again.process.kill()
    eventually(lambda: program.stdout.count(STOPPED) == 2, LIMIT, "the second share ended, too")


def test_a_producer_that_is_gone_before_it_is_shared(session, program):
    producer = session.producer(f"format BGRx {SIZE}")
    producer.process.kill()
    program.command(f"share {SCREEN}")
    program.wait_for_line("startCapture failed", source="stderr")
    assert program.status()["sharing"] is False


def test_a_producer_that_goes_away_before_its_first_picture(start, program):
    start().process.kill()
    program.wait_for_line(STOPPED)
    program.wait_until_sharing(False)


def test_a_node_that_never_was(session, program):
    session.backend.approve(987654)
    program.command(f"share {SCREEN}")
    program.wait_for_line("startCapture failed", source="stderr")
    assert program.status()["sharing"] is False


def test_the_desktop_ends_the_session(session, start, program):
    start()
    session.backend.end_sessions()
    program.wait_for_line("Sharing stopped: the desktop ended it")
    program.wait_until_sharing(False)
