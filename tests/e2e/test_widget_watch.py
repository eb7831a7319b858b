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
import unittest

sys.path.insert(0, os.path.dirname(__file__))
from session import SessionBus  # noqa: E402
from support import FACE, TALLYMO, WIDGET, Container, Daemon, wait_until  # noqa: E402


class Widget(unittest.TestCase):
    def setUp(self):
        self.c = self.enterContext(Container(counters={"wwan0": (1000, 1000)},
                                             DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent"))
        self.c.env["XDG_RUNTIME_DIR"] = self.c.root
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
        p = subprocess.run([WIDGET, "--format", "xml"], env=self.c.env, capture_output=True, text=True)
        self.assertEqual((p.returncode, p.stderr.splitlines()[0]), (2, 'tallymo-widget: unknown format "xml"'))

    # --follow prints a line for each reload (a refresh reloads the widgets).
    def test_follow_prints_on_reload(self):
        p = subprocess.Popen([WIDGET, "--follow", "--format", "json"], env=self.c.env, stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, text=True)
        try:
            self.assertEqual(json.loads(p.stdout.readline())["WSTATS_USED"], 0)
            for step in range(1, 4):
                self.c.write_counters({"wwan0": (1000 + step * 5_000_000, 1000)})
                self.c.run("refresh")
                self.assertTrue(select.select([p.stdout], [], [], 20)[0], "no line after the reload")
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
        c = self.enterContext(Container(counters={"wwan0": (1000, 1000)}, DBUS_SESSION_BUS_ADDRESS=session.address))
        c.env["XDG_RUNTIME_DIR"] = os.path.join(c.root, "run")
        self.enterContext(Daemon(c.env))
        c.run("defaults", "write", "PREF_SHOWED_SETUP", "true", "--type", "bool")
        follower = subprocess.Popen([TALLYMO, "watch", "--follow", "--complication"], env=c.env,
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        lines = []
        reader = threading.Thread(target=lambda: lines.extend(follower.stdout))
        reader.start()
        try:
            for n in (0, 1, 2):
                if n:
                    c.write_counters({"wwan0": (1000 + n * 1000, 1000)})
                    c.run("push")
                wait_until(lambda: len(lines) > n, lambda: f"{n} pushes, lines: {lines}")
        finally:
            follower.terminate()
            follower.wait()
            reader.join()
        kinds = [next(iter(json.loads(line))) for line in lines]
        self.assertEqual(kinds, ["reply", "complicationData", "applicationContext"])
        self.assertEqual(json.loads(lines[2])["applicationContext"]["WSTATS_USED"], 2000)


class WatchFaceProgram(unittest.TestCase):
    """tallymo-watch against the running service, headless: its looks as pictures and as dumped texts."""

    def setUp(self):
        self.session = self.enterContext(SessionBus(notification_server=False))
        # Half of March gone.
        self.c = self.enterContext(Container(
            counters={"wwan0": (1000, 1000)}, DBUS_SESSION_BUS_ADDRESS=self.session.address, TZ="UTC",
            TALLYMO_NOW="2026-03-16T12:00:00Z", QT_QPA_PLATFORM="offscreen"))
        self.c.env["XDG_RUNTIME_DIR"] = os.path.join(self.c.root, "run")

    def picture(self, name):
        path = os.path.join(self.c.root, name + ".png")
        p = subprocess.run([FACE, "--screenshot", path, "--dump"], env=self.c.env, capture_output=True, text=True,
                           timeout=60)
        self.assertEqual(p.returncode, 0, p.stderr)
        self.assertEqual(pathlib.Path(path).read_bytes()[:8], b"\x89PNG\r\n\x1a\n")
        return json.loads(p.stdout.splitlines()[-1])

    # Each state the face has, pictured, and a face left open following the pushes and the service's
    # leaving. Which forecast each figure makes is in tst_usagealerts and tst_widget.
    def test_states_and_pushes(self):
        shown = self.picture("face-not-running")
        self.assertEqual((shown["state"], shown["message"]),
                         ("notRunning", "Tallymo's background service is not running."))
        daemon = self.enterContext(Daemon(self.c.env))
        shown = self.picture("face-not-set-up")
        self.assertEqual((shown["state"], shown["percent"]), ("notSetUp", "–"))
        self.c.run("setup", "--bill-day", "1", "--cap", "1GB", "--used", "0")
        face = subprocess.Popen([FACE, "--dump"], env=self.c.env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                text=True)
        try:
            first = json.loads(face.stdout.readline())
            self.assertEqual((first["state"], first["percent"]), ("ready", "0%"))
            for n, (megabytes, percent) in enumerate(((102, "10%"), (1126, "110%")), start=1):
                self.c.write_counters({"wwan0": (1000 + megabytes * 1048576, 1000)})
                self.c.run("push")
                self.assertTrue(select.select([face.stdout], [], [], 20)[0], "the face did not change")
                self.assertEqual(json.loads(face.stdout.readline())["percent"], percent)
                daemon.wait_for("push", n)
            shown, status = self.picture("face-over"), self.c.json("status")
            self.assertEqual((shown["state"], shown["forecast"], shown["percent"]), ("ready", "Over", "110%"))
            self.assertEqual(shown["color"], "#%06x" % status["color"])
            self.assertEqual(shown["timeLeft"], f"{status['timeLeft']} {status['timeUnit']} to go")
            self.assertEqual((shown["used"], shown["left"]), ("1.10 GB used", "0.0 KB left"))  # as the app writes them
            # The service leaving the bus is said on the face.
            daemon.stop()
            self.assertTrue(select.select([face.stdout], [], [], 20)[0])
            self.assertEqual(json.loads(face.stdout.readline())["state"], "notRunning")
        finally:
            face.terminate()
            face.wait(timeout=10)
            face.stdout.close()


if __name__ == "__main__":
    unittest.main()
