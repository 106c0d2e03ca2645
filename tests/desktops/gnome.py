"""A presentation on GNOME. The script "gnome" runs it in the session."""
import json
import sys
from pathlib import Path

from gi.repository import Gio

sys.path.insert(0, str(Path(__file__).parents[1]))
import accessible  # noqa: E402  (the harness is found from here on)
from gnome_shell import Shell  # noqa: E402
from harness.waiting import eventually  # noqa: E402
from viewing import BLUE, LIMIT, status, wait_until_served, wait_until_sharing  # noqa: E402
from talk import (ANOTHER_SCREEN, ANOTHER_WINDOW, AT_SLIDES, NAME, NUMBER, SLIDES,  # noqa: E402
                  TARVINEL, Talk)

AT_DIALOG, MOST_TABS = (260, 30), 12
EXTENSION = "ubuntu-appindicators@ubuntu.com"
INDICATOR = "Main.panel.statusArea.screenSharing"
ICON = "Object.entries(Main.panel.statusArea).find(([key]) => key.startsWith('appindicator-'))?.[1]"
FOUND = "Main.overview.searchController._searchResults?._defaultResult?.app?.get_name()"


class GnomeTalk(Talk):
    dialog = "Share Screen"
    monitor = "MetaVendor"

    def __init__(self, results):
        super().__init__(Shell(), results)
        Gio.Settings.new("org.gnome.desktop.interface").set_boolean("toolkit-accessibility", True)
        Gio.Settings.new("org.gnome.desktop.session").set_uint("idle-delay", 0)  # the screen is not blanked

    def steps(self):
        return [
            ("the first start, from the overview: a window opens", self.start_first),
            *self.sharing_steps(),
            ("the end", self.quit),
            ("with the AppIndicator extension there is an icon and no window", self.start_in_panel),
            ("the icon's menu starts sharing", self.share_from_panel),
            ("the icon's menu chooses a window", self.choose_window_in_panel),
            ("the icon's menu copies the address", self.copy_in_panel),
            ("the icon's menu stops sharing", self.stop_from_panel),
            ("the icon's menu ends the program", self.quit_from_panel),
        ]

    def start_first(self):
        self._start()
        eventually(lambda: NAME in accessible.texts(TARVINEL), LIMIT, "the name")
        self.picture("first-start")
        assert not status()["sharing"]

    def start_in_panel(self):
        self._desktop.run(f"Main.extensionManager.enableExtension('{EXTENSION}')")
        self._start_from_overview()
        eventually(lambda: self._desktop.run(f"({ICON})?.visible"), LIMIT, "the icon")
        self._open_menu()
        self._find_item("Start Sharing")
        self.picture("tray-menu")
        self._desktop.press("Escape")
        eventually(lambda: not self._desktop.run(f"{ICON}.menu.isOpen"), LIMIT, "the menu is closed")
        assert not self._desktop.place_of_window(TARVINEL)

    def share_from_panel(self):
        self._show(SLIDES, AT_SLIDES)
        self._choose_source_in_panel(ANOTHER_SCREEN)
        self._choose(self.monitor)
        wait_until_sharing()
        self._expect_screen(BLUE)
        self.picture("tray-sharing")

    def choose_window_in_panel(self):
        self._choose_source_in_panel(ANOTHER_WINDOW)
        self._choose(SLIDES)
        self._expect_window(SLIDES, BLUE)

    def copy_in_panel(self):
        self._click_in_menu("Copy Numeric Address")
        self._expect_clipboard(NUMBER)

    def stop_from_panel(self):
        self._click_in_menu("Stop Sharing")
        wait_until_sharing(False)

    def quit_from_panel(self):
        self._click_in_menu("Quit Tarvinel")
        wait_until_served(False)

    def _start(self):
        self._start_from_overview()
        self._desktop.wait_for_window(TARVINEL)
        accessible.find(TARVINEL, "Start Sharing")

    def _start_from_overview(self):
        """Starts the program by typing its name in the overview."""
        if not self._desktop.run("Main.overview.visible"):
            self._desktop.press("Super_L")
        eventually(lambda: self._desktop.run("Main.overview.visible && !Main.overview.animationInProgress"),
                   LIMIT, "the overview")
        self._desktop.type("tarvinel")
        eventually(lambda: self._desktop.run(FOUND) == "Tarvinel", LIMIT, "the program is found")
        self._desktop.press("Return")
        eventually(lambda: not self._desktop.run("Main.overview.visible"), LIMIT, "the overview closes")
        wait_until_served()

    def _choose(self, name, remember=True):
        self._desktop.wait_for_window(self.dialog)
        if name != self.monitor:  # the only screen is already selected
            self._focus(name)
            self._desktop.press("space")
        if not remember:
            self._desktop.press("Alt_L", "r")
        accessible.press(self.dialog, "Share", roles=("button",))
        self._desktop.wait_for_no_window(self.dialog)

    def _focus(self, name):
        """Moves the focus to a widget of the dialog with the Tab key."""
        accessible.find(self.dialog, name)
        self._show(self.dialog, AT_DIALOG)
        for _ in range(MOST_TABS):
            before = accessible.focused(self.dialog)
            if before == name:
                return
            self._desktop.press("Tab")
            eventually(lambda: accessible.focused(self.dialog) not in (None, before), LIMIT, "the focus")
        raise AssertionError(f"{name!r} never has the focus")

    def _cancel_dialog(self):
        accessible.press(self.dialog, "Cancel", roles=("button",))

    def _stop_in_indicator(self):
        assert self._desktop.run(f"{INDICATOR}.visible")
        self._desktop.click_actor(INDICATOR)

    def _expect_clipboard(self, text):
        script = ("new Promise(done => imports.gi.St.Clipboard.get_default().get_text("
                  "imports.gi.St.ClipboardType.CLIPBOARD, (_, text) => done(text)))")
        eventually(lambda: self._desktop.run(script) == text, LIMIT, f"{text} on the clipboard")

    def _expect_notification(self, text):
        eventually(lambda: any(text in shown for shown in self._notifications()), LIMIT,
                   f"the notification {text!r}")

    def _notifications(self):
        return self._desktop.run(
            "Main.messageTray.getSources().flatMap(source => source.notifications)"
            ".map(notification => notification.body ?? '')")

    def _choose_source_in_panel(self, name):
        self._open_menu()
        self._click_item("Source")
        self._click_item(name)
        if not status()["sharing"]:
            self._click_in_menu("Start Sharing")

    def _click_in_menu(self, label):
        self._open_menu()
        self._click_item(label)

    def _open_menu(self):
        self._desktop.click_actor(ICON)
        eventually(lambda: self._desktop.run(f"{ICON}.menu.isOpen"), LIMIT, "the menu is open")

    def _click_item(self, label):
        self._find_item(label)
        self._desktop.click_actor(_item(label))

    def _find_item(self, label):
        eventually(lambda: self._desktop.run(f"{_item(label)}?.mapped"), LIMIT, f"{label!r} in the menu")


def _item(label):
    """Returns a script for the item of the icon's menu with that label."""
    return ("(function find(items) { for (const item of items) {"
            f" if (item.label?.text === {json.dumps(label)}) return item;"
            " const inside = item.menu && find(item.menu._getMenuItems()); if (inside) return inside; }"
            f" return null; }})({ICON}.menu._getMenuItems())")


if __name__ == "__main__":
    GnomeTalk(sys.argv[1]).run()
