"""A private D-Bus bus for tests, with a python3-dbusmock server on it when asked.

As a script: `session.py COMMAND...` runs the command on a session bus with the mock notification
server and exits with its status."""
import os
import signal
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("dbus-daemon", "python:dbus", "python:dbusmock")
import dbus  # noqa: E402

# The name and the main object of each python3-dbusmock template the tests use.
TEMPLATES = {"notification_daemon": ("org.freedesktop.Notifications", "/org/freedesktop/Notifications"),
             "networkmanager": ("org.freedesktop.NetworkManager", "/org/freedesktop/NetworkManager")}
DBUSMOCK_CONTROL = "org.freedesktop.DBus.Mock"  # python3-dbusmock's interface for adding methods, objects and properties


class Bus:
    """A private bus, as a context manager: the session kind, or with `system` one that stands in for
    the system bus, or one run from a `config` file. On it, when asked, a python3-dbusmock `template`
    or a bare mock object `fake` = (name, path, interface) to add methods to; once entered, the mock
    owns its name and `control` is its mock interface. `env`: more environment for the bus and the
    mock (a service the bus activates inherits the bus's); `self.env` has the bus's address besides."""

    def __init__(self, system=False, config=None, template=None, fake=None, env=None):
        self.system, self.config, self.template, self.fake = system, config, template, fake
        self.extra_env, self.mock = env or {}, None

    def __enter__(self):
        kind = ["--config-file", self.config] if self.config else ["--session"]
        out = subprocess.check_output(["dbus-daemon", *kind, "--fork", "--print-address=1", "--print-pid=1"],
                                      text=True, env=dict(os.environ, **self.extra_env)).split()
        self.address, self.pid = out[0], int(out[1])
        self.env = dict(os.environ, **self.extra_env,
                        **{"DBUS_SYSTEM_BUS_ADDRESS" if self.system else "DBUS_SESSION_BUS_ADDRESS": self.address})
        try:
            self.bus = dbus.bus.BusConnection(self.address)
            self.start_mock()
        except BaseException:
            self.__exit__()
            raise
        return self

    def start_mock(self):
        """Starts the mock (again, after stop_mock) and waits until it owns its name."""
        if not (self.template or self.fake):
            return
        name, path = TEMPLATES[self.template] if self.template else self.fake[:2]
        self.mock = subprocess.Popen(["/usr/bin/python3", "-m", "dbusmock", *(["--system"] if self.system else []),
                                      *(["--template", self.template] if self.template else self.fake)],
                                     env=self.env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        deadline = time.time() + 10
        while not self.bus.name_has_owner(name):
            if self.mock.poll() is not None or time.time() > deadline:
                raise RuntimeError(f"the mock {name} did not start on the private bus")
            time.sleep(0.05)
        self.control = dbus.Interface(self.bus.get_object(name, path), DBUSMOCK_CONTROL)

    def stop_mock(self):
        if self.mock:
            self.mock.terminate()
            self.mock.wait()
            self.mock = None

    def __exit__(self, *exc):
        self.stop_mock()
        if hasattr(self, "bus"):
            self.bus.close()
        os.kill(self.pid, signal.SIGTERM)

    def calls(self, method):
        """The arguments of every call of `method` the mock received, oldest first."""
        return [list(args) for _, args in self.control.GetMethodCalls(method)]


def SessionBus(notification_server=True, env=None):
    """A session bus with, unless told otherwise, the mock notification server."""
    return Bus(template="notification_daemon" if notification_server else None, env=env)


if __name__ == "__main__":
    with SessionBus() as session:
        sys.exit(subprocess.call(sys.argv[1:], env=session.env))
