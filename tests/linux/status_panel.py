"""A desktop's panel: watches for status items and tells, a JSON line each, what it sees of them.
usage: status_panel.py LABEL_TO_CLICK. Clicks the mark, then that item of the menu."""

import json
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

WATCHER, ITEM, MENU = "org.kde.StatusNotifierWatcher", "org.kde.StatusNotifierItem", "com.canonical.dbusmenu"


def tell(**what):
    print(json.dumps(what), flush=True)


class Watcher(dbus.service.Object):
    @dbus.service.method(WATCHER, in_signature="s")
    def RegisterStatusNotifierItem(self, name):
        GLib.idle_add(self.look, str(name))

    def look(self, name):
        item = bus.get_object(name, "/StatusNotifierItem")
        seen = dbus.Interface(item, "org.freedesktop.DBus.Properties").GetAll(ITEM)
        marks = {int(w): sum(1 for a in data[::4] if a) for w, _, data in seen["IconPixmap"]}
        tell(name=name, id=seen["Id"], text=seen["IconAccessibleDesc"], marks=marks)
        self.menu = dbus.Interface(bus.get_object(name, seen["Menu"]), MENU)
        bus.add_signal_receiver(lambda *_: self.read(), "LayoutUpdated", MENU)
        bus.add_signal_receiver(lambda new, gone: tell(titles=[str(i[1]["label"]) for i in new]),
                                "ItemsPropertiesUpdated", MENU)
        items = self.read()
        dbus.Interface(item, ITEM).Activate(0, 0)
        self.menu.EventGroup([(i, "clicked", "", dbus.UInt32(0)) for i, p in items if p.get("label") == sys.argv[1]])

    def read(self):
        items = [(int(i), p) for i, p, _ in self.menu.GetLayout(0, -1, [])[1][2]]
        tell(menu=[[str(p.get("label", p.get("type"))), bool(p.get("enabled", True))] for _, p in items])
        return items


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
name = dbus.service.BusName(WATCHER, bus)
watcher = Watcher(bus, "/StatusNotifierWatcher")
GLib.MainLoop().run()
