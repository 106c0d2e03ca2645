"""An X client that paints known pixels."""
import contextlib
import random

from Xlib import X, Xcursorfont
from Xlib.display import Display

WORDS = "colour stream viewer bright harbour quick amber signal paper window".split()
COLOURS = [0xFFFFFF, 0xE05050, 0x50C050, 0x6090FF, 0xE0C040, 0xC060D0]
GROUND = 0x202830
NUMBER_BITS = 16
NUMBER_SQUARE = 32


class Canvas:
    """One window over a rectangle of the display, above all others, with its own connection.

    Every painting call returns when the server has executed it.
    """

    def __init__(self, server, x=0, y=0, width=None, height=None, title=None):
        """With a title, the window is an ordinary managed window instead."""
        self.width, self.height = width or server.width, height or server.height
        self._display = Display(server.name)
        screen = self._display.screen()
        self._window = screen.root.create_window(
            x, y, self.width, self.height, 0, screen.root_depth,
            override_redirect=title is None, background_pixel=GROUND, event_mask=X.ExposureMask,
            cursor=self._arrow())
        if title:
            self._window.set_wm_name(title)
        self._draft = self._window.create_pixmap(self.width, self.height, screen.root_depth)
        self._gc = self._window.create_gc(graphics_exposures=0)
        self._window.map()
        self._wait_until_shown()
        self.point_at(server.width - 1, server.height - 1)

    def close(self):
        self._display.close()

    def point_at(self, x, y):
        """Moves the pointer, as a mouse does."""
        self._display.xtest_fake_input(X.MotionNotify, x=x, y=y)
        self._display.sync()

    def rectangle(self, colour, x, y, width, height):
        self._gc.change(foreground=colour)
        self._window.fill_rectangle(self._gc, x, y, width, height)
        self._display.sync()

    def write(self, text, x, y):
        """Shows a text on a bright ground, as an editor does."""
        self._gc.change(foreground=GROUND, background=0xF4F4F0)
        self._window.image_text(self._gc, x, y, text)
        self._display.sync()

    def fill(self, colour):
        self.rectangle(colour, 0, 0, self.width, self.height)

    def text(self, seed, number=None):
        """Shows coloured lines of text, which suffer most from lossy compression, and optionally a
        number for read_number(). It appears in one step, so that no capture sees half of it."""
        self.draft(seed, number)
        self.show()

    def draft(self, seed, number=None):
        """Paints off screen what text() shows."""
        self._draft_text(random.Random(seed))
        if number is not None:
            self._draft_number(number)
        self._display.sync()

    def draft_rectangle(self, colour, x, y, width, height):
        self._gc.change(foreground=colour)
        self._draft.fill_rectangle(self._gc, x, y, width, height)

    def draft_blocks(self, width, height, seed):
        """Paints a part of the draft full of coloured blocks, like a frame of a film."""
        generator = random.Random(seed)
        self.draft_rectangle(GROUND, 0, 0, width, height)
        for _ in range(16):
            self._gc.change(foreground=generator.randrange(1 << 24))
            self._draft.poly_fill_rectangle(self._gc, [
                (generator.randrange(width - 40), generator.randrange(height - 40),
                 generator.randrange(8, 40), generator.randrange(8, 40)) for _ in range(40)])

    def draft_slide(self, seed):
        """Paints off screen what a slide of a talk looks like: a title, lines of text, a few shapes."""
        generator = random.Random(seed)
        self.draft_rectangle(0xF4F4F0, 0, 0, self.width, self.height)
        self.draft_rectangle(generator.choice(COLOURS), 0, 0, self.width, 90)
        for line in range(160, self.height - 200, 60):
            self._gc.change(foreground=GROUND)
            words = " ".join(generator.choice(WORDS) for _ in range(generator.randrange(4, 12)))
            self._draft.draw_text(self._gc, 80, line, words)
        for _ in range(4):
            self.draft_rectangle(generator.choice(COLOURS), generator.randrange(self.width - 300),
                                 generator.randrange(200, self.height - 200), 200, 120)
        self._display.sync()

    @contextlib.contextmanager
    def at_once(self):
        """Nobody sees what is painted meanwhile before all of it is."""
        self._display.grab_server()
        try:
            yield
        finally:
            self._display.ungrab_server()
            self._display.sync()

    def _arrow(self):
        """Creates a cursor: a server without a desktop shows none until a client sets one."""
        shapes = self._display.open_font("cursor")
        return shapes.create_glyph_cursor(shapes, Xcursorfont.left_ptr, Xcursorfont.left_ptr + 1,
                                          (65535, 65535, 65535), (0, 0, 0))

    def show(self, x=0, y=0, width=None, height=None):
        """Shows a part of the draft, or the whole draft."""
        self._window.copy_area(self._gc, self._draft, x, y, width or self.width,
                               height or self.height, x, y)
        self._display.sync()

    def scroll(self, distance):
        """Scrolls up; the top of the draft appears at the bottom."""
        rest = self.height - distance
        self._draft.copy_area(self._gc, self._window, 0, 0, self.width, distance, 0, 0)
        self._window.copy_area(self._gc, self._window, 0, distance, self.width, rest, 0, 0)
        self._window.copy_area(self._gc, self._draft, 0, 0, self.width, distance, 0, rest)
        self._display.sync()

    def scroll_part(self, x, y, width, height, distance):
        """Scrolls a part up; the rows below its draft appear at its bottom, so that it never repeats."""
        self._window.copy_area(self._gc, self._window, x, y + distance, width, height - distance, x, y)
        self._draft.copy_area(self._gc, self._draft, x, distance, width, self.height - distance, x, 0)
        self._draft_lines(random.Random(), self.height - distance, x + width)
        self._window.copy_area(self._gc, self._draft, x, self.height - distance, width, distance,
                               x, y + height - distance)
        self._display.sync()

    def _draft_text(self, generator):
        self._draft_lines(generator, 0, self.width)

    def _draft_lines(self, generator, top, width):
        self.draft_rectangle(GROUND, 0, top, width, self.height - top)
        for line in range(top + 20, self.height, 16):
            x = 8
            while x < width - 60:
                word = generator.choice(WORDS)
                self._gc.change(foreground=generator.choice(COLOURS))
                self._draft.draw_text(self._gc, x, line, word)
                x += 6 * len(word) + 8

    def _draft_number(self, value):
        for bit in range(NUMBER_BITS):
            colour = 0xFFFFFF if value >> bit & 1 else 0
            self.draft_rectangle(colour, bit * NUMBER_SQUARE, 0, NUMBER_SQUARE, NUMBER_SQUARE)

    def _wait_until_shown(self):
        while self._display.next_event().type != X.Expose:
            pass


def read_number(picture):
    """Decodes the number that Canvas.text() painted from an array of pixels."""
    middle = NUMBER_SQUARE // 2
    return sum(1 << bit for bit in range(NUMBER_BITS)
               if picture[middle, bit * NUMBER_SQUARE + middle].mean() > 127)
