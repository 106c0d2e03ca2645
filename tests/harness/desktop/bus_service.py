"""A service on a bus, made by a test."""
import threading

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402  (the version comes first)

from ..waiting import LIMIT  # noqa: E402

LIMIT_MS = LIMIT * 1000


def connect(bus_address):
    """A connection of one's own."""
    return Gio.DBusConnection.new_for_address_sync(
        bus_address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
        | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)


class BusService:
    """Has a name on a bus and an object with one interface, on a connection of its own.

    It answers on a thread of its own, so that a test may wait for the program meanwhile. What it
    does is for a subclass to say in called() and asked(), or, with several objects, in _called()
    and _asked().
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

    def called(self, sender, method, arguments):
        """The reply to a call, a GLib.Variant; None is an empty one."""

    def asked(self, name):
        """The value of a property, a GLib.Variant."""

    def emit(self, interface, signal):
        self._connection.emit_signal(None, self._path, interface, signal, None)

    def stop(self):
        if not self._connection.is_closed():
            self._connection.close_sync(None)
        self._context.invoke_full(GLib.PRIORITY_DEFAULT, lambda *_: self._loop.quit())
        self._thread.join()

    def _called(self, connection, sender, path, interface, method, arguments, invocation):
        invocation.return_value(self.called(sender, method, arguments))

    def _asked(self, connection, sender, path, interface, name):
        return self.asked(name)

    def _export(self, path, xml):
        interface = Gio.DBusNodeInfo.new_for_xml(xml).interfaces[0]
        return self._connection.register_object(path, interface, self._called, self._asked, None)

    def _serve(self, xml):
        self._context.push_thread_default()
        self._export(self._path, xml)
        self._ready.set()
        self._loop.run()
        self._context.pop_thread_default()
