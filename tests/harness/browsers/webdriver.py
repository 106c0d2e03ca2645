"""A client of the W3C WebDriver protocol."""
import http.client
import json

RESPONSE_TIMEOUT = 60


class WebDriver:
    """One session; `connect` opens a connection to the driver."""

    def __init__(self, connect, capabilities):
        self._connect = connect
        self._path = ""
        wanted = {"pageLoadStrategy": "none", **capabilities}
        session = self._call("POST", "", {"capabilities": {"alwaysMatch": wanted}})
        self._path = "/" + session["sessionId"]

    def navigate(self, url):
        self._call("POST", "/url", {"url": url})

    def back(self):
        self._call("POST", "/back", {})

    def evaluate(self, expression):
        """Returns the value of an expression; evaluates it again if the page is left meanwhile.

        Chromium's driver does the same by itself. An expression must therefore not leave the page:
        `history.back()` sometimes went back two pages.
        """
        try:
            return self._execute(expression)
        except AssertionError as error:
            if "unload event" not in str(error):
                raise
            return self._execute(expression)

    def type_into(self, selector, text):
        """Types the text, or picks files whose paths are given one per line."""
        self._call("POST", f"/element/{self._element(selector)}/value", {"text": text})

    def clear(self, selector):
        self._call("POST", f"/element/{self._element(selector)}/clear", {})

    def tab(self):
        return self._call("GET", "/window")

    def tabs(self):
        return self._call("GET", "/window/handles")

    def new_tab(self):
        return self._call("POST", "/window/new", {"type": "tab"})["handle"]

    def switch_to(self, tab):
        self._call("POST", "/window", {"handle": tab})

    def close_tab(self):
        self._call("DELETE", "/window")

    def end(self):
        self._call("DELETE", "")

    def _execute(self, expression):
        return self._call("POST", "/execute/sync",
                          {"script": f"return {expression};", "args": []})

    def _element(self, selector):
        found = self._call("POST", "/element", {"using": "css selector", "value": selector})
        return next(iter(found.values()))

    def _call(self, method, path, body=None):
        connection = http.client.HTTPConnection("127.0.0.1", timeout=RESPONSE_TIMEOUT)
        connection.sock = self._connect()
        connection.sock.settimeout(RESPONSE_TIMEOUT)
        try:
            connection.request(method, f"/session{self._path}{path}",
                               None if body is None else json.dumps(body),
                               {"Content-Type": "application/json"})
            response = connection.getresponse()
            text = response.read().decode()
        finally:
            connection.close()
        assert response.status == 200, f"{method} {path}: {text}"
        return json.loads(text)["value"]
