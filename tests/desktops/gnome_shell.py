"""GNOME Shell, driven with virtual input devices. It must run in its unsafe mode."""
import json

from gi.repository import Gio, GLib

from harness.waiting import eventually

LIMIT_MS = 60_000
LIMIT = 60
MADE = """
const {Clutter, GLib} = imports.gi;
const seat = Clutter.get_default_backend().get_default_seat();
globalThis.devices = {
  pointer: seat.create_virtual_device(Clutter.InputDeviceType.POINTER_DEVICE),
  keyboard: seat.create_virtual_device(Clutter.InputDeviceType.KEYBOARD_DEVICE),
  now: () => GLib.get_monotonic_time(),
};
globalThis.Clutter = Clutter;
globalThis.placeOf = actor => {
  const [x, y] = actor.get_transformed_position();
  const [width, height] = actor.get_transformed_size();
  return [x + width / 2, y + height / 2];
};
true
"""


class Shell:
    """The shell of the session whose bus is this process's."""

    def __init__(self):
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        eventually(self._is_ready, LIMIT, "GNOME's shell")
        self.run(MADE)

    def run(self, script):
        """Runs a script in the shell and returns its value."""
        done, value = self._call("org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell", "Eval",
                                 "(s)", script)
        assert done, f"{script}: {value}"
        return json.loads(value) if value else None

    def screenshot(self, path):
        """Saves a screenshot of the whole screen with the pointer."""
        done, _ = self._call("org.gnome.Shell.Screenshot", "/org/gnome/Shell/Screenshot",
                             "org.gnome.Shell.Screenshot", "Screenshot", "(bbs)", True, False, path)
        assert done, path

    def move(self, x, y):
        """Moves the pointer to logical coordinates."""
        self.run(f"devices.pointer.notify_absolute_motion(devices.now(), {x}, {y})")
        eventually(lambda: max(abs(a - b) for a, b in zip(self.pointer(), (x, y))) < 2, LIMIT, "the pointer is there")

    def pointer(self):
        return self.run("global.get_pointer()")[:2]

    def click(self, x, y):
        self.move(x, y)
        self.run(" ".join(f"devices.pointer.notify_button(devices.now(), 1, {state});" for state in (1, 0))
                 + " true")

    def click_actor(self, actor):
        """Clicks on an actor of the shell, given as a script, when it no longer moves."""
        places = [None]

        def rests():
            places.append(self.run(f"placeOf({actor})"))
            return None not in places[-1] and places[-1] == places[-2]

        eventually(rests, LIMIT, f"{actor} is at rest", every=0.2)
        self.click(*places[-1])

    def press(self, *keys):
        """Presses keys together, named as in Clutter.KEY_*. One script does it, so that keys do not repeat."""
        order = [(key, 1) for key in keys] + [(key, 0) for key in keys[::-1]]
        self.run(" ".join(f"devices.keyboard.notify_keyval(devices.now(), Clutter.KEY_{key}, {state});"
                          for key, state in order) + " true")

    def type(self, text):
        for letter in text:
            self.press(letter)

    def place_of_window(self, title):
        """Returns left, top, width and height of the window with that title, or None."""
        return self.run(
            "(w => { const r = w?.get_frame_rect();"
            " return r?.width ? [r.x, r.y, r.width, r.height] : null; })"
            f"({_window(title)})")

    def margins(self, title):
        """Returns the margins of a share of that window (left, top, right, bottom): GNOME includes the
        shadow that a program draws."""
        return self.run("(w => { const r = w.get_frame_rect(), all = w.get_buffer_rect();"
                        " return [r.x - all.x, r.y - all.y, all.x + all.width - r.x - r.width,"
                        " all.y + all.height - r.y - r.height]; })"
                        f"({_window(title)})")

    def wait_for_window(self, title):
        return eventually(lambda: self.place_of_window(title), LIMIT, f"the window {title!r}")

    def wait_for_no_window(self, title):
        eventually(lambda: not self.place_of_window(title), LIMIT, f"{title!r} is closed")

    def move_window(self, title, left, top):
        """Moves, raises and focuses the window; returns its rectangle."""
        def moved():  # repeated for a window that is still being placed
            self.run(f"(w => {{ w.move_frame(true, {left}, {top});"
                     f" w.activate(global.get_current_time()); }})({_window(title)})")
            place = self.place_of_window(title)
            return place and place[:2] == [left, top] and place

        return eventually(moved, LIMIT, f"{title!r} is there", every=0.5)

    def window_count(self):
        """Returns the number of all windows, including menus."""
        return self.run("global.get_window_actors().length")

    def set_scale(self, scale):
        """Sets the scale of the only monitor, as its user would in the settings."""
        display = "org.gnome.Mutter.DisplayConfig"

        def call(method, signature="()", *arguments):
            return self._call(display, "/org/gnome/Mutter/DisplayConfig", display, method, signature,
                              *arguments)

        serial, monitors, _, properties = call("GetCurrentState")
        connector = monitors[0][0][0]
        mode = next(mode[0] for mode in monitors[0][1] if mode[6].get("is-current"))
        call("ApplyMonitorsConfig", "(uua(iiduba(ssa{sv}))a{sv})", serial, 1,
             [(0, 0, scale, 0, True, [(connector, mode, {})])], {})
        eventually(lambda: self.run("global.display.get_monitor_scale(0)") == scale, LIMIT, "the scale")

    def _is_ready(self):
        try:
            return self.run("Main.layoutManager._startingUp === false")
        except GLib.Error:
            return False

    def _call(self, service, path, interface, method, signature="()", *arguments):
        return self.bus.call_sync(service, path, interface, method, GLib.Variant(signature, arguments),
                                  None, Gio.DBusCallFlags.NONE, LIMIT_MS, None).unpack()


def _window(title):
    return ("global.get_window_actors().map(a => a.meta_window)"
            f".find(w => w.title === {json.dumps(title)})")
