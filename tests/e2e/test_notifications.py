"""Notifications through a real private session bus and a mock notification server: the usage alert
and its replacement from one process to the next, the launcher badge, and then no server at all.
(The bill-cycle reminders, delivered by the service, are in test_service_safety.py.)"""
import os
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("dbus-monitor")
from session import SessionBus  # noqa: E402
from support import Container  # noqa: E402


class Notifications(unittest.TestCase):
    def setUp(self):
        self.session = self.enterContext(SessionBus())
        self.c = self.enterContext(Container(counters={"wwan0": (1000, 1000)}, TZ="UTC",
                                             DBUS_SESSION_BUS_ADDRESS=self.session.address))
        self.c.run("plans", "set", "PREF_THRES_MONTHLY", "1000000")

    def use(self, received):  # received: the period's total so far
        self.c.write_counters({"wwan0": (1000 + received, 1000)})
        return self.c.run("refresh")

    # Each refresh is its own process: the second alert replaces the first one's notification, and
    # the badge follows the percentage (background refresh is on once the user service is enabled;
    # the badge's number and each threshold are in tst_usagealerts).
    def test_usage_alerts_and_the_badge(self):
        self.c.env["XDG_CONFIG_HOME"] = config = os.path.join(self.c.root, "config")
        os.makedirs(os.path.join(config, "systemd", "user", "default.target.wants"))
        open(os.path.join(config, "systemd", "user", "default.target.wants", "tallymo.service"), "w").close()
        self.c.run("defaults", "write", "PREF_V7_BADGE", "true")
        monitor = subprocess.Popen(["dbus-monitor", "--address", self.session.address,
                                    "type='signal',interface='com.canonical.Unity.LauncherEntry'"],
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        try:
            time.sleep(0.3)
            for received in (0, 600_000, 610_000, 750_000):  # a baseline; 60 %, the first threshold; 61 %; 75 %
                self.use(received)
            time.sleep(0.3)
        finally:
            monitor.terminate()
            out = monitor.communicate()[0]
        calls = [c for c in self.session.calls("Notify") if c[3] == "Usage Alert"]
        self.assertEqual([(c[1], c[4]) for c in calls], [(0, "You've used 60%."), (1, "You've used 75%.")])
        self.assertEqual((calls[0][0], calls[0][6]["desktop-entry"]), ("Tallymo", "org.tallymo.Tallymo"))
        badges = [line.split()[-1] for line in out.splitlines() if "int64" in line]
        self.assertEqual(badges, ["0", "60", "61", "75"])
        self.assertIn("application://org.tallymo.Tallymo.desktop", out)
        # With no notification server on the bus the alert is said in the log.
        self.session.stop_mock()
        p = self.use(950_000)  # 95 %: the third
        self.assertIn("alert level 3", p.stdout)
        self.assertIn("no notification shown (Usage Alert)", p.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
