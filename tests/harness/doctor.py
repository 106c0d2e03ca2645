"""Runs of `--doctor` and the findings in its report."""
import os
import re
import subprocess
from typing import NamedTuple

from .program import executable, private_env
from .waiting import LIMIT

STATES = ("fine", "worth knowing", "needs attention")
LINE = re.compile(rf"({'|'.join(STATES)}) +(\S+) +(.*)")


class Finding(NamedTuple):
    state: str
    what: str
    advice: tuple


class Report(NamedTuple):
    status: int
    text: str
    findings: dict  # from topics to lists of findings

    def states(self, topic):
        return [finding.state for finding in self.findings[topic]]

    def texts(self, topic):
        return [finding.what for finding in self.findings[topic]]


def run_doctor(folder, *arguments, display=None, prefix=(), variables=()):
    """Runs --doctor to its end, checks that it leaves no process behind and returns its Report."""
    env = {**private_env(folder, display), "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nowhere",
           **dict(variables)}
    child = subprocess.Popen([*map(str, prefix), executable(), "--doctor", *map(str, arguments)],
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=env,
                             stdin=subprocess.DEVNULL, start_new_session=True)
    out, err = child.communicate(timeout=LIMIT)
    assert not _session_is_alive(child.pid)
    assert err == "" and child.returncode in (0, 1), err
    return report_in(out, child.returncode)


def report_in(text, status):
    findings = {}
    for line in text.splitlines():
        found = LINE.fullmatch(line)
        if found:
            state, topic, what = found.groups()
            findings.setdefault(topic, []).append(Finding(state, what, ()))
        elif line.startswith(" " * 30 + "→ "):
            state, what, advice = findings[topic][-1]
            findings[topic][-1] = Finding(state, what, (*advice, line.strip()[2:]))
    return Report(status, text, findings)


def _session_is_alive(session):
    try:
        os.killpg(session, 0)
    except ProcessLookupError:
        return False
    return True
