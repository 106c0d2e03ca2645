"""A presentation on a desktop, from the first start to the end; the part that all desktops share."""
import json
import os
from pathlib import Path

import accessible
from harness.waiting import eventually
from viewing import (BLUE, GREEN, LIMIT, RED, PaintedWindow, fills, is_near, pointer_on, seen, size_of,
                  becomes_true, status, wait_until_served, wait_until_sharing)
from steps import Steps

SCREEN = (1920, 1080)
TITLE_BAR, NEAR = 60, 8  # maximum height in pixels
TARVINEL, SLIDES, NOTES = "Tarvinel", "Slides", "Notes"
AT_TARVINEL, AT_SLIDES, AT_NOTES, AT_SCALE_2 = (10, 40), (1100, 200), (1200, 300), (440, 40)
ABOVE_SLIDES = (690, 20), (691, 20)  # at scale 2
ASIDE = 4, 300  # a position outside all windows
ENDED = "the desktop ended it"
TOKEN = "PortalRestoreToken"
SCREEN_AT_FIRST = "Screen (chosen in the desktop's dialog)"
LAST_SCREEN, LAST_WINDOW = "Screen (the last one chosen)", "Window (the last one chosen)"
ANOTHER_SCREEN = "Another screen (chosen in the desktop's dialog)"
WINDOW_AT_FIRST = "Window (chosen in the desktop's dialog)"
ANOTHER_WINDOW = "Another window (chosen in the desktop's dialog)"
NAME, NUMBER = "http://tarvinel.local/", "http://192.168.7.2/"


