"""Real panels with a tray: one that shows StatusNotifierItems, and one that embeds icon windows."""
from pathlib import Path

import numpy

from .. import pixels
from ..process import Process
from ..waiting import LIMIT, eventually

HEIGHT = 36

LXQT = """[General]
__userfile__=true
panels=panel1

[panel1]
alignment=-1
animation-duration=0
background-color=@Variant(\\0\\0\\0\\x43\\x1\\xff\\xff{colour}\\0\\0)
desktop=0
hidable=false
iconSize=22
lineCount=1
lockPanel=true
panelSize={height}
plugins=statusnotifier
position=Bottom
show-delay=0
width=100
width-percent=true

[statusnotifier]
alignment=Left
type=statusnotifier
"""

TINT2 = """rounded = 0
border_width = 0
background_color = {colour} 100
border_color = #000000 0

panel_items = S
panel_size = 100% {height}
panel_position = bottom center horizontal
panel_background_id = 1
systray_padding = 4 4 4
systray_icon_size = 22
systray_background_id = 0
wm_menu = 0
panel_dock = 0
strut_policy = follow_size
"""


class Panel:
    """A panel along the lower edge of a display that shows nothing but a tray.

    `dark` selects its background colour.
    """

    def __init__(self, folder, screen, env, dark=True):
        self._screen = screen
        self._config = Path(folder) / f"{self.name}.conf"
        self._config.write_text(self._configuration(dark))
        self._process = Process(self._command(), folder, f"panel-{self._config.stem}", env=env)
        try:
            eventually(lambda: self._window() or not self._process.running(), LIMIT, "the panel")
            assert self._process.running(), self._process.stderr
        except BaseException:
            self.stop()
            raise

    def icon(self):
        """Waits for the only icon in the tray and returns its centre."""
        return eventually(self._find_icon, LIMIT, f"an icon is seen in {self.name}", every=0.2)

    def click_icon(self, button=1):
        x, y = self.icon()
        self._screen.run("xdotool", "mousemove", str(x), str(y), "click", str(button))

    def stop(self):
        self._process.stop()

    def _window(self):
        return self._mark in self._screen.window_tree()

    def _find_icon(self):
        """Returns the centre of what differs from the panel's background, or None if nothing does."""
        strip = pixels.grab(self._screen)[-HEIGHT + 4:-4].astype(int)
        foreground = (abs(strip - numpy.median(strip, axis=(0, 1))).max(axis=2) > 60)
        columns = numpy.flatnonzero(foreground.any(axis=0))
        if not 6 <= columns.size <= 60:
            return None
        return int(columns.mean()), self._screen.height - HEIGHT // 2


class LXQtPanel(Panel):
    """Shows StatusNotifierItems; it is their watcher and host."""

    name = "lxqt-panel"
    _mark = '"lxqt-panel"'

    def _configuration(self, dark):
        return LXQT.format(height=HEIGHT, colour="\\x20\\x20\\x24\\x24\\x28\\x28" if dark
                           else "\\xf0\\xf0\\xf0\\xf0\\xf0\\xf0")

    def _command(self):
        return ["lxqt-panel", "-c", self._config]


class Tint2(Panel):
    """Embeds icon windows (XEmbed)."""

    name = "tint2"
    _mark = '"tint2"'

    def _configuration(self, dark):
        return TINT2.format(height=HEIGHT, colour="#202428" if dark else "#f0f0f0")

    def _command(self):
        return ["tint2", "-c", self._config]
