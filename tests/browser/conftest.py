"""Fixtures of the browser tests, and the table of what was seen in which browser."""
import os
from collections import defaultdict

import pytest

from harness.browsers import ENGINES, BrowserHost
from harness.browsers.viewer_page import ViewerPage
from harness.network.intercepting_proxy import InterceptingProxy
from harness.network.lan import Network

pytest_plugins = ["harness.fixtures"]

seen = defaultdict(dict)  # scenario -> engine -> "passed" or "FAILED", with the seconds


def pytest_configure(config):
    if os.geteuid() != 0:
        pytest.exit("the browser tests make network namespaces and need root", returncode=2)


@pytest.fixture(scope="session", params=[
    pytest.param(name, marks=pytest.mark.xdist_group(name)) for name in ENGINES])
def engine(request):
    """The browsers are tested in parallel, each in a process of its own."""
    return request.param


@pytest.fixture(scope="session")
def network(engine):
    """A network for one browser and the programs that it visits."""
    made = Network()
    yield made
    made.remove()


@pytest.fixture(scope="session")
def running_browser(engine, network, tmp_path_factory):
    host = BrowserHost(network.exec_in_client(), network.connect_at_client)
    browser = ENGINES[engine](tmp_path_factory.mktemp(engine), host)
    yield browser
    browser.stop()


@pytest.fixture
def browser(running_browser):
    tab = running_browser.tab()
    yield running_browser
    running_browser.keep_only(tab)
    running_browser.open("about:blank")


@pytest.fixture
def page(browser):
    return ViewerPage(browser)


@pytest.fixture
def program_keywords(network):
    """Programs run on the server of the network."""
    return {"prefix": network.exec_in_server(), "connect": network.connect_at_server}


@pytest.fixture
def make_proxy(network):
    """Starts a proxy in front of a program: make_proxy(program, inject="...")."""
    made = []

    def make(program, **keywords):
        made.append(InterceptingProxy(network.listen_at_server(),
                          lambda: network.connect_at_server(program.address), **keywords))
        return made[-1]

    yield make
    for one in made:
        one.close()


def pytest_runtest_logreport(report):
    name = report.nodeid.rpartition("::")[2]
    if "[" not in name:
        return
    scenario, _, parameters = name.partition("]")[0].partition("[")
    engine, _, variant = parameters.partition("-")
    scenario = f"{scenario} {variant}"
    if report.failed:
        seen[scenario][engine] = "FAILED"
    elif report.when == "call":
        seen[scenario].setdefault(engine, f"passed {report.duration:4.1f} s")


def pytest_terminal_summary(terminalreporter):
    if not seen:
        return
    terminalreporter.section("What was seen in which browser")
    terminalreporter.line(f"{'':58}" + "".join(f"{name:16}" for name in ENGINES))
    for scenario, results in seen.items():
        title = scenario.removeprefix("test_").replace("_", " ")
        cells = "".join(f"{results.get(name, '-'):16}" for name in ENGINES)
        terminalreporter.line(f"{title:58}{cells}")
