"""Notifications through a real private session bus and a mock notification server: the usage
alert and its replacement, and the bill-cycle reminders kept across processes and delivered once."""
import json
import os
import signal
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("dbus-monitor")
from session import SessionBus  # noqa: E402
from support import TALLYMO, Container  # noqa: E402


class Notifications(unittest.TestCase):
    def setUp(self):
        self.session = SessionBus().__enter__()
        self.c = Container()
        self.c.env.update(DBUS_SESSION_BUS_ADDRESS=self.session.address, TZ="UTC")
        self.counters = [1000, 1000]
        self.c.write_counters({"wwan0": tuple(self.counters)})

    def tearDown(self):
        self.session.__exit__(None, None, None)
        self.c.cleanup()

    def use(self, received, **env):
        self.counters[0] += received
        self.c.write_counters({"wwan0": tuple(self.counters)})
        return self.c.run("refresh", env=dict(self.c.env, **env))

    def pending(self):
        with open(os.path.join(self.c.path, "notifications.json")) as f:
            return {r["identifier"]: r for r in json.load(f)["pending"]}

    def test_usage_alert_and_its_replacement(self):
        self.c.run("plans", "set", "PREF_THRES_MONTHLY", "1000000")
        self.use(0)  # the first sample only remembers the counters
        self.use(600_000)  # 60 %: the first threshold
        self.use(10_000)  # 61 %: no new threshold
        self.use(140_000)  # 75 %: the second
        calls = [c for c in self.session.calls("Notify") if c[3] == "Usage Alert"]
        self.assertEqual([(c[1], c[4]) for c in calls], [(0, "You've used 60%."), (1, "You've used 75%.")])
        self.assertEqual(calls[0][0], "Tallymo")
        self.assertEqual(calls[0][6]["desktop-entry"], "org.tallymo.Tallymo")

    def test_badge_follows_the_percentage(self):
        # Background refresh is available once the user service is enabled.
        config = os.path.join(self.c.root, "config")
        os.makedirs(os.path.join(config, "systemd", "user", "default.target.wants"))
        open(os.path.join(config, "systemd", "user", "default.target.wants", "tallymo.service"), "w").close()
        self.c.env["XDG_CONFIG_HOME"] = config
        self.c.run("plans", "set", "PREF_THRES_MONTHLY", "1000000")
        self.c.run("defaults", "write", "PREF_V7_BADGE", "true")
        monitor = subprocess.Popen(["dbus-monitor", "--address", self.session.address,
                                    "type='signal',interface='com.canonical.Unity.LauncherEntry'"],
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        try:
            time.sleep(0.3)
            self.use(0)
            self.use(125_000)  # 12.5 %: the badge shows 12 (halves to even)
            time.sleep(0.3)
        finally:
            monitor.terminate()
            out = monitor.communicate()[0]
        counts = [line.split()[-1] for line in out.splitlines() if "int64" in line]
        self.assertEqual(counts, ["0", "12"])
        self.assertIn("application://org.tallymo.Tallymo.desktop", out)

    def test_bill_cycle_reminders_survive_and_are_delivered_once(self):
        self.use(0, TALLYMO_NOW="2026-11-30T20:59:56Z")
        pending = self.pending()
        self.assertEqual(pending["qx.noti.billalert.2100"]["fireAt"], "2026-11-30T21:00:00.000Z")
        self.assertEqual(pending["qx.noti.billalert.2300"]["fireAt"], "2026-11-30T23:00:00.000Z")
        self.assertEqual(self.session.calls("Notify"), [])
        # Two services, started afresh, reach 21:00 within a few seconds.
        env = dict(self.c.env, TALLYMO_NOW="2026-11-30T20:59:58Z")
        daemons = [subprocess.Popen([TALLYMO, "daemon", "--interval", "3600"], env=env, stdout=subprocess.DEVNULL,
                                    stderr=subprocess.DEVNULL) for _ in range(2)]
        try:
            deadline = time.time() + 10
            while time.time() < deadline and not self.session.calls("Notify"):
                time.sleep(0.1)
            time.sleep(1.5)  # room for a second, wrong, delivery
        finally:
            for d in daemons:
                d.send_signal(signal.SIGTERM)
                d.wait(timeout=10)
        bills = [c for c in self.session.calls("Notify") if c[3] == "Bill Cycle"]
        self.assertEqual([c[4] for c in bills], ["Your bill cycle ends today. Open Tallymo to check your usage."])
        self.assertEqual(list(self.pending()), ["qx.noti.billalert.2300"])
        # From 21:00 on the last day, the pair is set for the next cycle's last day.
        self.use(0, TALLYMO_NOW="2026-11-30T21:00:00Z")
        self.assertEqual({k: v["fireAt"] for k, v in self.pending().items()},
                         {"qx.noti.billalert.2100": "2026-12-31T21:00:00.000Z",
                          "qx.noti.billalert.2300": "2026-12-31T23:00:00.000Z"})


class NoNotificationServer(unittest.TestCase):
    def test_alert_without_a_server_is_logged(self):
        with SessionBus(notification_server=False) as session:
            c = Container()
            try:
                c.env.update(DBUS_SESSION_BUS_ADDRESS=session.address)
                c.write_counters({"wwan0": (1000, 1000)})
                c.run("plans", "set", "PREF_THRES_MONTHLY", "1000000")
                c.run("refresh")
                c.write_counters({"wwan0": (900_000, 1000)})
                p = c.run("refresh")
                self.assertIn("alert level 2", p.stdout)
                self.assertIn("no notification shown (Usage Alert)", p.stderr)
            finally:
                c.cleanup()


if __name__ == "__main__":
    unittest.main(verbosity=2)
