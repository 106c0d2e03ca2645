"""The version is the same in the program, the packages and the changelog."""
import re
import shutil
import subprocess
from datetime import date
from pathlib import Path

import pytest

from harness.program import executable, private_env
from harness.waiting import LIMIT

TREE = Path(__file__).resolve().parents[2]


def project_version(tree=TREE):
    text = (tree / "CMakeLists.txt").read_text()
    return re.search(r"^project\(tarvinel VERSION (\d+\.\d+\.\d+)\b", text, re.M)[1]


def newest_in_changelog(tree=TREE):
    """Returns the newest version in the changelog, or None before the first."""
    found = re.search(r"^## (\d\S*) \(", (tree / "CHANGELOG.md").read_text(), re.M)
    return found[1] if found else None


def package_version(tree=TREE):
    changelog = subprocess.run([tree / "tools/debian-changelog"], check=True, capture_output=True)
    done = subprocess.run(["dpkg-parsechangelog", "-l-", "-SVersion"], input=changelog.stdout,
                          check=True, capture_output=True)
    return done.stdout.decode().strip()


def test_the_program_and_its_status_say_the_projects_version(start, tmp_path):
    done = subprocess.run([executable(), "--version"], capture_output=True, text=True, timeout=LIMIT,
                          env=private_env(tmp_path))
    assert done.stdout == f"tarvinel {project_version()}\n"
    assert start("--capture", "pattern").status()["version"] == project_version()


def test_the_packages_have_the_projects_version():
    assert package_version() == project_version()


def test_the_newest_version_in_the_changelog_is_the_projects():
    assert newest_in_changelog() in (None, project_version())


@pytest.fixture
def clone(tmp_path, monkeypatch):
    """A repository with this tree's versions, in which building packages does nothing."""
    for name in ("GIT_AUTHOR", "GIT_COMMITTER"):
        monkeypatch.setenv(f"{name}_NAME", "Sam")
        monkeypatch.setenv(f"{name}_EMAIL", "sam@example.com")
    made = tmp_path / "clone"
    for name in ("CMakeLists.txt", "tools/release", "tools/debian-changelog", "debian/control"):
        (made / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(TREE / name, made / name)
    (made / "CHANGELOG.md").write_text("# Changelog\n\n## Unreleased\n\n- New\n")
    for name in ("package", "check-packages"):
        (made / "tools" / name).write_text(f"#!/bin/sh\necho {name} >> $HOME/made\n")
        (made / "tools" / name).chmod(0o755)
    monkeypatch.setenv("HOME", str(tmp_path))
    git(made, "init", "-q")
    commit(made)
    return made


def git(tree, *arguments):
    return subprocess.run(["git", *arguments], cwd=tree, check=True, capture_output=True,
                          text=True).stdout


def commit(tree):
    git(tree, "add", "-A")
    git(tree, "commit", "-qm", "A change")


def release(tree, *arguments):
    return subprocess.run([tree / "tools/release", *arguments], capture_output=True, text=True,
                          timeout=LIMIT)


def test_a_release_names_the_version_everywhere_and_tags_it(clone, tmp_path):
    done = release(clone, "7.8.9")
    assert done.returncode == 0, done.stderr
    assert project_version(clone) == newest_in_changelog(clone) == package_version(clone) == "7.8.9"
    assert f"## 7.8.9 ({date.today()})\n\n- New" in (clone / "CHANGELOG.md").read_text()
    assert (tmp_path / "made").read_text() == "package\ncheck-packages\n"
    assert git(clone, "status", "--porcelain") == ""
    assert git(clone, "log", "-1", "--format=%s %(describe:tags)") == "Release 7.8.9 v7.8.9\n"


def test_a_dry_run_shows_the_change_and_leaves_everything(clone, tmp_path):
    before = git(clone, "rev-parse", "HEAD")
    done = release(clone, "--dry-run", "7.8.9")
    assert done.returncode == 0, done.stderr
    assert "+## 7.8.9" in done.stdout
    assert git(clone, "status", "--porcelain") == git(clone, "tag") == ""
    assert git(clone, "rev-parse", "HEAD") == before
    assert not (tmp_path / "made").exists()


def test_packages_that_cannot_be_made_leave_everything(clone):
    (clone / "tools/package").write_text("#!/bin/sh\nexit 1\n")
    commit(clone)
    assert release(clone, "7.8.9").returncode == 1
    assert git(clone, "status", "--porcelain") == git(clone, "tag") == ""


def nothing(tree):
    pass


def change(tree):
    (tree / "CMakeLists.txt").write_text("changed")


def tag(tree):
    git(tree, "tag", "v7.8.9")


def empty_section(tree):
    (tree / "CHANGELOG.md").write_text("## Unreleased\n\n## 0.1.0 (2026-01-01)\n\n- Old\n")
    commit(tree)


def no_section(tree):
    (tree / "CHANGELOG.md").write_text("# Changelog\n")
    commit(tree)


@pytest.mark.parametrize("prepare, arguments, reason", [
    (nothing, [], "give one version"),
    (nothing, ["7.8"], "7.8 is not a version"),
    (nothing, ["0.0.1"], "0.0.1 is older than"),
    (change, ["7.8.9"], "not committed"),
    (tag, ["7.8.9"], "v7.8.9 exists"),
    (no_section, ["7.8.9"], "no section Unreleased"),
    (empty_section, ["7.8.9"], "says nothing under Unreleased"),
])
def test_a_release_that_cannot_be_is_refused(clone, prepare, arguments, reason):
    prepare(clone)
    before = git(clone, "status", "--porcelain")
    done = release(clone, *arguments)
    assert done.returncode == 1
    assert reason in done.stderr
    assert git(clone, "status", "--porcelain") == before
