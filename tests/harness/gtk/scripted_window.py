"""The main loop of a GTK program that executes commands from its standard input until it closes."""
import sys

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
from gi.repository import GLib, Gtk  # noqa: E402  (the versions come first)


def run(execute):
    """Runs the main loop; calls execute(verb, *arguments) for every line."""
    def read(*_):
        line = sys.stdin.readline()
        if not line:
            Gtk.main_quit()
            return False
        execute(*line.split())
        return True

    GLib.io_add_watch(sys.stdin, GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, read)
    Gtk.main()
