"""The program on a desktop: in a tray, in a window and on real panels."""
import re
import signal
import socket
import subprocess
import time

import pytest
from Xlib.display import Display
from Xlib.ext import screensaver

from harness import pixels, uploads
from harness.desktop import panels
from harness.desktop.panels import LXQtPanel, Tint2
from harness.desktop.session import NO_BUS
from harness.program import WITH_TERMINAL, display_ids, executable, private_env
from harness.viewer import Viewer
from harness.waiting import LIMIT, eventually



@pytest.fixture
def launch(start, desktop, tmp_path):
    """Starts the program in the session; on command it shares the display."""
    def launch_program(*arguments, **keywords):
        return start("--capture", "x11", "--upload-folder", str(tmp_path / "photos"), *arguments,
                     headless=False, display=desktop.screen.name, variables=desktop.variables,
                     **keywords)
    return launch_program


def url_of(item):
    """Returns the viewer address in the menu."""
    return next(label for label in item.labels() if label.startswith("http://"))


def wait_for_label(item, pattern):
    return eventually(lambda: next(filter(re.compile(pattern).fullmatch, item.labels()), None),
                      LIMIT, f"an entry {pattern!r}")


def picture_of(icon):
    return icon.property("IconPixmap")


def test_menu_at_first(desktop, launch):
    tray = desktop.start_tray()
    program = launch()
    item = tray.item()
    entries = eventually(lambda: item.entry("Source").children and item.entries(), LIMIT,
                         "there is something to share")
    url = url_of(item)
    assert url.endswith(f":{program.address[1]}/")
    assert [entry.label for entry in entries] == [
        "Not sharing", url, "Copy Address", "",
        "Source", "Start Sharing", "",
        "Uploads", f"Copy {url}upload", "Upload Folder", "",
        "Check for Updates…", "Tarvinel Help", "Quit Tarvinel"]
    assert [entry.label for entry in entries if not entry.enabled] == [
        "Not sharing", url, "Start Sharing", "Check for Updates…"]
    assert [entry.is_separator for entry in entries] == [not entry.label for entry in entries]
    assert item.entry("Start Sharing").shortcut == [["Control", "S"]]
    assert item.entry("Quit Tarvinel").shortcut == [["Control", "Q"]]
    assert not item.entry("Uploads").is_on and item.entry("Uploads").toggle_type == "checkmark"
    title, display = item.entry("Source").children
    assert (title.label, title.enabled) == ("Displays", False)
    assert (display.toggle_type, display.is_on) == ("radio", False)
    folder = item.entry("Upload Folder").children
    assert [entry.label for entry in folder] == [
        "Choose Folder…", "Reveal in Finder", "One Folder per Participant"]
    assert item.property("Title") == "Tarvinel"


def test_sharing_by_clicks(desktop, launch, canvas):
    canvas.text(1)
    tray = desktop.start_tray()
    program = launch()
    item = tray.item()
    idle = picture_of(item)
    display = eventually(lambda: item.entry("Source").children, LIMIT, "sources")[1].label
    item.click(display)
    eventually(lambda: item.entry(display).is_on, LIMIT, "the display is chosen")
    item.click("Start Sharing")
    item.entry("Stop Sharing")
    wait_for_label(item, re.escape(f"Sharing {display} · 0 viewers"))
    before = {entry.label: entry.id for entry in item.entries()}
    with Viewer(program.address) as viewer:
        jpeg = viewer.frame_where(lambda jpeg: pixels.same(pixels.decode(jpeg),
                                                           pixels.grab(desktop.screen)))
        assert jpeg
        wait_for_label(item, re.escape(f"Sharing {display} · 1 viewer"))
        wait_for_label(item, r"(Ethernet|Wi-Fi) · \d+ fps · 1 viewer · \d+ Mbps")
    after = {entry.label: entry.id for entry in item.entries()}
    kept = ("Source", "Stop Sharing", "Uploads", "Upload Folder", "Quit Tarvinel")
    assert [after[label] for label in kept] == [before[label] for label in kept]
    assert picture_of(item) != idle
    item.click("Stop Sharing")
    item.entry("Not sharing")
    item.entry("Start Sharing")
    assert picture_of(item) == idle
    assert not program.status()["sharing"]


