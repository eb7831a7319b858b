"""Location from a GPS receiver behind a stand-in gpsd on loopback: samples taken while moving
carry coordinates, a stationary spell makes a visit and a wake-up, and a fix coarser than 500 m
gives the unknown coordinate."""
import functools
import operator
import os
import socket
import sqlite3
import sys
import time
import unittest
from contextlib import closing
from datetime import datetime, timedelta, timezone

sys.path.insert(0, os.path.dirname(__file__))
from session import SessionBus  # noqa: E402
from support import Container, Daemon  # noqa: E402


def sentence(body):
    return f"${body}*{functools.reduce(operator.xor, body.encode()):02X}\r\n"


def fix(when, lat, lon, hdop):
    """A GGA and an RMC sentence of one fix (north and east)."""
    def dm(value, width):
        return f"{int(value):0{width}d}{(value - int(value)) * 60:07.4f}"
    t, where = when.strftime("%H%M%S.00"), f"{dm(lat, 2)},N,{dm(lon, 3)},E"
    return (sentence(f"GPGGA,{t},{where},1,08,{hdop:.1f},34.0,M,0.0,M,,") +
            sentence(f"GPRMC,{t},A,{where},0.0,0.0,{when.strftime('%d%m%y')},,,A"))


class FakeGpsd:
    """Answers ?WATCH with a stream of NMEA sentences, released in steps by the test."""

    def __init__(self):
        self.server = socket.socket()
        self.server.bind(("127.0.0.1", 0))
        self.server.listen(1)
        self.port = self.server.getsockname()[1]
        self.conn = None

    def send(self, text):
        if not self.conn:
            self.server.settimeout(10)
            self.conn = self.server.accept()[0]
            self.conn.recv(1024)  # ?WATCH={...};
        self.conn.sendall(text.encode())

    def close(self):
        if self.conn:
            self.conn.close()
        self.server.close()


class Location(unittest.TestCase):
    def test_positions_visits_and_accuracy(self):
        gpsd = FakeGpsd()
        self.addCleanup(gpsd.close)
        session = self.enterContext(SessionBus())
        c = self.enterContext(Container(counters={"wwan0": (1000, 1000)}, DBUS_SESSION_BUS_ADDRESS=session.address,
                                        TALLYMO_NMEA=f"gpsd://127.0.0.1:{gpsd.port}"))
        c.run("defaults", "write", "PREF_V7_GEO", "true")
        start = datetime.now(timezone.utc).replace(microsecond=0) - timedelta(minutes=20)
        with Daemon(c.env) as daemon:
            # Moving north, a position a minute, 300 m apart.
            gpsd.send("".join(fix(start + timedelta(minutes=i), 52.50 + 0.0027 * i, 13.40, 0.9) for i in range(4)))
            time.sleep(0.5)
            c.write_counters({"wwan0": (6000, 1000)})
            c.run("push")
            daemon.wait_for("push")
            # Staying put for six minutes makes a visit, which wakes the service up.
            here = 52.50 + 0.0027 * 4
            gpsd.send("".join(fix(start + timedelta(minutes=4 + i), here, 13.40, 0.9) for i in range(7)))
            self.assertIn(f"arrival at {here:.5f}, 13.40000", daemon.wait_for("visit"))
            # A coarse fix (HDOP 120 is 600 m) is not stored with usage.
            gpsd.send(fix(start + timedelta(minutes=12), here, 13.40, 120.0))
            time.sleep(0.5)
            c.write_counters({"wwan0": (13000, 1000)})
            c.run("push")
            daemon.wait_for("push", 2)
        with closing(sqlite3.connect(f"file:{c.store_path()}?mode=ro", uri=True)) as db:
            rows = db.execute("SELECT cellIn, latitude, longitude FROM Event ORDER BY id").fetchall()
        self.assertEqual(rows[0][0], 5000)
        self.assertAlmostEqual(rows[0][1], 52.5 + 0.0027 * 3, places=6)  # the last position
        self.assertAlmostEqual(rows[0][2], 13.4, places=6)
        self.assertEqual(rows[-1], (7000, -180, -180))

    def test_recorded_track(self):
        """A recorded NMEA file, replayed at its own pace, gives the samples its last position."""
        start = datetime.now(timezone.utc).replace(microsecond=0)
        session = self.enterContext(SessionBus(notification_server=False))
        c = self.enterContext(Container(counters={"wwan0": (1000, 1000)}, DBUS_SESSION_BUS_ADDRESS=session.address))
        c.env["TALLYMO_NMEA"] = "file://" + os.path.join(c.root, "track.nmea")
        with open(os.path.join(c.root, "track.nmea"), "w") as track:
            track.write("".join(fix(start + timedelta(seconds=i), 48.1 + 0.001 * i, 11.5, 0.9) for i in range(3)))
        c.run("defaults", "write", "PREF_V7_GEO", "true")
        with Daemon(c.env) as daemon:
            time.sleep(3)  # the replay keeps the recording's one-second pace
            c.write_counters({"wwan0": (3000, 1000)})
            c.run("push")
            daemon.wait_for("push")
        with closing(sqlite3.connect(f"file:{c.store_path()}?mode=ro", uri=True)) as db:
            (lat, lon), = db.execute("SELECT latitude, longitude FROM Event").fetchall()
        self.assertAlmostEqual(lat, 48.102, places=6)
        self.assertAlmostEqual(lon, 11.5, places=6)


if __name__ == "__main__":
    unittest.main(verbosity=2)
