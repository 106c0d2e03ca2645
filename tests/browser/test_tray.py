"""The presenter clicks in the tray's menu, and viewers see the display. The system tests cover the menu; one
browser suffices to show what arrives."""
import pytest

from harness.waiting import LIMIT, eventually

pytestmark = pytest.mark.parametrize(
    "engine", [pytest.param("chromium", marks=pytest.mark.xdist_group("chromium"))], indirect=True)


@pytest.fixture
def item(desktop, start, tmp_path):
    """The program's icon; `item.program` is the program."""
    tray = desktop.start_tray()
    program = start("--capture", "x11", "--upload-folder", str(tmp_path / "photos"), headless=False,
                    display=desktop.screen.name, variables=desktop.variables)
    icon = tray.item()
    icon.program = program
    return icon


def choose_first_source(item):
    display = eventually(lambda: item.entry("Source").children, LIMIT, "sources")[1].label
    item.click(display)
    eventually(lambda: item.entry(display).is_on, LIMIT, "the display is chosen")


def test_shared_by_clicks_in_the_tray(page, desktop, item, canvas):
    canvas.text(1)
    page.open(item.program.listening_port())
    page.wait_for_hint(page.WAITING)
    choose_first_source(item)
    item.click("Start Sharing")
    page.wait_for_picture(desktop.screen)
    canvas.text(2)
    page.wait_for_picture(desktop.screen)
    item.click("Stop Sharing")
    page.wait_for_text_alone()
