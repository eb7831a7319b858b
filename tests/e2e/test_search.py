"""The desktop's search finds the app: the item the app makes when it leaves the foreground, served on
the app's bus name to GNOME Shell's provider and KRunner, with the app started by the bus for the
query."""
import ast
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("gdbus", "desktop-file-validate", "python:dbus")
import dbus  # noqa: E402
from session import SessionBus  # noqa: E402
from support import APP, PROGRAMS_DIR, Container, wait_until  # noqa: E402

BUILD = os.path.dirname(PROGRAMS_DIR)
NAME = "org.tallymo.Tallymo"
GNOME = ("/org/tallymo/Tallymo/SearchProvider", "org.gnome.Shell.SearchProvider2")
KRUNNER = ("/org/tallymo/Tallymo/Runner", "org.kde.krunner1")
HEADLESS = {"QT_QPA_PLATFORM": "offscreen", "QT_QUICK_CONTROLS_STYLE": "Basic"}


def gdbus(path, method, *args):
    """`gdbus call` on the app's name; the answer as Python values (GVariant text of string arrays)."""
    p = subprocess.run(["gdbus", "call", "--session", "-d", NAME, "-o", path[0], "-m", f"{path[1]}.{method}",
                        *args], capture_output=True, text=True, timeout=60)
    if p.returncode != 0:
        raise AssertionError(f"gdbus {method} {args}: {p.stderr}")
    return ast.literal_eval(re.sub(r"@[a-z{}()]+ ", "", p.stdout))[0]


class DesktopSearch(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.c = c = Container(counters={"wlan0": (10, 10), "wwan0": (1000, 1000)})
        c.run("setup", "--bill-day", "1", "--cap", "100MB", "--used", "42MB")
        # The installed files under a test data folder: the bus activates the app from it.
        share = os.path.join(c.root, "share")
        os.makedirs(os.path.join(share, "dbus-1", "services"))
        pathlib.Path(share, "dbus-1", "services", NAME + ".service").write_text(
            f"[D-BUS Service]\nName={NAME}\nExec={APP} --gapplication-service\n")
        for folder in ("applications", "gnome-shell", "krunner"):
            shutil.copytree(os.path.join(BUILD, "data", folder), os.path.join(share, folder))
        cls.share = share
        runtime = os.path.join(c.root, "run")
        os.mkdir(runtime, 0o700)
        env = dict(HEADLESS, XDG_DATA_DIRS=share, XDG_RUNTIME_DIR=runtime, **{k: c.env[k] for k in (
            "TALLYMO_CONTAINER", "TALLYMO_PROC_NET_DEV", "TALLYMO_SYSFS_NET", "TZ")})
        cls.session = SessionBus(notification_server=False, env=env).__enter__()
        c.env.update(DBUS_SESSION_BUS_ADDRESS=cls.session.address)
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = cls.session.address  # for gdbus
        cls.dbus = dbus.Interface(cls.session.bus.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus"),
                                  "org.freedesktop.DBus")

    @classmethod
    def tearDownClass(cls):
        cls.stop_app()
        cls.session.__exit__(None, None, None)
        cls.c.cleanup()

    @classmethod
    def stop_app(cls):
        """Ends the app that owns the name, if any, and waits until the name is free."""
        if not cls.session.bus.name_has_owner(NAME):
            return
        os.kill(int(cls.dbus.GetConnectionUnixProcessID(NAME)), signal.SIGTERM)
        wait_until(lambda: not cls.session.bus.name_has_owner(NAME), "the app did not leave the bus", 20)

    def test_1_leaving_the_foreground_makes_the_item(self):
        app = subprocess.Popen([APP], env=dict(self.session.env), stdout=subprocess.DEVNULL,
                               stderr=subprocess.PIPE, text=True)
        wait_until(lambda: self.session.bus.name_has_owner(NAME) or app.poll() is not None, "no name", 30)
        self.assertIsNone(app.poll(), app.stderr.read() if app.poll() is not None else "")
        time.sleep(1)  # shown and active
        app.send_signal(signal.SIGTERM)  # quitting leaves the foreground first
        self.assertEqual(app.wait(timeout=30), 0, app.stderr.read())
        app.stderr.close()
        index = json.loads(pathlib.Path(self.c.path, "searchIndex.json").read_text())
        self.assertEqual([(i["uniqueIdentifier"], i["title"]) for i in index["items"]],
                         [("SEARCH_UNIQ_ID", "Current Data Usage Statistics")])
        self.assertEqual(index["intent"]["phrase"], "Call Tallymo")

    def test_2_queries_start_the_app_and_find_the_item(self):
        self.stop_app()  # which terms match is in tst_search
        self.assertEqual(gdbus(GNOME, "GetInitialResultSet", '["call", "tally"]'), ["SHOW_USAGE_INTENT"])
        self.assertTrue(self.session.bus.name_has_owner(NAME))  # started by the bus for the query
        self.assertEqual(gdbus(GNOME, "GetSubsearchResultSet", '["SEARCH_UNIQ_ID"]', '["overa"]'),
                         ["SEARCH_UNIQ_ID"])

        status = self.c.json("status")  # the line itself is in tst_search
        line = f"42% used · {status['timeLeft']} {status['timeUnit']} left · forecast: {status['forecast']}"
        provider = dbus.Interface(self.session.bus.get_object(NAME, GNOME[0]), GNOME[1])
        metas = provider.GetResultMetas(["SEARCH_UNIQ_ID", "nothing"])
        self.assertEqual(len(metas), 1)
        self.assertEqual((str(metas[0]["id"]), str(metas[0]["name"]), str(metas[0]["description"])),
                         ("SEARCH_UNIQ_ID", "Current Data Usage Statistics", line))
        runner = dbus.Interface(self.session.bus.get_object(NAME, KRUNNER[0]), KRUNNER[1])
        self.assertEqual([(str(m[0]), str(m[1]), str(m[5]["subtext"])) for m in runner.Match("usage  stat")],
                         [("SEARCH_UNIQ_ID", "Current Data Usage Statistics", line)])
        self.assertEqual(list(runner.Match("banana")), [])
        # Picking the result opens the app: the process started for the query stays on.
        provider.ActivateResult("SEARCH_UNIQ_ID", ["overage"], dbus.UInt32(0))
        self.assertTrue(self.session.bus.name_has_owner(NAME))

    def test_installed_desktop_files_are_valid(self):
        files = [os.path.join(self.share, "applications", NAME + ".desktop"),
                 os.path.join(self.share, "applications", NAME + ".Watch.desktop"),
                 os.path.join(self.share, "krunner", "dbusplugins", NAME + ".desktop")]
        for f in files:
            p = subprocess.run(["desktop-file-validate", f], capture_output=True, text=True)
            self.assertEqual((p.returncode, p.stdout + p.stderr), (0, ""), f)
        ini = pathlib.Path(self.share, "gnome-shell", "search-providers", NAME + ".search-provider.ini").read_text()
        for line in ("DesktopId=org.tallymo.Tallymo.desktop", "BusName=org.tallymo.Tallymo",
                     "ObjectPath=/org/tallymo/Tallymo/SearchProvider", "Version=2"):
            self.assertIn(line, ini)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v"])
