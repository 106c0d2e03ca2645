"""Scripted X clients with windows; each client is a process of its own."""
import subprocess

from ..process import Process
from ..program import list_sources
from ..waiting import LIMIT, eventually

OWNER = """
import sys
import time
from Xlib import X
from Xlib.display import Display
display = Display()
screen = display.screen()
windows = {}

def paint(name, colour, x, y, width, height):
    window = windows[name]
    gc = window.create_gc(foreground=colour, graphics_exposures=0)
    window.fill_rectangle(gc, x, y, width, height)
    gc.free()

def open_window(name, x, y, width, height, colour, unmanaged, bare):
    ground = {"background_pixmap": X.NONE} if bare else {"background_pixel": colour}
    window = screen.root.create_window(x, y, width, height, 0, screen.root_depth,
        override_redirect=unmanaged, event_mask=X.ExposureMask, bit_gravity=X.NorthWestGravity,
        **ground)
    windows[name] = window
    window.set_wm_name(name)
    window.set_wm_class("owner", "Owner")
    window.set_wm_normal_hints(flags=1 | 4, min_width=1, min_height=1)
    window.map()

def title(name, raw):
    windows[name].change_property(display.intern_atom("_NET_WM_NAME"),
                                  display.intern_atom("UTF8_STRING"), 8, bytes.fromhex(raw))

def place(name, x, y, width, height):
    windows[name].configure(x=x, y=y, width=width, height=height)

def lift(name):
    windows[name].configure(stack_mode=X.Above)

def hide(name):
    from Xlib.protocol import event
    screen.root.send_event(event.ClientMessage(
        window=windows[name], client_type=display.intern_atom("WM_CHANGE_STATE"),
        data=(32, [3, 0, 0, 0, 0])), event_mask=X.SubstructureRedirectMask | X.SubstructureNotifyMask)
    wm_state = display.intern_atom("WM_STATE")
    while windows[name].get_full_property(wm_state, wm_state).value[0] != 3:
        time.sleep(0.02)

def show(name):
    windows[name].map()

def close(name):
    windows.pop(name).destroy()

def many(count):
    for i in range(count):
        open_window(f"many {i}", i % 40, i % 30, 240, 180, 0x404040, 0, 0)

def pointer(x, y):
    display.xtest_fake_input(X.MotionNotify, x=x, y=y)

for line in sys.stdin:
    verb, _, rest = line.partition(" ")
    globals()[verb](*eval(rest))
    display.sync()
    while display.pending_events():
        display.next_event()
    print("done", flush=True)
"""


class Owner(Process):
    """A scripted X client. Each method is a command of OWNER; it paints only on command.

    Every call returns when the server has executed it, hide() when the window manager has minimised the window.
    """

    def __init__(self, server, folder, name):
        super().__init__(["/usr/bin/python3", "-c", OWNER], folder, name, env=server.env,
                         stdin=subprocess.PIPE)
        self._done = 0

    def open(self, name, x, y, width, height, colour, unmanaged=0, bare=0):
        """Opens a window; a `bare` one has no background, so that it shows only what is painted."""
        self._execute("open_window", name, x, y, width, height, colour, unmanaged, bare)

    def __getattr__(self, verb):
        return lambda *arguments: self._execute(verb, *arguments)

    def _execute(self, verb, *arguments):
        self._done += 1
        self.stdin.write(f"{verb} {arguments!r}\n".encode())
        self.stdin.flush()
        eventually(lambda: self.stdout.count("done") >= self._done or not self.running(), LIMIT,
                   f"{verb} is done", every=0.005)
        assert self.running(), self.stderr


def windows_of(sources, title):
    """Returns the IDs of the sources with that title, as --list-sources prints them."""
    return [identifier for identifier, its_title in sources.items() if its_title == title]


def sources_on(server, folder):
    """Returns the titles of all sources on an X display, by their IDs."""
    return list_sources(folder, server.name, "--capture", "x11")
