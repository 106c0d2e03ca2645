"""A user's session with a session bus, a media server and the desktop portal's frontend.

All of it runs as an ordinary user, because compositors refuse to run as root. Subclasses start a
compositor and the portal's backend.
"""
import contextlib
import os
import pwd
import shutil
import subprocess
import tempfile
from pathlib import Path

from .. import http
from ..desktop.session import TOOLKIT_LEAKS
from ..desktop.session_bus import CONFIGURATION as BUS_CONFIGURATION
from ..process import Process
from ..program import Program
from ..waiting import LIMIT, eventually
from .plain_window import PlainWindow

USER = "nobody"


class PortalSession:
    """One session. stop() ends every process that was started in it; as a context manager it also
    expects that every run of the program ends with status 0."""

    def __init__(self):
        self.folder = Path(tempfile.mkdtemp(prefix="tarvinel-wayland-"))
        self._programs = []
        self._windows = 0
        self._started = contextlib.ExitStack()
        self._started.callback(shutil.rmtree, self.folder, ignore_errors=True)
        try:
            self._prepare()
            self.bus = self._start("dbus-daemon", f"--config-file={self.folder}/bus.conf",
                                   "--nofork", "--nopidfile")
            self._wait_for(self._runtime / "bus")
            self.pipewire = self.start_pipewire()
            self._start_desktop()
            self.store = self._start("/usr/libexec/xdg-permission-store")
            self.portal = self.start_portal()
        except BaseException:
            self.stop()
            raise

    def _start_desktop(self):
        """Starts the compositor and the portal's backend."""
        raise NotImplementedError

    def _files(self):
        """Returns the configuration files of the session, by name."""
        return {"bus.conf": BUS_CONFIGURATION}

    def _variables(self):
        """Returns the environment variables that the desktop adds."""
        return {}

    def start_pipewire(self):
        address = self._runtime / "pipewire-0"
        address.unlink(missing_ok=True)  # left by one that was killed
        pipewire = self._start("pipewire")
        self._wait_for(address)
        self.session_manager = self._start("wireplumber")
        return pipewire

    def start_portal(self):
        portal = self._start("/usr/libexec/xdg-desktop-portal", "-v")
        self._wait_for_name("org.freedesktop.portal.Desktop")
        return portal

    def program(self, *arguments, name="tarvinel", headless=True, prefix=(), connect=http.connect):
        """Starts the program in this session on a free port; `prefix` and `connect` are those of Program."""
        profile = self.folder / "without-name"
        program = Program(self.folder, *(["--headless", "--port", "0"] if headless else []),
                          "--profile", profile, *arguments, prefix=[*prefix, *self._as_user()],
                          name=name, connect=connect,
                          variables={**self.env,
                                     "LSAN_OPTIONS": f"suppressions={TOOLKIT_LEAKS}"})
        self._programs.append(program)
        self._started.callback(program.stop)
        return program.wait_until_listening() if headless else program

    def window(self, width, height):
        """Opens a window whose every pixel is known, above all others."""
        self._windows += 1
        return PlainWindow(self._start, f"window-{self._windows}", width, height)

    def write(self, name, text):
        """Writes a file that the session's user owns."""
        path = self.folder / name
        path.parent.mkdir(exist_ok=True)
        path.write_text(text)
        self._give(path.parent, path)

    def run(self, *argv):
        done = subprocess.run([*self._as_user(), *map(str, argv)], env=self.env,
                              capture_output=True, text=True, timeout=LIMIT)
        assert done.returncode == 0, f"{argv}: {done.stdout}{done.stderr}"
        return done.stdout

    def end_programs(self):
        """Ends every run of the program and returns the sanitizers' reports."""
        for program in self._programs:
            program.terminate()
        statuses = [program.wait(LIMIT) for program in self._programs]
        assert statuses == [0] * len(statuses)
        return [report for report in map(Program.sanitizer_report, self._programs) if report]

    @property
    def prefix(self):
        """The command prefix that runs another as the session's user."""
        return self._as_user()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        try:
            assert not self.end_programs()
        finally:
            self.stop()

    def stop(self):
        self._started.close()

    @property
    def _runtime(self):
        return self.folder / "run"

    @property
    def bus_address(self):
        return f"unix:path={self._runtime / 'bus'}"

    def _prepare(self):
        for name in ("run", "home", "config", "without-name"):
            (self.folder / name).mkdir(mode=0o700)
        for name, text in self._files().items():
            (self.folder / name).write_text(text.format(**self._places()))
        (self.folder / "without-name/config.json").write_text('{"hostname": ""}')
        self._give(self.folder, *self.folder.rglob("*"))
        self.env = {**self._environment(), **self._variables()}

    def _places(self):
        return {"listen": self.bus_address, "folder": self.folder}

    def _give(self, *paths):
        if os.geteuid() == 0:
            for path in paths:
                shutil.chown(path, USER, pwd.getpwnam(USER).pw_gid)

    def _environment(self):
        kept = {key: value for key, value in os.environ.items()
                if not key.startswith(("XDG_", "DBUS_", "WAYLAND_", "DISPLAY"))}
        return {**kept, "HOME": str(self.folder / "home"),
                "XDG_CONFIG_HOME": str(self.folder / "config"),
                "XDG_RUNTIME_DIR": str(self._runtime), "XDG_SESSION_TYPE": "wayland",
                "WAYLAND_DISPLAY": "wayland-1", "DBUS_SESSION_BUS_ADDRESS": self.bus_address,
                "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nowhere"}

    def _start(self, *argv, without=(), name=None, stdin=subprocess.DEVNULL, **variables):
        env = {**self.env, **variables}
        for variable in without:
            del env[variable]
        process = Process([*self._as_user(), *argv], self.folder, name or Path(argv[0]).name,
                          env=env, stdin=stdin)
        self._started.callback(process.stop)
        return process

    def _as_user(self):
        if os.geteuid() != 0:
            return []
        user = pwd.getpwnam(USER)
        return ["setpriv", "--reuid", str(user.pw_uid), "--regid", str(user.pw_gid),
                "--clear-groups", "--pdeathsig", "KILL"]

    def _wait_for(self, path):
        eventually(path.exists, LIMIT, f"{path.name} is there")

    def _wait_for_name(self, name):
        eventually(lambda: "true" in self.run(
            "dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
            "org.freedesktop.DBus.NameHasOwner", f"string:{name}"), LIMIT, name)
