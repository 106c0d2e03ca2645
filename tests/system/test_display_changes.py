"""Changes of the X display while it is shared: the program keeps running and serving."""
import subprocess

import pytest

from harness import pixels
from harness.program import display_ids, executable, private_env
from harness.viewer import Viewer
from harness.waiting import LIMIT, eventually
from harness.x11.canvas import Canvas

SMALL = ["small", "23.75", "640", "664", "720", "800", "480", "483", "487", "500"]


def shows_sharply(viewer, server):
    """Waits for a sharp frame of what the display shows now."""
    return viewer.frame_where(
        lambda jpeg: pixels.same(pixels.decode(jpeg), pixels.grab(server)))


@pytest.mark.parametrize("display", [None, ":59123", "nonsense"])
def test_no_x_server(start, display):
    program = start("--capture", "x11", "--share", "display-1", display=display)
    program.command("sources")
    program.command("share display-1")
    program.command("status")
    eventually(lambda: program.stdout.count("\n") > 1, LIMIT, "it says something")
    assert program.status()["sharing"] is False


def test_list_sources_without_an_x_server(tmp_path):
    done = subprocess.run([executable(), "--list-sources", "--capture", "x11"], timeout=LIMIT,
                          capture_output=True, text=True, env=private_env(tmp_path, ":59123"))
    assert done.returncode == 1
    assert done.stderr and not done.stdout


def test_x_server_killed_while_sharing(sharing, x, canvas, tmp_path):
    with Viewer(sharing.address) as viewer:
        viewer.last_frame()
        descriptors = sharing.descriptors()
        x.kill()
        sharing.wait_for_line("Sharing stopped: .+")
        sharing.wait_until_sharing(False)
        assert sharing.viewers() == 1
        x.restart()
        new_canvas = Canvas(x)
        new_canvas.text(7)
        sharing.share(display_ids(tmp_path, x)[0])
        shows_sharply(viewer, x)
        eventually(lambda: sharing.descriptors() <= descriptors, LIMIT, "nothing of the old is left")


def test_display_resized_while_sharing(sharing, x, canvas):
    x.run("xrandr", "--newmode", *SMALL)
    x.run("xrandr", "--addmode", "screen", "small")
    with Viewer(sharing.address) as viewer:
        shows_sharply(viewer, x)
        x.run("xrandr", "--output", "screen", "--mode", "small")
        canvas.text(2)
        eventually(lambda: pixels.grab(x).shape == (480, 640, 3), LIMIT, "the display is small")
        if sharing.status()["sharing"]:
            jpeg = viewer.last_frame()
            assert pixels.decode(jpeg).shape[:2] in ((480, 640), (600, 800))
    assert sharing.running()


def test_monitor_removed_while_sharing(start, x, canvas, tmp_path):
    x.run("xrandr", "--setmonitor", "left", "400/100x600/100+0+0", "screen")
    x.run("xrandr", "--setmonitor", "right", "400/100x600/100+400+0", "none")
    canvas.text(1)
    program = start("--capture", "x11", display=x.name)
    left, right = display_ids(tmp_path, x)
    program.share(right)
    with Viewer(program.address) as viewer:
        assert pixels.same(pixels.decode(viewer.last_frame()), pixels.grab(x)[:, 400:])
        x.run("xrandr", "--delmonitor", "right")
        canvas.text(2)
        program.wait_for_line("Sharing stopped: .+")
        program.share(left)
        viewer.frame_where(
            lambda jpeg: pixels.same(pixels.decode(jpeg), pixels.grab(x)[:, :400]))


def test_clients_that_come_and_go_while_sharing(sharing, x, clients):
    with Viewer(sharing.address) as viewer:
        viewer.last_frame()
        for _ in range(3):
            client = x.client("xclock", "-update", "1")
            clients.append(client)
            viewer.next_frame()
            client.kill()
            settled = viewer.last_frame()
        assert pixels.same(pixels.decode(settled), pixels.grab(x))


def test_pointer_is_in_the_picture(sharing, x, canvas):
    canvas.fill(0x000000)
    with Viewer(sharing.address) as viewer:
        viewer.last_frame()
        canvas.point_at(300, 200)
        with_pointer = pixels.decode(viewer.last_frame())
        canvas.point_at(x.width - 1, x.height - 1)
        without = pixels.decode(viewer.last_frame())
    assert pixels.difference(with_pointer, without).worst_block > 5
    assert pixels.same(without, pixels.grab(x))
