"""Helpers shared by the end-to-end tests: a temporary container, the tallymo binary, counters."""
import os
import plistlib
import sqlite3
import subprocess
import tempfile

TALLYMO = os.environ.get("TALLYMO_BIN", "tallymo")

HEADER = ("Inter-|   Receive                                                |  Transmit\n"
          " face |bytes    packets errs drop fifo frame compressed multicast|"
          "bytes    packets errs drop fifo colls carrier compressed\n")


class Container:
    """A container directory, a stand-in counters file and a stand-in sysfs tree."""

    def __init__(self, wifi=("wlan0",)):
        self._tmp = tempfile.TemporaryDirectory(prefix="tallymo-e2e-")
        self.root = self._tmp.name
        self.path = os.path.join(self.root, "container")
        self.counters = os.path.join(self.root, "net_dev")
        self.sysfs = os.path.join(self.root, "sys")
        for name in wifi:
            os.makedirs(os.path.join(self.sysfs, name, "wireless"))
        os.makedirs(self.sysfs, exist_ok=True)
        self.env = dict(os.environ, TALLYMO_CONTAINER=self.path, TALLYMO_PROC_NET_DEV=self.counters,
                        TALLYMO_SYSFS_NET=self.sysfs, TZ=os.environ.get("TZ", "UTC"))

    def cleanup(self):
        self._tmp.cleanup()

    def write_counters(self, table):
        """Replaces the counters file atomically; table: name -> (received, sent)."""
        tmp = self.counters + ".tmp"
        with open(tmp, "w") as f:
            f.write(HEADER)
            for name, (rx, tx) in table.items():
                f.write(f"{name:>6}: {rx} 1 0 0 0 0 0 0 {tx} 1 0 0 0 0 0 0\n")
        os.replace(tmp, self.counters)

    def run(self, *args, check=True, **kw):
        """Runs tallymo; with check, fails unless it exits 0 (or 10, "no new data", for refresh)."""
        p = subprocess.run([TALLYMO, *args], env=kw.pop("env", self.env), capture_output=True, text=True, **kw)
        if check and p.returncode not in ((0, 10) if args[:1] == ("refresh",) else (0,)):
            raise AssertionError(f"tallymo {' '.join(args)} exited {p.returncode}: {p.stderr}")
        return p

    def settings(self):
        with open(os.path.join(self.path, "group.zr.qxnext.plist"), "rb") as f:
            return plistlib.load(f)

    def store_path(self):
        s = self.settings()
        plan = s["PREF_ALL_PLANS"][s["PREF_ACTIVE_PLAN"]]
        return os.path.join(self.path, plan["PREF_PLAN_DBNAME"])

    def totals(self):
        """Sums of the active plan's stored usage, read straight from the SQLite file."""
        db = sqlite3.connect(f"file:{self.store_path()}?mode=ro", uri=True)  # never creates it
        try:
            row = db.execute("SELECT total(cellIn), total(cellOut), total(wifiIn), total(wifiOut), count(*) "
                             "FROM Event").fetchone()
            check = db.execute("PRAGMA integrity_check").fetchone()[0]
        finally:
            db.close()
        return {"cellIn": row[0], "cellOut": row[1], "wifiIn": row[2], "wifiOut": row[3], "events": row[4],
                "integrity": check}
