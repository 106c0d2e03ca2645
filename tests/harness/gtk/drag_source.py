"""A small window from which files can be dragged: drag_source.py PATH...

It is in the upper left corner above all other windows. It prints "shown" when it is mapped, "rejected"
if the drop target does not accept the files, and "over" when the drag has ended; then it exits.
"""
import sys
from pathlib import Path

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402  (the versions come first)

SIDE = 24


def show_source(paths):
    """Shows an unmanaged window from which these files can be dragged."""
    window = Gtk.Window(type=Gtk.WindowType.POPUP)
    window.set_default_size(SIDE, SIDE)
    window.drag_source_set(Gdk.ModifierType.BUTTON1_MASK, [], Gdk.DragAction.COPY)
    window.drag_source_add_uri_targets()
    uris = [Path(path).as_uri() for path in paths]
    window.connect("drag-data-get", lambda _, __, data, *unused: data.set_uris(uris))
    window.connect("drag-failed", lambda *unused: print("rejected", flush=True))
    window.connect("drag-end", lambda *unused: Gtk.main_quit())
    window.connect("map-event", lambda *unused: print("shown", flush=True))
    window.show()


if __name__ == "__main__":
    show_source(sys.argv[1:])
    Gtk.main()
    print("over", flush=True)
