"""Data safety: a modem's PPP link counts only while its bearer is connected, a full disk or a damaged
settings file never costs a plan, private files stay private, and many writers at once lose nothing."""
import glob
import json
import os
import plistlib
import shutil
import subprocess
import sys
import tempfile
import unittest

from pathlib import Path

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("setpriv", "mount")
from session import Bus  # noqa: E402
from support import APP, TALLYMO, Container, one_error_line  # noqa: E402

SETTINGS = "group.zr.qxnext.plist"
IDLE = {"wwan0": (1000, 1000), "wlan0": (10, 10)}
NOBODY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]


def plan_ids(c):
    return {row["id"] for row in json.loads(c.run("plans", "list", "--json").stdout)}


class Case(unittest.TestCase):
    def container(self, path=None, wifi=("wlan0",)):
        c = self.enterContext(Container(wifi=wifi, counters=IDLE, DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent"))
        c.path = path or c.path
        c.env.update(TALLYMO_CONTAINER=c.path, XDG_RUNTIME_DIR=c.root, XDG_DATA_HOME=os.path.join(c.root, "data"))
        return c


class ModemBearer(Case):
    # A PPP link is cellular when the modem manager names it as the data link of a connected bearer;
    # otherwise it is a VPN's or a serial line's. (Links that come and go: tst_recorder; kinds from
    # sysfs and the boot id: tst_interfaces.)
    def test_ppp_link_of_a_modem_bearer(self):
        for connected, expected in [(True, "mobile"), (False, "ignored")]:
            with self.subTest(connected=connected):
                manager = "org.freedesktop.DBus.ObjectManager"
                modems = self.enterContext(Bus(system=True, fake=("org.freedesktop.ModemManager1",
                                                                  "/org/freedesktop/ModemManager1", manager)))
                modems.control.AddMethod(manager, "GetManagedObjects", "", "a{oa{sa{sv}}}",
                                         'ret = {dbus.ObjectPath("/org/freedesktop/ModemManager1/Bearer/0"): '
                                         '{"org.freedesktop.ModemManager1.Bearer": {"Interface": "ppp0", '
                                         f'"Connected": {connected}}}}}}}')
                c = self.container(wifi=())
                c.env["DBUS_SYSTEM_BUS_ADDRESS"] = modems.address
                os.makedirs(os.path.join(c.sysfs, "ppp0"))
                Path(c.sysfs, "ppp0", "type").write_text("512\n")
                c.write_counters({"lo": (77, 77), "ppp0": (1000, 100)})
                rows = [r["countedAs"] for r in c.json("networks") if r.get("interface") == "ppp0"]
                self.assertEqual(rows, [expected])


class FullDisk(Case):
    def test_full_disk_loses_no_plan_and_no_usage(self):
        mnt = tempfile.mkdtemp(prefix="tallymo-e2e-full-")
        self.addCleanup(os.rmdir, mnt)
        r = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=1m", "tmpfs", mnt], capture_output=True, text=True)
        if r.returncode != 0:
            self.skipTest(f"cannot mount a small tmpfs here: {r.stderr.strip()}")
        self.addCleanup(subprocess.run, ["umount", "-l", mnt])
        c, received = self.container(os.path.join(mnt, "container")), iter(range(1000, 10**9, 250_000))

        def grow():
            c.write_counters({"wwan0": (next(received), 1000), "wlan0": (10, 10)})
        plans = {c.run("plans", "add", "--label", f"Plan {i}").stdout.strip() for i in range(2)} | plan_ids(c)
        for _ in range(3):
            grow()
            c.run("sample")
        self.assertEqual(len(plans), 3)
        before, filler, out = c.totals(), os.path.join(mnt, "filler"), os.path.join(mnt, "export.json")
        dd = subprocess.run(["dd", "if=/dev/zero", f"of={filler}", "bs=4k"], capture_output=True, text=True)
        self.assertIn("No space left on device", dd.stderr)
        recorded, label, alert = 0, None, None
        for args in [("sample", "--json"), ("plans", "add", "--label", "Full"),
                     ("plans", "set", "PREF_PLAN_LABEL", "Renamed"), ("alerts", "set", "1", "55"),
                     ("export", "--cycles", "1", "-o", out), ("sample", "--json")]:
            with self.subTest(args=args):
                grow()
                p = c.run(*args, check=False)
                self.assertNotIn("no new usage", p.stdout)
                if p.returncode != 0:
                    one_error_line(self, p)
                elif args[0] == "sample":
                    self.assertTrue(json.loads(p.stdout)["recorded"], f"exit 0 with the usage lost: {p.stdout}")
                    recorded += json.loads(p.stdout)["cellIn"]
                elif args[:2] == ("plans", "add"):
                    plans.add(p.stdout.strip())
                elif args[0] == "export":
                    self.assertIn("exportData", json.loads(Path(out).read_text() or "{}"), "export cut short")
                else:
                    label, alert = ("Renamed", alert) if args[0] == "plans" else (label, 55)
        os.remove(filler)
        settings = c.settings()
        self.assertLessEqual(plans, set(settings["PREF_ALL_PLANS"]))
        if label:
            self.assertEqual(settings["PREF_ALL_PLANS"][settings["PREF_ACTIVE_PLAN"]]["PREF_PLAN_LABEL"], label)
        if alert:
            self.assertEqual(settings["PREF_ALERT1"], alert)
        after = c.totals()
        self.assertEqual(after["integrity"], "ok")
        self.assertGreaterEqual(after["events"], before["events"])
        self.assertGreaterEqual(after["cellIn"], before["cellIn"] + recorded)


class DamagedSettings(Case):
    # With a last good copy, a command goes back to it, says so in one line and keeps the damaged bytes
    # aside. Without one nothing is replaced: one line, exit status 1. Mode 000 (the file intact) is
    # tried as an unprivileged user. Each kind of damage the reader refuses is in tst_settingsdomain.
    def test_damaged_settings(self):
        for how, copy in [("truncated", True), ("truncated", False), ("mode 000", False)]:
            with self.subTest(damage=how, copy=copy):
                c = self.container()
                for args in (("add", "--label", "Travel"), ("set", "PREF_PLAN_LABEL", "Home"),
                             ("add", "--label", "Spare")):
                    c.run("plans", *args)
                path = os.path.join(c.path, SETTINGS)
                self.assertTrue(os.path.exists(path + ".last-good"), "no last good copy after several writes")
                good = set(plistlib.loads(Path(path + ".last-good").read_bytes())["PREF_ALL_PLANS"])
                if not copy:
                    os.remove(path + ".last-good")
                good_bytes, prefix = Path(path).read_bytes(), []
                bad = good_bytes if how == "mode 000" else good_bytes[:len(good_bytes) // 2]
                Path(path).write_bytes(bad)
                if how == "mode 000":
                    probe = subprocess.run([*NOBODY, "true"], capture_output=True, text=True)
                    if os.geteuid() != 0 or probe.returncode != 0:
                        self.skipTest(f"cannot run as an unprivileged user here: {probe.stderr.strip() or 'not root'}")
                    os.chmod(c.root, 0o755)
                    for name in [c.root] + glob.glob(os.path.join(c.root, "**"), recursive=True):
                        os.chown(name, 65534, 65534)
                    os.chmod(path, 0)
                    prefix = NOBODY
                mode = os.stat(path).st_mode
                p = subprocess.run([*prefix, TALLYMO, "plans", "list", "--json"], env=c.env, capture_output=True,
                                   text=True)
                if copy:
                    self.assertEqual((p.returncode, len(p.stderr.splitlines())), (0, 1), p.stderr)
                    self.assertIn(SETTINGS, p.stderr)
                    self.assertEqual(plan_ids(c), good)
                    aside = glob.glob(path + ".corrupt-*")
                    self.assertEqual([Path(f).read_bytes() for f in aside], [bad], os.listdir(c.path))
                else:
                    one_error_line(self, p, path, status=1)
                    self.assertEqual(p.stdout, "")
                    self.assertEqual((os.stat(path).st_mode, Path(path).read_bytes()), (mode, bad))


class PrivateFiles(Case):
    # A process killed while writing leaves its new file, and one killed while running leaves its
    # temporary folder: the next start of any program removes those of processes that no longer run,
    # and keeps those of one that does. Whatever the umask, what a program makes is private.
    def test_private_files_and_what_a_killed_process_left(self):
        for program in ("cli", "app"):
            with self.subTest(program=program):
                c, no_umask = self.container(), dict(preexec_fn=lambda: os.umask(0))
                c.run("setup", "--bill-day", "1", "--cap", "1GB", "--used", "0", **no_umask)
                gone = subprocess.Popen(["true"])
                gone.wait()
                live = os.getpid()
                runtime = os.path.join(c.root, "tallymo")
                planted = {os.path.join(c.path, f"{SETTINGS}.new-{gone.pid}-1f"): False,
                           os.path.join(c.path, f"{SETTINGS}.last-good.new-{gone.pid}"): False,
                           os.path.join(c.path, f"{SETTINGS}.new-{live}-2e"): True,
                           os.path.join(runtime, f"tmp-{gone.pid}", "left"): False,
                           os.path.join(runtime, f"tmp-{live}", "in-use"): True}
                for path in planted:
                    os.makedirs(os.path.dirname(path), mode=0o700, exist_ok=True)
                    Path(path).write_text("x")
                    os.chmod(path, 0o600)
                tmp = os.path.join(c.root, "tmp")
                os.mkdir(tmp)
                env = dict(c.env, TMPDIR=tmp, HOME=os.path.join(c.root, "home"), QT_QPA_PLATFORM="offscreen",
                           XDG_CACHE_HOME=os.path.join(c.root, "cache"))
                if program == "app":
                    p = subprocess.run([APP, "--first-frame"], env=env, capture_output=True, text=True, timeout=120,
                                       **no_umask)
                    self.assertEqual(p.returncode, 0, p.stderr)
                    made = []
                else:
                    for rx, args in [(1000, ["sample"]), (900_000, ["sample"]),
                                     (900_000, ["plans", "add", "--label", "Travel"]), (900_000, ["export", "--cycles", "1"])]:
                        c.write_counters({"wwan0": (rx, 1000), "wlan0": (10, 10)})
                        c.run(*args, env=env, **no_umask)
                    made = glob.glob(os.path.join(c.root, "data", "**", "exportFile.json"), recursive=True)
                    self.assertEqual(len(made), 1)
                self.assertEqual({path: os.path.exists(path) for path in planted}, planted)
                self.assertEqual(os.listdir(tmp), [])
                self.assertEqual(sorted(os.listdir(runtime)), sorted(
                    n for n in [f"tmp-{live}", "widget.json"] if os.path.exists(os.path.join(runtime, n))))
                made += [c.path] + [os.path.join(d, n) for top in (c.path, os.path.join(c.root, "cache"), runtime)
                                    for d, dirs, names in os.walk(top) for n in dirs + names]
                self.assertLessEqual({os.path.join(c.path, SETTINGS), c.store_path()}, set(made))
                for path in made:
                    with self.subTest(path=os.path.relpath(path, c.root)):
                        self.assertEqual(os.stat(path).st_mode & 0o777, 0o700 if os.path.isdir(path) else 0o600)

    # A symbolic link in the container, where Tallymo keeps a file, is refused in one line; what it
    # points at is neither read, written, made private nor created.
    def test_symbolic_links_in_the_container_are_not_followed(self):
        for name, command in [(SETTINGS, ("status",)), (SETTINGS + ".lock", ("plans", "add", "--label", "Trip")),
                              ("flockFile.txt", ("sample",)), ("store", ("status",))]:
            with self.subTest(file=name):
                c = self.container()
                c.run("setup", "--bill-day", "1", "--cap", "1GB", "--used", "0")
                path = c.store_path() if name == "store" else os.path.join(c.path, name)
                outside = os.path.join(c.root, "outside")
                if os.path.exists(path):
                    shutil.copyfile(path, outside)
                    os.unlink(path)
                else:
                    Path(outside).write_bytes(b"")
                os.chmod(outside, 0o644)
                before = Path(outside).read_bytes()
                os.symlink(outside, path)
                p = c.run(*command, check=False)
                one_error_line(self, p, "symbolic link")
                self.assertTrue(os.path.islink(path))
                self.assertEqual((Path(outside).read_bytes(), os.stat(outside).st_mode & 0o777), (before, 0o644))

    # No runtime directory, and the fallback one under the temporary directory held by another user:
    # the widget record must not land in a shared or root-level place.
    def test_widget_record_without_a_runtime_directory(self):
        if os.geteuid() != 0:
            self.skipTest("needs root to give the fallback runtime directory to another user")
        c = self.container()
        tmp = os.path.join(c.root, "tmp")
        os.makedirs(os.path.join(tmp, "runtime-root"))
        os.chown(os.path.join(tmp, "runtime-root"), 65534, 65534)
        env = {k: v for k, v in c.env.items() if k != "XDG_RUNTIME_DIR"}
        env.update(TMPDIR=tmp, XDG_CACHE_HOME=os.path.join(c.root, "cache"))

        def tallymo_paths():
            return {path: os.stat(path).st_mtime_ns for pattern in ("/tmp/tallymo*", f"{tmp}/tallymo*", "/tallymo")
                    for path in glob.glob(pattern) if not path.startswith("/tmp/tallymo-e2e-")}
        had_root_dir, before = os.path.exists("/tallymo"), tallymo_paths()
        c.run("refresh", env=env)
        created = {p for p, m in tallymo_paths().items() if before.get(p) != m}
        if not had_root_dir and os.path.exists("/tallymo"):
            shutil.rmtree("/tallymo")
        self.assertEqual(created, set())


class BrokenContainer(Case):
    def test_read_only_container_is_an_error_not_a_busy_lock(self):
        c = self.container()
        c.run("sample")
        c.write_counters({"wwan0": (9000, 1000), "wlan0": (10, 10)})
        r = subprocess.run(["mount", "--bind", c.path, c.path], capture_output=True, text=True)
        if r.returncode == 0:
            self.addCleanup(subprocess.run, ["umount", c.path])
            r = subprocess.run(["mount", "-o", "remount,bind,ro", c.path], capture_output=True, text=True)
        if r.returncode != 0:
            self.skipTest(f"cannot make a read-only bind mount here: {r.stderr.strip()}")
        p = c.run("sample", check=False)
        self.assertNotEqual(p.returncode, 0, p.stdout)
        self.assertNotIn("another process is sampling", p.stdout + p.stderr)

    def test_a_plan_with_a_broken_store_can_be_left_and_removed(self):
        for broken in ("garbage", "directory"):
            with self.subTest(store=broken):
                c = self.container()
                other = c.run("plans", "add", "--label", "Travel").stdout.strip()
                c.run("sample")
                bad, store = c.settings()["PREF_ACTIVE_PLAN"], c.store_path()
                for path in glob.glob(store + "*"):
                    os.remove(path)
                if broken == "directory":
                    os.mkdir(store)
                else:
                    Path(store).write_bytes(b"not a database" * 300)
                for args in (("plans", "switch", other), ("plans", "remove", bad, "--yes")):
                    p = c.run(*args, check=False)
                    self.assertEqual(p.returncode, 0, f"{args}: {p.stderr}")
                self.assertEqual(plan_ids(c), {other})


class ConcurrentWriters(Case):
    # Many processes at once, on a container none of them has seen yet: every write is kept, and the
    # first-install defaults are applied once.
    def test_concurrent_writers_lose_nothing(self):
        many = range(20)
        for name, args, keys, labels in [
                ("plans add", lambda i: ["plans", "add", "--label", f"P{i}"], {}, sorted(f"P{i}" for i in many)),
                ("defaults write", lambda i: ["defaults", "write", f"KEY_{i}", str(i), "--type", "int"],
                 {f"KEY_{i}": i for i in many}, [])]:
            with self.subTest(name):
                c = self.container()
                procs = [subprocess.Popen([TALLYMO, *args(i)], env=c.env, stdout=subprocess.PIPE,
                                          stderr=subprocess.PIPE, text=True) for i in many]
                said = set()
                for p in procs:
                    out, err = p.communicate()
                    self.assertEqual(p.returncode, 0, err)
                    said.add(out.strip())
                settings = c.settings()
                plans = {i: plan["PREF_PLAN_LABEL"] for i, plan in settings["PREF_ALL_PLANS"].items()}
                self.assertEqual({k: v for k, v in settings.items() if k.startswith("KEY_")}, keys)
                self.assertEqual(sorted(plans.values()), ["Default"] + labels)
                if name == "plans add":  # each printed the id it added
                    self.assertEqual(said, set(plans) - {settings["PREF_ACTIVE_PLAN"]})


if __name__ == "__main__":
    unittest.main(verbosity=2)
