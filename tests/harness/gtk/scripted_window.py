"""A GTK program that does what it is told on its standard input, and ends with that."""
import sys

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
from gi.repository import GLib, Gtk  # noqa: E402  (the versions come first)


def run(do):
    """Runs the program; do(verb, *words) carries a line out."""
    def read(*_):
        line = sys.stdin.readline()
        if not line:
            Gtk.main_quit()
            return False
        do(*line.split())
        return True

    GLib.io_add_watch(sys.stdin, GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, read)
    Gtk.main()
