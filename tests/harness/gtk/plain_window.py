"""A window without any decoration that is painted as it is told on standard input.

    plain_window.py WIDTH HEIGHT

Answers each line with "done" once the window shows it, the first time once the window is there.
Its pointer is a plain white square. It ends with its input.
"""
import sys

import scripted_window
from gi.repository import Gdk, GdkPixbuf, Gtk

POINTER = 16  # pixels


class PlainWindow:
    def __init__(self, width, height):
        self._colours = [Gdk.RGBA(0.5, 0.5, 0.5, 1)] * 4
        self._size = (width, height)
        self._owes = True
        self._window = Gtk.Window()
        self._window.set_decorated(False)
        self._window.set_default_size(width, height)
        self._window.connect("draw", self._draw)
        self._window.connect("realize", self._set_pointer)
        self._window.set_app_paintable(True)
        self._window.show_all()

    def _set_pointer(self, window):
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
        if self._owes and (width, height) == self._size:
            self._owes = False
            print("done", flush=True)
        return True

    def do(self, verb, *words):
        self._owes = True
        if verb == "paint":
            for number, word in enumerate(words):
                self._colours[number] = colour = Gdk.RGBA()
                colour.parse(word)
        if verb == "resize":
            self._size = tuple(map(int, words))
            self._window.resize(*self._size)
        self._window.queue_draw()


scripted_window.run(PlainWindow(int(sys.argv[1]), int(sys.argv[2])).do)
