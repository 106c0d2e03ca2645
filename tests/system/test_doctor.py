"""--doctor: its findings on computers with and without each component, and that it changes nothing."""
import os
import re
import signal
import socket

import pytest

from harness.desktop.panels import Tint2
from harness.desktop.session import NO_BUS
from harness.desktop.session_bus import SessionBus
from harness.doctor import run_doctor
from harness.host.installation import AS_USER, give_capability
from harness.host.terminal import Terminal
from harness.network.fake_firewalld import FakeFirewalld
from harness.program import executable, private_env
from harness.wayland.sway import SwaySession

FINE, KNOW, MEND = "fine", "worth knowing", "needs attention"


def files_below(folder):
    return sorted(str(path) for path in folder.rglob("*"))


def test_without_a_desktop(tmp_path):
    report = run_doctor(tmp_path, "--port", "0")
    assert list(report.findings) == ["Session", "Screen", "Tray", "Configuration", "Address",
                                     "Name", "Port", "Firewall", "Uploads"]
    assert report.findings["Session"][0] == (
        KNOW, "No desktop: neither DISPLAY nor WAYLAND_DISPLAY is set.",
        ("Start with --headless. It shows a built-in picture, as there is no screen to share.",
         "To share a screen, start in a terminal on it, or set DISPLAY to it."))
    assert report.texts("Screen") == ["Showing the built-in picture: there is no screen here."]
    assert report.texts("Tray") == ["Without a desktop none is needed."]


def test_it_makes_no_file(tmp_path):
    run_doctor(tmp_path, "--port", "0")
    assert files_below(tmp_path) == []


def test_a_screen(x, tmp_path):
    report = run_doctor(tmp_path, display=x.name)
    assert report.findings["Session"] == [
        (FINE, f"An X11 session, display {x.name}.", ())]
    assert report.findings["Screen"] == [
        (FINE, f"Capturing the X11 screen {x.name}. 800 × 600 pixels, 1 display.", ())]


def test_a_screen_that_is_not_there(tmp_path):
    report = run_doctor(tmp_path, display=":3999")
    assert report.status == 1
    assert report.findings["Screen"] == [
        (MEND, "Showing the built-in picture: the X server :3999 does not answer.",
         ("Look whether DISPLAY is right, and whether this user may use the display (xhost, "
          "XAUTHORITY).",))]


def test_a_screen_that_hangs(x, tmp_path):
    x.freeze()
    try:
        report = run_doctor(tmp_path, display=x.name)
    finally:
        x.thaw()
    assert report.status == 1
    assert report.texts("Screen") == [
        f"The X server {x.name} takes connections but does not answer."]


def test_the_way_of_capture_that_was_asked_for(x, tmp_path):
    report = run_doctor(tmp_path, "--capture", "pattern", display=x.name)
    assert report.findings["Screen"] == [(FINE, "Showing the built-in picture, as asked for.", ())]


def look_in(desktop, folder, **variables):
    return run_doctor(folder, display=desktop.screen.name,
                variables={**desktop.variables, **variables})


IN_A_TRAY = [(FINE, "A panel shows Tarvinel's icon; the menu is behind it.", ())]


def test_a_tray_on_the_session_bus(desktop, tmp_path):
    tray = desktop.start_tray()
    assert look_in(desktop, tmp_path).findings["Tray"] == IN_A_TRAY
    assert tray.items() == [], "it puts nothing there"


@pytest.mark.parametrize("has_watcher", [False, True])
def test_no_tray(desktop, tmp_path, has_watcher):
    if has_watcher:
        desktop.start_tray(hosting=False)
    assert look_in(desktop, tmp_path).findings["Tray"] == [
        (KNOW, "No panel shows icons of programs: the menu opens as a window.",
         ("In GNOME an extension gives one: AppIndicator and KStatusNotifierItem Support.",))]


def test_a_tray_that_embeds(desktop, tmp_path):
    desktop.start_window_manager()
    desktop.start_panel(Tint2)
    assert look_in(desktop, tmp_path, DBUS_SESSION_BUS_ADDRESS=NO_BUS).findings["Tray"] == IN_A_TRAY


def test_no_session_bus(desktop, tmp_path):
    assert look_in(desktop, tmp_path, DBUS_SESSION_BUS_ADDRESS=NO_BUS).texts("Tray") == [
        "There is no session bus: the menu opens as a window."]


