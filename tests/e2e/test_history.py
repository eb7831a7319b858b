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

    def sums(self, start, end):
        with sqlite3.connect(self.db) as db:
            return db.execute("SELECT total(cellIn + cellOut), total(wifiIn + wifiOut) FROM Event "
                              "WHERE timeStamp >= ? AND timeStamp < ?", (start.timestamp(), end.timestamp())).fetchone()

    # Every row holds exactly the records from its key to the next row's, newest first; a view of one
    # day or period holds every record between its bounds.
    def test_rows_are_the_records_between_their_bounds(self):
        day_end = lambda k: datetime.combine(k.date() + timedelta(days=1), datetime.min.time(), ZONE)  # noqa: E731
        cases = [(("days", "--date", "2024-10-15"), day_end, (local(2024, 10, 1), local(2024, 11, 1))),
                 (("hours", "--day", "2024-10-27"), lambda k: k + timedelta(hours=1),
                  (local(2024, 10, 27), local(2024, 10, 28))),
                 (("cycles",), lambda k: local(2024, k.month + 1, 1), (local(2024, 8, 1), local(2024, 12, 1)))]
        for args, end_of, bounds in cases:
            with self.subTest(view=args[0]):
                doc = json.loads(self.c.run("history", *args, "--json").stdout)
                keys = [datetime.fromisoformat(r["key"]) for r in doc["rows"]]
                self.assertEqual(keys, sorted(keys, reverse=True))
                for r, key in zip(doc["rows"], keys):
                    self.assertEqual([r["cell"], r["wifi"]], list(self.sums(key, end_of(key))), r["key"])
                self.assertEqual([sum(r[k] for r in doc["rows"]) for k in ("cell", "wifi")], list(self.sums(*bounds)))
                if args[0] != "cycles":
                    self.assertEqual((doc["start"], doc["end"]), tuple(b.isoformat() for b in bounds))
                if args[0] == "hours":  # both 02:00 hours, each its own row
                    self.assertLessEqual({"2024-10-27T02:00:00+02:00", "2024-10-27T02:00:00+01:00"},
                                         {r["key"] for r in doc["rows"]})


if __name__ == "__main__":
    unittest.main()
