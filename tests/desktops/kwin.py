"""KDE's compositor, driven with fake input devices. Its permission checks must be disabled."""
import json
import os
import subprocess
import tempfile
import threading
import time
from pathlib import Path

import numpy
from gi.repository import Gio, GLib
from PIL import Image

from harness.waiting import eventually
from harness.wayland.client import WaylandClient, fixed, text

LIMIT_MS = 60_000
LIMIT = 60
INPUT = b"org_kde_kwin_fake_input"
AUTHENTICATE, BUTTON, MOVE_TO, KEY = 0, 2, 9, 10
LEFT_BUTTON, RIGHT_BUTTON = 0x110, 0x111
KEYS = {"Escape": 1, "Return": 28, "Alt": 56, "Meta": 125, " ": 57, "Tab": 15, "Down": 108, "Up": 103,
        **{letter: number for row, first in (("qwertyuiop", 16), ("asdfghjkl", 30), ("zxcvbnm", 44))
           for number, letter in enumerate(row, first)}}
SCRIPTING = "org.kde.kwin.Scripting"
REPORT_INTERFACE = "org.tarvinel.Presenter"
REPORT_XML = f"<node><interface name='{REPORT_INTERFACE}'><method name='Report'>" \
             "<arg type='s' direction='in'/></method></interface></node>"


