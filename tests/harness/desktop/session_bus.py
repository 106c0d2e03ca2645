"""A private session bus."""
import re
from pathlib import Path

from ..process import Process
from ..waiting import LIMIT, eventually

# Any user may connect, because the program may run as another user than the test.
CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>{listen}</listen>
  <policy context="default">
    <allow user="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""


class SessionBus:
    """One dbus-daemon. It activates no services: only what the test started is on the bus."""

    def __init__(self, folder):
        configuration = Path(folder) / "bus.conf"
        configuration.write_text(CONFIGURATION.format(listen=f"unix:dir={folder}"))
        self._process = Process(
            ["dbus-daemon", f"--config-file={configuration}", "--print-address", "--nofork",
             "--nopidfile"], folder, "dbus-daemon")
        try:
            eventually(lambda: re.search(r"^unix:.*\n", self._process.stdout), LIMIT, "the bus listens")
        except BaseException:
            self._process.stop()
            raise
        self.address = self._process.stdout.strip()

    def stop(self):
        self._process.stop()
