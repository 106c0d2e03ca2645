"""A Wayland session without a screen of its own: compositor, media server and desktop portal."""
import contextlib
import json
import subprocess
from pathlib import Path

import numpy
from PIL import Image

from ..waiting import eventually
from .pointer import WaylandPointer
from .portal_session import LIMIT, PortalDesktop

OUTPUT = "HEADLESS-1"
KEYBOARD_STAYS = 600_000  # milliseconds: longer than any test
HARNESS = Path(__file__).parent

# a plain surface and nothing that moves, no cursor
SWAY = """output {output} resolution {width}x{height} position 0 0 bg #204060 solid_color
xwayland disable
seat * hide_cursor 1
"""

PORTAL = """[screencast]
output_name={output}
max_fps=30
chooser_type=simple
chooser_cmd={folder}/dialog
"""

# The desktop's dialog: notes that it was opened, waits while it is held open, and answers.
DIALOG = """#!/bin/sh
echo opened >> {folder}/dialogs
while [ -e {folder}/held ]; do sleep 0.05; done
cat {folder}/answer
"""


class WaylandSession(PortalDesktop):
    """The session of one user at sway, with sway's own back end of the portal."""

    def __init__(self, width=800, height=600):
        self.width, self.height = width, height
        super().__init__()

    def _start_desktop(self):
        (self.folder / "dialog").chmod(0o755)
        self.answer(OUTPUT)
        self.compositor = self._start("sway", "-c", self.folder / "sway.conf",
                                      without=["WAYLAND_DISPLAY"])
        self.env["SWAYSOCK"] = str(eventually(
            lambda: next(iter(self._runtime.glob("sway-ipc.*.sock")), None), LIMIT, "sway"))
        self._wait_for(self._runtime / "wayland-1")
        self.back_end = self.start_back_end()

    def _files(self):
        return {**super()._files(), "sway.conf": SWAY, "portal.conf": PORTAL, "dialog": DIALOG}

    def _places(self):
        return {**super()._places(), "output": OUTPUT, "width": self.width, "height": self.height}

    def _variables(self):
        return {"XDG_CURRENT_DESKTOP": "sway", "WLR_BACKENDS": "headless",
                "WLR_RENDERER": "pixman", "WLR_LIBINPUT_NO_DEVICES": "1"}

    def start_back_end(self):
        shim = self.folder / "shim.so"
        if not shim.exists():
            subprocess.run(["cc", "-shared", "-fPIC", "-o", shim, HARNESS / "screencopy_shim.c"],
                           check=True)
        back_end = self._start("/usr/libexec/xdg-desktop-portal-wlr", "-l", "DEBUG",
                               "-c", self.folder / "portal.conf", LD_PRELOAD=str(shim))
        self._wait_for_name("org.freedesktop.impl.portal.desktop.wlr")
        return back_end

    def dialogs(self):
        """How often the dialog was opened."""
        opened = self.folder / "dialogs"
        return opened.read_text().count("opened") if opened.exists() else 0

    def answer(self, output):
        """What the presenter will choose in the dialog; an empty text refuses."""
        (self.folder / "answer").write_text(f"{output}\n" if output else "")

    @contextlib.contextmanager
    def dialog_held_open(self):
        held = self.folder / "held"
        held.touch()
        try:
            yield
        finally:
            held.unlink()

    def start_client(self, *argv):
        """A program that draws in this session."""
        return self._start(*argv)

    def wait_for_window(self):
        """Waits until some program has a window."""
        eventually(lambda: '"pid"' in self.run("swaymsg", "-t", "get_tree"), LIMIT, "a window")

    def terminal(self):
        """A terminal that shows what is typed, once it has the keyboard. That is plugged in before:
        keys that come with a new keyboard are lost to who has not taken notice of it yet."""
        self.start_client("wtype", "-s", str(KEYBOARD_STAYS))
        eventually(lambda: '"keyboard"' in self.run("swaymsg", "-t", "get_inputs"), LIMIT,
                   "a keyboard")
        self.start_client("foot", "--log-level=error", "cat")
        eventually(lambda: self._focused_program() == "foot", LIMIT, "the terminal")

    def type(self, text):
        """Presses the keys for that text."""
        self.run("wtype", text)

    def pointer(self):
        """A mouse; close() unplugs it. The pointer is seen from now on."""
        self.sway("seat", "*", "hide_cursor", "0")
        return WaylandPointer(self._runtime / "wayland-1", self.width, self.height)

    def screenshot(self):
        """What is on the screen by the compositor's own account."""
        path = self.folder / "home/screenshot.png"
        self.run("grim", path)
        return numpy.asarray(Image.open(path).convert("RGB"))

    def show(self, colour):
        """Fills the screen with a colour, "#rrggbb"."""
        self.sway("output", OUTPUT, "bg", colour, "solid_color")

    def _focused_program(self):
        tree = json.loads(self.run("swaymsg", "-t", "get_tree"))
        inside = [tree]
        for node in inside:
            inside += node["nodes"]
        return next((node["app_id"] for node in inside if node["focused"] and "app_id" in node), None)

    def sway(self, *words):
        self.run("swaymsg", *words)
