"""The hourly totals kept beside the records, with real processes: built once for an older store (and
resumed after a kill -9 in the middle), and a damaged store as every command meets it."""
import glob
import os
import pathlib
import random
import sqlite3
import subprocess
import sys
import time
import unittest
from contextlib import closing

sys.path.insert(0, os.path.dirname(__file__))
from support import TALLYMO, Container, one_error_line  # noqa: E402

OLD_SCHEMA = """
CREATE TABLE Event (id INTEGER PRIMARY KEY, timeStamp REAL NOT NULL, cellIn REAL NOT NULL DEFAULT 0,
  cellOut REAL NOT NULL DEFAULT 0, wifiIn REAL NOT NULL DEFAULT 0, wifiOut REAL NOT NULL DEFAULT 0,
  latitude REAL NOT NULL DEFAULT -180, longitude REAL NOT NULL DEFAULT -180);
CREATE INDEX Event_timeStamp ON Event(timeStamp, cellIn, cellOut, wifiIn, wifiOut);
CREATE TABLE Netevent (id INTEGER PRIMARY KEY, timeStamp REAL NOT NULL, ipaddress TEXT NOT NULL,
  bytes REAL NOT NULL DEFAULT 0);
CREATE INDEX Netevent_timeStamp ON Netevent(timeStamp, ipaddress, bytes);
PRAGMA user_version=1;
"""


def read(path, sql):
    with closing(sqlite3.connect(f"file:{path}?mode=ro", uri=True)) as db:  # never creates it
        return db.execute(sql).fetchall()


def records_by_hour(path):
    return read(path, "SELECT CAST(timeStamp / 3600 AS INTEGER) * 3600 AS h, count(*), total(cellIn), "
                      "total(cellOut), total(wifiIn), total(wifiOut) FROM Event GROUP BY h ORDER BY h")


def kept_totals(path):
    return read(path, "SELECT hour, records, cellIn, cellOut, wifiIn, wifiOut FROM EventHour ORDER BY hour")


def fill(path, days=150):
    """A record every ten minutes up to now, written straight into the store with its hourly totals."""
    rows = [(time.time() - i * 600, 1000 + i, 10, 5000, 50) for i in range(days * 144)]
    with closing(sqlite3.connect(path)) as db, db:
        db.executemany("INSERT INTO Event(timeStamp, cellIn, cellOut, wifiIn, wifiOut) VALUES (?, ?, ?, ?, ?)", rows)
        db.execute("DELETE FROM EventHour")
        db.execute("INSERT INTO EventHour SELECT CAST(timeStamp / 3600 AS INTEGER) * 3600 AS h, count(*), "
                   "total(cellIn), total(cellOut), total(wifiIn), total(wifiOut) FROM Event GROUP BY h")


def damage(path, names, seed=7):
    """Noise over leaf pages of the named tables and indexes, as a bad sector or a torn write leaves:
    all of them, or for one name the last (rows are added in time order, so its newest rows)."""
    db = sqlite3.connect(path)
    db.execute("PRAGMA wal_checkpoint(TRUNCATE)")
    size = db.execute("PRAGMA page_size").fetchone()[0]
    pages = [p for (p,) in db.execute(f"SELECT pageno FROM dbstat WHERE pagetype = 'leaf' AND name IN "
                                      f"({','.join('?' * len(names))})", names)]
    db.close()
    rng = random.Random(seed)
    with open(path, "r+b") as f:
        for page in pages if len(names) > 1 else [max(pages)]:  # the newest rows
            f.seek((page - 1) * size)
            f.write(rng.randbytes(size))
    return len(pages)