class Talk:
    """`desktop` is a Shell or a KWin. The steps use the program's window; subclasses add what is specific
    to a desktop."""

    dialog = None  # title of the desktop's dialog
    monitor = None  # name of the only screen there

    def __init__(self, desktop, results):
        os.environ["WAYLAND_DISPLAY"] = "wayland-0"
        self._desktop = desktop
        self._results = results
        self._windows = {}
        self._places = {}  # rectangles of windows: left, top, width and height

    def steps(self):
        """Returns the names and methods of the steps, in their order."""
        raise NotImplementedError

    def run(self):
        """Runs all steps and prints how many passed."""
        steps = Steps(self.picture, self._results)
        for name, step in self.steps():
            steps.take(name, step)
        print(steps.summary())

    def picture(self, name):
        self._desktop.screenshot(f"{self._results}/{name}.png")

    def sharing_steps(self):
        return [
            ("the window copies the address", self.copy_address),
            ("the dialog is cancelled: nothing is shared, nothing is said", self.cancel),
            ("the screen is chosen in the dialog and seen", self.share_screen),
            ("the pointer is seen where it is", self.see_pointer),
            ("the desktop's own indicator ends the share", self.stop_in_indicator),
            ("the next share needs no dialog", self.share_again),
            ("the next start needs none either", self.restart),
            ("the dialog comes again when it was told not to remember", self.share_without_memory),
            ("the program ends while the dialog is open, and starts and shares again",
             self.restart_while_asked),
            ("a window is chosen, and seen while another covers it", self.share_window),
            ("the pointer is seen in the window", self.see_pointer_in_window),
            ("the next share of it needs no dialog", self.share_window_again),
            ("another window is chosen while the first is shared", self.share_other_window),
            ("something else is chosen while the dialog is open: the share goes on",
             self.choose_while_asked),
            ("the shared window grows", self.enlarge_window),
            ("it is closed: the share ends, and a notification says so", self.close_window),
            ("scale 2: the screen in all its pixels, and the pointer", self.share_scaled_screen),
            ("scale 2: a window in all its pixels, and the pointer", self.share_scaled_window),
        ]

    def copy_address(self):
        accessible.press(TARVINEL, "Copy Address")
        self._expect_clipboard(NAME)

    def cancel(self):
        self._choose_source(SCREEN_AT_FIRST)
        self._desktop.wait_for_window(self.dialog)
        accessible.find(self.dialog, self.monitor)
        self.picture("dialog-screen")
        self._cancel_dialog()
        self._desktop.wait_for_no_window(self.dialog)
        accessible.find(TARVINEL, "Start Sharing")
        assert not status()["sharing"]
        self._expect_no_complaint()

    def share_screen(self):
        self._open(SLIDES, RED, AT_SLIDES, 500, 400)
        accessible.press(TARVINEL, "Start Sharing")
        self._choose(self.monitor)
        wait_until_sharing()
        self._expect_screen(RED)
        self.picture("sharing-screen")

    def see_pointer(self):
        self._show(SLIDES, AT_SLIDES)
        self._expect_pointer((1300, 450), (1300, 450), RED)
        self._expect_pointer((1500, 600), (1500, 600), RED)

    def stop_in_indicator(self):
        self._stop_in_indicator()
        wait_until_sharing(False)
        eventually(lambda: any(ENDED in text for text in accessible.texts(TARVINEL)), LIMIT,
                   "the window says why")
        self.picture("stopped-in-indicator")

    def share_again(self):
        self._expect_restored()
        self._stop()

    def restart(self):
        self.quit()
        self._start()
        self._expect_restored()
        self._stop()

    def share_without_memory(self):
        self._choose_source(ANOTHER_SCREEN)
        self._choose(self.monitor, remember=False)
        wait_until_sharing()
        self.quit()
        self._start()
        self._choose_source(SCREEN_AT_FIRST)
        self._choose(self.monitor)
        wait_until_sharing()
        self._expect_screen(RED)

    def restart_while_asked(self):
        self._choose_source(ANOTHER_SCREEN)
        self._desktop.wait_for_window(self.dialog)
        self.quit()
        self._desktop.wait_for_no_window(self.dialog)
        self._start()
        self._choose_source(ANOTHER_SCREEN)
        self._choose(self.monitor)
        wait_until_sharing()
        self._expect_screen(RED)

    def share_window(self):
        self._choose_source(WINDOW_AT_FIRST)
        self._desktop.wait_for_window(self.dialog)
        accessible.find(self.dialog, SLIDES)
        self.picture("dialog-window")
        self._choose(SLIDES)
        self._expect_window(SLIDES, RED)
        self._open(NOTES, GREEN, AT_NOTES, 600, 500)
        self._windows[SLIDES].paint(BLUE)
        self._expect_window(SLIDES, BLUE)
        self.picture("sharing-window")

    def see_pointer_in_window(self):
        self._show(SLIDES, AT_SLIDES)
        self._expect_pointer_in_window((250, 280), BLUE)

    def share_window_again(self):
        self._stop()
        self._choose_source(LAST_WINDOW)
        wait_until_sharing()
        assert not self._desktop.place_of_window(self.dialog)
        self._expect_window(SLIDES, BLUE)

    def share_other_window(self):
        self._choose_source(ANOTHER_WINDOW)
        self._desktop.wait_for_window(self.dialog)
        assert status()["sharing"]
        self._expect_window(SLIDES, BLUE)
        self._choose(NOTES)
        self._expect_window(NOTES, GREEN)

    def choose_while_asked(self):
        self._choose_source(ANOTHER_SCREEN)
        self._desktop.wait_for_window(self.dialog)
        self._choose_source(ANOTHER_WINDOW)
        accessible.find(self.dialog, SLIDES)
        assert status()["sharing"]
        self._expect_window(NOTES, GREEN)
        self._choose(NOTES)
        self._expect_window(NOTES, GREEN)

    def enlarge_window(self):
        self._windows[NOTES].resize(660, 560)
        eventually(lambda: self._desktop.place_of_window(NOTES)[2] == 660, LIMIT, "it is larger")
        self._show(NOTES, AT_NOTES)
        self._expect_window(NOTES, GREEN)

    def close_window(self):
        self._windows.pop(NOTES).close()
        wait_until_sharing(False)
        self._expect_notification(ENDED)
        self.picture("window-closed")

    def share_scaled_screen(self):
        self._desktop.set_scale(2)
        self._show(SLIDES, AT_SCALE_2)
        self._choose_source(ANOTHER_SCREEN)
        self._choose(self.monitor)
        wait_until_sharing()
        self._show(SLIDES, AT_SCALE_2)
        self._expect_screen(BLUE, scale=2)
        # KWin's virtual output keeps parts of a pointer that changes its shape: let it do so beside the slides
        for place in ABOVE_SLIDES:
            self._desktop.move(*place)
        self._expect_pointer((600, 300), (1200, 600), BLUE, 2 * NEAR)
        self.picture("scale-2")

    def share_scaled_window(self):
        self._choose_source(ANOTHER_WINDOW)
        self._choose(SLIDES)
        self._show(SLIDES, AT_SCALE_2)
        self._expect_window(SLIDES, BLUE, scale=2)
        self._expect_pointer_in_window((160, 260), BLUE, scale=2)
        self._desktop.set_scale(1)

    def quit(self):
        accessible.press(TARVINEL, "Quit Tarvinel")
        self._desktop.wait_for_no_window(TARVINEL)
        wait_until_served(False)

    def _start(self):
        """Starts the program and opens its window."""
        raise NotImplementedError

    def _choose(self, name, remember=True):
        """Chooses a screen or a window in the desktop's dialog."""
        raise NotImplementedError

    def _cancel_dialog(self):
        raise NotImplementedError

    def _stop_in_indicator(self):
        raise NotImplementedError

    def _expect_clipboard(self, text):
        raise NotImplementedError

    def _expect_notification(self, text):
        """Expects that the desktop shows a notification with that text."""
        raise NotImplementedError

    def _open(self, title, colour, place, width, height):
        self._windows[title] = PaintedWindow(title, colour, width, height)
        self._desktop.wait_for_window(title)
        self._show(title, place)

    def _show(self, title, place):
        self._places[title] = self._desktop.move_window(title, *place)

    def _choose_source(self, name):
        """Chooses a source with the keyboard, because the window's list is not accessible through AT-SPI.
        A running share switches to it; otherwise sharing is started."""
        button = eventually(self._button_of_sources, LIMIT, "the list is that of now", every=0.2)
        self._open_list(button)
        self._desktop.move(*ASIDE)
        for _ in range(_sources().index(name) + 1):
            self._desktop.press("Down")
        self._desktop.press("Return")
        if not status()["sharing"]:
            accessible.press(TARVINEL, "Start Sharing")

    def _open_list(self, button):
        """Clicks until the list is open, because it does not open while it is empty."""
        before = self._desktop.window_count()

        def opened():
            self._click(button)
            return becomes_true(lambda: self._desktop.window_count() > before)

        eventually(opened, LIMIT, "the list is open")

    @staticmethod
    def _button_of_sources():
        """Returns the label of the button that opens the list, or None while the list is outdated."""
        label = next((text for text in accessible.texts(TARVINEL) if text.startswith("Source")), "")
        chosen = label.partition(": ")[2]
        return label if status()["sharing"] or not chosen or chosen in _sources() else None

    def _click(self, name):
        """Clicks on a widget of the program's window, below its title bar."""
        self._show(TARVINEL, AT_TARVINEL)
        left, top, width, height = self._desktop.place_of_window(TARVINEL)
        x, y = accessible.find(TARVINEL, name).centre
        inner_width, inner_height = accessible.size(TARVINEL)
        self._desktop.click(left + (width - inner_width) / 2 + x, top + height - inner_height + y)

    def _stop(self):
        accessible.press(TARVINEL, "Stop Sharing")
        wait_until_sharing(False)

    def _expect_screen(self, colour, scale=1):
        """Expects that viewers see the whole screen, with the slides at their position."""
        left, top, width, height = (side * scale for side in self._places[SLIDES])
        picture = seen(lambda picture: fills(picture, colour, (left, top, left + width, top + height),
                                             TITLE_BAR * scale))
        assert size_of(picture) == SCREEN, size_of(picture)

    def _expect_window(self, title, colour, scale=1):
        """Expects that viewers see this window and nothing else."""
        width, height = (side * scale for side in self._places[title][2:])
        left, top, right, bottom = (side * scale for side in self._desktop.margins(title))
        seen(lambda picture: size_of(picture) == (left + width + right, top + height + bottom) and
             fills(picture, colour, (left, top, left + width, top + height), TITLE_BAR * scale))

    def _expect_pointer_in_window(self, at, colour, scale=1):
        """Moves the pointer to a position in the slides and expects that viewers see it there."""
        left, top, _, _ = self._places[SLIDES]
        beyond_left, beyond_top, _, _ = self._desktop.margins(SLIDES)
        self._expect_pointer((left + at[0], top + at[1]),
                             ((beyond_left + at[0]) * scale, (beyond_top + at[1]) * scale), colour,
                             NEAR * scale)

    def _expect_pointer(self, at, wanted, colour, tolerance=NEAR):
        # KWin reports another shape of the pointer only with its next movement
        def nudge():
            self._desktop.move(at[0] + 1, at[1])
            self._desktop.move(*at)

        self._desktop.move(*at)
        seen(lambda picture: is_near(pointer_on(picture, colour), wanted, tolerance), nudge)

    def _expect_restored(self):
        """Expects that the next share restores the last one without a dialog."""
        self._choose_source(LAST_SCREEN)
        wait_until_sharing()
        assert not self._desktop.place_of_window(self.dialog)
        self._show(SLIDES, AT_SLIDES)
        self._expect_screen(RED)

    def _expect_no_complaint(self):
        said = [text for text in accessible.texts(TARVINEL)
                if text.startswith(("Can't", "Couldn't", "Sharing stopped"))]
        assert not said, said


def _sources():
    """Returns the titles of the sources in their order; a remembered source has an entry of its own."""
    preferences = Path.home() / ".config/Tarvinel/preferences.json"
    kept = json.loads(preferences.read_text()) if preferences.exists() else {}
    screens = [LAST_SCREEN, ANOTHER_SCREEN] if kept.get(f"{TOKEN}Display") else [SCREEN_AT_FIRST]
    windows = [LAST_WINDOW, ANOTHER_WINDOW] if kept.get(f"{TOKEN}Window") else [WINDOW_AT_FIRST]
    return screens + windows
