"""The picture appears, changes and stays where it is."""
from harness.motion import Motion
from harness.page import Page
from harness.program import display_ids


def test_join_while_the_screen_is_still(page, sharing, x):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    page.keep_screenshot("picture")
    page.eventually(lambda: sharing.viewers() == 1, "one connection for one page")


def test_join_before_any_sharing(page, x_program, x, canvas, tmp_path):
    canvas.text(3)
    page.open(x_program.listening_port())
    page.wait_for_hint(Page.WAITING)
    page.keep_screenshot("waiting")
    x_program.share(display_ids(tmp_path, x)[0])
    page.wait_for_picture(x)


def test_burst_and_then_stillness(page, sharing, x, canvas):
    page.open(sharing.listening_port())
    page.wait_for_picture(x)
    for seed in range(2, 8):
        canvas.text(seed)
    page.wait_for_picture(x)
    canvas.rectangle(0xE05050, 200, 200, 16, 16)
    page.wait_for_picture(x)
