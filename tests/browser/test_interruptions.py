"""The server goes and comes back, in every way; the page finds it again by itself."""
from harness.page import Page
from harness.program import display_ids


def share_again(start, x, folder, port):
    program = start("--capture", "x11", "--share", display_ids(folder, x)[0], display=x.name,
                    port=port)
    program.wait_until_sharing()
    return program


def test_server_killed_and_restarted(page, sharing, start, x, canvas, tmp_path):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    sharing.kill()
    page.wait_for_hint(Page.DISCONNECTED)
    page.keep_screenshot("disconnected")
    canvas.text(4)
    share_again(start, x, tmp_path, sharing.listening_port())
    page.wait_for_picture(x)


def test_server_stopped_cleanly_and_restarted(page, sharing, start, x, canvas, tmp_path):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    sharing.terminate()
    page.wait_for_hint(Page.DISCONNECTED)
    canvas.text(5)
    share_again(start, x, tmp_path, sharing.listening_port())
    page.wait_for_picture(x)
