#!/usr/bin/env python3
"""Calls two operations of a running CorvyStack helper through Gio.

    corvystack serve &
    examples/python_client.py examples/guide.pdf

Needs python3-gi. Values are D-Bus variants; what may be nil is an array of no or one element.
"""
import os
import sys

from gi.repository import Gio, GLib

INTERFACE = "org.corvystack.ImExport1"
OBJECT = "/CorvyStackHelper"


def runtime_directory():
    """The folder of the socket; the helper looks for it in the same order."""
    if folder := os.environ.get("CORVYSTACK_RUNTIME_DIR"):
        return folder
    if folder := os.environ.get("XDG_RUNTIME_DIR"):
        return os.path.join(folder, "corvystack")
    if os.path.isdir(f"/run/user/{os.getuid()}"):
        return f"/run/user/{os.getuid()}/corvystack"
    return f"/tmp/corvystack-{os.getuid()}"


def connect():
    socket = os.path.join(runtime_directory(), "CorvyStackHelper64.1")
    return Gio.DBusConnection.new_for_address_sync(
        f"unix:path={socket}", Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT, None, None)


def call(connection, member, arguments):
    reply = connection.call_sync(
        None, OBJECT, INTERFACE, member, arguments, None, Gio.DBusCallFlags.NONE, 15000, None)
    return reply.unpack()[0]


def main(path):
    connection = connect()
    path = os.path.abspath(path)

    supported = call(connection, "SupportsFile",
                     GLib.Variant("(av)", ([GLib.Variant("s", path)],)))
    print(f"an importer reads its type: {'yes' if supported else 'no'}")

    # Files of 16 MiB and more would have to travel as a sealed memory file.
    with open(path, "rb") as file:
        pdf = GLib.Variant("ay", file.read())
    answer = call(connection, "AttributedStringWithPDF", GLib.Variant("(bav)", (False, [pdf])))
    if not answer:
        print("not a PDF")
        return 1
    for key, value in answer[0].items():
        print(f"{key}: {value}")
    return 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1]))
