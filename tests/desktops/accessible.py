"""Widgets of programs' windows, found through AT-SPI."""
import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402  (the version comes first)

from harness.waiting import eventually  # noqa: E402

LIMIT = 60


class Widget:
    """A widget as it was when it was found."""

    def __init__(self, accessible):
        self._accessible = accessible

    @property
    def centre(self):
        """Its centre in the coordinates of its window; wrong for GTK 4."""
        place = self._accessible.get_extents(Atspi.CoordType.WINDOW)
        return place.x + place.width / 2, place.y + place.height / 2

    def press(self):
        """Performs its click action; returns whether that succeeded."""
        try:
            return self._accessible.get_action_iface().do_action(0)
        except GLib.Error:  # it was destroyed meanwhile
            return False

    def has(self, *states):
        """Returns whether it has all of these states, named as in Atspi.StateType."""
        try:
            found = self._accessible.get_state_set()
        except GLib.Error:
            return False
        return all(found.contains(getattr(Atspi.StateType, state)) for state in states)


def press(title, name, roles=()):
    """Waits for the widget of that name in the window with that title to be enabled, and presses it."""
    def pressed():
        found = _find_below(_titled(title), name, roles)
        return found and found.has("SENSITIVE") and found.press()

    eventually(pressed, LIMIT, f"{name!r} in {title!r} is pressed", every=0.2)


def find_in(program, name, roles=()):
    """Waits for visible widgets of that name in any window of a program, and returns the rightmost."""
    def found():
        windows = [window for owner, window in _windows() if _name(owner) == program]
        return list(_all_visible_below(windows, name, roles))

    return max(eventually(found, LIMIT, f"{name!r} in {program}", every=0.2),
               key=lambda widget: widget.centre[0])


def find(title, name, roles=()):
    """Waits for a visible widget of that name in the window with that title, and returns it."""
    return eventually(lambda: _find_below(_titled(title), name, roles), LIMIT, f"{name!r} in {title!r}",
                      every=0.2)


def focused(title):
    """Returns the name of the focused widget in that window, or None."""
    return next((_name(accessible) for accessible in _all_below(_titled(title))
                 if Widget(accessible).has("FOCUSED")), None)


def size(title):
    """Returns width and height of the window with that title, without the desktop's decorations."""
    place = _titled(title)[0].get_extents(Atspi.CoordType.WINDOW)
    return place.width, place.height


def texts(title):
    """Returns the names of all widgets in the window with that title."""
    return _texts_below(_titled(title))


def texts_in(program):
    """Returns the names of all widgets in the windows of a program."""
    return _texts_below([window for owner, window in _windows() if _name(owner) == program])


def _find_below(windows, name, roles):
    return next(_all_visible_below(windows, name, roles), None)


def _all_visible_below(windows, name, roles):
    for accessible in _all_below(windows):
        widget = Widget(accessible)
        if _name(accessible) == name and _has_role(accessible, roles) and widget.has("SHOWING"):
            yield widget


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
    while GLib.MainContext.default().iteration(False):  # processes pending change events
        pass
    for program in _children(Atspi.get_desktop(0)):
        for window in _children(program):
            yield program, window


def _children(accessible):
    try:
        children = [accessible.get_child_at_index(i) for i in range(accessible.get_child_count())]
    except GLib.Error:  # it was destroyed meanwhile
        return []
    return [child for child in children if child]


def _name(accessible):
    try:
        return accessible.get_name()
    except GLib.Error:
        return None