@pytest.fixture
def silent_bus(tmp_path_factory):
    """The address of a bus that accepts connections but never replies."""
    path = tmp_path_factory.mktemp("silent") / "bus"
    with socket.socket(socket.AF_UNIX) as listening:
        listening.bind(str(path))
        listening.listen()
        yield f"unix:path={path}"


def test_a_session_bus_that_hangs(desktop, tmp_path, silent_bus):
    assert look_in(desktop, tmp_path, DBUS_SESSION_BUS_ADDRESS=silent_bus).texts("Tray") == [
        "The session bus does not answer: the menu opens as a window."]


def test_a_system_bus_that_hangs(tmp_path, silent_bus):
    report = run_doctor(tmp_path, variables={"DBUS_SYSTEM_BUS_ADDRESS": silent_bus})
    assert report.status == 1
    assert report.texts("Name") == [
        "tarvinel.local cannot be published: the Avahi daemon does not answer."]


@pytest.fixture
def wayland():
    made = SwaySession()
    yield made
    made.stop()


def look_on(wayland):
    return run_doctor(wayland.folder, prefix=wayland.prefix, variables=wayland.env)


def test_a_wayland_desktop(wayland):
    report = look_on(wayland)
    assert report.findings["Session"] == [(FINE, "A Wayland session (sway).", ())]
    assert [finding.state for finding in report.findings["Screen"]] == [FINE] * 3
    capture, portal, pipewire = report.texts("Screen")
    assert capture == "Capturing what this Wayland desktop's own dialog offers."
    assert re.fullmatch(r"The desktop's portal offers displays only \(screen cast, version \d\)\.",
                        portal)
    assert pipewire == f"PipeWire answers at {wayland.folder}/run/pipewire-0."
    assert wayland.dialogs() == 0


def test_a_wayland_desktop_without_what_captures(wayland):
    wayland.portal.stop()
    wayland.pipewire.stop()
    report = look_on(wayland)
    assert report.status == 1
    assert [(finding.state, finding.what) for finding in report.findings["Screen"]][1:] == [
        (MEND, "The screen cannot be shared: the desktop has no portal."),
        (MEND, "PipeWire, which brings the pictures, does not answer at "
               f"{wayland.folder}/run/pipewire-0.")]


def test_a_portal_that_hangs(wayland):
    wayland.portal.signal(signal.SIGSTOP)
    try:
        report = look_on(wayland)
    finally:
        wayland.portal.signal(signal.SIGCONT)
    assert report.texts("Screen")[1] == (
        "The screen cannot be shared: the session bus, or the desktop's portal, does not answer.")


def test_addresses(machine, tmp_path):
    machine.route_over("wlan0")
    report = run_doctor(tmp_path, "--sysfs", machine.sysfs, prefix=machine.exec_in())
    assert report.findings["Address"] == [
        (FINE, "Viewers open http://10.1.0.1/ or http://tarvinel.local/. Pictures go out by Wi-Fi.",
         ()),
        (KNOW, "There are more networks here; viewers there open another address.",
         ("On wlan0: http://10.2.0.1/",))]


def test_no_address(machine, tmp_path):
    machine.unplug()
    report = run_doctor(tmp_path, "--sysfs", machine.sysfs, prefix=machine.exec_in())
    assert report.status == 1
    assert report.findings["Address"] == [
        (MEND, "This computer has no network address: nobody can reach it.",
         ("Plug in a cable, or join the Wi-Fi that the viewers are in.",))]


def test_a_port_that_is_taken(tmp_path):
    with socket.create_server(("", 0)) as holder:
        port = holder.getsockname()[1]
        report = run_doctor(tmp_path, "--port", port)
    assert report.status == 1
    state, what, advice = report.findings["Port"][0]
    assert state == MEND
    assert re.fullmatch(rf"Port {port} is taken by \S+ \(process {os.getpid()}, user \w+\)\.", what)
    assert "--port 8080" in advice[-1]
    assert run_doctor(tmp_path, "--port", port).texts("Port") == [f"Port {port} is free."]


def test_tarvinel_has_the_port_already(start, tmp_path):
    program = start("--capture", "pattern")
    port = program.listening_port()
    assert run_doctor(tmp_path, "--port", port).findings["Port"] == [
        (KNOW, f"Tarvinel is running already and has port {port} (process {program.pid}).", ())]