class KWin:
    """The compositor of the session whose bus is this process's."""

    def __init__(self):
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self._results = []
        self.bus.register_object("/", Gio.DBusNodeInfo.new_for_xml(REPORT_XML).interfaces[0],
                                 lambda *call: self._receive_result(call[5], call[6]), None, None)
        eventually(lambda: self.has_name("org.kde.KWin") and self.has_name("org.kde.plasmashell"),
                   LIMIT, "Plasma")
        self._client = WaylandClient(Path(os.environ["XDG_RUNTIME_DIR"]) / "wayland-0")
        self._input = self._client.bind(INPUT, 4)
        self._client.send(self._input, AUTHENTICATE, *text(b"presenter"), *text(b"a talk"))
        self._client.wait()
        eventually(self.place_of_panel, LIMIT, "the panel", every=1)

    def has_name(self, name):
        return self.call("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "NameHasOwner", "(s)",
                         name)[0]

    def run(self, script):
        """Runs a script in KWin and returns its value."""
        with tempfile.NamedTemporaryFile("w", suffix=".js") as file:
            file.write(f"callDBus({self.bus.get_unique_name()!r}, '/', {REPORT_INTERFACE!r}, 'Report',"
                       f" JSON.stringify((() => {{ {script} }})() ?? null));")
            file.flush()
            self._results.clear()
            name = f"presenter-{time.monotonic_ns()}"
            number, = self.call("org.kde.KWin", "/Scripting", SCRIPTING, "loadScript", "(ss)", file.name,
                                name)
            self.call("org.kde.KWin", f"/Scripting/Script{number}", "org.kde.kwin.Script", "run")
            eventually(self._has_result, LIMIT, script)
            self.call("org.kde.KWin", "/Scripting", SCRIPTING, "unloadScript", "(s)", name)
        return json.loads(self._results[0])

    def screenshot(self, path):
        """Saves a screenshot of the whole screen with the pointer."""
        pieces, (read, write) = [], os.pipe()
        reader = threading.Thread(target=lambda: pieces.append(_read_to_end(read)))
        reader.start()
        fds = Gio.UnixFDList.new_from_array([write])  # the list owns the descriptor now
        try:
            picture, = self.bus.call_with_unix_fd_list_sync(
                "org.kde.KWin", "/org/kde/KWin/ScreenShot2", "org.kde.KWin.ScreenShot2",
                "CaptureWorkspace", GLib.Variant("(a{sv}h)", (
                    {"include-cursor": GLib.Variant("b", True),
                     "native-resolution": GLib.Variant("b", True)}, 0)),
                None, Gio.DBusCallFlags.NONE, LIMIT_MS, fds, None)[0].unpack()
        finally:
            del fds
            reader.join(LIMIT)
        rows = numpy.frombuffer(pieces[0], numpy.uint8).reshape(picture["height"], picture["stride"])
        pixels = rows[:, :picture["width"] * 4].reshape(picture["height"], picture["width"], 4)
        Image.fromarray(pixels[:, :, 2::-1].copy()).save(path)

    def move(self, x, y):
        """Moves the pointer to logical coordinates."""
        self._client.send(self._input, MOVE_TO, fixed(x), fixed(y))
        self._client.wait()

    def click(self, x, y, button=LEFT_BUTTON):
        self.move(x, y)
        for state in (1, 0):
            self._client.send(self._input, BUTTON, button, state)
        self._client.wait()

    def press(self, *keys):
        """Presses keys together."""
        for state, order in ((1, keys), (0, keys[::-1])):
            for key in order:
                self._client.send(self._input, KEY, KEYS[key], state)
        self._client.wait()

    def type(self, letters):
        for letter in letters:
            self.press(letter)

    def window_count(self):
        """Returns the number of all windows, including menus."""
        return self.run("return workspace.windowList().length;")

    def has_notification(self):
        """Returns whether the desktop shows a notification."""
        return self.run("return workspace.windowList().some(w => w.notification || w.criticalNotification);")

    def place_of_panel(self):
        """Returns left, top, width and height of the panel, or None while there is none."""
        return self.run("const r = workspace.windowList().find(w => w.dock)?.frameGeometry;"
                        " return r ? [r.x, r.y, r.width, r.height] : null;")

    def place_of_window(self, title):
        """Returns left, top, width and height of the window with that title, or None."""
        return self.run(f"const w = {_window(title)}; const r = w?.frameGeometry;"
                        " return r && !w.minimized ? [r.x, r.y, r.width, r.height] : null;")

    @staticmethod
    def margins(_):
        """Returns the margins of a share of a window: Plasma shares it without its shadow."""
        return 0, 0, 0, 0

    def wait_for_window(self, title):
        return eventually(lambda: self.place_of_window(title), LIMIT, f"the window {title!r}", every=0.2)

    def wait_for_no_window(self, title):
        eventually(lambda: not self.place_of_window(title), LIMIT, f"{title!r} is closed", every=0.2)

    def move_window(self, title, left, top):
        """Moves, raises and focuses the window; returns its rectangle."""
        def moved():  # repeated for a window that is still being placed
            self.run(f"const w = {_window(title)}; workspace.activeWindow = w; workspace.raiseWindow?.(w);"
                     f" w.frameGeometry.x = {left}; w.frameGeometry.y = {top};")
            place = self.place_of_window(title)
            return place and place[:2] == [left, top] and place

        return eventually(moved, LIMIT, f"{title!r} is there", every=0.5)

    def set_scale(self, scale):
        """Sets the scale of the only monitor, as its user would in the settings."""
        subprocess.run(["kscreen-doctor", f"output.1.scale.{scale}"], check=True, timeout=LIMIT,
                       stdout=subprocess.DEVNULL)
        eventually(lambda: self.run("return workspace.screens[0].devicePixelRatio;") == scale, LIMIT,
                   "the scale")

    def call(self, service, path, interface, method, signature="()", *arguments):
        return self.bus.call_sync(service, path, interface, method, GLib.Variant(signature, arguments),
                                  None, Gio.DBusCallFlags.NONE, LIMIT_MS, None).unpack()

    def _receive_result(self, arguments, invocation):
        self._results.append(arguments.unpack()[0])
        invocation.return_value(None)

    def _has_result(self):
        while GLib.MainContext.default().iteration(False):
            pass
        return self._results


def _window(title):
    return f"workspace.windowList().find(w => w.caption === {json.dumps(title)})"


def _read_to_end(fd):
    with open(fd, "rb") as file:
        return file.read()
