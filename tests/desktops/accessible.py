"""What programs tell assistive technology of their windows: which widgets there are, and where."""
import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402  (the version comes first)

from harness.waiting import eventually  # noqa: E402

LIMIT = 30


class Widget:
    """A part of a window as found at some moment."""

    def __init__(self, accessible):
        self._accessible = accessible

    @property
    def centre(self):
        """Its middle in the coordinates of its window; GTK 4 does not tell it rightly."""
        place = self._accessible.get_extents(Atspi.CoordType.WINDOW)
        return place.x + place.width / 2, place.y + place.height / 2

    def press(self):
        """Does what a click on it would do; whether that was done."""
        try:
            return self._accessible.get_action_iface().do_action(0)
        except GLib.Error:  # it has just gone
            return False

    def has(self, *states):
        """Whether it is in all of those states, named as in Atspi.StateType."""
        try:
            found = self._accessible.get_state_set()
        except GLib.Error:
            return False
        return all(found.contains(getattr(Atspi.StateType, state)) for state in states)


def press(title, name, roles=()):
    """Presses the widget of that name in the window with that title, once it can be pressed."""
    def pressed():
        found = _find_below(_titled(title), name, roles)
        return found and found.has("SENSITIVE") and found.press()

    eventually(pressed, LIMIT, f"{name!r} in {title!r} is pressed", every=0.2)


def find_in(program, name, roles=()):
    """The widget of that name in whichever window of a program, once it is on the screen."""
    def found():
        windows = [window for owner, window in _windows() if _name(owner) == program]
        return _find_below(windows, name, roles)

    return eventually(found, LIMIT, f"{name!r} in {program}", every=0.2)


def find(title, name, roles=()):
    """The widget of that name in the window with that title, once it is on the screen."""
    return eventually(lambda: _find_below(_titled(title), name, roles), LIMIT, f"{name!r} in {title!r}", every=0.2)


def focused(title):
    """The name of the widget that has the keyboard's focus there, None when none has."""
    return next((_name(accessible) for accessible in _all_below(_titled(title))
                 if Widget(accessible).has("FOCUSED")), None)


def size(title):
    """Width and height of the window with that title, without what the desktop draws around it."""
    place = _titled(title)[0].get_extents(Atspi.CoordType.WINDOW)
    return place.width, place.height


def texts(title):
    """Everything that can be read in the window with that title."""
    return _texts_below(_titled(title))


def texts_in(program):
    """Everything that can be read in the windows of a program."""
    return _texts_below([window for owner, window in _windows() if _name(owner) == program])


def _find_below(windows, name, roles):
    for accessible in _all_below(windows):
        widget = Widget(accessible)
        if _name(accessible) == name and _has_role(accessible, roles) and widget.has("SHOWING"):
            return widget
    return None


def _has_role(accessible, roles):
    try:
        return not roles or accessible.get_role_name() in roles
    except GLib.Error:
        return False


def _texts_below(windows):
    return [name for accessible in _all_below(windows) if (name := _name(accessible))]


def _titled(title):
    return [window for _, window in _windows() if _name(window) == title]


def _all_below(windows):
    waiting = list(windows)
    while waiting:
        accessible = waiting.pop(0)
        yield accessible
        waiting += _children(accessible)


def _windows():
    while GLib.MainContext.default().iteration(False):  # what has changed is taken notice of there
        pass
    for program in _children(Atspi.get_desktop(0)):
        for window in _children(program):
            yield program, window


def _children(accessible):
    try:
        children = [accessible.get_child_at_index(i) for i in range(accessible.get_child_count())]
    except GLib.Error:  # it has just gone
        return []
    return [child for child in children if child]


def _name(accessible):
    try:
        return accessible.get_name()
    except GLib.Error:
        return None