def test_uploads_by_clicks(desktop, launch, tmp_path):
    tray = desktop.start_tray()
    program = launch()
    item = tray.item()
    item.entry(f"Copy {url_of(item)}upload")
    item.click("Uploads")
    eventually(lambda: item.entry("Uploads").is_on, LIMIT, "uploads are open")
    item.entry("Uploads: 0 files, 0 MB, 0 participants")
    status, _ = uploads.upload(program.address, "Sam_1", "a.jpg", b"x" * 1_000_000)
    assert status == 201
    item.entry("Uploads: 1 file, 1 MB, 1 participant")
    item.entry("Last: Sam_1 (1 file)")
    item.click("One Folder per Participant")
    eventually(lambda: item.entry("One Folder per Participant").is_on, LIMIT, "a folder for each")

    def arrives_in_a_folder():
        uploads.upload(program.address, "Sam_1", "b.jpg", b"y")
        return any("Sam_1" in path.parts for path in uploads.visible(tmp_path / "photos"))

    eventually(arrives_in_a_folder, LIMIT, "an upload arrives in the folder of its participant")
    item.click("Uploads")
    eventually(lambda: not item.entry("Uploads").is_on, LIMIT, "uploads are closed")
    assert uploads.upload(program.address, "Sam_1", "c.jpg", b"z")[0] == 403


def test_tray_comes_late(desktop, launch):
    launch()
    tray = desktop.start_tray(hosting=False)
    tray.begin_hosting()
    assert tray.item().entry("Not sharing")


@pytest.mark.parametrize("panel", [LXQtPanel, Tint2])
def test_panel_comes_after_the_window(desktop, launch, panel):
    desktop.start_window_manager()
    launch()
    eventually(desktop.window, LIMIT, "the window opens by itself")
    assert desktop.start_panel(panel).icon()


@pytest.mark.parametrize("headless", [False, True], ids=["tray", "terminal"])
def test_screen_stays_on_while_sharing(desktop, start, tmp_path, headless):
    """Without a D-Bus service for it, the program suspends the X server's screen saver."""
    desktop.screen.run("xset", "s", "1", "1")
    eventually(lambda: is_blanked(desktop.screen), LIMIT, "the screen goes blank by itself")
    desktop.screen.run("xset", "s", "reset")
    program = start("--capture", "x11", "--share", display_ids(tmp_path, desktop.screen)[0],
                    headless=headless, display=desktop.screen.name, variables=desktop.variables)
    program.wait_until_sharing()
    desktop.screen.run("xset", "s", "reset")
    time.sleep(3)
    assert not is_blanked(desktop.screen)
    program.terminate()
    assert program.wait(LIMIT) == 0
    eventually(lambda: is_blanked(desktop.screen), LIMIT, "the screen goes blank again")


def test_tray_dies_and_returns(desktop, launch):
    tray = desktop.start_tray()
    launch()
    tray.item().entry("Not sharing")
    tray.stop()
    tray = desktop.start_tray()
    assert tray.item().entry("Not sharing")


def test_port_in_use_is_shown_in_the_menu(desktop, launch):
    with socket.create_server(("", 0)) as taken:
        port = taken.getsockname()[1]
        tray = desktop.start_tray()
        program = launch(port=port, listening=False)
        item = tray.item()
        wait_for_label(item, f"Can't listen on port {port}: .+")
        assert not item.entry("Uploads").enabled
        assert item.entry("Tarvinel Help").enabled
        assert program.running()
        item.click("Quit Tarvinel")
        assert program.wait(LIMIT) == 0


def test_sharing_from_the_start(desktop, launch, tmp_path):
    tray = desktop.start_tray()
    launch("--share", display_ids(tmp_path, desktop.screen)[0], "--uploads")
    item = tray.item()
    item.entry("Stop Sharing")
    eventually(lambda: item.entry("Uploads").is_on, LIMIT, "uploads are open")


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_signals_end_it_in_order(launch, number):
    program = launch(prefix=WITH_TERMINAL)
    program.signal(number)
    assert program.wait(LIMIT) == 0


@pytest.mark.parametrize("display", [None, ":3999"])
def test_no_display(tmp_path, display):
    done = subprocess.run([executable()], env=private_env(tmp_path, display), capture_output=True,
                          text=True, timeout=LIMIT)
    assert done.returncode == 1
    assert "--headless" in done.stderr


def test_window_where_no_tray_is(desktop, launch, tmp_path):
    desktop.start_window_manager()
    program = launch("--share", display_ids(tmp_path, desktop.screen)[0])
    eventually(desktop.window, LIMIT, "the window opens by itself")
    program.wait_until_sharing()
    desktop.press("ctrl+s")
    program.wait_until_sharing(False)
    desktop.press("ctrl+s")
    program.wait_until_sharing()
    keep_screenshot(desktop, "window")
    desktop.press("alt+F4")
    eventually(lambda: not desktop.window(), LIMIT, "the window is closed")
    assert program.status()["sharing"], "closing the window does not end the program"
    desktop.launch_again()
    eventually(desktop.window, LIMIT, "the window is open again")
    desktop.press("ctrl+q")
    assert program.wait(LIMIT) == 0


