"""Window and compositing managers on an X server. Each function returns when the manager is ready."""
from Xlib.display import Display

from ..desktop.session_bus import SessionBus
from ..process import Process
from ..waiting import LIMIT, eventually


def openbox(server, folder):
    """Draws frames around windows."""
    return _when_managing(server, Process(["openbox"], folder, "openbox", env=server.env))


def picom(server, folder):
    """Composes the screen; a window manager has to draw the frames."""
    return _when_composing(server, Process(
        ["picom", "--config", "/dev/null", "--backend", "xrender"], folder, "picom",
        env=server.env))


class _Desktop(Process):
    """A window manager that also composes the screen. It requires a session bus, which may be empty."""

    composes = True

    def __init__(self, server, folder, *argv):
        self._bus = SessionBus(folder)
        super().__init__(argv, folder, argv[0],
                         env={**server.env, "HOME": str(folder), "NO_AT_BRIDGE": "1",
                              "GSETTINGS_BACKEND": "memory",
                              "DBUS_SESSION_BUS_ADDRESS": self._bus.address})
        _when_managing(server, self)
        if self.composes:
            _when_composing(server, self)

    def stop(self, grace=5):
        super().stop(grace)
        self._bus.stop()


class Xfwm4(_Desktop):
    """The window manager of Xfce."""

    def __init__(self, server, folder):
        super().__init__(server, folder, "xfwm4", "--compositor=on", "--vblank=off")


class Mutter(_Desktop):
    """The window manager of GNOME, without the shell."""

    def __init__(self, server, folder):
        super().__init__(server, folder, "mutter", "--x11")


class KWin(_Desktop):
    """The window manager of KDE Plasma, without the shell."""

    def __init__(self, server, folder):
        settings = folder / ".config/kwinrc"
        settings.parent.mkdir(exist_ok=True)
        settings.write_text(f"[Desktops]\nNumber=2\n[Compositing]\nEnabled={self.composes}\n")
        super().__init__(server, folder, "kwin_x11")


class PlainKWin(KWin):
    """KWin without compositing."""

    composes = False


def _when_managing(server, manager):
    return _when(manager, lambda: "window id" in server.run(
        "xprop", "-root", "_NET_SUPPORTING_WM_CHECK"))


def _when_composing(server, manager):
    """Waits until the manager owns the selection that marks a compositing manager."""
    display = Display(server.name)
    selection = display.intern_atom("_NET_WM_CM_S0")
    try:
        return _when(manager, lambda: display.get_selection_owner(selection))
    finally:
        display.close()


def _when(manager, is_up):
    try:
        eventually(lambda: is_up() or not manager.running(), LIMIT, "the manager is up")
        assert manager.running(), manager.stderr
    except BaseException:
        manager.stop()
        raise
    return manager
