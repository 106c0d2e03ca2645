"""The messages of tools/build, and so of ./run, when a build fails. tests/clean/endings tests failures to
install packages."""
import fcntl
import os
import subprocess

import pytest

from harness.documents import TREE
from harness.waiting import LIMIT


@pytest.fixture
def clone(tmp_path):
    """A clone of the committed sources with the uncommitted changes of the build step."""
    made = tmp_path / "clone"
    subprocess.run(["git", "clone", "--quiet", TREE, made], check=True, timeout=LIMIT)
    subprocess.run(["cp", "-r", TREE / "tools", TREE / "CMakePresets.json", made], check=True, timeout=LIMIT)
    (made / "build").mkdir()
    return made


def build(clone, *prefix):
    return subprocess.run([*prefix, "tools/build", "run"], cwd=clone, capture_output=True, text=True,
                          timeout=LIMIT)


def test_a_second_build_in_the_folder_is_not_begun(clone):
    with open(clone / "build/.run.lock", "w", encoding="ascii") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        done = build(clone)
    assert done.returncode == 1
    assert done.stdout == ""
    assert done.stderr == "Another build runs in this folder. Wait for its end, then start again.\n"
    assert not (clone / "build/run").exists()


@pytest.mark.skipif(os.geteuid() != 0, reason="mounting a small disk needs root")
def test_a_full_disk_is_named(clone):
    done = build(clone, "unshare", "--mount", "sh", "-c",
                 'mount -t tmpfs -o size=64k none build && exec "$@"', "sh")
    assert done.returncode == 1
    assert done.stderr == f"The disk is full: building takes about 100 MB in {clone}/build.\n"


def test_an_error_of_the_compiler_is_shown(clone):
    (clone / "CMakeLists.txt").write_text("nonsense(\n", encoding="ascii")
    done = build(clone)
    assert done.returncode == 1
    assert "Parse error" in done.stdout
    assert done.stderr == "Building (run) failed. What was built is kept for the next try.\n"
