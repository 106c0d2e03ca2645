"""A D-Bus service that a test implements."""
import threading

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402  (the version comes first)

from ..waiting import LIMIT  # noqa: E402

LIMIT_MS = LIMIT * 1000


def connect(bus_address):
    """Opens a private connection to the bus."""
    return Gio.DBusConnection.new_for_address_sync(
        bus_address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
        | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)


class BusService:
    """Owns a bus name and exports an object with one interface, on a private connection.

    It serves calls on a thread of its own, so that a test may wait for the program at the same time.
    A subclass implements handle_call() and get_property(), or overrides _handle_call() and
    _get_property() if it exports several objects.
    """

    def __init__(self, bus_address, name, path, xml):
        self._path = path
        self._context = GLib.MainContext()
        self._loop = GLib.MainLoop(self._context)
        self._connection = connect(bus_address)
        self._ready = threading.Event()
        self._thread = threading.Thread(target=self._serve, args=(xml,))
        self._thread.start()
        self._ready.wait()
        self._connection.call_sync(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
            GLib.Variant("(su)", (name, 0)), None, 0, LIMIT_MS, None)

    def handle_call(self, sender, method, arguments):
        """Returns the reply as a GLib.Variant, or None for an empty reply."""

    def get_property(self, name):
        """Returns the value of a property as a GLib.Variant."""

    def emit(self, interface, signal):
        self._connection.emit_signal(None, self._path, interface, signal, None)

    def stop(self):
        if not self._connection.is_closed():
            self._connection.close_sync(None)
        self._context.invoke_full(GLib.PRIORITY_DEFAULT, lambda *_: self._loop.quit())
        self._thread.join()

    def _handle_call(self, connection, sender, path, interface, method, arguments, invocation):
        invocation.return_value(self.handle_call(sender, method, arguments))

    def _get_property(self, connection, sender, path, interface, name):
        return self.get_property(name)

    def _export(self, path, xml):
        interface = Gio.DBusNodeInfo.new_for_xml(xml).interfaces[0]
        return self._connection.register_object(path, interface, self._handle_call, self._get_property, None)

    def _serve(self, xml):
        self._context.push_thread_default()
        self._export(self._path, xml)
        self._ready.set()
        self._loop.run()
        self._context.pop_thread_default()
