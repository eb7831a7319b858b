"""History as the command line shows it after records were written behind Tallymo's back: `store
check` puts the hourly totals right, and every view answers from them. (Each row and its bounds,
clock changes included, are in tst_history.)"""
import os
import sqlite3
import sys
import unittest
from contextlib import closing
from datetime import datetime
from zoneinfo import ZoneInfo

sys.path.insert(0, os.path.dirname(__file__))
from support import Container  # noqa: E402


class History(unittest.TestCase):
    def test_views_answer_from_the_repaired_totals(self):
        c = self.enterContext(Container(counters={"wwan0": (0, 0)}, TZ="Europe/Berlin",
                                        TALLYMO_NOW="2024-11-05T12:00:00+01:00"))
        c.run("plans", "add-usage", "1MB", "--yes")  # creates the store: one record of 1 MiB now
        # 02:30 on the long day, in summer and in winter time, and one in an earlier period.
        when = [datetime(2024, 10, 27, 2, 30, tzinfo=ZoneInfo("Europe/Berlin"), fold=f) for f in (0, 1)]
        with closing(sqlite3.connect(c.store_path())) as db, db:
            db.executemany("INSERT INTO Event (timeStamp, cellIn, cellOut, wifiIn, wifiOut) VALUES (?, ?, ?, ?, ?)",
                           [(when[0].timestamp(), 1000, 1, 5, 0), (when[1].timestamp(), 2000, 1, 0, 0),
                            (datetime(2024, 9, 1, tzinfo=ZoneInfo("Europe/Berlin")).timestamp(), 8, 9, 10, 11)])
        check = c.run("store", "check").stdout
        self.assertIn("hourly totals did not match their records", check)
        self.assertIn("repaired", check)
        for args, cell, wifi in [(("days", "--date", "2024-10-15"), 3002, 5),
                                 (("hours", "--day", "2024-10-27"), 3002, 5),
                                 (("cycles",), 3002 + 17 + 1048576, 26)]:
            with self.subTest(view=args[0]):
                rows = c.json("history", *args)["rows"]
                self.assertEqual([sum(r[k] for r in rows) for k in ("cell", "wifi")], [cell, wifi])


if __name__ == "__main__":
    unittest.main()
