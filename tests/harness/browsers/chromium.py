"""Chromium, driven through chromedriver."""
from ..waiting import LIMIT, eventually
from .browser import Browser
from .webdriver import WebDriver

FLAGS = ("--no-sandbox --disable-gpu --disable-quic --no-first-run --kiosk "
         "--disable-background-networking --disable-component-update --disable-sync "
         "--disable-dev-shm-usage --force-device-scale-factor=1 --window-position=0,0").split()
PORT = 4444


class Chromium(Browser):
    name = "chromium"

    def _launch(self):
        driver = self._start(["chromedriver", f"--port={PORT}"], "chromedriver")
        eventually(lambda: "started successfully" in driver.stdout, LIMIT,
                   "chromedriver listens")
        arguments = [*FLAGS, f"--window-size={self.screen.width},{self.screen.height}",
                     f"--user-data-dir={self._folder / 'profile'}"]
        options = {"args": arguments, "excludeSwitches": ["enable-automation"]}
        return WebDriver(lambda: self._host.connect(PORT),
                         {"browserName": "chrome", "goog:chromeOptions": options})
