"""A window without decorations that executes painting commands from its standard input.

    plain_window.py WIDTH HEIGHT

It prints "done" when the window is first drawn, and again after each command when the window shows the
result. Its cursor is a white square. It ends when its input is closed.
"""
import sys

import scripted_window
from gi.repository import Gdk, GdkPixbuf, Gtk

POINTER = 16  # pixels


class PlainWindow:
    def __init__(self, width, height):
        self._colours = [Gdk.RGBA(0.5, 0.5, 0.5, 1)] * 4
        self._size = (width, height)
        self._reply_pending = True
        self._window = Gtk.Window()
        self._window.set_decorated(False)
        self._window.set_default_size(width, height)
        self._window.connect("draw", self._draw)
        self._window.connect("realize", self._set_cursor)
        self._window.set_app_paintable(True)
        self._window.show_all()

    def _set_cursor(self, window):
        square = GdkPixbuf.Pixbuf.new(GdkPixbuf.Colorspace.RGB, True, 8, POINTER, POINTER)
        square.fill(0xffffffff)
        window.get_window().set_cursor(
            Gdk.Cursor.new_from_pixbuf(Gdk.Display.get_default(), square, 0, 0))

    def _draw(self, window, canvas):
        width, height = window.get_size()
        for number, colour in enumerate(self._colours):
            Gdk.cairo_set_source_rgba(canvas, colour)
            canvas.rectangle(number % 2 * (width // 2), number // 2 * (height // 2), width, height)
            canvas.fill()
        if self._reply_pending and (width, height) == self._size:
            self._reply_pending = False
            print("done", flush=True)
        return True

    def execute(self, verb, *arguments):
        self._reply_pending = True
        if verb == "paint":
            for number, argument in enumerate(arguments):
                self._colours[number] = colour = Gdk.RGBA()
                colour.parse(argument)
        if verb == "resize":
            self._size = tuple(map(int, arguments))
            self._window.resize(*self._size)
        self._window.queue_draw()


scripted_window.run(PlainWindow(int(sys.argv[1]), int(sys.argv[2])).execute)
