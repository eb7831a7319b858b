"""The app as a user starts it: headless (offscreen), on a private session bus, on real containers."""
import json
import os
import subprocess
import sys
import time
import unittest
from pathlib import Path

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("xvfb-run", "xauth", "python:dbus")
import dbus  # noqa: E402
from session import SessionBus  # noqa: E402
from support import TALLYMO, Container, one_error_line  # noqa: E402

APP = os.path.join(os.path.dirname(os.path.dirname(TALLYMO)), "tallymo-app", "tallymo-app")
SHOTS = os.path.join(os.path.dirname(os.path.dirname(os.path.dirname(TALLYMO))), "tools", "screenshots",
                     "tallymo-screenshots")
WIDGET = os.path.join(os.path.dirname(os.path.dirname(TALLYMO)), "tallymo-widget", "tallymo-widget")
HEADLESS = {"QT_QPA_PLATFORM": "offscreen", "QT_QUICK_CONTROLS_STYLE": "Basic"}
# Lines the app may print on its own that are not faults of the screens.
EXPECTED = ("QStandardPaths:", "tallymo-screenshots: the software renderer cannot draw particles",
            "tallymo-app: desktop services unavailable", "  ")


def problems(stderr):
    return [line for line in stderr.splitlines() if line and not line.startswith(EXPECTED)]


class Screens(unittest.TestCase):
    def setUp(self):
        self.c = self.enterContext(Container())
        self.env = dict(self.c.env, **HEADLESS, XDG_RUNTIME_DIR=self.c.root)

    def demo(self):
        """The environment of the demo data, made in a container of its own."""
        demo = os.path.join(self.c.root, "demo")
        self.c.run("demo", demo)
        return dict(self.env, TALLYMO_CONTAINER=demo)

    def test_pictures_of_every_state_from_the_demo_data(self):
        env, shots = self.demo(), os.path.join(self.c.root, "shots")
        self.assertFalse(os.path.exists(self.c.path))  # the user's own data is not touched
        settings = Path(env["TALLYMO_CONTAINER"], "group.zr.qxnext.plist")
        before = settings.read_bytes()
        p = subprocess.run([SHOTS, shots, "--size", "360x720"], env=env, capture_output=True, text=True, timeout=120)
        self.assertEqual(p.returncode, 0, p.stderr)
        self.assertEqual(problems(p.stderr), [])  # every view loads and binds without a warning
        files = [os.path.basename(f) for f in p.stdout.split()]
        self.assertEqual(files[0], "main.png")
        for name in ("display-minimal.png", "display-complete.png", "background-black.png", "forecast-over.png",
                     "theme-donkey-bounce.png", "screen-font.png", "screen-colors.png",
                     "setup-1-intro.png", "setup-5-finish.png", "screen-advanced.png",
                     "screen-about.png", "screen-add-usage.png", "screen-plans.png",
                     "screen-plan-other.png", "screen-plan-new.png", "screen-plantype-legacy.png", "screen-date.png",
                     "screen-rollover.png", "screen-week.png", "screen-share.png"):
            self.assertIn(name, files)
        # The shared picture is saved beside them, not in the user's picture folder.
        self.assertTrue([f for f in os.listdir(shots) if f.startswith("Tallymo ") and f.endswith(".png")])
        self.assertEqual({Path(shots, f).read_bytes()[:8] for f in files}, {b"\x89PNG\r\n\x1a\n"})
        # The states are pictured on a copy: the user's settings are as they were.
        self.assertEqual(settings.read_bytes(), before)

    def test_german_texts_in_german(self):
        env, texts = self.demo(), {}
        for language in ("de", "en"):
            locale = {"de": "de_DE", "en": "en_US"}[language] + ".UTF-8"
            p = subprocess.run([SHOTS, "--dump-main"], capture_output=True, text=True, timeout=60,
                               env=dict(env, LANGUAGE=language, LANG=locale))
            self.assertEqual(p.returncode, 0, p.stderr)
            texts[language] = p.stdout
        for german, english in (("Tage übrig", "days left"), ("genutzt", "used"), ("Prognose", "forecast"),
                                ("SICHER", "SAFE")):
            self.assertIn(german, texts["de"])
            self.assertIn(english, texts["en"])
            self.assertNotIn(german, texts["en"])

    def test_snow_is_drawn_with_opengl_under_a_display(self):
        env, shots = dict(self.demo(), QT_QPA_PLATFORM="xcb"), os.path.join(self.c.root, "shots")
        if "ASAN_OPTIONS" in env:
            # Mesa's GL driver is unloaded at exit with a few allocations kept: the leak checker
            # can no longer name their module, so no suppression can match them.
            env["ASAN_OPTIONS"] += ":detect_leaks=0"
        p = subprocess.run(["xvfb-run", "-a", "-s", "-screen 0 800x900x24", SHOTS, shots, "--size",
                            "360x720"], env=env, capture_output=True, text=True, timeout=180)
        self.assertEqual(p.returncode, 0, p.stderr)
        self.assertEqual(problems(p.stderr), [])
        self.assertIn("theme-winter-wonderland.png", [os.path.basename(f) for f in p.stdout.split()])

    # Every edit made on the screens is in the file within two seconds while the app stays open in
    # the foreground, and still there after the app is killed: no edit lives only in its memory.
    def test_edits_reach_the_file_while_the_app_runs(self):
        c = self.c
        c.run("setup", "--bill-day", "1", "--cap", "5GB", "--used", "0")
        old = c.run("plans", "add", "--label", "Old SIM").stdout.strip()
        store = os.path.join(c.path, old + ".sqlite")
        c.run("status", "--plan", old)
        self.assertTrue(os.path.exists(store))
        app = subprocess.Popen([SHOTS, "--edits"], env=self.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                               text=True)
        self.addCleanup(app.wait)
        self.addCleanup(app.kill)
        self.assertEqual(app.stdout.readline().strip(), "edited", app.stderr.read() if app.poll() else "")

        def stored():
            plan = json.loads(c.run("plans", "show", "--json").stdout)
            labels = sorted(line[2:].split(None, 1)[1].rsplit(" (", 1)[0].strip() for line in
                            c.run("plans", "list").stdout.splitlines())
            second = c.run("alerts", "show").stdout.splitlines()[1].split()[-1]
            return (plan["PREF_THRES_MONTHLY"], plan["PREF_PLAN_LABEL"], second, labels, os.path.exists(store))

        wanted = (9 * 1024 ** 3, "Work SIM", "60%", ["Plan", "Work SIM"], False)
        deadline = time.monotonic() + 2
        while stored() != wanted and time.monotonic() < deadline:
            time.sleep(0.1)
        self.assertEqual(stored(), wanted)
        self.assertIsNone(app.poll())  # still open: nothing waited for the app to leave
        app.kill()
        app.wait()
        self.assertEqual(stored(), wanted)
        p = c.run("status", "--plan", old, check=False)
        self.assertEqual((p.returncode, os.path.exists(store)), (2, False), p.stderr)

    def test_bad_size_is_refused_in_one_line(self):
        p = subprocess.run([SHOTS, self.c.root, "--size", "big"], env=self.env, capture_output=True,
                           text=True, timeout=30)
        self.assertEqual(p.returncode, 2)
        self.assertEqual(problems(p.stderr), ["tallymo-screenshots: --size wants WIDTHxHEIGHT between 200x300 and 4000x4000, not big"])

    def test_first_frame_after_a_sample_shows_the_new_percentage(self):
        self.c.run("setup", "--bill-day", "1", "--cap", "100MB", "--used", "0")
        self.c.write_counters({"wlan0": (10, 10), "wwan0": (1000, 1000)})
        self.c.run("sample")  # the first sight of the counters
        first = self.percent()
        self.c.write_counters({"wlan0": (10, 10), "wwan0": (1000 + 40 * 1048576, 1000 + 2 * 1048576)})
        self.c.run("sample")
        self.assertEqual((first, self.percent()), ("0", "42"))

    def percent(self):
        p = subprocess.run([SHOTS, "--dump-main"], env=self.env, capture_output=True, text=True, timeout=60)
        self.assertEqual(p.returncode, 0, p.stderr)
        return [l.split("=", 1)[1] for l in p.stdout.splitlines() if l.startswith("lPercent=")][0]


