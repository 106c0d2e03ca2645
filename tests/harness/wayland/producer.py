"""A desktop whose pictures come from a producer that does what the test says."""
import subprocess
from pathlib import Path

from ..waiting import LIMIT, eventually
from .scripted_session import GrantingDesktop

SOURCE = Path(__file__).parent / "producer.c"
LIBRARY = "libpipewire-0.3"


def compiled(folder):
    """The producer's program."""
    program = Path(folder) / "producer"
    if not program.exists():
        options = subprocess.run(["pkg-config", "--cflags", "--libs", LIBRARY], check=True,
                                 capture_output=True, text=True).stdout.split()
        subprocess.run(["cc", "-Wall", "-Werror", "-pthread", "-o", program, SOURCE, *options],
                       check=True)
    return program


class ProducerDesktop(GrantingDesktop):
    """A session in which one producer after another can be started."""

    def __init__(self, **back_end):
        self._producers = 0
        super().__init__(**back_end)

    def producer(self, *commands, told_size=None):
        """Starts one; it offers its node and is shared from now on, as being of that size."""
        self._producers += 1
        made = Producer(self._start(compiled(self.folder), stdin=subprocess.PIPE,
                                    name=f"producer-{self._producers}"))
        made.tell(*commands, "open")
        self.back_end.grant(made.node(), told_size)
        return made


class Producer:
    """One run of producer.c."""

    def __init__(self, process):
        self.process = process

    def tell(self, *commands):
        for line in commands:
            self.process.stdin.write(f"{line}\n".encode())
        self.process.stdin.flush()

    def node(self):
        line = eventually(lambda: next((line for line in self._said() if line.startswith("node ")),
                                       None), LIMIT, "the producer's node")
        return int(line.split()[1])

    def wait_for(self, line):
        eventually(lambda: line in self._said(), LIMIT, f"the producer says {line!r}")

    def wait_until_taken(self):
        self.wait_for("streaming")

    def change_format(self, layout, width, height):
        """Offers another one, and waits until that is taken."""
        self.tell(f"format {layout} {width} {height}")
        self.wait_for(f"agreed {width} {height}")

    def send(self, *commands):
        """One picture, as told before."""
        self._fill("send", *commands)

    def forget(self, *commands):
        """One picture that is put into its buffer, of which nobody is told."""
        self._fill("forget", *commands)

    def _fill(self, verb, *commands):
        self.tell(*commands)
        eventually(lambda: self._answer(verb) != "none", LIMIT, "there is a buffer to fill")

    def _answer(self, verb):
        before = len(self._answers())
        self.tell(verb)
        eventually(lambda: len(self._answers()) > before, LIMIT, "the producer answers")
        return self._answers()[-1]

    def agreements(self):
        """What formats were agreed upon, one after the other."""
        return [line for line in self._said() if line.startswith("agreed ")]

    def _answers(self):
        return [line for line in self._said() if line in ("sent", "forgotten", "none")]

    def _said(self):
        return self.process.stdout.splitlines()
