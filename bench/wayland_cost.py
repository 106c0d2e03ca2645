#!/usr/bin/python3
"""The cost of sharing the screen of a Wayland desktop: processor time of the program in per cent of one
core, while a terminal that fills the screen types, scrolls or redraws, with one viewer on loopback. The
compositor's work is not included.

    bench/wayland_cost.py [SECONDS]
"""
import threading
import time

from measuring import drain, print_costs

from harness.viewer import Viewer
from harness.wayland.sway import SwaySession

CHANGES_A_SECOND = 20

# the script in the terminal: one change every twentieth of a second
CHANGES = {
    "typing": "printf x",
    "scrolling (all of it)": "printf '%0200d\\n' $n",
    "drawn anew (all of it)": "printf '\\033[4%dm\\033[2J' $((n % 8))",
}
SCRIPT = "n=0; while :; do {change}; n=$((n + 1)); sleep {pause}; done"


def measure(session, program, change, seconds):
    """Returns the processor time in per cent of a core."""
    script = SCRIPT.format(change=change, pause=1 / CHANGES_A_SECOND)
    terminal = session.start_client("foot", "--fullscreen", "--log-level=error", "bash", "-c", script)
    session.wait_for_window()
    time.sleep(2)  # the first picture is not measured
    before, started = program.cpu_seconds(), time.monotonic()
    time.sleep(seconds)
    cost = 100 * (program.cpu_seconds() - before) / (time.monotonic() - started)
    terminal.stop()
    return cost


def run(_, width, height, seconds):
    session = SwaySession(width, height)
    try:
        program = session.program("--share", "display-1")
        program.wait_until_sharing()
        viewer = Viewer(program.address)
        threading.Thread(target=drain, args=(viewer,), daemon=True).start()
        return {name: measure(session, program, change, seconds)
                for name, change in CHANGES.items()}
    finally:
        session.stop()


if __name__ == "__main__":
    print_costs(("screen",), CHANGES, run)
