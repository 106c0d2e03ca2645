"""A desktop's side of the screen-cast portal that answers as the test says.

The portal's real front end asks it instead of a desktop, so that any node of the media server can
be shared.
"""
from gi.repository import GLib

from ..desktop.bus_service import BusService

NAME = "org.freedesktop.impl.portal.desktop.tarvineltest"
SCREEN_CAST = "org.freedesktop.impl.portal.ScreenCast"
SESSION = "org.freedesktop.impl.portal.Session"
DISPLAY, WINDOW = 1, 2  # types of sources
HIDDEN, EMBEDDED, METADATA = 1, 2, 4  # modes of the cursor
SUCCESS, REFUSED, FAILED = 0, 1, 2

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


class ScreenCastBackEnd(BusService):
    """Grants the node that was set last, with its properties ("size", "source_type", ...)."""

    def __init__(self, bus_address, source_types=DISPLAY | WINDOW, cursor_modes=HIDDEN):
        self._numbers = {"AvailableSourceTypes": source_types,
                         "AvailableCursorModes": cursor_modes, "version": 4}
        self._sessions = {}
        self._answer = (FAILED, {})
        self.selections = []  # what was asked for, each time
        super().__init__(bus_address, NAME, "/org/freedesktop/portal/desktop", XML)

    def grant(self, node, size=None):
        """Shares this node from now on; `size` is what the desktop tells of it."""
        properties = {"size": GLib.Variant("(ii)", size)} if size else {}
        self._answer = (SUCCESS, {"streams": GLib.Variant("a(ua{sv})", [(node, properties)])})

    def refuse(self):
        self._answer = (REFUSED, {})

    def open_sessions(self):
        return list(self._sessions)

    def end_sessions(self):
        """What a desktop does when its user ends the sharing there."""
        for path in list(self._sessions):
            self._connection.emit_signal(None, path, SESSION, "Closed", None)

    def _called(self, connection, sender, path, interface, method, arguments, invocation):
        if method == "Close":
            connection.unregister_object(self._sessions.pop(path))
            return invocation.return_value(None)
        answer = (SUCCESS, {})
        if method == "CreateSession":
            self._sessions[arguments[1]] = self._export(arguments[1], SESSION_XML)
        if method == "SelectSources":
            self.selections.append(arguments.unpack()[3])
        if method == "Start":
            answer = self._answer
        invocation.return_value(GLib.Variant("(ua{sv})", answer))

    def _asked(self, connection, sender, path, interface, name):
        return GLib.Variant("u", 1 if interface == SESSION else self._numbers[name])