def look_as_user(machine, installed, *arguments):
    return run_doctor(installed / "home", *arguments, prefix=[*machine.exec_in(), *AS_USER])


def test_port_80_for_an_ordinary_user(machine, installed):
    helper = installed / "libexec/tarvinel/tarvinel-bind"
    report = look_as_user(machine, installed)
    assert report.status == 1
    assert report.findings["Port"] == [
        (MEND, "This user may not listen on port 80.",
         (f"Let the helper: sudo setcap cap_net_bind_service=ep {helper}",
          'Or set "port" in config.json, or start with --port 8080.'))]
    give_capability(installed)
    assert look_as_user(machine, installed).findings["Port"] == [
        (FINE, "Port 80 is free, and the helper may listen on it.", ())]
    with machine.listen(80):
        assert look_as_user(machine, installed).texts("Port") == [
            "Port 80 is taken by a program of the user root."]
    helper.unlink()
    assert look_as_user(machine, installed).findings["Port"][0].advice[0] == (
        f"The helper that may is not at {helper}: install Tarvinel again.")


def run_doctor_on(host, folder):
    return run_doctor(folder, prefix=host.prefix)


def test_the_name_without_a_daemon(lan, tmp_path):
    assert run_doctor_on(lan.presenter, tmp_path).findings["Name"] == [
        (FINE, "No Avahi daemon runs: Tarvinel itself answers for tarvinel.local.", ())]


def test_the_name_with_a_daemon(lan, tmp_path):
    lan.presenter.start_bus()
    lan.presenter.start_avahi()
    lan.viewer.start_bus()
    lan.viewer.start_avahi()
    assert run_doctor_on(lan.presenter, tmp_path).findings["Name"] == [
        (FINE, "The Avahi daemon runs and will publish tarvinel.local.", ())]
    assert lan.viewer.avahi_resolves("tarvinel.local") is None, "nothing is published"


def test_a_name_that_is_taken(lan, tmp_path):
    lan.presenter.start_bus()
    lan.presenter.start_avahi()
    lan.other.start_bus()
    lan.other.start_avahi(host_name="tarvinel")
    report = run_doctor_on(lan.presenter, tmp_path)
    assert report.status == 1
    assert report.findings["Name"] == [
        (MEND, f"tarvinel.local is taken in this network, by {lan.ADDRESSES['other']}.",
         ('Set "hostname" in config.json to another name.',))]


def test_the_name_is_the_computers_own(lan, tmp_path):
    lan.presenter.start_bus()
    lan.presenter.start_avahi(host_name="tarvinel")
    assert run_doctor_on(lan.presenter, tmp_path).texts("Name") == [
        "tarvinel.local is this computer's own name, which Avahi publishes."]


def test_a_daemon_that_hangs(lan, tmp_path):
    lan.presenter.start_bus()
    daemon = lan.presenter.start_avahi()
    daemon.signal(signal.SIGSTOP)
    report = run_doctor_on(lan.presenter, tmp_path)
    daemon.signal(signal.SIGCONT)
    assert report.texts("Name") == [
        "tarvinel.local cannot be published: the Avahi daemon does not answer."]


def test_a_firewall(tmp_path):
    ufw = tmp_path / "root/etc/ufw"
    ufw.mkdir(parents=True)
    (ufw / "ufw.conf").write_text("ENABLED=yes\n")
    report = run_doctor(tmp_path, "--system-root", tmp_path / "root", "--port", "8080")
    assert report.findings["Firewall"] == [
        (KNOW, "ufw is on; which ports it lets in only root can see.",
         ("See: sudo ufw status", "Let viewers in: sudo ufw allow 8080/tcp"))]
    rule = "### tuple ### allow tcp {} 0.0.0.0/0 any 0.0.0.0/0 in\n"
    (ufw / "user.rules").write_text(rule.format(22))
    report = run_doctor(tmp_path, "--system-root", tmp_path / "root", "--port", "8080")
    assert (report.status, report.states("Firewall")) == (1, [MEND])
    (ufw / "user.rules").write_text(rule.format(8080))
    report = run_doctor(tmp_path, "--system-root", tmp_path / "root", "--port", "8080")
    assert report.texts("Firewall") == ["ufw is on and lets viewers in at port 8080."]


ADVICE = "sudo firewall-cmd --permanent --zone={} --add-{} && sudo firewall-cmd --reload"
OPEN = (FINE, "firewalld runs and lets viewers in at port 80.", ())