class DamagedStore(unittest.TestCase):
    """The hourly totals are derived from the records: a damaged page of them is built again from the
    records, and nothing reads as 0. Records that cannot be read are said so, with exit status 1."""

    def setUp(self):
        self.c = self.enterContext(Container())
        self.c.run("setup", "--bill-day", "1", "--cap", "10GB", "--used", "0")
        self.store = self.c.store_path()
        fill(self.store)

    # Put right by `store check`, which says so with exit status 1, and by the next command that
    # writes records; until then every figure is read around the damage.
    def test_a_damaged_page_of_totals_is_built_again(self):
        status = self.c.json("status")
        days = self.c.run("history", "days", "--json").stdout
        self.assertGreater(status["monthCell"], 0)
        for repair in ("store check", "reads, then a write"):
            with self.subTest(repair=repair):
                self.assertGreater(damage(self.store, ["EventHour", "EventDay"]), 3)
                with self.assertRaises(sqlite3.DatabaseError):
                    kept_totals(self.store)
                if repair == "store check":
                    p = self.c.run("store", "check", check=False)
                    self.assertEqual(p.returncode, 1, p.stdout)
                    self.assertIn("repaired from the records", p.stdout)
                    self.assertEqual(self.c.run("history", "days", "--json").stdout, days)
                else:
                    self.assertEqual(self.c.json("status"), status)
                    self.assertEqual(self.c.run("history", "days", "--json").stdout, days)
                    self.c.run("plans", "add-usage", "7MB", "--yes")
                    status["monthCell"] += 7 * 1024 * 1024
                self.assertEqual(kept_totals(self.store), records_by_hour(self.store))
                self.assertEqual(self.c.json("status")["monthCell"], status["monthCell"])
                check = self.c.json("store", "check")[0]
                self.assertEqual((check["integrity"], check["wrongHours"], check["wrongDays"]), ("ok", [], []))

    # Damaged pages of records, then no database at all: one line, exit status 1, the file left as it is.
    def test_records_that_cannot_be_read_are_an_error(self):
        commands = (["status"], ["history", "days"], ["plans", "add-usage", "7MB", "--yes"],
                    ["export", "--cycles", "3", "--output", os.path.join(self.c.root, "out.json")])
        self.c.write_counters({"wwan0": (1000, 1000), "wlan0": (10, 10)})
        for how in ("damaged", "not a database"):
            if how == "damaged":
                damage(self.store, ["Event", "Event_timeStamp", "EventHour"])
                needle = "cannot"
            else:
                for path in glob.glob(self.store + "*"):
                    os.remove(path)
                pathlib.Path(self.store).write_bytes(b"this is not a database" * 500)
                needle = f"cannot open usage store {self.store}: file is not a database"
            bad = pathlib.Path(self.store).read_bytes()
            for command in commands + ((["sample"],) if how == "not a database" else ()):  # else a baseline only
                with self.subTest(how=how, command=command):
                    p = self.c.run(*command, check=False)
                    one_error_line(self, p, needle, status=1)
                    self.assertRegex(p.stderr, r"^tallymo: cannot (open|read|write) (the )?usage store .*: ")
                    self.assertEqual(pathlib.Path(self.store).read_bytes(), bad)


class HourlyTotals(unittest.TestCase):
    def test_older_store_built_once_resumed_after_kill(self):
        # Half a year of 10-second records in a store from before the totals.
        self.c = self.enterContext(Container())
        self.c.run("setup", "--bill-day", "1", "--cap", "10GB", "--used", "0")
        self.store = self.c.store_path()
        for path in glob.glob(self.store + "*"):
            os.remove(path)
        start = int(time.time()) - 183 * 86400
        with closing(sqlite3.connect(self.store)) as db, db:
            db.executescript(OLD_SCHEMA)
            db.executemany("INSERT INTO Event(timeStamp, cellIn, cellOut, wifiIn, wifiOut) VALUES (?, ?, ?, ?, ?)",
                           ((start + i * 10 + (i % 7) / 1000, i % 5000, 7, (i * 13) % 9000, 1)
                            for i in range(183 * 8640)))
        before = records_by_hour(self.store)

        # Killed once the first month is in: nothing is lost and the next open goes on from there.
        p = subprocess.Popen([TALLYMO, "status", "--json"], env=self.c.env, stdout=subprocess.DEVNULL,
                             stderr=subprocess.DEVNULL)
        deadline = time.time() + 60
        while True:
            self.assertLess(time.time(), deadline, "the build never got going")
            self.assertIsNone(p.poll(), "the build finished before it could be interrupted")
            try:
                built = read(self.store, "SELECT builtBelow FROM EventHourBuild")
            except sqlite3.OperationalError:  # not migrated yet, or busy
                built = []
            if built and built[0][0] > start + 3600:
                break
            time.sleep(0.005)
        p.kill()
        p.wait()
        self.assertTrue(read(self.store, "SELECT builtBelow FROM EventHourBuild"))
        self.assertEqual(read(self.store, "PRAGMA integrity_check"), [("ok",)])
        self.assertEqual(records_by_hour(self.store), before)

        status = self.c.json("status")
        self.assertEqual(kept_totals(self.store), before)
        month = sum(r[2] + r[3] for r in records_by_hour(self.store))  # all of it, per period below
        self.assertLessEqual(status["monthCell"], month)
        c = self.c.json("store", "check")[0]  # run() fails unless it exits 0
        self.assertEqual((c["integrity"], c["wrongHours"], c["hours"]), ("ok", [], len(before)))

        # On a terminal the build shows its progress; a finished store has nothing more to build.
        self.assertEqual(self.c.run("status").stderr, "")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v"])
