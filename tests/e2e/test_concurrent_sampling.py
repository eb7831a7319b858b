"""Eight sampling processes at once against one container while the counters grow, two of them the
status-bar widget, which takes its own sample: every byte of growth is stored exactly once. With
samplers killed at random, nothing is corrupted and nothing is counted twice."""
import contextlib
import os
import random
import signal
import subprocess
import sys
import threading
import time
import unittest

sys.path.insert(0, os.path.dirname(__file__))
from support import TALLYMO, WIDGET, Container  # noqa: E402

SAMPLERS = [[TALLYMO, "sample"]] * 6 + [[WIDGET, "--format", "json"]] * 2
DURATION = 4.0


class ConcurrentSampling(unittest.TestCase):
    def setUp(self):
        self.start = {"wwan0": (1000, 1000), "wlan0": (5000, 7000), "eth0": (1, 1)}
        self.c = self.enterContext(Container(counters=self.start))
        self.c.run("sample")  # first sample: only remembers the counters
        self.stop, self.lock, self.procs, self.failures = threading.Event(), threading.Lock(), set(), []
        self.outcomes = {"recorded": 0, "skipped": 0, "nothing": 0, "killed": 0, "widget": 0}

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

    def sampler(self, command):
        while not self.stop.is_set():
            p = subprocess.Popen(command, env=self.c.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            with self.lock:
                self.procs.add(p)
            out, err = p.communicate()
            with self.lock:
                self.procs.discard(p)
                if p.returncode > 0:
                    self.failures.append(f"{command[0]} exited {p.returncode}: {err}")
                else:
                    self.outcomes["killed" if p.returncode < 0 else "widget" if command[0] == WIDGET else
                                  next((k for k in ("recorded", "skipped") if out.startswith(k)), "nothing")] += 1

    def killer(self):
        rng = random.Random(11)
        while not self.stop.is_set():
            time.sleep(rng.uniform(0.001, 0.02))
            with self.lock:
                victims = list(self.procs)
            if victims:
                with contextlib.suppress(ProcessLookupError):
                    rng.choice(victims).send_signal(signal.SIGKILL)

    def run_samplers(self, kill):
        threads = [threading.Thread(target=self.sampler, args=(command,)) for command in SAMPLERS]
        threads += [threading.Thread(target=f) for f in [self.grow] + [self.killer] * kill]
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
        self.assertEqual(self.failures, [])

    def growth(self):
        return {column: self.final[link][i] - self.start[link][i] for column, link, i in
                [("cellIn", "wwan0", 0), ("cellOut", "wwan0", 1), ("wifiIn", "wlan0", 0), ("wifiOut", "wlan0", 1)]}

    def test_every_byte_once(self):
        self.run_samplers(kill=False)
        self.c.run("sample")  # picks up what the last busy samplers left
        totals = self.c.totals()
        self.assertGreater(self.outcomes["recorded"], 20)
        self.assertGreater(self.outcomes["skipped"], 0, "the samplers never overlapped")
        self.assertGreater(self.outcomes["widget"], 0)
        self.assertEqual({key: totals[key] for key in self.growth()}, self.growth())
        self.assertEqual(totals["integrity"], "ok")

    def test_killed_samplers_never_double_count(self):
        self.run_samplers(kill=True)
        self.assertGreater(self.outcomes["killed"], 5)
        totals = self.c.totals()
        self.assertEqual(totals["integrity"], "ok")
        self.assertIn("PREF_LINK_COUNTERS", self.c.settings())  # parses
        for key, grown in self.growth().items():
            self.assertLessEqual(totals[key], grown, key)
        # The store and settings still work: a last sample moves the counters on.
        self.c.run("sample")
        links = self.c.settings()["PREF_LINK_COUNTERS"]["links"]
        self.assertEqual(links["name:wwan0"][1], self.final["wwan0"][0])
        self.assertEqual(self.c.totals()["integrity"], "ok")
        print(f"  container after kills: {sorted(os.listdir(self.c.path))}", file=sys.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
