"""The scripts of the pages use the language of 2018, because a browser runs nothing of a script that it
cannot parse."""
import subprocess

import pytest

from harness.documents import TREE
from harness.waiting import LIMIT

SCRIPTS = sorted((TREE / "core/pages").glob("*.js"))


def reads(text):
    """Returns whether a parser for the language of that year accepts the script."""
    done = subprocess.run(["acorn", "--ecma2018", "--silent"], input=text, text=True,
                          capture_output=True, timeout=LIMIT)
    assert done.returncode == 0 or "(" in done.stderr, done.stderr  # a position in the script
    return done.returncode == 0


@pytest.mark.parametrize("script", SCRIPTS, ids=lambda script: script.name)
def test_the_scripts_are_read(script):
    assert reads(script.read_text())


@pytest.mark.parametrize("script", SCRIPTS, ids=lambda script: script.name)
def test_the_scripts_look_for_no_properties_of_characters(script):
    """They are part of that language, but Firefox supports them only since 2020."""
    assert r"\p{" not in script.read_text()


@pytest.mark.parametrize("text", ["try {} catch {}", "let a = b?.c;", "/[/;"])
def test_what_is_newer_or_wrong_is_not_read(text):
    assert not reads(text)


def test_there_are_scripts():
    assert len(SCRIPTS) == 3
