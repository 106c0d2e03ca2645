"""Fixtures that every test of the running program needs: what is shared, and who shares it.

Whatever a test starts is ended, whether it passes or fails.
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
    with contextlib.suppress(Exception):  # its server may be gone
        painter.close()


@pytest.fixture
def desktop(tmp_path, x):
    """A desktop session on the X server."""
    session = DesktopSession(tmp_path, x)
    yield session
    session.stop()


@pytest.fixture
def clients():
    """A list of processes that end with the test."""
    started = []
    yield started
    for process in started:
        process.stop()


@pytest.fixture
def manage(x, tmp_path, clients):
    """Starts a window or compositing manager on the X server: manage(openbox)."""
    def start_manager(manager):
        clients.append(manager(x, tmp_path))
        return clients[-1]

    return start_manager


@pytest.fixture
def owner(x, tmp_path, clients):
    """Makes programs with windows: owner("name")."""
    def make(name):
        clients.append(Owner(x, tmp_path, name))
        return clients[-1]

    return make


@pytest.fixture
def place():
    """Where the programs of a test run, as keywords of Program."""
    return {}


@pytest.fixture
def start(tmp_path, place):
    """Starts the program, headless unless told otherwise, on a free port; start(...) takes what
    Program takes.

    At the end of the test every run that is still going must end in order on SIGTERM, and
    none may have made a sanitizer speak.
    """
    programs = []

    def start_program(*arguments, port=0, listening=True, headless=True, **keywords):
        keywords = {**place, **keywords}
        program = Program(tmp_path, *(["--headless"] if headless else []), "--port", str(port),
                          *arguments,
                          name=f"tarvinel-{len(programs)}", **keywords)
        programs.append(program)
        return program.wait_until_listening() if listening else program

    yield start_program
    _end_in_order(programs)


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
    """The program with the X server in reach, nothing shared yet."""
    return start("--capture", "x11", display=x.name)


@pytest.fixture
def sharing(x, canvas, start, tmp_path):
    """The program sharing the X server's one display, which shows a still text."""
    canvas.text(1)
    program = start("--capture", "x11", "--share", display_ids(tmp_path, x)[0],
                    display=x.name)
    program.wait_until_sharing()
    return program


def _end_in_order(programs):
    going = [program for program in programs if program.running()]
    for program in going:
        program.terminate()
    statuses = [program.wait(LIMIT) for program in going]
    reports = [report for report in map(Program.sanitizer_report, programs) if report]
    for program in programs:
        program.stop()
    assert statuses == [0] * len(going)
    assert not reports
