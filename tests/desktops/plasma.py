"""A presentation on KDE Plasma. The script "plasma" runs it in the session."""
import sys
from pathlib import Path

from gi.repository import GLib

sys.path.insert(0, str(Path(__file__).parents[1]))
import accessible  # noqa: E402  (the harness is found from here on)
from harness.waiting import eventually  # noqa: E402
from kwin import RIGHT_BUTTON, KWin  # noqa: E402
from viewing import BLUE, LIMIT, status, wait_until_served, wait_until_sharing  # noqa: E402
from talk import (ANOTHER_SCREEN, AT_SLIDES, NAME, NUMBER, SLIDES, TARVINEL,  # noqa: E402
                  Talk)

SHELL = "plasmashell"
LAUNCHER, INDICATOR = "Application Launcher", "Screen casting"
REMEMBER = "Allow restoring on future sessions"
MENU = "com.canonical.dbusmenu"
ITEM = "org.kde.StatusNotifierItem"
WATCHER = "org.kde.StatusNotifierWatcher"


class PlasmaTalk(Talk):
    dialog = "Screen Sharing"
    monitor = "Virtual-0"

    def __init__(self, results):
        super().__init__(KWin(), results)
        self._desktop.call("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Set",
                           "(ssv)", "org.a11y.Status", "IsEnabled", GLib.Variant("b", True))

    def steps(self):
        return [
            ("the first start, from the launcher: an icon, no window", self.start_first),
            ("a click on the icon opens the window", self.open_window),
            *self.sharing_steps(),
            ("the icon's menu starts sharing", self.share_from_menu),
            ("the icon's menu copies the address", self.copy_in_menu),
            ("the icon's menu stops sharing", self.stop_in_menu),
            ("the icon's menu ends the program", self.quit_in_menu),
        ]

    def start_first(self):
        self._start_from_launcher()
        accessible.find_in(SHELL, TARVINEL, roles=("button",))
        assert not self._desktop.place_of_window(TARVINEL)
        self._open_menu()
        self.picture("first-start")
        self._desktop.press("Escape")
        assert not status()["sharing"]

    def open_window(self):
        self._click_in_panel(TARVINEL)
        self._desktop.wait_for_window(TARVINEL)
        eventually(lambda: NAME in accessible.texts(TARVINEL), LIMIT, "the name")
        self.picture("window")

    def share_from_menu(self):
        self._show(SLIDES, AT_SLIDES)
        self._choose_source(ANOTHER_SCREEN)
        self._choose(self.monitor)
        wait_until_sharing()
        self._stop()
        self._press_in_menu("Start Sharing")
        self._choose(self.monitor)
        wait_until_sharing()
        self._expect_screen(BLUE)
        self.picture("tray-sharing")

    def copy_in_menu(self):
        self._press_in_menu("Copy Numeric Address")
        self._expect_clipboard(NUMBER)

    def stop_in_menu(self):
        self._press_in_menu("Stop Sharing")
        wait_until_sharing(False)

    def quit_in_menu(self):
        self._press_in_menu("Quit Tarvinel")
        wait_until_served(False)

    def _start(self):
        self._start_from_launcher()
        self._click_in_panel(TARVINEL)
        self._desktop.wait_for_window(TARVINEL)
        accessible.find(TARVINEL, "Start Sharing")

    def _start_from_launcher(self):
        """Starts the program by typing its name in the launcher."""
        self._click_in_panel(LAUNCHER)
        accessible.find_in(SHELL, "Search")
        self._desktop.type("tarvinel")
        accessible.find_in(SHELL, TARVINEL, roles=("list item",))
        self._desktop.press("Return")
        wait_until_served()

    def _choose(self, name, remember=True):
        self._desktop.wait_for_window(self.dialog)
        if not remember:
            accessible.press(self.dialog, REMEMBER, roles=("check box",))
        accessible.press(self.dialog, name, roles=("button",))
        self._desktop.wait_for_no_window(self.dialog)

    def _cancel_dialog(self):
        self._desktop.press("Escape")

    def _stop_in_indicator(self):
        self._open_menu_in_panel(INDICATOR)
        self._press_down(1)

    def _expect_clipboard(self, text):
        eventually(lambda: self._desktop.call("org.kde.klipper", "/klipper", "org.kde.klipper.klipper",
                                              "getClipboardContents")[0] == text,
                   LIMIT, f"{text} on the clipboard")

    def _expect_notification(self, text):
        # Plasma 6 gives assistive technologies no text of it: look at the screenshot
        eventually(self._desktop.has_notification, LIMIT, f"the notification {text!r}")

    def _press_in_menu(self, label):
        items = self._menu()
        self._open_menu()
        self._press_down(items.index(label) + 1)

    def _open_menu(self):
        self._open_menu_in_panel(TARVINEL)

    def _open_menu_in_panel(self, name):
        before = self._desktop.window_count()
        self._click_in_panel(name, RIGHT_BUTTON)
        eventually(lambda: self._desktop.window_count() > before, LIMIT, f"the menu of {name!r}")

    def _press_down(self, count):
        """Presses the Down key `count` times in a menu that is being opened, and activates the item."""
        before = self._desktop.window_count()
        for _ in range(count):
            self._desktop.press("Down")
        self._desktop.press("Return")
        eventually(lambda: self._desktop.window_count() < before, LIMIT, "the menu is closed")

    def _click_in_panel(self, name, *button):
        # the icons are at the right end, and a window's task may have the same name
        x, y = accessible.find_in(SHELL, name, roles=("button",)).centre
        left, top, _, _ = self._desktop.place_of_panel()
        self._desktop.click(left + x, top + y, *button)

    def _menu(self):
        """Returns the labels of the enabled items of the icon's menu, in their order."""
        items, = self._desktop.call(WATCHER, f"/{WATCHER.rsplit('.')[-1]}",
                                    "org.freedesktop.DBus.Properties", "Get", "(ss)", WATCHER,
                                    "RegisteredStatusNotifierItems")
        for item in items:
            service, _, path = item.partition("/")
            menu, = self._desktop.call(service, f"/{path}", "org.freedesktop.DBus.Properties", "Get",
                                       "(ss)", ITEM, "Menu")
            name, = self._desktop.call(service, f"/{path}", "org.freedesktop.DBus.Properties", "Get",
                                       "(ss)", ITEM, "Id")
            if name.lower() == "tarvinel":
                return self._labels(service, menu)
        raise AssertionError(items)

    def _labels(self, service, path):
        _, (_, _, entries) = self._desktop.call(service, path, MENU, "GetLayout", "(iias)", 0, 1, [])
        return [entry[1]["label"].replace("__", "_") for entry in entries
                if entry[1].get("type") != "separator" and entry[1].get("enabled", True)
                and entry[1].get("visible", True)]


if __name__ == "__main__":
    PlasmaTalk(sys.argv[1]).run()
