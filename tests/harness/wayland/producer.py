"""A session whose PipeWire node comes from a scripted producer."""
import subprocess
from pathlib import Path

from ..waiting import LIMIT, eventually
from .scripted_portal import ScriptedPortalSession

SOURCE = Path(__file__).parent / "producer.c"
LIBRARY = "libpipewire-0.3"


def compiled(folder):
    """Compiles producer.c into the folder, unless it is there, and returns the executable."""
    program = Path(folder) / "producer"
    if not program.exists():
        options = subprocess.run(["pkg-config", "--cflags", "--libs", LIBRARY], check=True,
                                 capture_output=True, text=True).stdout.split()
        subprocess.run(["cc", "-Wall", "-Werror", "-pthread", "-o", program, SOURCE, *options],
                       check=True)
    return program


class ProducerSession(ScriptedPortalSession):
    """A session in which producers can be started one after the other."""

    def __init__(self, **backend):
        self._producers = 0
        super().__init__(**backend)

    def producer(self, *commands, announced_size=None):
        """Starts a producer and approves requests with its node, announced with that size."""
        self._producers += 1
        made = Producer(self._start(compiled(self.folder), stdin=subprocess.PIPE,
                                    name=f"producer-{self._producers}"))
        made.send_commands(*commands, "open")
        self.backend.approve(made.node(), announced_size)
        return made


class Producer:
    """One run of producer.c."""

    def __init__(self, process):
        self.process = process

    def send_commands(self, *commands):
        for line in commands:
            self.process.stdin.write(f"{line}\n".encode())
        self.process.stdin.flush()

    def node(self):
        line = eventually(lambda: next((line for line in self._output_lines() if line.startswith("node ")),
                                       None), LIMIT, "the producer's node")
        return int(line.split()[1])

    def wait_for(self, line):
        eventually(lambda: line in self._output_lines(), LIMIT, f"the producer prints {line!r}")

    def wait_until_streaming(self):
        self.wait_for("streaming")

    def change_format(self, layout, width, height):
        """Offers another format and waits until it has been negotiated."""
        self.send_commands(f"format {layout} {width} {height}")
        self.wait_for(f"negotiated {width} {height}")

    def send(self, *commands):
        """Runs the commands, then queues one buffer."""
        self._fill("send", *commands)

    def withhold(self, *commands):
        """Runs the commands, then fills one buffer without queueing it: consumers are not notified."""
        self._fill("withhold", *commands)

    def _fill(self, verb, *commands):
        self.send_commands(*commands)
        eventually(lambda: self._reply_to(verb) != "none", LIMIT, "there is a buffer to fill")

    def _reply_to(self, verb):
        before = len(self._replies())
        self.send_commands(verb)
        eventually(lambda: len(self._replies()) > before, LIMIT, "the producer replies")
        return self._replies()[-1]

    def negotiated_formats(self):
        """Returns the format negotiations so far, in their order."""
        return [line for line in self._output_lines() if line.startswith("negotiated ")]

    def _replies(self):
        return [line for line in self._output_lines() if line in ("sent", "withheld", "none")]

    def _output_lines(self):
        return self.process.stdout.splitlines()