def shut(zone):
    return (MEND, f"firewalld runs, and its zone {zone} keeps viewers out of port 80.",
            ("Let viewers in: " + ADVICE.format(zone, "port=80/tcp"),))


def without_names(zone):
    return (KNOW, f"The zone {zone} of firewalld keeps out who looks for the name; the address with "
                  "numbers works.", ("Let the name be found: " + ADVICE.format(zone, "service=mdns"),))


ONLY_FOR_ROOT = (
    KNOW, "firewalld runs; which ports it lets in only root can see.",
    ("See: sudo firewall-cmd --zone=public --list-all",
     "Let viewers in: " + ADVICE.format("public", "port=80/tcp"),
     "Let the name be found: " + ADVICE.format("public", "service=mdns")))


@pytest.mark.parametrize("firewall, findings", [
    ({"allowed": {"public": ["ssh"]}}, [shut("public"), without_names("public")]),
    ({"allowed": {"public": ["80/tcp", "mdns"]}}, [OPEN]),
    ({"allowed": {"public": ["http", "5353/udp"]}}, [OPEN]),
    ({"allowed": {}, "default": "trusted"}, [OPEN]),
    ({"allowed": {"public": ["http", "mdns"], "home": []}, "zones": {"eth0": "home"}},
     [shut("home"), without_names("home")]),
    ({"allowed": None}, [ONLY_FOR_ROOT]),
], ids=["shut", "port", "service", "trusted", "another zone", "only for root"])
def test_firewalld(network, tmp_path, firewall, findings):
    bus = SessionBus(tmp_path)
    firewalld = FakeFirewalld(bus.address, **firewall)
    try:
        report = run_doctor(tmp_path, "--system-root", tmp_path, prefix=network.exec_in_server(),
                      variables={"DBUS_SYSTEM_BUS_ADDRESS": bus.address})
    finally:
        firewalld.stop()
        bus.stop()
    assert report.findings["Firewall"] == findings


def test_no_firewall(tmp_path):
    report = run_doctor(tmp_path, "--system-root", tmp_path)
    assert report.findings["Firewall"] == [
        (FINE, "None is set up here, as far as can be told without being root.", ())]


def test_a_configuration_with_mistakes(tmp_path):
    folder = tmp_path / "config/Tarvinel"
    folder.mkdir(parents=True)
    file = folder / "config.json"
    assert run_doctor(tmp_path).findings["Configuration"] == [
        (FINE, f"There is no {file}: everything is at its default.", ())]
    file.write_text('{"port": 8080, "Fps": 3, "fps": 99}')
    report = run_doctor(tmp_path)
    assert report.findings["Configuration"] == [
        (FINE, f"{file} is in force.", ()),
        (KNOW, "No such setting: Fps.", ("Look at its spelling; capital letters count.",)),
        (KNOW, "Out of range: fps is 60 instead of 99.", ())]
    assert "port 8080" in report.texts("Port")[0].lower()
    file.write_text('{"port": "80"}')
    report = run_doctor(tmp_path)
    assert (report.status, report.states("Configuration")) == (1, [MEND])
    assert report.texts("Configuration")[0].startswith(f"config at {file} ignored: ")


def test_an_upload_folder_that_is_none(tmp_path):
    (tmp_path / "file").write_text("")
    report = run_doctor(tmp_path, "--upload-folder", tmp_path / "file/photos")
    assert report.status == 1
    assert report.findings["Uploads"] == [
        (MEND, f"Photos cannot go to {tmp_path}/file/photos: that is no folder.",
         ("Choose another folder in the menu, or with --upload-folder.",))]


def test_texts_from_elsewhere_cannot_move_the_cursor(tmp_path):
    report = run_doctor(tmp_path, "--upload-folder", str(tmp_path / "a\x1b[2Jb\nc"))
    assert "\x1b" not in report.text
    assert report.texts("Uploads")[0].startswith(f"Photos go to {tmp_path}/a?[2Jb?c, which")


def test_in_a_terminal_it_has_colours_and_fits(tmp_path):
    terminal = Terminal([executable(), "--doctor"], private_env(tmp_path), columns=80)
    terminal.wait()
    shown = terminal.shown
    terminal.stop()
    assert "\x1b[32mfine            \x1b[0mPort" in shown
    assert max(len(re.sub(r"\x1b\[[\d;]*m", "", line)) for line in shown.splitlines()
               if "/" not in line) <= 80
