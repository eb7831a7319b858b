"""The widget program and the watch link with real processes: the widget's formats and its following
reloads, and a companion on a private session bus. (The widget sampling beside other processes is
in test_concurrent_sampling.py.)"""
import json
import os
import pathlib
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
        self.c = self.enterContext(Container())
        runtime = os.path.join(self.c.root, "run")
        os.mkdir(runtime, 0o700)
        self.c.env.update(XDG_RUNTIME_DIR=runtime, DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent")
        self.c.write_counters({"wwan0": (1000, 1000)})
        self.c.run("sample")
        self.c.run("defaults", "write", "PREF_SHOWED_SETUP", "true", "--type", "bool")

    def widget(self, *args):
        p = subprocess.run([WIDGET, *args], env=self.c.env, capture_output=True, text=True)
        self.assertEqual(p.returncode, 0, p.stderr)
        return p.stdout

    # What each format holds is in tst_widget; here, the program's choice of format.
    def test_formats(self):
        self.c.run("plans", "set", "PREF_THRES_MONTHLY", "1000")
        self.c.write_counters({"wwan0": (3000, 1000)})
        bar = json.loads(self.widget("--format", "waybar"))
        self.assertEqual((bar["class"], bar["percentage"]), ("over", 200))
        self.assertEqual(self.widget("--format", "i3blocks").splitlines()[1], "200%")
        p = subprocess.run([WIDGET, "--format", "xml"], env=self.c.env, capture_output=True, text=True)
        self.assertEqual((p.returncode, p.stderr.splitlines()[0]), (2, 'tallymo-widget: unknown format "xml"'))

    # --follow prints a line for each reload (a refresh reloads the widgets), within a second.
    def test_follow_prints_on_reload(self):
        p = subprocess.Popen([WIDGET, "--follow", "--format", "json"], env=self.c.env, stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, text=True)
        try:
            self.assertEqual(json.loads(p.stdout.readline())["WSTATS_USED"], 0)
            for step in range(1, 4):
                self.c.write_counters({"wwan0": (1000 + step * 5_000_000, 1000)})
                self.c.run("refresh")
                self.assertTrue(select.select([p.stdout], [], [], 1.0)[0], "no line within a second of the reload")
                self.assertEqual(json.loads(p.stdout.readline())["WSTATS_USED"], step * 5_000_000)
            record = pathlib.Path(self.c.env["XDG_RUNTIME_DIR"], "tallymo", "widget.json").read_text()
            self.assertEqual(json.loads(record)["WSTATS_USED"], 15_000_000)
        finally:
            p.terminate()
            p.communicate()


class WatchLink(unittest.TestCase):
    # What the service answers and pushes is in tst_widget (watchMessages, watchPushes); here, the
    # companion's side of the bus: its first ask answered, then two pushes with the same look, the
    # first as complication data, the second as application context.
    def test_pushes_to_the_companion(self):
        session = self.enterContext(SessionBus(notification_server=False))
        c = self.enterContext(Container())
        c.env.update(DBUS_SESSION_BUS_ADDRESS=session.address, XDG_RUNTIME_DIR=os.path.join(c.root, "run"))
        c.write_counters({"wwan0": (1000, 1000)})
        daemon = self.enterContext(Daemon(c.env))
        c.run("defaults", "write", "PREF_SHOWED_SETUP", "true", "--type", "bool")
        follower = subprocess.Popen([TALLYMO, "watch", "--follow", "--complication"], env=c.env,
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        lines = []
        reader = threading.Thread(target=lambda: lines.extend(follower.stdout))
        reader.start()
        try:
            deadline = time.time() + 10
            while not lines and time.time() < deadline:
                time.sleep(0.05)
            for n in (1, 2):
                c.write_counters({"wwan0": (1000 + n * 1000, 1000)})
                c.run("push")
                daemon.wait_for("push", n)
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
        self.session = self.enterContext(SessionBus(notification_server=False))
        self.c = self.enterContext(Container())
        # Half of March gone: 30% used is safe, 80% danger, 110% over.
        self.c.env.update(DBUS_SESSION_BUS_ADDRESS=self.session.address, XDG_RUNTIME_DIR=os.path.join(self.c.root, "run"),
                          TALLYMO_NOW="2026-03-16T12:00:00Z", TZ="UTC", QT_QPA_PLATFORM="offscreen")
        self.c.write_counters({"wwan0": (1000, 1000)})

    def picture(self, name):
        path = os.path.join(self.c.root, name + ".png")
        p = subprocess.run([FACE, "--screenshot", path, "--dump"], env=self.c.env, capture_output=True, text=True,
                           timeout=60)
        self.assertEqual(p.returncode, 0, p.stderr)
        self.assertEqual(pathlib.Path(path).read_bytes()[:8], b"\x89PNG\r\n\x1a\n")
        return json.loads(p.stdout.splitlines()[-1])

    def use(self, megabytes):
        self.c.write_counters({"wwan0": (1000 + megabytes * 1048576, 1000)})

    def test_every_state_pictured(self):
        shown = self.picture("face-not-running")
        self.assertEqual((shown["state"], shown["message"]),
                         ("notRunning", "Tallymo's background service is not running."))
        self.enterContext(Daemon(self.c.env))
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
        daemon = self.enterContext(Daemon(self.c.env))
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
                daemon.wait_for("push", n)
            # The service leaving the bus is said on the face.
            daemon.stop()
            ready, _, _ = select.select([face.stdout], [], [], 5)
            self.assertTrue(ready)
            self.assertEqual(json.loads(face.stdout.readline())["state"], "notRunning")
        finally:
            face.terminate()
            face.wait(timeout=10)
            face.stdout.close()


if __name__ == "__main__":
    unittest.main()
