"""A Wayland session without a screen of its own: compositor, media server and desktop portal.

All of it runs as an ordinary user, since the compositor refuses root.
"""
import contextlib
import os
import pwd
import shutil
import subprocess
import tempfile
from pathlib import Path

from . import http
from .process import Process
from .program import Program
from .waiting import eventually

LIMIT = 20
USER = "nobody"
OUTPUT = "HEADLESS-1"
HARNESS = Path(__file__).parent

BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={bus}</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""

# a plain surface and nothing that moves, no cursor
SWAY = """output {output} resolution {width}x{height} position 0 0 bg #204060 solid_color
xwayland disable
seat * hide_cursor 1
"""

PORTAL = """[screencast]
output_name={output}
max_fps=30
chooser_type=simple
chooser_cmd={folder}/dialog
"""

# The desktop's dialog: notes that it was opened, waits while it is held open, and answers.
DIALOG = """#!/bin/sh
echo opened >> {folder}/dialogs
while [ -e {folder}/held ]; do sleep 0.05; done
cat {folder}/answer
"""


class WaylandSession:
    """One session. stop() ends everything that was started in it."""

    def __init__(self, width=800, height=600):
        self.folder = Path(tempfile.mkdtemp(prefix="tarvinel-wayland-"))
        self.width, self.height = width, height
        self._programs = []
        self._started = contextlib.ExitStack()
        self._started.callback(shutil.rmtree, self.folder, ignore_errors=True)
        try:
            self._prepare()
            self.bus = self._start("dbus-daemon", f"--config-file={self.folder}/bus.conf",
                                   "--nofork", "--nopidfile")
            self._wait_for(self._runtime / "bus")
            self.pipewire = self.start_pipewire()
            self.compositor = self._start("sway", "-c", self.folder / "sway.conf")
            self.env["SWAYSOCK"] = str(eventually(
                lambda: next(iter(self._runtime.glob("sway-ipc.*.sock")), None), LIMIT, "sway"))
            self._wait_for(self._runtime / "wayland-1")
            self.back_end = self.start_back_end()
            self.store = self._start("/usr/libexec/xdg-permission-store")
            self.portal = self.start_portal()
        except BaseException:
            self.stop()
            raise

    def start_pipewire(self):
        pipewire = self._start("pipewire")
        self._wait_for(self._runtime / "pipewire-0")
        self.session_manager = self._start("wireplumber")
        return pipewire

    def start_back_end(self):
        shim = self.folder / "shim.so"
        if not shim.exists():
            subprocess.run(["cc", "-shared", "-fPIC", "-o", shim, HARNESS / "screencopy_shim.c"],
                           check=True)
        back_end = self._start("/usr/libexec/xdg-desktop-portal-wlr", "-l", "DEBUG",
                               "-c", self.folder / "portal.conf", LD_PRELOAD=str(shim))
        self._wait_for_name("org.freedesktop.impl.portal.desktop.wlr")
        return back_end

    def start_portal(self):
        portal = self._start("/usr/libexec/xdg-desktop-portal", "-v")
        self._wait_for_name("org.freedesktop.portal.Desktop")
        return portal

    def program(self, *arguments, name="tarvinel", headless=True, prefix=(), connect=http.connect):
        """The program in this session, on a free port; `prefix` and `connect` as in Program."""
        profile = self.folder / "without-name"
        program = Program(self.folder, *(["--headless", "--port", "0"] if headless else []),
                          "--profile", profile, *arguments, prefix=[*prefix, *self._as_user()],
                          name=name, variables=self.env, connect=connect)
        self._programs.append(program)
        self._started.callback(program.stop)
        return program.wait_until_listening() if headless else program

    def dialogs(self):
        """How often the dialog was opened."""
        opened = self.folder / "dialogs"
        return opened.read_text().count("opened") if opened.exists() else 0

    def answer(self, output):
        """What the presenter will choose in the dialog; an empty text refuses."""
        (self.folder / "answer").write_text(f"{output}\n" if output else "")

    def write(self, name, text):
        """Makes a file of the user's."""
        path = self.folder / name
        path.parent.mkdir(exist_ok=True)
        path.write_text(text)
        self._give(path.parent, path)

    @contextlib.contextmanager
    def dialog_held_open(self):
        held = self.folder / "held"
        held.touch()
        try:
            yield
        finally:
            held.unlink()

    def start_client(self, *argv):
        """A program that draws in this session."""
        return self._start(*argv)

    def wait_for_window(self):
        """Waits until some program has a window."""
        eventually(lambda: '"pid"' in self.run("swaymsg", "-t", "get_tree"), LIMIT, "a window")

    def show(self, colour):
        """Fills the screen with a colour, "#rrggbb"."""
        self.sway("output", OUTPUT, "bg", colour, "solid_color")

    def sway(self, *words):
        self.run("swaymsg", *words)

    def run(self, *argv):
        done = subprocess.run([*self._as_user(), *map(str, argv)], env=self.env,
                              capture_output=True, text=True, timeout=LIMIT)
        assert done.returncode == 0, f"{argv}: {done.stdout}{done.stderr}"
        return done.stdout

    def end_programs(self):
        """Ends every run of the program; what sanitizers said of them."""
        for program in self._programs:
            program.terminate()
        statuses = [program.wait(20) for program in self._programs]
        assert statuses == [0] * len(statuses)
        return [report for report in map(Program.sanitizer_report, self._programs) if report]

    @property
    def prefix(self):
        """The command prefix that runs a program as the session's user."""
        return self._as_user()

    def stop(self):
        self._started.close()

    @property
    def _runtime(self):
        return self.folder / "run"

    def _prepare(self):
        places = {"bus": self._runtime / "bus", "folder": self.folder, "output": OUTPUT,
                  "width": self.width, "height": self.height}
        for name in ("run", "home", "config", "without-name"):
            (self.folder / name).mkdir(mode=0o700)
        for name, text in (("bus.conf", BUS), ("sway.conf", SWAY), ("portal.conf", PORTAL),
                           ("dialog", DIALOG)):
            (self.folder / name).write_text(text.format(**places))
        (self.folder / "dialog").chmod(0o755)
        (self.folder / "without-name/config.json").write_text('{"hostname": ""}')
        self.answer(OUTPUT)
        self._give(self.folder, *self.folder.rglob("*"))
        self.env = self._environment()

    def _give(self, *paths):
        if os.geteuid() == 0:
            for path in paths:
                shutil.chown(path, USER, pwd.getpwnam(USER).pw_gid)

    def _environment(self):
        kept = {key: value for key, value in os.environ.items()
                if not key.startswith(("XDG_", "DBUS_", "WAYLAND_", "DISPLAY"))}
        return {**kept, "HOME": str(self.folder / "home"),
                "XDG_CONFIG_HOME": str(self.folder / "config"),
                "XDG_RUNTIME_DIR": str(self._runtime), "XDG_CURRENT_DESKTOP": "sway",
                "XDG_SESSION_TYPE": "wayland", "WAYLAND_DISPLAY": "wayland-1",
                "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self._runtime / 'bus'}",
                "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nowhere",
                "WLR_BACKENDS": "headless", "WLR_RENDERER": "pixman",
                "WLR_LIBINPUT_NO_DEVICES": "1"}

    def _start(self, *argv, **variables):
        env = {**self.env, **variables}
        if Path(argv[0]).name == "sway":
            del env["WAYLAND_DISPLAY"]
        process = Process([*self._as_user(), *argv], self.folder, Path(argv[0]).name, env=env)
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
