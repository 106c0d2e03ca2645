"""The documents as data: their fenced blocks, code spans, links and headings."""
import re
import shlex
from pathlib import Path
from typing import NamedTuple

TREE = Path(__file__).resolve().parents[2]
FENCE = re.compile(r"^( *)```(\w*)\n(.*?)^\1```$", re.M | re.S)
CODE = re.compile(r"`([^`\n]+)`")
LINK = re.compile(r"!?\[[^\]\n]*\]\(([^)\s]+)\)")
HEADING = re.compile(r"^#+ (.+)$", re.M)
LANGUAGES = {"sh", "tarvinel", "json", "text"}


class Block(NamedTuple):
    """A fenced block: its document, its language and its text without indentation."""
    document: str
    language: str
    text: str

    @property
    def command(self):
        """The command to type, with continued lines joined."""
        return self.text.replace("\\\n", " ").strip()

    def __str__(self):
        return f"{self.document}: {' '.join(self.command.split())[:60]}"


class Document:
    def __init__(self, path):
        self.path = path
        self.name = str(path.relative_to(TREE))
        self.text = path.read_text()

    def blocks(self, *languages):
        found = [Block(self.name, language, _unindented(text, len(indent)))
                 for indent, language, text in FENCE.findall(self.text)]
        return [block for block in found if not languages or block.language in languages]

    def prose(self):
        """Returns the text without its fenced blocks."""
        return FENCE.sub("", self.text)

    def codes(self):
        """Returns the code spans of the prose."""
        return [code.replace(r"\|", "|") for code in CODE.findall(self.prose())]

    def links(self):
        return LINK.findall(CODE.sub("", self.prose()))

    def anchors(self):
        """Returns the anchors that code forges create for its headings."""
        titles = HEADING.findall(self.prose())
        return {re.sub(r"[^\w\- ]", "", title.replace("`", "").lower()).replace(" ", "-")
                for title in titles}


def user_documents():
    """Returns the documents for presenters: README and docs/."""
    return [Document(TREE / "README.md"), *map(Document, sorted((TREE / "docs").rglob("*.md")))]


def all_documents():
    folders = [TREE, *(TREE / name for name in ("docs", "bench", "fuzz", "tests", "core", "app"))]
    found = {path for folder in folders for path in folder.glob("*.md")}
    found |= {path for folder in folders[1:] for path in folder.rglob("*.md")}
    return [Document(path) for path in sorted(found)]


def command_blocks():
    return [block for document in user_documents() for block in document.blocks("sh")]


def words_of(command):
    """Returns the simple commands of a command line as lists of words."""
    lists = [[]]
    for word in shlex.split(command, comments=True):
        if word in ("|", "&&", ";"):
            lists.append([])
        else:
            lists[-1].append(word)
    return lists


def _unindented(text, count):
    return "".join(line[min(count, len(line) - len(line.lstrip(" "))):]
                   for line in text.splitlines(keepends=True))
