"""A desktop session for the program: an X display, a session bus, and what a test starts there."""
import contextlib
import re
import subprocess
from pathlib import Path

from ..process import Process
from ..program import executable, private_env
from ..waiting import LIMIT, eventually
from .session_bus import SessionBus
from .tray_host import TrayHost

NO_BUS = "unix:path=/nowhere"
TOOLKIT_LEAKS = Path(__file__).with_name("toolkit_leaks.supp")


class DesktopSession:
    """A session on an X server. stop() ends every process that was started in it."""

    def __init__(self, folder, screen):
        self.screen = screen
        self._folder = folder
        self._started = contextlib.ExitStack()
        self.bus = SessionBus(folder)
        self._started.callback(self.bus.stop)

    @property
    def variables(self):
        """The environment variables that put the program into this session."""
        return {"DBUS_SESSION_BUS_ADDRESS": self.bus.address,
                "XDG_RUNTIME_DIR": str(self._folder),
                "LSAN_OPTIONS": f"suppressions={TOOLKIT_LEAKS}"}

    @property
    def env(self):
        return {**private_env(self._folder, self.screen.name), **self.variables}

    def start_tray(self, hosting=True):
        """Starts a tray that the test controls over D-Bus."""
        return self._keep(TrayHost(self.bus.address, hosting))

    def start_panel(self, panel, dark=True):
        """Starts a real panel of the given class."""
        return self._keep(panel(self._folder, self.screen, self.env, dark))

    def start_window_manager(self):
        self._keep(Process(["openbox"], self._folder, "openbox", env=self.env))
        eventually(lambda: "window id" in self.screen.run(
            "xprop", "-root", "_NET_SUPPORTING_WM_CHECK"), LIMIT, "the window manager")

    def launch_again(self):
        """Runs a second instance of the program to its end and returns its standard output."""
        done = subprocess.run([executable()], env=self.env, capture_output=True, text=True,
                              timeout=LIMIT)
        assert done.returncode == 0, done.stderr
        return done.stdout

    def window(self):
        """Returns the ID of the program's window, or None unless it is visible."""
        tree = self.screen.window_tree()
        for found in re.finditer(r'^ +(0x[0-9a-f]+) "Tarvinel":.* (\d+)x(\d+)\+', tree, re.M):
            if int(found[2]) > 50 and "IsViewable" in self._window_state(found[1]):
                return found[1]
        return None

    def press(self, *keys):
        """Presses keys in the program's window."""
        self.screen.run("xdotool", "windowactivate", "--sync", self.window())
        self.screen.run("xdotool", "key", "--clearmodifiers", *keys)

    def stop(self):
        self._started.close()

    def _keep(self, started):
        self._started.callback(started.stop)
        return started

    def _window_state(self, window):
        done = subprocess.run(["xwininfo", "-id", window], env=self.env, capture_output=True,
                              text=True, timeout=LIMIT)
        return done.stdout
