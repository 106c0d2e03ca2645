"""Ethernet or Wi-Fi: the link decides the frame rate of a running share."""
import json
import re

import pytest

from harness.viewer import Viewer
from harness.waiting import LIMIT, eventually


@pytest.fixture
def start_there(start, machine, tmp_path):
    """Starts the program on the host with two links, sharing a picture that changes often. Two viewers
    may have about 16 frames a second over Ethernet and 8 over Wi-Fi."""
    (tmp_path / "config.json").write_text(json.dumps({"budgetMbps": 10, "motionQuality": 1.0}))

    def start_program():
        return start("--capture", "pattern", "--share", "display-1", "--sysfs", str(machine.sysfs),
                     "--config", str(tmp_path / "config.json"),
                     prefix=machine.exec_in(), connect=machine.connect)

    return start_program


def path_changes(program):
    return re.findall(r"\[app\] network path is now (\S+)", program.stderr)


def rates(program, link):
    """Returns the rates chosen for two viewers on a link since frames were first measured."""
    return [int(rate) for rate in
            re.findall(rf"motion rate now (\d+) fps for 2 viewers on {link}", program.stderr)
            if rate != "20"]


def test_moving_between_cable_and_wifi_changes_the_motion_rate(start_there, machine):
    machine.route_over("eth0")
    program = start_there()
    program.wait_until_sharing()
    with Viewer(connection=machine.connect(program.address)), \
            Viewer(connection=machine.connect(program.address)):
        by_cable = eventually(lambda: rates(program, "Ethernet"), LIMIT, "a rate by cable")
        machine.route_over("wlan0")
        program.wait_for_line("network path is now Wi-Fi", source="stderr")
        by_air = eventually(lambda: rates(program, "Wi-Fi"), LIMIT, "a rate over Wi-Fi")
        assert by_air[0] < by_cable[-1]
        assert program.status()["fps"] in rates(program, "Wi-Fi")
        program.command("status")
        program.wait_for_line(r"(?m)^Wi-Fi · \d+ fps · 2 viewers ")
        machine.route_over("eth0")
        eventually(lambda: path_changes(program) == ["Ethernet", "Wi-Fi", "Ethernet"], LIMIT,
                   "back on the cable")
        seen = len(rates(program, "Ethernet"))
        eventually(lambda: len(rates(program, "Ethernet")) > seen, LIMIT, "another rate by cable")
        program.command("status")
        program.wait_for_line(r"(?m)^Ethernet · \d+ fps · 2 viewers ")


def test_without_any_network_it_is_taken_for_wifi_and_served_here(start_there, machine):
    machine.unplug()
    program = start_there()
    program.wait_for_line(rf"Open http://localhost:{program.listening_port()}/ in any browser")
    program.command("status")
    program.wait_for_line(r"(?m)^Wi-Fi · ")
    assert path_changes(program) == []


def test_a_network_that_comes_later_is_used(start_there, machine):
    machine.unplug()
    program = start_there()
    program.wait_for_line("Open http://localhost:")
    machine.plug_in()
    program.wait_for_line("network path is now Ethernet", source="stderr")
    program.wait_for_line("Open http://10.1.0.1:")


def test_a_cable_that_is_pulled_leaves_neither_link_nor_address(start_there, machine):
    machine.route_over("eth0")
    program = start_there()
    program.wait_for_line("network path is now Ethernet", source="stderr")
    program.wait_for_line("Open http://10.1.0.1:")
    machine.pull("eth0")
    program.wait_for_line("network path is now Wi-Fi", source="stderr")
    program.wait_for_line("Open http://10.2.0.1:", within=60)
