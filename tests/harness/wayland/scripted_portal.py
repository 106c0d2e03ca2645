"""A scripted backend of the screen-cast portal, and a session that uses it.

The portal's real frontend calls it in place of a desktop's backend, so that any PipeWire node can be
shared without a dialog.
"""
from gi.repository import GLib

from ..desktop.bus_service import BusService
from .portal_session import PortalSession

NAME = "org.freedesktop.impl.portal.desktop.tarvineltest"
SCREEN_CAST = "org.freedesktop.impl.portal.ScreenCast"
SESSION = "org.freedesktop.impl.portal.Session"
DISPLAY, WINDOW = 1, 2  # source types
HIDDEN, EMBEDDED, METADATA = 1, 2, 4  # cursor modes
SUCCESS, FAILED = 0, 2  # codes of a response

PORTAL_FILE = f"""[portal]
DBusName={NAME}
Interfaces={SCREEN_CAST};
UseIn=tarvineltest;
"""

XML = f"""<node><interface name="{SCREEN_CAST}">
  <method name="CreateSession">
    <arg type="o" direction="in"/><arg type="o" direction="in"/><arg type="s" direction="in"/>
    <arg type="a{{sv}}" direction="in"/><arg type="u" direction="out"/>
    <arg type="a{{sv}}" direction="out"/>
  </method>
  <method name="SelectSources">
    <arg type="o" direction="in"/><arg type="o" direction="in"/><arg type="s" direction="in"/>
    <arg type="a{{sv}}" direction="in"/><arg type="u" direction="out"/>
    <arg type="a{{sv}}" direction="out"/>
  </method>
  <method name="Start">
    <arg type="o" direction="in"/><arg type="o" direction="in"/><arg type="s" direction="in"/>
    <arg type="s" direction="in"/><arg type="a{{sv}}" direction="in"/>
    <arg type="u" direction="out"/><arg type="a{{sv}}" direction="out"/>
  </method>
  <property name="AvailableSourceTypes" type="u" access="read"/>
  <property name="AvailableCursorModes" type="u" access="read"/>
  <property name="version" type="u" access="read"/>
</interface></node>"""

SESSION_XML = f"""<node><interface name="{SESSION}">
  <method name="Close"/>
  <signal name="Closed"/>
  <property name="version" type="u" access="read"/>
</interface></node>"""


class ScriptedBackend(BusService):
    """Approves every request with the node of the last call to approve(); fails requests before that."""

    def __init__(self, bus_address, source_types=DISPLAY | WINDOW, cursor_modes=HIDDEN):
        self._properties = {"AvailableSourceTypes": source_types,
                            "AvailableCursorModes": cursor_modes, "version": 4}
        self._sessions = {}
        self._start_response = (FAILED, {})
        self.selections = []  # the options of each SelectSources call
        super().__init__(bus_address, NAME, "/org/freedesktop/portal/desktop", XML)

    def approve(self, node, size=None):
        """Shares this node from now on; `size` is the stream's size in the response."""
        properties = {"size": GLib.Variant("(ii)", size)} if size else {}
        self._start_response = (SUCCESS, {"streams": GLib.Variant("a(ua{sv})", [(node, properties)])})

    def open_sessions(self):
        return list(self._sessions)

    def end_sessions(self):
        """Closes all sessions, as a desktop does when its user stops the sharing there."""
        for path in list(self._sessions):
            self._connection.emit_signal(None, path, SESSION, "Closed", None)

    def _handle_call(self, connection, sender, path, interface, method, arguments, invocation):
        if method == "Close":
            connection.unregister_object(self._sessions.pop(path))
            return invocation.return_value(None)
        response = (SUCCESS, {})
        if method == "CreateSession":
            self._sessions[arguments[1]] = self._export(arguments[1], SESSION_XML)
        if method == "SelectSources":
            self.selections.append(arguments.unpack()[3])
        if method == "Start":
            response = self._start_response
        invocation.return_value(GLib.Variant("(ua{sv})", response))

    def _get_property(self, connection, sender, path, interface, name):
        return GLib.Variant("u", 1 if interface == SESSION else self._properties[name])


class ScriptedPortalSession(PortalSession):
    """A session whose portal backend is a ScriptedBackend; `backend` holds the backend's keywords."""

    def __init__(self, **backend):
        self._backend_options = backend
        super().__init__()

    def _start_desktop(self):
        (self.folder / "portals").mkdir()
        (self.folder / "portals/test.portal").write_text(PORTAL_FILE)
        self._give(self.folder / "portals")
        self.backend = ScriptedBackend(self.bus_address, **self._backend_options)
        self._started.callback(self.backend.stop)

    def _variables(self):
        return {"XDG_CURRENT_DESKTOP": "tarvineltest",
                "XDG_DESKTOP_PORTAL_DIR": str(self.folder / "portals")}
