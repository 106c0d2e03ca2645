"""A fake of the desktop portal with scripted faults, which no real portal can be made to show.

    fake_portal.py SCRIPT

SCRIPT is a JSON object. It maps the name of a method to its behaviour: "silent" (the call gets no
reply), "no response" (the call returns, but its Response signal is never sent), {"error": NAME}, or
{"code": NUMBER, "results": RESULTS}. A list of behaviours applies to one call after the other, and its
last element to all calls that follow. RESULTS and "properties" are lists of [name, D-Bus signature,
value]. "media server" selects what the descriptor of the media server is connected to: "nothing"
(/dev/null), "closed", "silent" or "garbage".
"""
import json
import os
import socket
import sys

import dbus
import dbus.lowlevel
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

SERVICE = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
PROPERTIES = [["AvailableSourceTypes", "u", 3], ["AvailableCursorModes", "u", 7],
              ["version", "u", 4]]
STREAM = ["streams", "a(ua{sv})", [[42, {}]]]
METHODS = ("GetAll", "CreateSession", "SelectSources", "Start", "OpenPipeWireRemote")


def dictionary(entries):
    values = {}
    for name, signature, value in entries:
        # appending the value to a message converts it to its D-Bus type
        message = dbus.lowlevel.SignalMessage("/", "a.b", "c")
        message.append(value, signature=signature)
        values[name] = message.get_args_list()[0]
    return dbus.Dictionary(values, signature="sv")


def media_server(kind):
    if kind == "nothing":
        return os.open("/dev/null", os.O_RDWR)
    ours, theirs = socket.socketpair()
    if kind == "closed":
        ours.close()
        return theirs.detach()
    if kind == "garbage":
        ours.send(bytes(range(256)) * 64)
    media_server.kept = ours
    return theirs.detach()


class Portal:
    def __init__(self, script, bus):
        self.script = script
        self.bus = bus
        self.handled = set()

    def handle(self, connection, message):
        if message.get_type() != 1 or message.get_member() not in METHODS:
            return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED
        print(message.get_member(), flush=True)
        behaviour = self.behaviour_of(message.get_member())
        if behaviour != "silent":
            connection.send_message(self.reply(message, behaviour))
        if message.get_member() in ("CreateSession", "SelectSources", "Start"):
            self.respond(connection, message, behaviour)
        return dbus.lowlevel.HANDLER_RESULT_HANDLED

    def behaviour_of(self, member):
        scripted = self.script.get(member)
        if not isinstance(scripted, list):
            return scripted
        return scripted.pop(0) if len(scripted) > 1 else scripted[0]

    def reply(self, message, behaviour):
        if isinstance(behaviour, dict) and "error" in behaviour:
            return dbus.lowlevel.ErrorMessage(message, behaviour["error"], "scripted error")
        reply = dbus.lowlevel.MethodReturnMessage(message)
        member = message.get_member()
        if member == "GetAll":
            reply.append(dictionary(self.script.get("properties", PROPERTIES)), signature="a{sv}")
        elif member == "OpenPipeWireRemote":
            handle = media_server(self.script.get("media server", "silent"))
            reply.append(dbus.types.UnixFd(handle), signature="h")
            os.close(handle)
        else:
            reply.append(self.request_path(message), signature="o")
        return reply

    def request_path(self, message):
        sender = message.get_sender()[1:].replace(".", "_")
        return f"{PATH}/request/{sender}/{self.options(message)['handle_token']}"

    def options(self, message):
        return message.get_args_list()[-1]

    def respond(self, connection, message, behaviour):
        if behaviour in ("silent", "no response") or (
                isinstance(behaviour, dict) and "error" in behaviour):
            return
        behaviour = behaviour or {}
        signal = dbus.lowlevel.SignalMessage(self.request_path(message),
                                             "org.freedesktop.portal.Request", "Response")
        results = behaviour.get("results", self.default_results(message))
        signal.append(behaviour.get("code", 0), dictionary(results), signature="ua{sv}")
        connection.send_message(signal)

    def default_results(self, message):
        if message.get_member() == "Start":
            return [STREAM]
        if message.get_member() == "SelectSources":
            return []
        return [["session_handle", "s",
                 f"{PATH}/session/x/{self.options(message)['session_handle_token']}"]]


def main():
    DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    portal = Portal(json.loads(sys.argv[1]), bus)
    bus.add_message_filter(portal.handle)
    bus.request_name(SERVICE)
    print("ready", flush=True)
    GLib.MainLoop().run()


main()
