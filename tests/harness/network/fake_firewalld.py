"""A fake firewalld that replies like version 1.3."""
from gi.repository import Gio, GLib

from ..desktop.bus_service import BusService

NAME = "org.fedoraproject.FirewallD1"
PATH = "/org/fedoraproject/FirewallD1"
NOT_AUTHORIZED = f"{NAME}.NotAuthorizedException"
XML = f"""<node>
<interface name="{NAME}">
  <method name="getDefaultZone"><arg type="s" direction="out"/></method>
</interface>
<interface name="{NAME}.zone">
  <method name="getZoneOfInterface">
    <arg type="s" direction="in"/><arg type="s" direction="out"/></method>
  <method name="queryPort">
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="s" direction="in"/>
    <arg type="b" direction="out"/></method>
  <method name="queryService">
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="b" direction="out"/></method>
</interface>
</node>"""


class FakeFirewalld(BusService):
    """`default` is the default zone, `zones` maps network interfaces to their zones. `allowed` maps zones
    to lists of services and of ports such as "80/tcp"; with None, queries require authorization."""

    def __init__(self, bus_address, allowed, zones=(), default="public"):
        self._allowed, self._zones, self._default = allowed, dict(zones), default
        super().__init__(bus_address, NAME, PATH, XML)

    def handle_call(self, sender, method, arguments):
        if method == "getDefaultZone":
            return GLib.Variant("(s)", (self._default,))
        if method == "getZoneOfInterface":
            return GLib.Variant("(s)", (self._zones.get(arguments[0], ""),))
        zone, *what = arguments
        return GLib.Variant("(b)", ("/".join(what) in self._allowed.get(zone or self._default, ()),))

    def _handle_call(self, connection, sender, path, interface, method, arguments, invocation):
        if self._allowed is None and method.startswith("query"):
            invocation.return_dbus_error(NOT_AUTHORIZED, "Not Authorized(polkit)")
        else:
            invocation.return_value(self.handle_call(sender, method, arguments))

    def _export(self, path, xml):
        for interface in Gio.DBusNodeInfo.new_for_xml(xml).interfaces:
            self._connection.register_object(path, interface, self._handle_call, None, None)
