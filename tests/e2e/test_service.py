"""The background service on a private session bus: a silent push makes it sample, a level rise
during a background wake-up sends one notification, and D-Bus activation starts it."""
import json
import os
import pathlib
import signal
import sqlite3
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("python:dbus")
import dbus  # noqa: E402
from session import Bus, SessionBus  # noqa: E402
from support import TALLYMO, Container, Daemon, one_error_line, script, wait_until  # noqa: E402

SERVICE = "org.tallymo.Tallymo.Background"
PATH = "/org/tallymo/Tallymo/Background"


class BackgroundService(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(SessionBus())
        self.c = self.enterContext(Container(counters={"wwan0": (1000, 1000)},
                                             DBUS_SESSION_BUS_ADDRESS=self.session.address))

    def test_push_samples_and_alerts_once(self):
        self.c.run("plans", "set", "PREF_THRES_MONTHLY", "1000000")
        with Daemon(self.c.env) as daemon:
            self.assertTrue(self.session.bus.name_has_owner(SERVICE))
            # Positioning and the network library stay unloaded while nothing asks for them.
            loaded = pathlib.Path(f"/proc/{daemon.proc.pid}/maps").read_text()
            self.assertIn("libtallymo_sessionbus.so", loaded)
            for library in ("libQt6Positioning", "libQt6Network", "libtallymo_location", "libtallymo_hostnames"):
                self.assertNotIn(library, loaded)
            self.c.write_counters({"wwan0": (1000 + 600_000, 1000)})
            self.c.run("push")
            self.assertIn("+cell 585.9 KB", daemon.wait_for("push"))
            self.c.run("push")
            self.assertIn("no new usage", daemon.wait_for("push", 2))
            alerts = [c for c in self.session.calls("Notify") if c[3] == "Usage Alert"]
            self.assertEqual([c[4] for c in alerts], ["You've used 60%."])
        self.assertIn("  terminate: ", daemon.lines[-1])
        self.assertIn("qx_marker_log sub.error - no UnifiedPush distributor on the session bus", daemon.err)
        self.assertEqual(self.c.totals()["cellIn"], 600_000)
        p = self.c.run("push", check=False)
        self.assertEqual((p.returncode, p.stderr.splitlines()[-1]),
                         (1, "tallymo: no Tallymo background service is running (start one with tallymo daemon)"))

    # Records that cannot be read: every check's line says so and the user is told once, not at
    # every check, and the service keeps running.
    def test_an_unreadable_store_is_told_once(self):
        from test_store import damage, fill
        self.c.run("setup", "--bill-day", "1", "--cap", "10GB", "--used", "0")
        fill(self.c.store_path())
        damage(self.c.store_path(), ["Event", "Event_timeStamp", "EventHour"])
        with Daemon(self.c.env) as daemon:
            for count in (1, 2):
                self.c.run("push")
                self.assertIn(": usage history unreadable: cannot read the usage store", daemon.wait_for("push", count))
            told = [c for c in self.session.calls("Notify") if c[3] == "Usage History Unreadable"]
            self.assertEqual(len(told), 1, told)
            self.assertIn('Run "tallymo store check" in a terminal.', told[0][4])
            self.assertIsNone(daemon.proc.poll())

    # The service's answer and the command's agree (the figures themselves are in tst_usagealerts),
    # and the command speaks it through spd-say when there is one.
    def test_show_usage_answers_as_the_command_does(self):
        with Daemon(self.c.env):
            service = self.session.bus.get_object(SERVICE, PATH)
            # Before setup: the answer asks to open the app.
            answer = service.ShowUsage(dbus_interface=SERVICE, timeout=20)
            self.assertEqual(int(answer["code"]), 6)
            self.assertIn("not set up", str(answer["spokenText"]))
            p = self.c.run("intent", "show-usage", "--json", check=False)
            self.assertEqual((p.returncode, json.loads(p.stdout)), (1, {"code": 6}))
            self.c.run("setup", "--bill-day", "1", "--cap", "1GB", "--used", "0")
            self.c.write_counters({"wwan0": (1000 + 300 * 1048576, 1000)})  # not sampled yet
            answer = json.loads(json.dumps(service.ShowUsage(dbus_interface=SERVICE, timeout=20)))
            command = self.c.json("intent", "show-usage")
        self.assertEqual((answer["code"], answer["percent"]), (4, 29.296875))  # the traffic up to the call
        self.assertTrue(answer.pop("spokenText").startswith("You have used 29 percent of your data."))
        self.assertEqual(answer, command)  # every figure, and the forecast
        spoken, bin_dir = os.path.join(self.c.root, "spoken.txt"), os.path.join(self.c.root, "bin")
        os.makedirs(bin_dir)
        env = dict(self.c.env, PATH=bin_dir)
        one_error_line(self, self.c.run("intent", "show-usage", "--speak", env=env, check=False),
                       "spd-say is not installed", status=1)
        script(os.path.join(bin_dir, "spd-say"), f'printf "%s\\n" "$@" > {spoken}')
        p = self.c.run("intent", "show-usage", "--speak", env=env)
        self.assertEqual(pathlib.Path(spoken).read_text().splitlines(), ["--wait", p.stdout.strip()])


def read(path):
    with open(path) as f:
        return f.read()


def events(c):
    try:
        return c.totals()["events"]
    except sqlite3.OperationalError:  # not created yet
        return 0


def stop_activated(pidfile, timeout=20):
    """Ends the service the bus started, if it did, and waits until it has gone (it is not our child)."""
    if not os.path.exists(pidfile):
        return
    pid, deadline = int(read(pidfile)), time.time() + timeout
    try:
        os.kill(pid, signal.SIGTERM)
        while time.time() < deadline:
            os.kill(pid, 0)
            time.sleep(0.05)
    except ProcessLookupError:
        return
    os.kill(pid, signal.SIGKILL)
    raise AssertionError(f"the activated service {pid} did not end")


class UnifiedPush(unittest.TestCase):
    def test_distributor_registration_and_message(self):
        distributor = self.enterContext(Bus(fake=("org.unifiedpush.Distributor.fake", "/org/unifiedpush/Distributor",
                                                  "org.unifiedpush.Distributor1")))
        distributor.control.AddMethod("", "Register", "sss", "ss", 'ret = ("REGISTRATION_SUCCEEDED", "")')
        distributor.control.AddMethod("", "Unregister", "s", "", "")
        c = self.enterContext(Container(counters={"wwan0": (1000, 1000)}, DBUS_SESSION_BUS_ADDRESS=distributor.address))
        with Daemon(c.env) as daemon:
            self.assertEqual(distributor.calls("Register")[0][:2], [SERVICE, "tallymo_push_subscription2"])
            c.write_counters({"wwan0": (4000, 1000)})
            distributor.bus.get_object(SERVICE, "/org/unifiedpush/Connector").Message(
                "tallymo_push_subscription2", dbus.ByteArray(b"{}"), "m1", dbus_interface="org.unifiedpush.Connector1")
            self.assertIn("+cell 2.9 KB", daemon.wait_for("push"))
        self.assertNotIn("sub.error", daemon.err)


class Activation(unittest.TestCase):
    def test_a_call_starts_the_service(self):
        c = self.enterContext(Container(counters={"wwan0": (1000, 1000)}))
        services, out, pidfile = (os.path.join(c.root, n) for n in ("services", "out.txt", "service.pid"))
        os.makedirs(services)
        with open(os.path.join(services, SERVICE + ".service"), "w") as f:
            f.write(f"[D-BUS Service]\nName={SERVICE}\nExec=/bin/sh -c 'echo $$ >{pidfile}; "
                    f"exec {TALLYMO} daemon --interval 3600 >{out} 2>&1'\n")
        config = os.path.join(c.root, "session.conf")
        with open(config, "w") as f:
            f.write(f"""<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:tmpdir={c.root}</listen><servicedir>{services}</servicedir>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>
<allow own="*"/></policy></busconfig>""")
        bus = self.enterContext(Bus(config=config, env=c.env)).bus  # what it activates inherits c.env
        self.addCleanup(stop_activated, pidfile)
        self.assertFalse(bus.name_has_owner(SERVICE))
        c.write_counters({"wwan0": (5000, 1000)})
        bus.get_object(SERVICE, PATH).Push(dbus_interface=SERVICE, timeout=20)
        self.assertTrue(bus.name_has_owner(SERVICE))
        wait_until(lambda: "  launch: " in read(out), "no launch line", 10)
        c.write_counters({"wwan0": (9000, 1000)})
        # A wake-up that arrives while a check runs is answered without a new one.
        deadline = time.time() + 10
        while time.time() < deadline and events(c) == 0:
            bus.get_object(SERVICE, PATH).Wake(dbus_interface=SERVICE)
            time.sleep(0.2)
        self.assertEqual(c.totals()["cellIn"], 4000, read(out))


if __name__ == "__main__":
    unittest.main(verbosity=2)
