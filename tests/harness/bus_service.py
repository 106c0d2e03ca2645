"""A service on a bus, made by a test."""
import threading

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402  (the version comes first)

LIMIT_MS = 10000


class BusService:
    """Has a name on a bus and an object with one interface, on a connection of its own.

    It answers on a thread of its own, so that a test may wait for the program meanwhile. What it
    does is for a subclass to say in called() and asked().
    """

    def __init__(self, bus_address, name, path, interface_xml):
        self._path = path
        self._interface = Gio.DBusNodeInfo.new_for_xml(interface_xml).interfaces[0]
        self._context = GLib.MainContext()
        self._loop = GLib.MainLoop(self._context)
        self._connection = Gio.DBusConnection.new_for_address_sync(
            bus_address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self._ready = threading.Event()
        self._thread = threading.Thread(target=self._serve)
        self._thread.start()
        self._ready.wait()
        self._connection.call_sync(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
            GLib.Variant("(su)", (name, 0)), None, 0, LIMIT_MS, None)

    def called(self, sender, method, arguments):
        """The reply to a call, a GLib.Variant; None is an empty one."""

    def asked(self, name):
        """The value of a property, a GLib.Variant."""

    def emit(self, signal):
        self._connection.emit_signal(None, self._path, self._interface.name, signal, None)

    def stop(self):
        if not self._connection.is_closed():
            self._connection.close_sync(None)
        self._context.invoke_full(GLib.PRIORITY_DEFAULT, lambda *_: self._loop.quit())
        self._thread.join()

    def _serve(self):
        self._context.push_thread_default()
        self._connection.register_object(self._path, self._interface, self._on_call, self._on_ask,
                                         None)
        self._ready.set()
        self._loop.run()
        self._context.pop_thread_default()

    def _on_call(self, connection, sender, path, interface, method, arguments, invocation):
        invocation.return_value(self.called(sender, method, arguments))

    def _on_ask(self, connection, sender, path, interface, name):
        return self.asked(name)
