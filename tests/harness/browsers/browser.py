"""The base class of the browsers."""
import os
import re
import tempfile
from pathlib import Path
from typing import Callable, NamedTuple

from .. import pixels
from ..process import Process
from ..waiting import LIMIT, eventually
from ..x11.server import XServer

LONGEST_SIDE = 1600  # of a display, also when it is rotated or as large as a zoomed phone
PHONE_ZOOM = 1.4  # the minimum, with which no browser's window is below its minimum width


class BrowserHost(NamedTuple):
    """Where a browser runs: `prefix` is the command that runs a program there, `connect` opens a
    connection to a port of its loopback interface."""
    prefix: list
    connect: Callable


class Browser:
    """One browser, full-screen on an X display and under a window manager of its own.

    `host` is a BrowserHost. A subclass names the engine and starts it: `_launch` returns the session
    through which it is driven. Tests judge the page by pixels(); evaluate() is for what cannot be
    seen.
    """

    name = ""
    hands_over_dropped_files = True

    def __init__(self, folder, host, width=800, height=600):
        self._host = host
        self._started = []
        self._session = None
        self._folder = Path(tempfile.mkdtemp(dir=folder, prefix=f"{self.name}-"))
        try:
            self.screen = XServer(self._folder, LONGEST_SIDE, LONGEST_SIDE, label="screen")
            self._started.append(self.screen)
            self.resize(width, height)
            self._env = self._private_env()
            self._start(["openbox"], "openbox")
            self._session = self._launch()
        except BaseException:
            self.stop()
            raise

    def _launch(self):
        raise NotImplementedError

    def open(self, url):
        """Starts to load the page without waiting for it."""
        self._session.navigate(url)

    def back(self):
        """Goes back to the previous page, as the back button does."""
        self._session.back()

    def evaluate(self, expression):
        return self._session.evaluate(expression)

    def write(self, selector, text):
        """Replaces the text of a text field by typing."""
        self._session.clear(selector)
        self._session.type_into(selector, text)

    def pick(self, selector, paths):
        """Chooses files for a file input, as its dialog does."""
        self._session.type_into(selector, "\n".join(map(str, paths)))

    def pixels(self):
        """Returns the pixels of the display."""
        return pixels.grab(self.screen)

    def hint(self):
        """Returns the text that stands in for the picture, or None while there is a picture."""
        return self.evaluate(
            "(() => { const idle = document.getElementById('idle');"
            " const hint = document.getElementById('hint');"
            " return idle && !idle.hidden ? hint.textContent.trim() : null; })()")

    def tab(self):
        return self._session.tab()

    def new_tab(self):
        """Opens a new tab in the foreground and controls that from now on."""
        tab = self._session.new_tab()
        self._session.switch_to(tab)
        return tab

    def switch_to(self, tab):
        """Brings a tab to the foreground and controls that from now on."""
        self._session.switch_to(tab)

    def close_tab(self):
        self._session.close_tab()

    def keep_only(self, tab):
        """Closes all other tabs."""
        for other in self._session.tabs():
            if other != tab:
                self._session.switch_to(other)
                self._session.close_tab()
        self._session.switch_to(tab)

    def resize(self, width, height):
        """Resizes the display, as rotating a phone does."""
        self.screen.resize(width, height)
        eventually(lambda: self.pixels().shape[:2] == (height, width), LIMIT, "the display's size")

    def become_phone(self, width, height):
        """Zooms in and resizes the display, so that the page has this size in CSS pixels."""
        usual = self._page_width()
        eventually(lambda: self._zoomed_in(usual), LIMIT, "the page is zoomed in", every=0.3)
        zoom = usual / self._page_width()
        self.resize(round(width * zoom), round(height * zoom))
        eventually(lambda: abs(self._page_width() - width) <= 1, LIMIT, "the page's width")

    def leave_phone(self, width=800, height=600):
        """Undoes become_phone(), while a page of the same server is open."""
        self.screen.run("xdotool", "key", "ctrl+0")
        self.resize(width, height)
        eventually(lambda: self._page_width() == width, LIMIT, "the page's usual width")

    def memory_bytes(self):
        """Returns the proportional set size of all its processes."""
        return sum(_proportional_bytes(pid) for pid in _with_descendants(self._driver_pid()))

    def stop(self):
        if self._session:
            self._session.end()
        for started in reversed(self._started):
            started.stop()

    def _zoomed_in(self, usual):
        """Zooms in one step, unless the zoom is sufficient; returns whether it is."""
        if usual / self._page_width() >= PHONE_ZOOM:
            return True
        self.screen.run("xdotool", "key", "ctrl+plus")
        return False

    def _page_width(self):
        return self.evaluate("innerWidth")

    def _driver_pid(self):
        return self._started[-1].pid

    def _start(self, argv, name, **variables):
        process = Process([*self._host.prefix, *argv], self._folder, name,
                          env={**self._env, **variables})
        self._started.append(process)
        return process

    def _private_env(self):
        """Returns an environment without the user's desktop and home."""
        env = {key: value for key, value in os.environ.items()
               if key not in ("WAYLAND_DISPLAY", "XAUTHORITY", "DBUS_SESSION_BUS_ADDRESS")}
        runtime = self._folder / "run"
        runtime.mkdir(mode=0o700)
        return {**env, "DISPLAY": self.screen.name, "HOME": str(self._folder),
                "XDG_RUNTIME_DIR": str(runtime), "NO_AT_BRIDGE": "1"}


def _with_descendants(pid):
    found = [pid]
    for task in Path(f"/proc/{pid}/task").glob("*/children"):
        try:
            children = task.read_text().split()
        except OSError:  # the process has ended
            continue
        for child in children:
            found += _with_descendants(int(child))
    return found


def _proportional_bytes(pid):
    try:
        rollup = Path(f"/proc/{pid}/smaps_rollup").read_text()
    except OSError:  # the process has ended
        return 0
    return int(re.search(r"^Pss:\s+(\d+) kB", rollup, re.MULTILINE)[1]) * 1024
