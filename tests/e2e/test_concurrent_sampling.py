"""Eight sampling processes at once against one container while the counters grow: every byte of
growth is stored exactly once. With samplers killed at random, nothing is corrupted and nothing is
counted twice."""
import os
import random
import signal
import subprocess
import sys
import threading
import time
import unittest

sys.path.insert(0, os.path.dirname(__file__))
from support import TALLYMO, Container  # noqa: E402

SAMPLERS = 8
DURATION = 4.0


class ConcurrentSampling(unittest.TestCase):
    def setUp(self):
        self.c = Container()
        self.start = {"wwan0": (1000, 1000), "wlan0": (5000, 7000), "eth0": (1, 1)}
        self.c.write_counters(self.start)
        self.c.run("sample")  # first sample: only remembers the counters
        self.stop = threading.Event()
        self.lock = threading.Lock()
        self.procs = set()
        self.outcomes = {"recorded": 0, "skipped": 0, "nothing": 0, "killed": 0}

    def tearDown(self):
        self.c.cleanup()

    def grow(self):
        rng = random.Random(7)
        cur = {k: list(v) for k, v in self.start.items()}
        while not self.stop.is_set():
            for name in cur:
                cur[name][0] += rng.randrange(0, 5_000_000)
                cur[name][1] += rng.randrange(0, 800_000)
            self.c.write_counters({k: tuple(v) for k, v in cur.items()})
            time.sleep(0.002)
        self.final = {k: tuple(v) for k, v in cur.items()}

    def sampler(self):
        while not self.stop.is_set():
            p = subprocess.Popen([TALLYMO, "sample"], env=self.c.env, stdout=subprocess.PIPE,
                                 stderr=subprocess.PIPE, text=True)
            with self.lock:
                self.procs.add(p)
            out, err = p.communicate()
            with self.lock:
                self.procs.discard(p)
                if p.returncode < 0:
                    self.outcomes["killed"] += 1
                elif p.returncode != 0:
                    self.fail(f"sample exited {p.returncode}: {err}")
                elif out.startswith("recorded"):
                    self.outcomes["recorded"] += 1
                elif out.startswith("skipped"):
                    self.outcomes["skipped"] += 1
                else:
                    self.outcomes["nothing"] += 1

    def killer(self):
        rng = random.Random(11)
        while not self.stop.is_set():
            time.sleep(rng.uniform(0.001, 0.02))
            with self.lock:
                victims = list(self.procs)
            if victims:
                try:
                    rng.choice(victims).send_signal(signal.SIGKILL)
                except ProcessLookupError:
                    pass

    def run_samplers(self, kill):
        threads = [threading.Thread(target=self.grow)] + [threading.Thread(target=self.sampler)
                                                          for _ in range(SAMPLERS)]
        if kill:
            threads.append(threading.Thread(target=self.killer))
        for t in threads:
            t.start()
        # At least DURATION, and on a slow machine (or under the sanitizers) until enough samples
        # were recorded to matter, up to ten times as long.
        deadline = time.monotonic() + 10 * DURATION
        time.sleep(DURATION)
        while not kill and self.outcomes["recorded"] <= 20 and time.monotonic() < deadline:
            time.sleep(0.2)
        self.stop.set()
        for t in threads:
            t.join()
        print(f"\n  outcomes: {self.outcomes}", file=sys.stderr)

    def growth(self):
        return {"cellIn": self.final["wwan0"][0] - self.start["wwan0"][0],
                "cellOut": self.final["wwan0"][1] - self.start["wwan0"][1],
                "wifiIn": self.final["wlan0"][0] - self.start["wlan0"][0],
                "wifiOut": self.final["wlan0"][1] - self.start["wlan0"][1]}

    def test_every_byte_once(self):
        self.run_samplers(kill=False)
        self.c.run("sample")  # picks up what the last busy samplers left
        totals = self.c.totals()
        self.assertGreater(self.outcomes["recorded"], 20)
        self.assertGreater(self.outcomes["skipped"], 0, "the samplers never overlapped")
        for key, grown in self.growth().items():
            self.assertEqual(totals[key], grown, key)
        self.assertEqual(totals["integrity"], "ok")

    def test_killed_samplers_never_double_count(self):
        self.run_samplers(kill=True)
        self.assertGreater(self.outcomes["killed"], 5)
        totals = self.c.totals()
        self.assertEqual(totals["integrity"], "ok")
        settings = self.c.settings()  # parses
        self.assertIn("PREF_LINK_COUNTERS", settings)
        grown = self.growth()
        for key in grown:
            self.assertLessEqual(totals[key], grown[key], key)
        # The store and settings still work: a last sample moves the counters on.
        self.c.run("sample")
        links = self.c.settings()["PREF_LINK_COUNTERS"]["links"]
        self.assertEqual(links["name:wwan0"][1], self.final["wwan0"][0])
        self.assertEqual(self.c.totals()["integrity"], "ok")
        print(f"  container after kills: {sorted(os.listdir(self.c.path))}", file=sys.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
