"""A stand-in desktop notification service on the private session bus. It owns
org.freedesktop.Notifications, answers Notify like a real server, and writes every
notification and every launcher-entry badge update it sees as one JSON line."""

import json
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

LOG = open(sys.argv[1], "a", buffering=1)


def record(**event):
    LOG.write(json.dumps(event) + "\n")


class Notifications(dbus.service.Object):
    def __init__(self, bus):
        super().__init__(bus, "/org/freedesktop/Notifications")
        self.next_id = 0

    @dbus.service.method("org.freedesktop.Notifications", in_signature="susssasa{sv}i",
                         out_signature="u")
    def Notify(self, app_name, replaces_id, icon, summary, body, actions, hints, timeout):
        self.next_id += 1
        record(kind="notify", app=str(app_name), summary=str(summary), body=str(body),
               desktop_entry=str(hints.get("desktop-entry", "")))
        return dbus.UInt32(self.next_id)

    @dbus.service.method("org.freedesktop.Notifications", out_signature="as")
    def GetCapabilities(self):
        return ["body", "actions"]

    @dbus.service.method("org.freedesktop.Notifications", out_signature="ssss")
    def GetServerInformation(self):
        return ("recorder", "halyward-e2e", "1.0", "1.2")

    @dbus.service.method("org.freedesktop.Notifications", in_signature="u")
    def CloseNotification(self, identifier):
        pass


def on_launcher_update(uri, properties, path=None):
    record(kind="badge", uri=str(uri), path=str(path),
           count=int(properties.get("count", -1)),
           visible=bool(properties.get("count-visible", False)))


def main():
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    name = dbus.service.BusName("org.freedesktop.Notifications", bus)
    service = Notifications(bus)
    bus.add_signal_receiver(on_launcher_update, signal_name="Update",
                            dbus_interface="com.canonical.Unity.LauncherEntry", path_keyword="path")
    record(kind="ready")
    GLib.MainLoop().run()
    del name, service


main()
