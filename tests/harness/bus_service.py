"""Objects that a test exports on a bus."""
import threading

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402  (the version comes first)

LIMIT_MS = 10000


def connect(bus_address):
    """A connection of one's own."""
    return Gio.DBusConnection.new_for_address_sync(
        bus_address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
        | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)


class BusService:
    """Objects on a connection of their own, under a name.

    They answer on a thread of their own, so that a test may wait for the program meanwhile:
    subclasses define _called and _asked, which are run on it.
    """

    def __init__(self, bus_address, name, path, xml):
        self._context = GLib.MainContext()
        self._loop = GLib.MainLoop(self._context)
        self._connection = connect(bus_address)
        self._ready = threading.Event()
        self._thread = threading.Thread(target=self._serve, args=(path, xml))
        self._thread.start()
        self._ready.wait()
        self._bus_call("RequestName", "(su)", name, 0)

    def stop(self):
        if not self._connection.is_closed():
            self._connection.close_sync(None)
        self._context.invoke_full(GLib.PRIORITY_DEFAULT, lambda *_: self._loop.quit())
        self._thread.join()

    def _called(self, connection, sender, path, interface, method, arguments, invocation):
        raise NotImplementedError

    def _asked(self, connection, sender, path, interface, name):
        raise NotImplementedError

    def _export(self, path, xml):
        interface = Gio.DBusNodeInfo.new_for_xml(xml).interfaces[0]
        return self._connection.register_object(path, interface, self._called, self._asked, None)

    def _serve(self, path, xml):
        self._context.push_thread_default()
        self._export(path, xml)
        self._ready.set()
        self._loop.run()
        self._context.pop_thread_default()

    def _bus_call(self, method, signature, *arguments):
        self._connection.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                   "org.freedesktop.DBus", method,
                                   GLib.Variant(signature, arguments), None, 0, LIMIT_MS, None)
