"""The bus side of a panel, for the tests: prints "icon" for each program that wants to be shown."""
import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

WATCHER = "org.kde.StatusNotifierWatcher"

DESCRIPTION = f"""<node><interface name="{WATCHER}">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
</interface></node>"""


class Watcher(dbus.service.Object):
    @dbus.service.method(dbus.INTROSPECTABLE_IFACE, out_signature="s")
    def Introspect(self):
        return DESCRIPTION

    @dbus.service.method(WATCHER, in_signature="s")
    def RegisterStatusNotifierItem(self, _item):
        print("icon", flush=True)

    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="ss", out_signature="v")
    def Get(self, _interface, name):
        return dbus.Boolean(True) if name == "IsStatusNotifierHostRegistered" else dbus.Int32(0)


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
watcher = Watcher(dbus.service.BusName(WATCHER, dbus.SessionBus()), "/StatusNotifierWatcher")
GLib.MainLoop().run()
