"""A GTK window with client-side decorations: title bar, rounded corners and shadow.

    decorated_window.py TITLE COLOUR WIDTH HEIGHT

The area below the title bar has one colour. The program prints "done" after each command from its
standard input and ends when that is closed.
"""
import sys

import scripted_window
from gi.repository import Gdk, Gtk


class Window:
    def __init__(self, title, colour, width, height):
        self._colour = Gdk.RGBA()
        self._colour.parse(colour)
        bar = Gtk.HeaderBar(title=title, show_close_button=True)
        self._area = Gtk.DrawingArea()
        self._area.connect("draw", self._draw)
        self._window = Gtk.Window(title=title)
        self._window.set_titlebar(bar)
        self._window.add(self._area)
        self._window.set_default_size(width, height)
        self._window.show_all()

    def paint(self, colour):
        self._colour.parse(colour)
        self._area.queue_draw()

    def resize(self, width, height):
        self._window.resize(int(width), int(height))

    def maximise(self):
        self._window.maximize()

    def restore(self):
        self._window.unmaximize()

    def dialog(self):
        dialog = Gtk.MessageDialog(transient_for=self._window, text="Really?", modal=True,
                                   buttons=Gtk.ButtonsType.YES_NO, use_header_bar=1)
        dialog.show_all()

    def menu(self):
        menu = Gtk.Menu()
        for text in ("One", "Two", "Three"):
            menu.append(Gtk.MenuItem(label=text))
        menu.show_all()
        menu.attach_to_widget(self._window)
        menu.popup_at_widget(self._area, Gdk.Gravity.CENTER, Gdk.Gravity.NORTH_WEST, None)

    def execute(self, verb, *arguments):
        getattr(self, verb)(*arguments)
        print("done", flush=True)

    def _draw(self, _, canvas):
        Gdk.cairo_set_source_rgba(canvas, self._colour)
        canvas.paint()
        return True


scripted_window.run(Window(sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])).execute)
