"""The widget program and the watch link with real processes: the app side and the widget sampling at
once, the widget following reloads, and a companion on a private session bus."""
import json
import os
import select
import subprocess
import sys
import threading
import time
import unittest

sys.path.insert(0, os.path.dirname(__file__))
from session import SessionBus  # noqa: E402
from support import TALLYMO, Container, Daemon  # noqa: E402

WIDGET = os.path.join(os.path.dirname(os.path.dirname(TALLYMO)), "tallymo-widget", "tallymo-widget")
FACE = os.path.join(os.path.dirname(os.path.dirname(TALLYMO)), "tallymo-watch", "tallymo-watch")
RECORD_KEYS = {"WSTATS_TIMESTAMP", "WSTATS_COLOR", "WSTATS_FORECAST", "WSTATS_PERCENT", "WSTATS_USED",
               "WSTATS_LEFT", "WSTATS_DAYS", "WSTATS_TIMEUNIT"}


class Widget(unittest.TestCase):
    def setUp(self):
        self.c = Container()
        runtime = os.path.join(self.c.root, "run")
        os.mkdir(runtime, 0o700)
        self.c.env.update(XDG_RUNTIME_DIR=runtime, DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent")
        self.c.write_counters({"wwan0": (1000, 1000)})
        self.c.run("sample")
        self.c.run("defaults", "write", "PREF_SHOWED_SETUP", "true", "--type", "bool")

    def tearDown(self):
        self.c.cleanup()

    def widget(self, *args):
        p = subprocess.run([WIDGET, *args], env=self.c.env, capture_output=True, text=True)
        self.assertEqual(p.returncode, 0, p.stderr)
        return p.stdout

    # The app's refresh and the widget sample the same counters at the same moments: every byte is
    # stored once, whichever process took the lock.
    def test_app_and_widget_sampling_at_once(self):
        cell = 1000
        for step in range(40):
            cell += 1_000_003 + step
            self.c.write_counters({"wwan0": (cell, 1000)})
            procs = [subprocess.Popen([TALLYMO, "refresh"], env=self.c.env, stdout=subprocess.DEVNULL,
                                      stderr=subprocess.PIPE),
                     subprocess.Popen([WIDGET, "--format", "json"], env=self.c.env, stdout=subprocess.PIPE,
                                      stderr=subprocess.PIPE)]
            for p in procs:
                p.communicate()
                p.stderr.close()
                if p.stdout:
                    p.stdout.close()
                self.assertIn(p.returncode, (0, 10))
        totals = self.c.totals()
        self.assertEqual((totals["cellIn"], totals["integrity"]), (cell - 1000, "ok"))
        record = json.loads(self.widget("--format", "json"))
        self.assertEqual(set(record), RECORD_KEYS)
        self.assertEqual(record["WSTATS_USED"], cell - 1000)

    def test_formats_and_setup(self):
        self.c.run("plans", "set", "PREF_THRES_MONTHLY", "1000")
        self.c.write_counters({"wwan0": (3000, 1000)})
        bar = json.loads(self.widget("--format", "waybar"))
        self.assertEqual((bar["class"], bar["percentage"]), ("over", 200))
        self.assertTrue(bar["text"].startswith("200% · 0.0 KB left · "), bar["text"])
        lines = self.widget("--format", "i3blocks").splitlines()
        self.assertEqual((len(lines), lines[1]), (3, "200%"))
        self.c.run("defaults", "write", "PREF_SHOWED_SETUP", "false", "--type", "bool")
        self.assertEqual(set(json.loads(self.widget("--format", "json"))), {"WSTATS_NOT_SETUP", "WSTATS_TIMESTAMP"})
        p = subprocess.run([WIDGET, "--format", "xml"], env=self.c.env, capture_output=True, text=True)
        self.assertEqual((p.returncode, p.stderr.splitlines()[0]), (2, 'tallymo-widget: unknown format "xml"'))

    # --follow prints a line for each reload (a refresh reloads the widgets), within a second.
    def test_follow_prints_on_reload(self):
        p = subprocess.Popen([WIDGET, "--follow", "--format", "json"], env=self.c.env, stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, text=True)
        try:
            first = json.loads(p.stdout.readline())
            latencies = []
            for step in range(3):
                self.c.write_counters({"wwan0": (1000 + (step + 1) * 5_000_000, 1000)})
                started = time.monotonic()
                self.c.run("refresh")
                ready, _, _ = select.select([p.stdout], [], [], 1.0)
                self.assertTrue(ready, "no line within a second of the reload")
                line = json.loads(p.stdout.readline())
                latencies.append(time.monotonic() - started)
                self.assertEqual(line["WSTATS_USED"], (step + 1) * 5_000_000)
            self.assertEqual(first["WSTATS_USED"], 0)
            with open(os.path.join(self.c.env["XDG_RUNTIME_DIR"], "tallymo", "widget.json")) as f:
                self.assertEqual(json.load(f)["WSTATS_USED"], 15_000_000)
            print(f"follow: new line {max(latencies) * 1000:.0f} ms at most after a refresh started",
                  file=sys.stderr)
        finally:
            p.terminate()
            p.communicate()


class WatchLink(unittest.TestCase):
    def setUp(self):
        self.session = SessionBus(notification_server=False).__enter__()
        self.c = Container()
        self.c.env.update(DBUS_SESSION_BUS_ADDRESS=self.session.address,
                          XDG_RUNTIME_DIR=os.path.join(self.c.root, "run"))
        self.c.write_counters({"wwan0": (1000, 1000)})
        self.daemon = Daemon(self.c.env)
        self.daemon.wait_for("launch")

    def tearDown(self):
        self.daemon.stop()
        self.session.__exit__(None, None, None)
        self.c.cleanup()

    def ask(self):
        return json.loads(self.c.run("watch").stdout)["reply"]

    def test_messages_before_and_after_setup(self):
        self.assertEqual(set(self.ask()), {"WSTATS_NOT_SETUP", "WSTATS_TIMESTAMP"})
        self.c.run("defaults", "write", "PREF_SHOWED_SETUP", "true", "--type", "bool")
        self.c.write_counters({"wwan0": (1000 + 7_000_000, 1000 + 5)})
        reply = self.ask()
        self.assertEqual(set(reply), RECORD_KEYS)
        self.assertEqual(reply["WSTATS_USED"], 7_000_005)  # the message's own sample is in it
        self.assertEqual(self.c.totals()["cellIn"], 7_000_000)

    # Two pushes with the same look: the first as complication data, the second as application context.
    def test_pushes_to_the_companion(self):
        self.c.run("defaults", "write", "PREF_SHOWED_SETUP", "true", "--type", "bool")
        follower = subprocess.Popen([TALLYMO, "watch", "--follow", "--complication"], env=self.c.env,
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        lines = []
        reader = threading.Thread(target=lambda: lines.extend(follower.stdout))
        reader.start()
        try:
            deadline = time.time() + 10
            while not lines and time.time() < deadline:
                time.sleep(0.05)
            for n in (1, 2):
                self.c.write_counters({"wwan0": (1000 + n * 1000, 1000)})
                self.c.run("push")
                self.daemon.wait_for("push", n)
                deadline = time.time() + 5
                while len(lines) < n + 1 and time.time() < deadline:
                    time.sleep(0.05)
        finally:
            follower.terminate()
            follower.wait()
            reader.join()
        kinds = [next(iter(json.loads(line))) for line in lines]
        self.assertEqual(kinds, ["reply", "complicationData", "applicationContext"])
        context = json.loads(lines[2])["applicationContext"]
        self.assertEqual(set(context), RECORD_KEYS)
        self.assertEqual(context["WSTATS_USED"], 2000)


class WatchFaceProgram(unittest.TestCase):
    """tallymo-watch against the running service, headless: its looks as pictures and as dumped texts."""

    def setUp(self):
        self.session = SessionBus(notification_server=False).__enter__()
        self.c = Container()
        # Half of March gone: 30% used is safe, 80% danger, 110% over.
        self.c.env.update(DBUS_SESSION_BUS_ADDRESS=self.session.address, XDG_RUNTIME_DIR=os.path.join(self.c.root, "run"),
                          TALLYMO_NOW="2026-03-16T12:00:00Z", TZ="UTC", QT_QPA_PLATFORM="offscreen")
        self.c.write_counters({"wwan0": (1000, 1000)})
        self.daemon = None

    def tearDown(self):
        if self.daemon:
            self.daemon.stop()
        self.session.__exit__(None, None, None)
        self.c.cleanup()

    def picture(self, name):
        path = os.path.join(self.c.root, name + ".png")
        p = subprocess.run([FACE, "--screenshot", path, "--dump"], env=self.c.env, capture_output=True, text=True,
                           timeout=60)
        self.assertEqual(p.returncode, 0, p.stderr)
        with open(path, "rb") as png:
            self.assertEqual(png.read(8), b"\x89PNG\r\n\x1a\n")
        return json.loads(p.stdout.splitlines()[-1])

    def use(self, megabytes):
        self.c.write_counters({"wwan0": (1000 + megabytes * 1048576, 1000)})

    def test_every_state_pictured(self):
        shown = self.picture("face-not-running")
        self.assertEqual((shown["state"], shown["message"]),
                         ("notRunning", "Tallymo's background service is not running."))
        self.daemon = Daemon(self.c.env)
        self.daemon.wait_for("launch")
        shown = self.picture("face-not-set-up")
        self.assertEqual((shown["state"], shown["percent"]), ("notSetUp", "–"))
        self.c.run("setup", "--bill-day", "1", "--cap", "1GB", "--used", "0")
        for megabytes, forecast, percent in ((307, "Safe", "30%"), (819, "Danger", "80%"), (1126, "Over", "110%")):
            with self.subTest(forecast=forecast):
                self.use(megabytes)  # recorded by the service when the face asks
                shown = self.picture("face-" + forecast.lower())
                status = json.loads(self.c.run("status", "--json").stdout)
                self.assertEqual((shown["state"], shown["forecast"], shown["percent"]), ("ready", forecast, percent))
                self.assertEqual(shown["color"], "#%06x" % status["color"])
                self.assertEqual(shown["timeLeft"], f"{status['timeLeft']} {status['timeUnit']} to go")
        self.assertEqual((shown["used"], shown["left"]), ("1.10 GB used", "0.0 KB left"))  # as the app writes them

    def test_a_push_changes_the_face_within_a_second(self):
        self.c.run("setup", "--bill-day", "1", "--cap", "1GB", "--used", "0")
        self.daemon = Daemon(self.c.env)
        self.daemon.wait_for("launch")
        face = subprocess.Popen([FACE, "--dump"], env=self.c.env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                text=True)
        try:
            first = json.loads(face.stdout.readline())
            self.assertEqual((first["state"], first["percent"]), ("ready", "0%"))
            for n, (megabytes, percent) in enumerate(((102, "10%"), (819, "80%")), start=1):
                self.use(megabytes)
                self.c.run("push")
                pushed = time.monotonic()
                ready, _, _ = select.select([face.stdout], [], [], 5)
                self.assertTrue(ready, "the face did not change")
                shown = json.loads(face.stdout.readline())
                self.assertLess(time.monotonic() - pushed, 1.0)
                self.assertEqual(shown["percent"], percent)
                self.daemon.wait_for("push", n)
            # The service leaving the bus is said on the face.
            self.daemon.stop()
            self.daemon = None
            ready, _, _ = select.select([face.stdout], [], [], 5)
            self.assertTrue(ready)
            self.assertEqual(json.loads(face.stdout.readline())["state"], "notRunning")
        finally:
            face.terminate()
            face.wait(timeout=10)
            face.stdout.close()


if __name__ == "__main__":
    unittest.main()
