"""A headless session at mutter, whose screens and windows a test shares through a scripted portal."""
from gi.repository import GLib

from ..desktop.bus_service import LIMIT_MS, connect
from ..waiting import LIMIT, eventually
from .scripted_portal import METADATA
from .scripted_portal import ScriptedPortalSession

MONITOR = "Meta-0"
CURSOR_HIDDEN, CURSOR_EMBEDDED, CURSOR_METADATA = 0, 1, 2  # mutter's values
SCREEN_CAST = "org.gnome.Mutter.ScreenCast"
REMOTE_DESKTOP = "org.gnome.Mutter.RemoteDesktop"
DISPLAY_CONFIG = "org.gnome.Mutter.DisplayConfig"
TRANSFORM_90 = 1


class MutterSession(ScriptedPortalSession):
    """A user's session at mutter."""

    def __init__(self, width=800, height=600, cursor_modes=METADATA):
        self.width, self.height = width, height
        super().__init__(cursor_modes=cursor_modes)

    def _start_desktop(self):
        super()._start_desktop()
        self.compositor = self._start(
            "mutter", "--headless", "--virtual-monitor", f"{self.width}x{self.height}", "--no-x11",
            "--wayland-display", "wayland-1", without=["WAYLAND_DISPLAY"])
        self._wait_for(self._runtime / "wayland-1")
        self._wait_for_name(SCREEN_CAST)
        self._wait_for_name(REMOTE_DESKTOP)

    def cast(self, cursor=CURSOR_METADATA):
        return ScreenCast(self.bus_address, cursor)

    def rotate_monitor(self, transform):
        """Rotates the screen as its user would in the desktop's settings."""
        bus = connect(self.bus_address)

        def call(method, arguments=None):
            return bus.call_sync(DISPLAY_CONFIG, "/org/gnome/Mutter/DisplayConfig", DISPLAY_CONFIG,
                                 method, arguments, None, 0, LIMIT_MS, None).unpack()

        serial, monitors, _, _ = call("GetCurrentState")
        connector, mode = monitors[0][0][0], monitors[0][1][0][0]
        call("ApplyMonitorsConfig", GLib.Variant(
            "(uua(iiduba(ssa{sv}))a{sv})",
            (serial, 1, [(0, 0, 1.0, transform, True, [(connector, mode, {})])], {})))
        bus.close_sync(None)


class ScreenCast:
    """One screen cast of mutter with a virtual pointer; share_monitor() and share_window() return its
    PipeWire node."""

    def __init__(self, bus_address, cursor):
        self._cursor = GLib.Variant("u", cursor)
        self._context = GLib.MainContext()
        self._bus = connect(bus_address)
        self._desktop = self._call(REMOTE_DESKTOP, "/org/gnome/Mutter/RemoteDesktop",
                                   REMOTE_DESKTOP, "CreateSession")[0]
        identifier = self._call(REMOTE_DESKTOP, self._desktop, "org.freedesktop.DBus.Properties",
                                "Get", "(ss)", f"{REMOTE_DESKTOP}.Session", "SessionId")[0]
        self._session = self._call(
            SCREEN_CAST, "/org/gnome/Mutter/ScreenCast", SCREEN_CAST, "CreateSession", "(a{sv})",
            {"remote-desktop-session-id": GLib.Variant("s", identifier)})[0]

    def share_monitor(self):
        return self._share("RecordMonitor", "(sa{sv})", MONITOR)

    def share_window(self):
        """Shares the focused window."""
        return self._share("RecordWindow", "(a{sv})")

    def announced_size(self):
        """Returns the stream's size as mutter announces it, or None if it does not."""
        return self._call(SCREEN_CAST, self._stream, "org.freedesktop.DBus.Properties", "Get",
                          "(ss)", f"{SCREEN_CAST}.Stream", "Parameters")[0].get("size")

    def move_pointer(self, x, y):
        """Moves the pointer to a position in the stream, in pixels."""
        self._call(REMOTE_DESKTOP, self._desktop, f"{REMOTE_DESKTOP}.Session",
                   "NotifyPointerMotionAbsolute", "(sdd)", self._stream, x, y)

    def stop(self):
        self._call(REMOTE_DESKTOP, self._desktop, f"{REMOTE_DESKTOP}.Session", "Stop")

    def _share(self, method, signature, *arguments):
        self._stream = self._call(SCREEN_CAST, self._session, f"{SCREEN_CAST}.Session", method,
                                  signature, *arguments, {"cursor-mode": self._cursor})[0]
        nodes = []
        self._context.push_thread_default()
        self._bus.signal_subscribe(
            SCREEN_CAST, f"{SCREEN_CAST}.Stream", "PipeWireStreamAdded", self._stream, None, 0,
            lambda *signal: nodes.append(signal[5].unpack()[0]))
        self._context.pop_thread_default()
        self._call(REMOTE_DESKTOP, self._desktop, f"{REMOTE_DESKTOP}.Session", "Start")
        eventually(lambda: nodes or self._context.iteration(False) and nodes, LIMIT, "mutter's node")
        return nodes[0]

    def _call(self, service, path, interface, method, signature="()", *arguments):
        return self._bus.call_sync(service, path, interface, method,
                                   GLib.Variant(signature, arguments), None, 0, LIMIT_MS,
                                   None).unpack()
