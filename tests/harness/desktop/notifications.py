"""The notification service of a desktop."""
import gi

gi.require_version("Gio", "2.0")
from gi.repository import GLib  # noqa: E402  (the version comes first)

from .bus_service import BusService  # noqa: E402

NAME = "org.freedesktop.Notifications"
XML = f"""<node><interface name="{NAME}">
  <method name="Notify">
    <arg type="s" name="app_name" direction="in"/><arg type="u" name="replaces" direction="in"/>
    <arg type="s" name="icon" direction="in"/><arg type="s" name="title" direction="in"/>
    <arg type="s" name="text" direction="in"/><arg type="as" name="actions" direction="in"/>
    <arg type="a{{sv}}" name="hints" direction="in"/><arg type="i" name="timeout" direction="in"/>
    <arg type="u" name="id" direction="out"/>
  </method>
</interface></node>"""


class Notifications(BusService):
    """Records the notifications that it receives, as pairs of title and text."""

    def __init__(self, bus_address):
        self.shown = []
        super().__init__(bus_address, NAME, "/org/freedesktop/Notifications", XML)

    def handle_call(self, sender, method, arguments):
        _, _, _, title, text, *_ = arguments.unpack()
        self.shown.append((title, text))
        return GLib.Variant("(u)", (len(self.shown),))