def test_second_launch_opens_the_window(desktop, launch):
    tray = desktop.start_tray()
    program = launch()
    tray.item()
    assert not desktop.window()
    assert "already running" in desktop.launch_again()
    eventually(desktop.window, LIMIT, "the window")
    assert len(tray.items()) == 1
    assert program.running()


def test_without_a_session_bus(desktop, start):
    program = start(headless=False, display=desktop.screen.name,
                    variables={"DBUS_SESSION_BUS_ADDRESS": NO_BUS})
    second = start(headless=False, display=desktop.screen.name,
                   variables={"DBUS_SESSION_BUS_ADDRESS": NO_BUS})
    eventually(desktop.window, LIMIT, "the window")
    assert program.running() and second.running()


def test_at_rest_it_uses_next_to_no_processor_time(desktop, launch):
    tray = desktop.start_tray()
    program = launch()
    tray.item().entry("Not sharing")
    before, began = program.cpu_seconds(), time.monotonic()
    time.sleep(5)
    used = (program.cpu_seconds() - before) / (time.monotonic() - began)
    assert used < 0.01, f"{used:.1%} of a core"


@pytest.mark.parametrize("panel, dark", [(LXQtPanel, True), (Tint2, False)])
def test_real_panel(desktop, launch, tmp_path, panel, dark):
    """The panel shows the icon, and a click with either button opens the menu."""
    desktop.start_window_manager()
    desktop.screen.run("xsetroot", "-solid", "#456078")
    shown = desktop.start_panel(panel, dark)
    empty = pixels.grab(desktop.screen)
    program = launch()
    wait_for_icon(shown, desktop, "idle", panel)
    for button in (1, 3):
        shown.click_icon(button)
        wait_for_menu(desktop, empty)
        keep_screenshot(desktop, f"{panel.name}-not-sharing-{button}")
        desktop.screen.run("xdotool", "mousemove", "700", "20", "click", "1")
        wait_for_menu(desktop, empty, is_open=False)
    shown.stop()
    again = desktop.start_panel(panel, dark)
    again.icon()
    assert program.running()


@pytest.mark.parametrize("panel, dark", [(LXQtPanel, False), (Tint2, True)])
def test_real_panel_while_sharing(desktop, launch, tmp_path, panel, dark):
    """The menu on a panel stays open while its items change."""
    desktop.start_window_manager()
    desktop.screen.run("xsetroot", "-solid", "#456078")
    shown = desktop.start_panel(panel, dark)
    empty = pixels.grab(desktop.screen)
    program = launch("--share", display_ids(tmp_path, desktop.screen)[0], "--uploads")
    program.wait_until_sharing()
    wait_for_icon(shown, desktop, "sharing", panel)
    shown.click_icon()
    wait_for_menu(desktop, empty)
    with Viewer(program.address), Viewer(program.address):
        before = pixels.grab(desktop.screen)
        uploads.upload(program.address, "Sam & Co_1", "a.jpg", b"x" * 3_000_000)
        eventually(lambda: (pixels.grab(desktop.screen) != before).any(), LIMIT,
                   "the open menu tells of the upload", every=0.1)
        eventually(lambda: program.viewers() == 2, LIMIT, "two viewers")
        keep_screenshot(desktop, f"{panel.name}-sharing")
    wait_for_menu(desktop, empty)


def test_real_panel_with_a_problem(desktop, launch):
    desktop.start_window_manager()
    desktop.screen.run("xsetroot", "-solid", "#456078")
    shown = desktop.start_panel(LXQtPanel)
    empty = pixels.grab(desktop.screen)
    with socket.create_server(("", 0)) as taken:
        launch(port=taken.getsockname()[1], listening=False)
        shown.click_icon()
        wait_for_menu(desktop, empty)
        keep_screenshot(desktop, "lxqt-panel-port-in-use")


def is_blanked(screen):
    connection = Display(screen.name)
    try:
        info = connection.screen().root.screensaver_query_info()
        return info.state == screensaver.StateOn
    finally:
        connection.close()


def wait_for_icon(panel, desktop, what, kind):
    panel.icon()
    keep_screenshot(desktop, f"{kind.name}-{what}")


def wait_for_menu(desktop, empty, is_open=True):
    """Waits until something as large as a menu covers the background above the panel, or until it does not."""
    def changed():
        difference = abs(pixels.grab(desktop.screen).astype(int) - empty.astype(int)).max(axis=2)
        return (difference[:-panels.HEIGHT] > 30).sum() > 20_000
    eventually(lambda: changed() == is_open, LIMIT, f"the menu is open: {is_open}", every=0.1)


def keep_screenshot(desktop, name):
    pixels.save(pixels.grab(desktop.screen), pixels.SCREENSHOTS / f"tray-{name}.png")
