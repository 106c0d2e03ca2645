"""A small window from which files can be dragged: drag_source.py PATH...

It stands in the upper left corner and above everything, ends once a drag is over, and then prints
whether the files were taken.
"""
import sys
from pathlib import Path

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402  (the versions come first)

SIDE = 24


def offer(paths):
    """A window, outside the window manager's reach, that offers these files to who drags it."""
    window = Gtk.Window(type=Gtk.WindowType.POPUP)
    window.set_default_size(SIDE, SIDE)
    window.drag_source_set(Gdk.ModifierType.BUTTON1_MASK, [], Gdk.DragAction.COPY)
    window.drag_source_add_uri_targets()
    addresses = [Path(path).as_uri() for path in paths]
    window.connect("drag-data-get", lambda _, __, data, *unused: data.set_uris(addresses))
    window.connect("drag-failed", lambda *unused: print("refused", flush=True))
    window.connect("drag-end", lambda *unused: Gtk.main_quit())
    window.connect("map-event", lambda *unused: print("shown", flush=True))
    window.show()


if __name__ == "__main__":
    offer(sys.argv[1:])
    Gtk.main()
    print("over", flush=True)
