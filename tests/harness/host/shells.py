"""Real shells with the program's completions."""
import os
import re
import subprocess
from pathlib import Path

from ..program import executable, private_env
from ..waiting import LIMIT, eventually
from .terminal import Terminal

COMPLETIONS = Path(__file__).resolve().parents[3] / "resources/completions"
PROMPT = "ready> "
ESCAPES = re.compile(r"\x1b\[[\d;?]*[A-Za-z]|\x1b[=>]|\r")


def _env(folder):
    env = private_env(folder)
    path = f"{executable().parent}:{os.environ['PATH']}"
    return {**env, "PATH": path, "TERM": "xterm", "LC_ALL": "C.UTF-8"}


class TypedShell:
    """An interactive shell in a terminal. stop() ends it."""

    def __init__(self, folder, argv, setup, list_key):
        self._list_key = list_key
        self._terminal = Terminal(argv, {**_env(folder), **self.VARIABLES})
        for line in setup:
            self._terminal.type(line + "\n")
        self._terminal.type(f"cd {folder}\n")
        self._terminal.type("PS1='ready''> '\n")  # differs from the echo of this line
        self._terminal.wait_for(PROMPT)

    VARIABLES = {}

    def completions(self, line, *expected):
        """Waits until the completions of the line contain the expected words; returns them as text."""
        before = len(self._text())
        self._terminal.type(line + self._list_key)

        def listed():
            text = self._text()[before:].partition(line)[2]
            text = text.partition("tarvinel ")[0]  # without the repeated line
            return text if all(word in text for word in expected) else None

        text = eventually(listed, LIMIT, f"{expected} for {line!r}")
        self._terminal.type("\x03")
        eventually(lambda: self._text().endswith(PROMPT), LIMIT, "the prompt")
        return text

    def stop(self):
        self._terminal.type("\x03exit\n")
        self._terminal.stop()

    def _text(self):
        return ESCAPES.sub("", self._terminal.shown)


class Bash(TypedShell):
    def __init__(self, folder):
        settings = ("show-all-if-ambiguous on", "page-completions off", "completion-query-items 0",
                    "enable-bracketed-paste off", "completion-display-width 0")
        super().__init__(
            folder, ["bash", "--norc", "--noprofile", "-i"],
            [*(f"bind 'set {setting}'" for setting in settings),
             f"source {COMPLETIONS}/tarvinel.bash"], "\x1b?")


class Zsh(TypedShell):
    def __init__(self, folder):
        super().__init__(
            folder, ["zsh", "-f", "-i"],
            ["unsetopt zle_bracketed_paste prompt_sp", f"fpath=({COMPLETIONS} $fpath)", "LISTMAX=0",
             "autoload -U compinit", f"compinit -u -D -d {folder}/zcompdump",
             "bindkey '^X' list-choices"], "\x18")

    VARIABLES = {"PROMPT_EOL_MARK": ""}


class Fish:
    """fish, which prints completions on request."""

    def __init__(self, folder):
        self._folder = folder

    def completions(self, line, *expected):
        script = f'source {COMPLETIONS}/tarvinel.fish; complete -C "$argv[1]"'
        done = subprocess.run(["fish", "--no-config", "-c", script, line], cwd=self._folder,
                              env=_env(self._folder), capture_output=True, text=True, timeout=LIMIT)
        assert done.stderr == ""
        assert all(word in done.stdout for word in expected), done.stdout
        return done.stdout

    def stop(self):
        """Does nothing: no process is left running."""
