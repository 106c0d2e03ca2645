"""Chromium on an X display of its own, driven through chromedriver's HTTP protocol."""
import json
import os
import re
import tempfile
import urllib.error
import urllib.request

from . import pixels
from .process import Process
from .waiting import eventually

FLAGS = ("--no-sandbox --disable-gpu --disable-quic --no-first-run --kiosk --hide-scrollbars "
         "--disable-background-networking --disable-component-update --disable-sync "
         "--disable-dev-shm-usage --force-device-scale-factor=1 "
         "--window-position=0,0").split()
ANSWER_LIMIT = 60


class Browser:
    """One browser in the top left corner of `server`, an X display of its own.

    The display is larger than WIDTH × HEIGHT: without a window manager Chromium takes a pixel off
    a window as large as its screen, and the page would be scaled.
    """

    WIDTH, HEIGHT = 800, 600

    def __init__(self, folder, server):
        self._server = server
        self._profile = tempfile.TemporaryDirectory(dir=folder, prefix="chromium-")
        self._driver = Process(["chromedriver", "--port=0"], folder, "chromedriver",
                               env={**os.environ, "DISPLAY": server.name})
        self._session = ""
        try:
            self._base = f"http://127.0.0.1:{self._driver_port()}"
            self._session = self._open_session()
        except BaseException:
            self.stop()
            raise

    def open(self, url):
        """Starts loading the page; does not wait for it."""
        self._call("POST", "/url", {"url": url})

    def evaluate(self, expression):
        return self._call("POST", "/execute/sync",
                          {"script": f"return {expression};", "args": []})

    def choose_files(self, selector, paths):
        """Answers the file chooser of an input."""
        element = self._call("POST", "/element", {"using": "css selector", "value": selector})
        identifier = next(iter(element.values()))
        self._call("POST", f"/element/{identifier}/value",
                   {"text": "\n".join(map(str, paths))})

    def devtools(self, command, **parameters):
        """One command of the browser's own protocol."""
        return self._call("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def pixels(self):
        """What its visitor sees."""
        return pixels.grab(self._server)[:self.HEIGHT, :self.WIDTH]

    def hint(self):
        """The text that the visitor reads while there is no picture; None while there is one."""
        return self.evaluate(
            "(() => { const idle = document.getElementById('idle');"
            " const hint = document.getElementById('hint');"
            " return idle && !idle.hidden ? hint.textContent.trim() : null; })()")

    def stop(self):
        try:
            if self._session:
                self._call("DELETE", "")
        finally:
            self._driver.stop()
            self._profile.cleanup()

    def _driver_port(self):
        found = eventually(
            lambda: re.search(r"started successfully on port (\d+)", self._driver.stdout),
            20, "chromedriver listens")
        return int(found[1])

    def _open_session(self):
        arguments = [*FLAGS, f"--window-size={self.WIDTH},{self.HEIGHT}",
                     f"--user-data-dir={self._profile.name}"]
        options = {"args": arguments, "excludeSwitches": ["enable-automation"]}
        wanted = {"browserName": "chrome", "pageLoadStrategy": "none",
                  "goog:chromeOptions": options}
        answer = self._call("POST", "/session", {"capabilities": {"alwaysMatch": wanted}})
        return "/" + answer["sessionId"]

    def _call(self, method, path, body=None):
        prefix = "/session" + self._session if path != "/session" else ""
        call = urllib.request.Request(
            self._base + prefix + path, method=method,
            data=None if body is None else json.dumps(body).encode(),
            headers={"Content-Type": "application/json"})
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        try:
            with opener.open(call, timeout=ANSWER_LIMIT) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise AssertionError(f"{method} {path}: {error.read().decode()}") from error
