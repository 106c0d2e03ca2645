"""A fake Avahi daemon with scripted faults, which the real daemon cannot be made to show.

    fake_avahi.py SCRIPT

SCRIPT is a JSON object. It maps the name of a method to {"error": NAME}, "silent" (no reply) or a value
that replaces the default one. "states" are the states that a committed group enters, "server states"
those that the server enters after a call of GetState.
"""
import json
import sys

import dbus
import dbus.lowlevel
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

SERVICE = "org.freedesktop.Avahi"
GROUP = "/Client1/EntryGroup1"
REPLIES = {
    "GetState": ("i", 2),
    "GetHostNameFqdn": ("s", "fake.local"),
    "EntryGroupNew": ("o", GROUP),
    "AddRecord": ("", None),
    "Commit": ("", None),
}


def types_of(value):
    return "s" if isinstance(value, str) else "i"


def reply_to(script, call):
    """Returns the reply to a call, which may be an error, or None for no reply."""
    scripted = script.get(call.get_member())
    if scripted == "silent":
        return None
    if isinstance(scripted, dict):
        return dbus.lowlevel.ErrorMessage(call, scripted["error"], "scripted error")
    types, value = REPLIES[call.get_member()] if scripted is None else (types_of(scripted), scripted)
    reply = dbus.lowlevel.MethodReturnMessage(call)
    if types:
        reply.append(value, signature=types)
    return reply


def state_change(path, interface, state):
    signal = dbus.lowlevel.SignalMessage(path, f"{SERVICE}.{interface}", "StateChanged")
    signal.append(state, "", signature="is")
    return signal


def main():
    script = json.loads(sys.argv[1])
    DBusGMainLoop(set_as_default=True)
    bus = dbus.SystemBus()

    def handle(connection, message):
        if message.get_type() != 1 or message.get_member() not in REPLIES:
            return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED
        reply = reply_to(script, message)
        if reply is not None:
            connection.send_message(reply)
        if message.get_member() == "Commit":
            for state in script.get("states", []):
                connection.send_message(state_change(GROUP, "EntryGroup", state))
        if message.get_member() == "GetState":
            for state in script.get("server states", []):
                connection.send_message(state_change("/", "Server", state))
        return dbus.lowlevel.HANDLER_RESULT_HANDLED

    bus.add_message_filter(handle)
    bus.request_name(SERVICE)
    print("ready", flush=True)
    GLib.MainLoop().run()


main()
