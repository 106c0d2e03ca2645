"""The statements of the documents about themselves and about the program are true."""
import errno
import json
import os
import re
import shutil
import subprocess

import jsonschema
import pytest

from harness.documents import CODE, LANGUAGES, TREE, all_documents, command_blocks, user_documents, \
    words_of
from harness.program import executable
from harness.waiting import LIMIT

OPTION = re.compile(r"(?<![\w-])--[a-z][a-z-]*")
SCHEMA = TREE / "docs/config.schema.json"
REFERENCE = TREE / "docs/configuration.md"
WRITER = TREE / "tools/write-configuration-reference"
# Texts of desktops and of the system, and quoted terms
OTHERS = {"AppIndicator and KStatusNotifierItem Support", "client isolation", "Xorg",
          "Privacy & Security", "Local Network", "Remember this selection",
          "Allow restoring on future sessions",
          os.strerror(errno.EACCES), os.strerror(errno.EADDRINUSE)}
IMAGES = TREE / "docs/images"
LARGEST_IMAGE = 200_000


def help_text():
    return subprocess.run([executable(), "--help"], capture_output=True, text=True, check=True,
                          timeout=LIMIT).stdout


def each(documents):
    return pytest.mark.parametrize("document", documents, ids=lambda document: document.name)


@each(all_documents())
def test_links_lead_somewhere(document):
    for link in document.links():
        if re.match(r"[a-z]+:", link):
            continue
        path, _, anchor = link.partition("#")
        target = (document.path.parent / path) if path else document.path
        assert target.exists(), link
        if anchor:
            found = next(one for one in all_documents() if one.path == target.resolve())
            assert anchor in found.anchors(), link


@each(user_documents())
def test_every_block_says_what_it_is(document):
    assert {block.language for block in document.blocks()} <= LANGUAGES
    fences = re.findall(r"^ *```", document.text, re.M)
    assert len(fences) == 2 * len(document.blocks())
    indented = re.search(r"\n\n    .*", document.prose())
    assert not indented or indented[0].strip().startswith(("-", "*")), indented


@each(user_documents())
def test_every_option_exists(document):
    """This includes options in code spans and in commands."""
    known = set(OPTION.findall(help_text()))
    named = {option for code in document.codes()
             if code.startswith(("-", "tarvinel ", "./run "))
             for option in OPTION.findall(code)}
    for block in document.blocks("sh"):
        for words in words_of(block.command):
            if words and words[0] in ("tarvinel", "./run"):
                named |= {word for word in words if OPTION.fullmatch(word)}
    assert named - known == set()


def test_every_option_is_in_the_guide():
    guide = (TREE / "docs/presenter.md").read_text()
    named = {option for code in CODE.findall(guide) for option in OPTION.findall(code)}
    assert set(OPTION.findall(help_text())) - named == set()


def test_every_way_to_capture_is_in_the_guide():
    offered = re.search(r"how to capture the screen: (.+)", help_text())[1]
    ways = re.findall(r"\w+", offered.replace(" or ", ", "))
    guide = (TREE / "docs/presenter.md").read_text()
    assert r"`--capture " + r"\|".join(ways) + "`" in guide


@pytest.mark.parametrize("block", [block for document in user_documents()
                                   for block in document.blocks("json")], ids=str)
def test_configurations_are_right(block):
    jsonschema.validate(json.loads(block.text), json.loads(SCHEMA.read_text()))


def texts_of_the_program():
    """Returns all sources of the program, with adjacent string literals joined."""
    sources = [path.read_text() for folder in ("app", "core") for path in (TREE / folder).rglob("*")
               if path.suffix in (".cpp", ".h", ".html", ".js")]
    return re.sub(r'"\s*"', "", "\n".join(sources)).replace('\\"', '"')


@each([document for document in user_documents()
       if document.name in ("docs/presenter.md", "docs/troubleshooting.md")])
def test_quoted_texts_are_those_of_the_program(document):
    """In quoted texts, numbers stand for placeholders and an ellipsis for any text."""
    texts = texts_of_the_program()
    quoted = {" ".join(text.split())
              for text in re.findall(r'"([^"]+)"', CODE.sub("", document.prose()))}
    assert quoted
    for text in quoted - OTHERS:
        for piece in re.sub(r"\d+", "{}", text).split("…"):
            assert piece.strip() in texts, text


def written_reference(tmp_path, change=lambda schema: None):
    """Returns whether the reference agrees with a modified schema."""
    schema = json.loads(SCHEMA.read_text())
    change(schema["properties"])
    changed = tmp_path / "schema.json"
    changed.write_text(json.dumps(schema))
    document = shutil.copy(REFERENCE, tmp_path)
    return subprocess.run([WRITER, "--check", changed, document], capture_output=True,
                          timeout=LIMIT).returncode == 0


def test_the_reference_is_up_to_date(tmp_path):
    assert written_reference(tmp_path)


@pytest.mark.parametrize("change", [
    lambda keys: keys["fps"].update(default=21), lambda keys: keys.pop("scale"),
    lambda keys: keys["brand"]["properties"]["name"].update(description="Another.")],
    ids=["default", "key", "description"])
def test_a_reference_out_of_date_is_noticed(tmp_path, change):
    assert not written_reference(tmp_path, change)


def test_images_are_small_and_used():
    linked = {(document.path.parent / link).resolve() for document in user_documents()
              for link in document.links()}
    for image in IMAGES.glob("*.png"):
        assert image.stat().st_size <= LARGEST_IMAGE, image.name
        assert image in linked, image.name


def test_commands_are_read_at_all():
    """Without this, the other tests would also pass without commands."""
    assert len(command_blocks()) > 20