class Setup(unittest.TestCase):
    # Setups refused (a bill day out of range, no cap, no terminal to ask on) leave the widget saying
    # "not set up"; a setup writes the plan and the usage so far, and the widget shows figures.
    def test_setup_then_widget_shows_figures(self):
        c = self.enterContext(Container())
        for args in (["--bill-day", "32", "--cap", "5GB"], ["--bill-day", "5", "--cap", "0"], []):
            one_error_line(self, c.run("setup", *args, check=False, stdin=subprocess.DEVNULL), status=2)
        w = subprocess.run([WIDGET, "--format", "text"], env=c.env, capture_output=True, text=True)
        self.assertIn("not set up", w.stdout + w.stderr)
        c.run("setup", "--bill-day", "5", "--cap", "2,5GB", "--used", "300MB")
        s = c.settings()
        plan = s["PREF_ALL_PLANS"][s["PREF_ACTIVE_PLAN"]]
        self.assertEqual((s["PREF_SHOWED_SETUP"], plan["PREF_BILLDAY"], plan["PREF_THRES_MONTHLY"]),
                         (True, 5, float(int(2.5 * 1073741824))))
        self.assertEqual(c.totals()["cellIn"], 300 * 1048576)
        w = subprocess.run([WIDGET, "--format", "text"], env=c.env, capture_output=True, text=True)
        self.assertEqual(w.returncode, 0, w.stderr)
        self.assertNotIn("not set up", w.stdout)
        self.assertIn("%", w.stdout)


class SingleInstance(unittest.TestCase):
    def test_second_start_activates_the_first_and_exits(self):
        c = self.enterContext(Container())
        c.run("setup", "--bill-day", "1", "--cap", "1GB")
        bus = self.enterContext(SessionBus(notification_server=False))
        env = dict(c.env, **HEADLESS, XDG_RUNTIME_DIR=c.root, DBUS_SESSION_BUS_ADDRESS=bus.address)
        first = subprocess.Popen([APP], env=env, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        self.addCleanup(first.wait, timeout=20)
        self.addCleanup(first.terminate)
        deadline = time.time() + 20
        while not bus.bus.name_has_owner("org.tallymo.Tallymo"):
            self.assertIsNone(first.poll(), first.stderr.read() if first.poll() is not None else "")
            self.assertLess(time.time(), deadline, "the app never took its name")
            time.sleep(0.05)
        start = time.time()
        second = subprocess.run([APP], env=env, capture_output=True, text=True, timeout=30)
        self.assertEqual(second.returncode, 0, second.stderr)
        self.assertLess(time.time() - start, 10)
        third = subprocess.run([APP, "--action", "SHORTCUTS_THEME"], env=env, capture_output=True, text=True,
                               timeout=30)
        self.assertEqual(third.returncode, 0, third.stderr)
        self.assertIsNone(first.poll())  # the first one runs on
        owner = bus.bus.get_name_owner("org.tallymo.Tallymo")
        dbus.Interface(bus.bus.get_object(owner, "/org/tallymo/Tallymo"), "org.freedesktop.Application").Activate({})


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v"])
