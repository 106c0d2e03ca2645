"""Fixtures for all tests of the running program: X servers, windows and the program itself.

They end every process that a test starts, whether the test passes or fails.
"""
import contextlib

import pytest

from .desktop.session import DesktopSession
from .program import Program, display_ids, executable
from .waiting import LIMIT, eventually
from .x11.canvas import Canvas
from .x11.server import XServer
from .x11.window_owner import Owner, sources_on, windows_of


def pytest_sessionstart(session):
    if not executable().exists():
        pytest.exit(f"no program at {executable()}: build it or set TARVINEL", returncode=2)


@pytest.fixture
def x(tmp_path):
    """An X server to share, 800 × 600."""
    server = XServer(tmp_path)
    yield server
    server.stop()


@pytest.fixture
def canvas(x):
    painter = Canvas(x)
    yield painter
    with contextlib.suppress(Exception):  # its server may have ended
        painter.close()


@pytest.fixture
def desktop(tmp_path, x):
    """A desktop session on the X server."""
    session = DesktopSession(tmp_path, x)
    yield session
    session.stop()


@pytest.fixture
def clients():
    """A list of processes that are stopped after the test."""
    started = []
    yield started
    for process in started:
        process.stop()


@pytest.fixture
def manage(x, tmp_path, clients):
    """Starts window or compositing managers on the X server: manage(openbox)."""
    def start_manager(manager):
        clients.append(manager(x, tmp_path))
        return clients[-1]

    return start_manager


@pytest.fixture
def owner(x, tmp_path, clients):
    """Starts scripted X clients with windows: owner("name")."""
    def make(name):
        clients.append(Owner(x, tmp_path, name))
        return clients[-1]

    return make


@pytest.fixture
def program_keywords():
    """Default keywords of Program for all runs of a test, such as a network namespace."""
    return {}


@pytest.fixture
def start(tmp_path, program_keywords):
    """Starts the program on a free port, by default headless; start(...) takes the arguments of
    Program.

    After the test, every run that is still alive must end with status 0 on SIGTERM, and no run may
    have printed a sanitizer's report.
    """
    programs = []

    def start_program(*arguments, port=0, listening=True, headless=True, **keywords):
        keywords = {**program_keywords, **keywords}
        program = Program(tmp_path, *(["--headless"] if headless else []), "--port", str(port),
                          *arguments,
                          name=f"tarvinel-{len(programs)}", **keywords)
        programs.append(program)
        return program.wait_until_listening() if listening else program

    yield start_program
    _end_all(programs)


@pytest.fixture
def share(start, x, tmp_path):
    """Shares the window or application with that title: share("Owner: mine")."""
    def share_titled(title):
        found = eventually(lambda: windows_of(sources_on(x, tmp_path), title), LIMIT,
                           f"{title} is listed")
        program = start("--capture", "x11", "--share", found[0], display=x.name)
        program.wait_until_sharing()
        return program

    return share_titled


@pytest.fixture
def x_program(start, x):
    """The program on the X server, before it shares anything."""
    return start("--capture", "x11", display=x.name)


@pytest.fixture
def sharing(x, canvas, start, tmp_path):
    """The program while it shares the only display of the X server, which shows a still text."""
    canvas.text(1)
    program = start("--capture", "x11", "--share", display_ids(tmp_path, x)[0],
                    display=x.name)
    program.wait_until_sharing()
    return program


def _end_all(programs):
    alive = [program for program in programs if program.running()]
    for program in alive:
        program.terminate()
    statuses = [program.wait(LIMIT) for program in alive]
    reports = [report for report in map(Program.sanitizer_report, programs) if report]
    for program in programs:
        program.stop()
    assert statuses == [0] * len(alive)
    assert not reports
