"""Firefox's remote protocol: length-prefixed JSON on one TCP connection."""
import itertools
import json

RESPONSE_TIMEOUT = 60


class Marionette:
    """One session on `connection`, with the same operations as WebDriver."""

    def __init__(self, connection):
        connection.settimeout(RESPONSE_TIMEOUT)
        self._connection = connection
        self._stream = connection.makefile("rb")
        self._numbers = itertools.count(1)
        assert self._receive()["marionetteProtocol"] == 3
        self._call("WebDriver:NewSession",
                   capabilities={"alwaysMatch": {"pageLoadStrategy": "none"}})

    def navigate(self, url):
        self._call("WebDriver:Navigate", url=url)

    def back(self):
        self._call("WebDriver:Back")

    def evaluate(self, expression):
        return self._call("WebDriver:ExecuteScript", script=f"return {expression};",
                          args=[])["value"]

    def type_into(self, selector, text):
        """Types the text, or picks files whose paths are given one per line."""
        self._call("WebDriver:ElementSendKeys", id=self._element(selector), text=text)

    def clear(self, selector):
        self._call("WebDriver:ElementClear", id=self._element(selector))

    def tab(self):
        return self._call("WebDriver:GetWindowHandle")["value"]

    def tabs(self):
        return self._call("WebDriver:GetWindowHandles")

    def new_tab(self):
        return self._call("WebDriver:NewWindow", type="tab", focus=True)["handle"]

    def switch_to(self, tab):
        self._call("WebDriver:SwitchToWindow", handle=tab, focus=True)

    def close_tab(self):
        self._call("WebDriver:CloseWindow")

    def end(self):
        self._call("Marionette:Quit", flags=["eForceQuit"])
        self._stream.close()
        self._connection.close()

    def _element(self, selector):
        found = self._call("WebDriver:FindElement", using="css selector", value=selector)["value"]
        return next(iter(found.values()))

    def _call(self, name, **parameters):
        number = next(self._numbers)
        message = json.dumps([0, number, name, parameters]).encode()
        self._connection.sendall(b"%d:%s" % (len(message), message))
        _, response_number, error, result = self._receive()
        assert response_number == number and not error, f"{name}: {error}"
        return result

    def _receive(self):
        length = bytearray()
        while (character := self._stream.read(1)) != b":":
            assert character, "Firefox has closed the connection"
            length += character
        return json.loads(self._stream.read(int(length)))
