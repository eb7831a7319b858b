"""A private D-Bus session bus with a mock notification server, for tests.

As a script: `session.py COMMAND...` runs the command on such a bus and exits with its status."""
import os
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("dbus-daemon", "python:dbus", "python:dbusmock")
import dbus  # noqa: E402

NOTIFY = "org.freedesktop.Notifications"
NOTIFY_PATH = "/org/freedesktop/Notifications"


class SessionBus:
    def __init__(self, notification_server=True, env=None):
        self.notification_server = notification_server
        self.extra_env = env or {}  # e.g. XDG_DATA_DIRS with the bus's activatable services

    def __enter__(self):
        out = subprocess.check_output(["dbus-daemon", "--session", "--fork", "--print-address=1", "--print-pid=1"],
                                      text=True, env=dict(os.environ, **self.extra_env)).split()
        self.address, self.pid = out[0], int(out[1])
        self.env = dict(os.environ, **self.extra_env, DBUS_SESSION_BUS_ADDRESS=self.address)
        self.bus = dbus.bus.BusConnection(self.address)
        self.mock = None
        if not self.notification_server:
            return self
        self.mock = subprocess.Popen(["/usr/bin/python3", "-m", "dbusmock", "--template", "notification_daemon"],
                                     env=self.env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        deadline = time.time() + 10
        while not self.bus.name_has_owner(NOTIFY):
            if time.time() > deadline:
                raise RuntimeError("the mock notification server did not start")
            time.sleep(0.05)
        return self

    def __exit__(self, *exc):
        if self.mock:
            self.mock.terminate()
            self.mock.wait()
        self.bus.close()
        os.kill(self.pid, 15)

    def calls(self, method):
        """The arguments of every call of `method` the mock server received, oldest first."""
        mock = self.bus.get_object(NOTIFY, NOTIFY_PATH)
        return [list(args) for _, args in mock.GetMethodCalls(method, dbus_interface="org.freedesktop.DBus.Mock")]


if __name__ == "__main__":
    with SessionBus() as session:
        sys.exit(subprocess.call(sys.argv[1:], env=session.env))
