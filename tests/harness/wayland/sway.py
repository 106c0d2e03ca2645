"""A headless Wayland session at sway: compositor, media server and desktop portal."""
import contextlib
import json
import subprocess
from pathlib import Path

import numpy
from PIL import Image

from ..waiting import eventually
from .pointer import VirtualPointer
from .portal_session import LIMIT, PortalSession

OUTPUT = "HEADLESS-1"
KEYBOARD_STAYS = 600_000  # milliseconds, longer than any test
SHIM = Path(__file__).with_name("screencopy_shim.c")

# A plain background, no animation and no cursor.
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

# The desktop's dialog: it records that it was opened, waits while it is held open, and prints the choice.
DIALOG = """#!/bin/sh
echo opened >> {folder}/dialogs
while [ -e {folder}/held ]; do sleep 0.05; done
cat {folder}/choice
"""


class SwaySession(PortalSession):
    """A user's session at sway, with the portal backend for wlroots."""

    def __init__(self, width=800, height=600):
        self.width, self.height = width, height
        super().__init__()

    def _start_desktop(self):
        (self.folder / "dialog").chmod(0o755)
        self.choose_output(OUTPUT)
        self.compositor = self._start("sway", "-c", self.folder / "sway.conf",
                                      without=["WAYLAND_DISPLAY"])
        self.env["SWAYSOCK"] = str(eventually(
            lambda: next(iter(self._runtime.glob("sway-ipc.*.sock")), None), LIMIT, "sway"))
        self._wait_for(self._runtime / "wayland-1")
        self.backend = self.start_backend()

    def _files(self):
        return {**super()._files(), "sway.conf": SWAY, "portal.conf": PORTAL, "dialog": DIALOG}

    def _places(self):
        return {**super()._places(), "output": OUTPUT, "width": self.width, "height": self.height}

    def _variables(self):
        return {"XDG_CURRENT_DESKTOP": "sway", "WLR_BACKENDS": "headless",
                "WLR_RENDERER": "pixman", "WLR_LIBINPUT_NO_DEVICES": "1"}

    def start_backend(self):
        shim = self.folder / "shim.so"
        if not shim.exists():
            subprocess.run(["cc", "-shared", "-fPIC", "-o", shim, SHIM], check=True)
        backend = self._start("/usr/libexec/xdg-desktop-portal-wlr", "-l", "DEBUG",
                              "-c", self.folder / "portal.conf", LD_PRELOAD=str(shim))
        self._wait_for_name("org.freedesktop.impl.portal.desktop.wlr")
        return backend

    def dialogs(self):
        """Returns how often the dialog was opened."""
        opened = self.folder / "dialogs"
        return opened.read_text().count("opened") if opened.exists() else 0

    def choose_output(self, output):
        """Sets the output that the presenter chooses in the dialog; an empty string cancels it."""
        (self.folder / "choice").write_text(f"{output}\n" if output else "")

    @contextlib.contextmanager
    def dialog_held_open(self):
        held = self.folder / "held"
        held.touch()
        try:
            yield
        finally:
            held.unlink()

    def start_client(self, *argv):
        """Starts a program that draws in this session."""
        return self._start(*argv)

    def wait_for_window(self):
        """Waits until any program has a window."""
        eventually(lambda: '"pid"' in self.run("swaymsg", "-t", "get_tree"), LIMIT, "a window")

    def terminal(self):
        """Starts a terminal that shows what is typed, and waits until it has the keyboard's focus.

        The keyboard is added first: a client that has not processed a new keyboard loses its first
        keys."""
        self.start_client("wtype", "-s", str(KEYBOARD_STAYS))
        eventually(lambda: '"keyboard"' in self.run("swaymsg", "-t", "get_inputs"), LIMIT,
                   "a keyboard")
        self.start_client("foot", "--log-level=error", "cat")
        eventually(lambda: self._focused_app_id() == "foot", LIMIT, "the terminal")

    def type(self, text):
        """Types the text on a virtual keyboard."""
        self.run("wtype", text)

    def pointer(self):
        """Adds a virtual pointer, which close() removes, and shows the cursor from now on."""
        self.sway("seat", "*", "hide_cursor", "0")
        return VirtualPointer(self._runtime / "wayland-1", self.width, self.height)

    def screenshot(self):
        """Returns the compositor's own screenshot."""
        path = self.folder / "home/screenshot.png"
        self.run("grim", path)
        return numpy.asarray(Image.open(path).convert("RGB"))

    def show(self, colour):
        """Fills the screen with a colour, given as "#rrggbb"."""
        self.sway("output", OUTPUT, "bg", colour, "solid_color")

    def _focused_app_id(self):
        tree = json.loads(self.run("swaymsg", "-t", "get_tree"))
        inside = [tree]
        for node in inside:
            inside += node["nodes"]
        return next((node["app_id"] for node in inside if node["focused"] and "app_id" in node), None)

    def sway(self, *words):
        self.run("swaymsg", *words)
