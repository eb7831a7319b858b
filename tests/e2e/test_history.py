"""History as the command line shows it, checked against the SQLite file itself: per hour, per day
and per period, in a zone with daylight saving and with records exactly on the boundaries."""
import json
import os
import random
import sqlite3
import sys
import unittest
from datetime import datetime, timedelta
from zoneinfo import ZoneInfo

sys.path.insert(0, os.path.dirname(__file__))
from support import Container  # noqa: E402

ZONE = ZoneInfo("Europe/Berlin")


def local(*fields, fold=0):
    return datetime(*fields, tzinfo=ZONE, fold=fold)


class History(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.c = Container()
        cls.c.env.update(TZ="Europe/Berlin", TALLYMO_NOW="2024-11-05T12:00:00+01:00")
        cls.c.write_counters({"wwan0": (0, 0)})
        cls.c.run("plans", "add-usage", "1MB", "--yes")  # creates the store: one record of 1 MiB now
        rng = random.Random(7)
        events = [
            (local(2024, 10, 1), 1000, 1, 0, 0),               # the period's first moment
            (local(2024, 11, 1), 2000, 0, 0, 0),               # the next period's first moment
            (local(2024, 10, 31, 23, 59, 59), 3000, 0, 7, 0),  # the period's last second
            (local(2024, 10, 27), 4000, 0, 0, 0),              # the long day's first moment
            (local(2024, 10, 27, 2, 30), 5000, 0, 0, 0),       # 02:30 in summer time
            (local(2024, 10, 27, 2, 30, fold=1), 6000, 0, 0, 0),  # 02:30 again, in winter time
            (local(2024, 10, 28), 7000, 0, 0, 0),              # the long day's end: the next day
            (local(2024, 9, 1), 8, 9, 10, 11),                 # an earlier period
            (local(2024, 7, 15, 10), 51, 0, 0, 0),             # a trickle: counts, never scales
            (local(2024, 7, 15, 11), 100, 0, 0, 0),
            (local(2024, 7, 15, 12), 1000, 0, 0, 0),
        ]
        start = local(2024, 8, 1).timestamp()
        for _ in range(300):
            t = start + rng.randrange(0, 95 * 86400)
            events.append((datetime.fromtimestamp(t, ZONE), rng.randrange(0, 5_000_000), rng.randrange(0, 50_000),
                           rng.randrange(0, 9_000_000_000), rng.randrange(0, 90_000)))
        cls.db = cls.c.store_path()
        with sqlite3.connect(cls.db) as db:
            db.executemany("INSERT INTO Event (timeStamp, cellIn, cellOut, wifiIn, wifiOut) VALUES (?, ?, ?, ?, ?)",
                           [(e[0].timestamp(), *e[1:]) for e in events])
        # Written behind Tallymo's back: the hourly totals are put right from the records first.
        check = cls.c.run("store", "check").stdout
        assert "hourly totals did not match their records" in check and "repaired" in check, check

    @classmethod
    def tearDownClass(cls):
        cls.c.cleanup()

    def history(self, *args):
        return json.loads(self.c.run("history", *args, "--json").stdout)

    def sums(self, start, end):
        with sqlite3.connect(self.db) as db:
            row = db.execute("SELECT total(cellIn + cellOut), total(wifiIn + wifiOut), count(*) FROM Event "
                             "WHERE timeStamp >= ? AND timeStamp < ?", (start.timestamp(), end.timestamp())).fetchone()
        return row

    def assert_rows_cover(self, doc, end_of):
        keys = [datetime.fromisoformat(r["key"]) for r in doc["rows"]]
        self.assertEqual(keys, sorted(keys, reverse=True))  # newest first
        total_cell = total_wifi = 0
        for r, key in zip(doc["rows"], keys):
            cell, wifi, _ = self.sums(key, end_of(key))
            self.assertEqual((r["cell"], r["wifi"]), (cell, wifi), r["key"])
            total_cell += cell
            total_wifi += wifi
        return total_cell, total_wifi

    def test_days_of_a_period(self):
        doc = self.history("days", "--date", "2024-10-15")
        self.assertEqual((doc["start"], doc["end"]), ("2024-10-01T00:00:00+02:00", "2024-11-01T00:00:00+01:00"))
        self.assertEqual((doc["title"], doc["periodLabel"]), ("Oct 1 - Oct 31", "Oct"))
        day_end = lambda k: datetime.combine(k.date() + timedelta(days=1), datetime.min.time(), ZONE)
        cell, wifi = self.assert_rows_cover(doc, day_end)
        whole = self.sums(datetime.fromisoformat(doc["start"]), datetime.fromisoformat(doc["end"]))
        self.assertEqual((cell, wifi), whole[:2])  # every record of the period in exactly one day
        long_day = next(r for r in doc["rows"] if r["key"].startswith("2024-10-27"))
        self.assertEqual(long_day["key"], "2024-10-27T00:00:00+02:00")
        first = next(r for r in doc["rows"] if r["key"] == "2024-10-01T00:00:00+02:00")
        self.assertGreaterEqual(first["cell"], 1001)

    def test_hours_of_the_long_day(self):
        doc = self.history("hours", "--day", "2024-10-27")
        self.assertEqual((doc["start"], doc["end"]), ("2024-10-27T00:00:00+02:00", "2024-10-28T00:00:00+01:00"))
        keys = [r["key"] for r in doc["rows"]]
        self.assertIn("2024-10-27T02:00:00+02:00", keys)  # both 02:00 hours, each its own row
        self.assertIn("2024-10-27T02:00:00+01:00", keys)
        self.assertEqual(doc["title"], "Sunday, October 27")
        self.assertIn(doc.get("periodLabel"), ("AM", "PM"))  # the C locale reads as a 12-hour clock
        cell, wifi = self.assert_rows_cover(doc, lambda k: k + timedelta(hours=1))
        self.assertEqual((cell, wifi), self.sums(local(2024, 10, 27), local(2024, 10, 28))[:2])

    def test_periods(self):
        doc = self.history("cycles")
        self.assertEqual([r["label"] for r in doc["rows"]], ["Nov", "Oct", "Sep", "Aug", "Jul"])
        ends = {f"2024-{m:02}-01": local(2024, m + 1, 1) for m in range(7, 12)}
        self.assert_rows_cover(doc, lambda k: ends[k.date().isoformat()])


    def test_trickle_never_sets_the_scale(self):
        doc = self.history("hours", "--day", "2024-07-15")
        self.assertEqual([(r["label"], r["cell"], r["cellFraction"], r["wifiFraction"]) for r in doc["rows"]],
                         [("12", 1000, 1, -1), ("11", 100, 0, -1), ("10", 51, -1, -1)])


if __name__ == "__main__":
    unittest.main()
