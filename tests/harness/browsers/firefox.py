"""Firefox, driven through its own protocol, Marionette."""
from ..waiting import LIMIT, eventually
from .browser import Browser
from .marionette import Marionette

PREFERENCES = {
    "marionette.port": 0,
    "app.normandy.enabled": False,
    "app.update.enabled": False,
    "browser.aboutwelcome.enabled": False,
    "browser.newtabpage.enabled": False,
    "browser.safebrowsing.update.enabled": False,
    "browser.shell.checkDefaultBrowser": False,
    "browser.startup.homepage_override.mstone": "ignore",
    "browser.tabs.warnOnClose": False,
    "datareporting.policy.dataSubmissionEnabled": False,
    "extensions.update.enabled": False,
    "full-screen-api.warning.timeout": 0,
    "network.captive-portal-service.enabled": False,
    "network.connectivity-service.enabled": False,
    "services.settings.server": "",
    "toolkit.telemetry.enabled": False,
}


class Firefox(Browser):
    name = "firefox"

    def _launch(self):
        profile = self._folder / "profile"
        profile.mkdir()
        (profile / "user.js").write_text("".join(
            f'user_pref("{name}", {_literal(value)});\n' for name, value in PREFERENCES.items()))
        port_file = profile / "MarionetteActivePort"
        # without a session bus it waits for one repeatedly
        self._start(["dbus-run-session", "firefox-esr", "--marionette", "--no-remote",
                     "--profile", profile, "--kiosk", "about:blank"], "firefox")
        port = eventually(lambda: port_file.exists() and port_file.read_text(), LIMIT,
                          "Firefox writes its port")
        return Marionette(self._host.connect(int(port)))


def _literal(value):
    if isinstance(value, bool):
        return str(value).lower()
    return f'"{value}"' if isinstance(value, str) else str(value)
