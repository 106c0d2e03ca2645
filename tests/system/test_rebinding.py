"""DNS rebinding: a foreign page whose name is changed to the presenter's address after it was loaded. Its
scripts can read nothing in a real browser with a real DNS server. People who open such a name see the
viewer page."""
import contextlib
import os
import socket
import threading

import pytest

from harness.browsers import BrowserHost, Chromium
from harness.network.dns_server import DNSServer
from harness.network.lan import Lan
from harness.waiting import eventually

PRESENTER, VISITOR, ATTACKER = "10.99.1.1", "10.99.1.2", "10.99.1.3"
LIMIT = 180  # browsers cache an address for a minute
FOREIGN_PAGE = b"""<!DOCTYPE html><title>foreign</title><script>
  const seen = { last: "" };
  async function look() {
    try {
      const answer = await fetch("/status", { cache: "no-store" });
      seen.last = await answer.text();
    } catch (error) {
      seen.last = "refused: " + error;
    }
    setTimeout(look, 200);
  }
  look();
</script>"""


class ForeignServer:
    """Serves the foreign page under every path, and a document of its own as "/status"."""

    def __init__(self, listening):
        self._listening = listening
        self._thread = threading.Thread(target=self._serve)
        self._thread.start()

    def close(self):
        self._listening.shutdown(socket.SHUT_RDWR)
        self._thread.join()
        self._listening.close()

    def _serve(self):
        with contextlib.suppress(OSError):
            while True:
                connection, _ = self._listening.accept()
                with connection, contextlib.suppress(OSError):
                    connection.settimeout(10)
                    request = connection.recv(65536)
                    body = b"foreign" if request.startswith(b"GET /status") else FOREIGN_PAGE
                    connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n"
                                       b"Content-Length: %d\r\nConnection: close\r\n\r\n%s"
                                       % (len(body), body))


@pytest.fixture
def lan():
    if os.geteuid() != 0:
        pytest.skip("network namespaces need root")
    made = Lan("presenter", "visitor", "attacker")
    try:
        for host, address in (("presenter", PRESENTER), ("visitor", VISITOR),
                              ("attacker", ATTACKER)):
            made.add_address(host, address)
        # browsers consider a machine without a default route offline
        made.configure("visitor", "route", "add", "default", "via", PRESENTER)
        made.use_name_server("visitor", ATTACKER)
        yield made
    finally:
        made.remove()


@pytest.fixture
def names(lan):
    """The addresses to which the DNS server resolves names for the visitor's browser."""
    listening = lan.inside("attacker", lambda: udp_socket((ATTACKER, 53)))
    with contextlib.closing(DNSServer(listening, {})) as server:
        yield server.addresses


def udp_socket(address):
    made = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    made.bind(address)
    return made


@pytest.fixture
def foreign_server(lan):
    listening = lan.inside("attacker", lambda: socket.create_server((ATTACKER, 80)))
    with contextlib.closing(ForeignServer(listening)) as server:
        yield server


@pytest.fixture
def browser(lan, names, tmp_path):
    host = BrowserHost(lan.exec_in("visitor"),
                       lambda port: lan.connect_at("visitor", ("127.0.0.1", port)))
    made = Chromium(tmp_path, host)
    yield made
    made.stop()


@pytest.fixture
def program(start, lan):
    """The program shares on port 80, the same port as the attacker's page."""
    shared = start("--capture", "pattern", "--share", "display-1", "--verbose", port=80,
                   prefix=lan.exec_in("presenter"),
                   connect=lambda address: lan.connect_at("presenter", address))
    shared.wait_until_sharing()
    return shared


def test_a_foreign_page_whose_name_points_here_reads_nothing(program, browser, names, lan,
                                                             foreign_server):
    names["page.evil.example"] = ATTACKER
    browser.open("http://page.evil.example/")
    eventually(lambda: browser.evaluate("seen.last") == "foreign", LIMIT, "the page is at work")
    names["page.evil.example"] = PRESENTER
    lan.add_address("visitor", "10.99.1.4")  # browsers resolve names again after a network change
    program.wait_for_line(rf"GET /status from {VISITOR}", LIMIT, source="stderr")
    read = eventually(lambda: other_than("foreign", browser.evaluate("seen.last")), LIMIT,
                      "the page has the presenter's answer")
    assert read.startswith("refused: "), read
    assert browser.evaluate("location.href") == "http://page.evil.example/"


def other_than(expected, text):
    return text if text != expected else None


def test_a_person_who_uses_another_name_sees_the_page(program, browser, names):
    names["screen.campus.example"] = PRESENTER
    browser.open("http://screen.campus.example/help")
    eventually(lambda: browser.evaluate("location.href") == f"http://{PRESENTER}/help", LIMIT,
               "the address by number")
    eventually(lambda: browser.evaluate("document.querySelectorAll('h2').length > 3"), LIMIT,
               "the help page")


def test_a_name_of_the_settings_stays(start, lan, browser, names, tmp_path):
    profile = tmp_path / "named"
    profile.mkdir()
    (profile / "config.json").write_text(
        '{"hostname": "", "allowedHosts": ["screen.campus.example"]}')
    start("--capture", "pattern", "--profile", profile, port=80, prefix=lan.exec_in("presenter"),
          connect=lambda address: lan.connect_at("presenter", address))
    names["screen.campus.example"] = PRESENTER
    browser.open("http://screen.campus.example/help")
    eventually(lambda: browser.evaluate("document.querySelectorAll('h2').length > 3"), LIMIT,
               "the help page")
    assert browser.evaluate("location.href") == "http://screen.campus.example/help"
