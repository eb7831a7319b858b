"""The service beside the other processes: a plan switched while it runs, the bill-cycle reminders it
keeps by itself, and per-address usage whose baseline it shares with `tallymo refresh`."""
import contextlib
import json
import os
import pathlib
import signal
import sqlite3
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("ip")
from session import SessionBus  # noqa: E402
from support import CHUNK, TALLYMO, WIDGET, Container, Daemon, Hub, drop_namespaces, veth_pair  # noqa: E402

MB = 1_048_576


def widget(c):
    return json.loads(subprocess.run([WIDGET, "--format", "json"], env=c.env, capture_output=True, text=True,
                                     check=True).stdout)


class PlanSwitch(unittest.TestCase):
    # Plan A (1 GB) has used 80 MB when the user switches to B (100 MB): A's 80 MB never count against
    # B's cap, no alert goes out, and the widget shows B. (The split at the switch is in tst_planswitch.)
    def test_switch_while_the_service_runs(self):
        session = self.enterContext(SessionBus())
        c = self.enterContext(Container(counters={"wwan0": (1000, 1000)}, DBUS_SESSION_BUS_ADDRESS=session.address))
        c.env["XDG_RUNTIME_DIR"] = c.root
        c.run("defaults", "write", "PREF_SHOWED_SETUP", "true", "--type", "bool")
        c.run("plans", "set", "PREF_THRES_MONTHLY", "1000000000", "--type", "double")
        plan_b = c.run("plans", "add", "--label", "B").stdout.strip()
        c.run("plans", "set", "PREF_THRES_MONTHLY", "100000000", "--type", "double", "--plan", plan_b)
        store_a = c.store_path()
        with Daemon(c.env, 1) as daemon:
            c.write_counters({"wwan0": (1000 + 80_000_000, 1000)})
            daemon.wait(lambda: c.totals(store_a)["cellIn"] == 80_000_000, "A's usage not recorded")
            c.run("plans", "switch", plan_b)
            store_b = c.store_path()
            self.assertEqual([widget(c)[k] for k in ("WSTATS_USED", "WSTATS_PERCENT", "WSTATS_LEFT")],
                             [0, 0, 100_000_000])
            c.write_counters({"wwan0": (1000 + 80_000_000 + 5 * MB, 1000)})
            daemon.wait(lambda: c.totals(store_b)["cellIn"] == 5 * MB, "B's usage not recorded")
            daemon.checks(2)  # room for a late sample into A
        self.assertEqual((c.totals(store_a)["cellIn"], c.totals(store_b)["cellIn"]), (80_000_000, 5 * MB))
        self.assertEqual([n[4] for n in session.calls("Notify") if n[3] == "Usage Alert"], [])  # 85 % of B's cap
        shown = widget(c)
        self.assertEqual(shown["WSTATS_USED"], 5 * MB)
        self.assertAlmostEqual(shown["WSTATS_PERCENT"], 100 * 5 * MB / 100_000_000)


REMINDER = "Your bill cycle ends today. Open Tallymo to check your usage."
H21, H23 = "qx.noti.billalert.2100", "qx.noti.billalert.2300"


class BillCycleReminders(unittest.TestCase):
    """Monthly plan, bill day 1: the reminders of 21:00 and 23:00 on the period's last day."""

    def pending(self, c):
        return {r["identifier"]: r["fireAt"]
                for r in json.loads(pathlib.Path(c.path, "notifications.json").read_text())["pending"]}

    def test_reminders_with_the_service(self):
        cases = [
            # Nothing but two services, started afresh three seconds before 21:00 on 30 November: the
            # reminder is shown once.
            ("two services", None, ("UTC", "2026-11-30T20:59:57Z"), None, [REMINDER],
             {H23: "2026-11-30T23:00:00.000Z"}),
            # The service's day is 1 December (UTC+14), the first of its period; a refresh made in
            # Honolulu, where it is still 30 November, asks for 21:00 there, seconds away.
            ("another process's request", None, ("Pacific/Kiritimati", "2026-12-01T06:59:53Z"),
             ("Pacific/Honolulu", "2026-12-01T06:59:55Z"), [REMINDER], {H23: "2026-12-01T09:00:00.000Z"}),
            # Scheduled on 30 November, the service starts on 3 December: the day is over, nothing
            # shows, and the service has set the next period's pair.
            ("day long over", ("UTC", "2026-11-30T12:00:00Z"), ("UTC", "2026-12-03T12:00:00Z"), None, [],
             {H21: "2026-12-31T21:00:00.000Z", H23: "2026-12-31T23:00:00.000Z"}),
        ]
        for name, before, start, request, shown, pending in cases:
            with self.subTest(name), SessionBus() as session, Container() as c:
                c.env.update(DBUS_SESSION_BUS_ADDRESS=session.address)
                c.write_counters({"wwan0": (1000, 1000)})
                clock = lambda zone, now: dict(c.env, TZ=zone, TALLYMO_NOW=now)  # noqa: E731
                if before:
                    c.run("refresh", env=clock(*before))
                    self.assertEqual(self.pending(c), {H21: "2026-11-30T21:00:00.000Z",
                                                       H23: "2026-11-30T23:00:00.000Z"})
                with contextlib.ExitStack() as services:
                    for _ in range(2 if name == "two services" else 1):
                        services.enter_context(Daemon(clock(*start), 1))
                    if request:
                        c.run("refresh", env=clock(*request))
                        self.assertEqual(self.pending(c)[H21], "2026-12-01T07:00:00.000Z")
                    deadline = time.time() + (10 if shown else 4)
                    while time.time() < deadline and not session.calls("Notify"):
                        time.sleep(0.1)
                    time.sleep(1.5)  # room for a second, wrong, delivery
                bills = [n[4] for n in session.calls("Notify") if n[3] == "Bill Cycle"]
                self.assertEqual(bills, shown)
                self.assertEqual(self.pending(c), pending)


