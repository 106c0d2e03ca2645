"""A stand-in for the Avahi daemon that misbehaves as told, for what the real one cannot be made to do.

    fake_avahi.py SCRIPT

SCRIPT is a JSON object: a method's name gives {"error": NAME}, "silent" (no answer) or a value to
return in place of the usual one; "states" are the states that a committed group goes through,
"server states" those that the server goes through after it was asked for its state.
"""
import json
import sys

import dbus
import dbus.lowlevel
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

SERVICE = "org.freedesktop.Avahi"
GROUP = "/Client1/EntryGroup1"
ANSWERS = {
    "GetState": ("i", 2),
    "GetHostNameFqdn": ("s", "fake.local"),
    "EntryGroupNew": ("o", GROUP),
    "AddRecord": ("", None),
    "Commit": ("", None),
}


def types_of(value):
    return "s" if isinstance(value, str) else "i"


def answer(script, call):
    """The reply to a call: an answer, an error or None."""
    told = script.get(call.get_member())
    if told == "silent":
        return None
    if isinstance(told, dict):
        return dbus.lowlevel.ErrorMessage(call, told["error"], "as told")
    types, value = ANSWERS[call.get_member()] if told is None else (types_of(told), told)
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
        if message.get_type() != 1 or message.get_member() not in ANSWERS:
            return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED
        reply = answer(script, message)
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
