"""The scripts of the pages are read by browsers of 2018: one that meets anything newer runs nothing of it."""
import subprocess

import pytest

from harness.documents import TREE
from harness.waiting import LIMIT

SCRIPTS = sorted((TREE / "core/pages").glob("*.js"))


def reads(text):
    """Whether a parser of that year's language takes it."""
    done = subprocess.run(["acorn", "--ecma2018", "--silent"], input=text, text=True,
                          capture_output=True, timeout=LIMIT)
    assert done.returncode == 0 or "(" in done.stderr, done.stderr  # a place in the script
    return done.returncode == 0


@pytest.mark.parametrize("script", SCRIPTS, ids=lambda script: script.name)
def test_the_scripts_are_read(script):
    assert reads(script.read_text())


@pytest.mark.parametrize("script", SCRIPTS, ids=lambda script: script.name)
def test_the_scripts_look_for_no_properties_of_characters(script):
    """They belong to that year's language, but Firefox takes them only since 2020."""
    assert r"\p{" not in script.read_text()


@pytest.mark.parametrize("text", ["try {} catch {}", "let a = b?.c;", "/[/;"])
def test_what_is_newer_or_wrong_is_not_read(text):
    assert not reads(text)


def test_there_are_scripts():
    assert len(SCRIPTS) == 2