# Addresses from the benchmarking range, assigned inside this test's own namespaces only.
SAMPLER, PEER, PORT = "198.18.78.1", "198.18.78.2", 7078
NS_A, NS_B = f"tvA{os.getpid()}", f"tvB{os.getpid()}"
class PerAddress(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        veth_pair(NS_A, NS_B, "wwan0", f"{SAMPLER}/30", "eth0", f"{PEER}/30")

    @classmethod
    def tearDownClass(cls):
        drop_namespaces(NS_A, NS_B)

    def setUp(self):
        self.c = self.enterContext(Container(wifi=()))
        del self.c.env["TALLYMO_PROC_NET_DEV"]  # the namespace's own counters
        self.c.env.update(DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent", XDG_RUNTIME_DIR=self.c.root)
        self.peer, self.me = Hub(NS_B), Hub(NS_A)
        self.addCleanup(self.peer.close)
        self.addCleanup(self.me.close)

    def refresh(self):
        p = subprocess.run(["ip", "netns", "exec", NS_A, TALLYMO, "refresh"], env=self.c.env, capture_output=True,
                           text=True, timeout=60)
        self.assertIn(p.returncode, (0, 10), p.stderr)
        self.assertNotIn("skipped", p.stdout)

    def stored(self):
        with sqlite3.connect(f"file:{self.c.store_path()}?mode=ro", uri=True) as db:
            return dict(db.execute("SELECT ipaddress, total(bytes) FROM Netevent GROUP BY ipaddress"))

    def assertGrew(self, before, sent):
        grown = self.stored().get(PEER, 0) - before
        # The payload acknowledged, and the peer's one-byte answers: never less, never a byte twice.
        self.assertGreaterEqual(grown, sent)
        self.assertLessEqual(grown, sent + sent // CHUNK + 16)

    def test_refresh_alone_and_beside_the_service(self):
        self.peer("listen", PEER, PORT)
        self.me("connect", "long", PEER, PORT)
        self.me("send", "long", CHUNK)
        self.refresh()  # the first read ever takes the baseline only
        self.me("send", "long", 2 * CHUNK)
        self.refresh()
        self.assertEqual(list(self.stored()), [PEER])
        self.assertGrew(0, 2 * CHUNK)
        before = self.stored()[PEER]
        with Daemon(self.c.env, 1, NS_A) as daemon:
            self.me("send", "long", CHUNK)
            daemon.checks(2)
            # Held between two of its checks, the service leaves the next bytes to the hand-run refresh.
            daemon.checks(1)
            daemon.proc.send_signal(signal.SIGSTOP)
            self.me("send", "long", CHUNK)
            self.refresh()
            self.assertGrew(before, 2 * CHUNK)  # counted from the service's last read
            # A second connection to the same peer, opened and closed between two of the service's
            # checks: it counts with its final total.
            self.me("connect", "short", PEER, PORT)
            self.me("send", "short", CHUNK)
            self.me("close", "short")
            daemon.proc.send_signal(signal.SIGCONT)
            daemon.checks(2)
        self.assertGrew(before, 3 * CHUNK)

    # A dual-stack socket's IPv4 peer is that IPv4 address; a dual-stack loopback peer is not counted.
    def test_dual_stack_peers(self):
        self.peer("listen", PEER, PORT + 1)
        self.me("listen", "::", PORT + 2)
        self.me("connect", "mapped", f"::ffff:{PEER}", PORT + 1)
        self.me("connect", "loop", "::ffff:127.0.0.1", PORT + 2)
        for name in ("mapped", "loop"):
            self.me("send", name, CHUNK)
        with Daemon(self.c.env, 1, NS_A) as daemon:
            for name in ("mapped", "loop"):
                self.me("send", name, 2 * CHUNK)
            daemon.checks(2)
        self.assertEqual(list(self.stored()), [PEER])
        self.assertGrew(0, 2 * CHUNK)


if __name__ == "__main__":
    unittest.main(verbosity=2)
