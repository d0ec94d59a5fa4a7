"""A login manager on a private bus, for the tests: does what the lines of standard input say ("lock", "unlock",
"hint true", "sleep true", …) and prints what it is asked for ("inhibit", "released"). The argument "service" puts all
programs into no session, as those are that the user's service manager starts."""
import os
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

LOGIN = "org.freedesktop.login1"
MANAGER = LOGIN + ".Manager"
SESSION = LOGIN + ".Session"
SESSION_PATH = "/org/freedesktop/login1/session/one"


def say(text):
    print(text, flush=True)


class Session(dbus.service.Object):
    is_locked = False

    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="ss", out_signature="v")
    def Get(self, _interface, _name):
        return dbus.Boolean(Session.is_locked)

    @dbus.service.signal(SESSION, signature="")
    def Lock(self):
        pass

    @dbus.service.signal(SESSION, signature="")
    def Unlock(self):
        pass

    @dbus.service.signal("org.freedesktop.DBus.Properties", signature="sa{sv}as")
    def PropertiesChanged(self, interface, changed, invalidated):
        pass


class User(dbus.service.Object):
    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="ss", out_signature="v")
    def Get(self, _interface, _name):
        return dbus.Struct(("one", dbus.ObjectPath(SESSION_PATH)), signature="so", variant_level=1)


class Manager(dbus.service.Object):
    @dbus.service.method(MANAGER, in_signature="u", out_signature="o")
    def GetSessionByPID(self, _process):
        if sys.argv[1:] == ["service"]:
            raise dbus.DBusException("no session", name=LOGIN + ".NoSessionForPID")
        return SESSION_PATH

    @dbus.service.method(MANAGER, in_signature="ssss", out_signature="h")
    def Inhibit(self, what, _who, _why, mode):
        ours, theirs = os.pipe()
        GLib.io_add_watch(ours, GLib.IO_HUP, lambda *_: say("released") or os.close(ours))
        say(f"inhibit {what} {mode}")
        descriptor = dbus.types.UnixFd(theirs)
        os.close(theirs)
        return descriptor

    @dbus.service.signal(MANAGER, signature="b")
    def PrepareForSleep(self, falling_asleep):
        pass


def main():
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SystemBus()
    name = dbus.service.BusName(LOGIN, bus)
    manager = Manager(name, "/org/freedesktop/login1")
    session = Session(name, SESSION_PATH)
    user = User(name, f"/org/freedesktop/login1/user/_{os.getuid()}")  # noqa: F841
    loop = GLib.MainLoop()

    def obey(*_):
        words = sys.stdin.readline().split()
        if not words:
            loop.quit()
        elif words[0] == "lock":
            session.Lock()
        elif words[0] == "unlock":
            session.Unlock()
        elif words[0] == "hint":
            Session.is_locked = words[1] == "true"
            changed = {"Leader": dbus.UInt32(4), "Active": True, "LockedHint": dbus.Boolean(Session.is_locked)}
            session.PropertiesChanged(SESSION, changed, ["Seat"])
        elif words[0] == "sleep":
            manager.PrepareForSleep(words[1] == "true")
        return True

    GLib.io_add_watch(sys.stdin, GLib.IO_IN, obey)
    say("ready")
    loop.run()


if __name__ == "__main__":
    main()
