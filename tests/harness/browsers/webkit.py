"""WebKitGTK's MiniBrowser, driven through WebKitWebDriver."""
from pathlib import Path

from ..waiting import LIMIT, eventually
from .browser import Browser
from .webdriver import WebDriver

PORT = 4445


class WebKit(Browser):
    name = "webkit"
    hands_over_dropped_files = False

    def _launch(self):
        # the sandbox needs user namespaces, which may be unavailable to root in a container
        self._start(["dbus-run-session", "WebKitWebDriver", f"--port={PORT}"], "webkitdriver",
                    WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS="1")
        eventually(self._listens, LIMIT, "WebKitWebDriver listens")
        options = {"binary": str(_mini_browser()), "args": ["--automation", "--full-screen"]}
        return WebDriver(lambda: self._host.connect(PORT),
                         {"browserName": "MiniBrowser", "webkitgtk:browserOptions": options})

    def _listens(self):
        try:
            self._host.connect(PORT).close()
        except OSError:
            return False
        return True


def _mini_browser():
    found = sorted(Path("/usr/lib").glob("*/webkit2gtk-4.*/MiniBrowser"))
    assert found, "no MiniBrowser: is webkit2gtk-driver installed?"
    return found[-1]
