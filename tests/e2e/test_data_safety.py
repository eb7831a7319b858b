"""Data safety: cellular links that come and go never invent usage, a full disk or a damaged settings
file never costs a plan, private files stay private, and many writers at once lose nothing."""
import glob
import json
import os
import plistlib
import random
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import uuid

from contextlib import closing
from pathlib import Path

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("setpriv", "mount")
from session import Bus  # noqa: E402
from support import TALLYMO, Container, Daemon, one_error_line  # noqa: E402

SETTINGS = "group.zr.qxnext.plist"
APP = os.path.join(os.path.dirname(os.path.dirname(TALLYMO)), "tallymo-app", "tallymo-app")
IDLE = {"wwan0": (1000, 1000), "wlan0": (10, 10)}
NOBODY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]


def plan_ids(c):
    return {row["id"] for row in json.loads(c.run("plans", "list", "--json").stdout)}


class Case(unittest.TestCase):
    def container(self, path=None, wifi=("wlan0",), counters=IDLE):
        c = self.enterContext(Container(wifi=wifi))
        c.path = path or c.path
        c.env.update(TALLYMO_CONTAINER=c.path, XDG_RUNTIME_DIR=c.root, XDG_DATA_HOME=os.path.join(c.root, "data"),
                     DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent")
        c.write_counters(counters)
        return c


class CellularLinks(Case):
    """Counters replayed through a stand-in /proc/net/dev and sysfs. The expected total is worked out
    per link instance (boot, ifindex), whatever its name: the growth between two samples that saw the
    instance, the whole counters of an instance that came up between two samples, and nothing at the
    first sample of a boot, which only takes a baseline."""

    def replay(self, seed, links, listed=(), tether=True, steady=(), steps=60, reboots=True):
        c = self.container(wifi=())
        c.env["TALLYMO_BOOT_ID_FILE"] = boot_file = os.path.join(c.root, "boot_id")
        rng = random.Random(seed)
        Path(boot_file).write_text(f"{uuid.UUID(int=rng.getrandbits(128))}\n")
        if listed:
            c.run("defaults", "write", "PREF_CELL_INTERFACES", json.dumps(list(listed)), "--type", "json")
        c.run("plans", "set", "PREF_TRACK_TETHER", "true" if tether else "false", "--type", "bool")
        counted = set(listed or links) if tether else {steady[0]}
        live, gone, last = {}, {}, {}  # live and gone: name -> [ifindex, received, sent]
        indexes, boot, expected, moved, eth = iter(range(11, 10**6)), 0, 0, 0, [5000, 5000]

        def fresh():
            return [next(indexes), rng.randrange(100, 4000), rng.randrange(0, 2000)]
        live.update({name: fresh() for name in steady})
        for step in range(steps):
            if reboots and step and rng.random() < 0.05:  # a reboot: the counters start again
                boot += 1
                Path(boot_file).write_text(f"{uuid.UUID(int=rng.getrandbits(128))}\n")
                gone.clear()  # these come back later as new links
                for link in live.values():
                    link[1:] = fresh()[1:]
            for name in links:
                r = rng.random()
                if name in live:
                    if r < 0.15 and name not in steady:
                        gone[name] = live.pop(name)
                    elif r < 0.22:
                        live[name] = fresh()  # deleted and created again between two samples
                elif name in gone:
                    if r < 0.4:
                        live[name] = gone.pop(name)  # back, same ifindex, counters moved on
                    elif r < 0.5:
                        gone.pop(name)
                        live[name] = fresh()
                elif r < 0.3:
                    live[name] = fresh()
                if name in live and rng.random() < 0.8:
                    live[name][1] += rng.randrange(0, 3_000_000)
                    live[name][2] += rng.randrange(0, 400_000)
                path = os.path.join(c.sysfs, name)
                shutil.rmtree(path, ignore_errors=True)
                if name in live:
                    os.makedirs(path)
                    Path(path, "ifindex").write_text(f"{live[name][0]}\n")
                    if name.startswith("ppp"):
                        Path(path, "type").write_text("512\n")
            eth = [eth[0] + rng.randrange(0, 10**6), eth[1] + rng.randrange(0, 10**5)]
            c.write_counters({"lo": (77, 77), "eth0": tuple(eth), **{n: tuple(v[1:]) for n, v in live.items()}})
            c.run("sample")
            for name, (index, rx, tx) in live.items():
                prev = last.get((boot, index))
                grown = rx + tx - (prev or 0)
                if name in counted:  # bytes before the first sample of a boot are real, but not counted
                    moved, expected = moved + grown, expected + (grown if (boot, "sampled") in last else 0)
                last[(boot, index)] = rx + tx
            last[(boot, "sampled")] = True
        t = c.totals()
        stored = t["cellIn"] + t["cellOut"]
        self.assertLessEqual(stored, moved, f"{stored:.0f} bytes stored, {moved} moved")
        self.assertEqual(stored, expected)
        self.assertEqual(t["integrity"], "ok")

    def test_links_coming_and_going(self):
        links = ("wwan0", "wwan1", "rmnet_data0", "rmnet_data1")
        # A PPP link with no modem behind it (a VPN, DSL) is not cellular: the modem stays the primary.
        ppp_beside = dict(links=("wwan0", "ppp0"), tether=False, steady=("wwan0",), steps=30, reboots=False)
        for name, seed, kw in [("modem links", 1, dict(links=links)), ("modem links", 2, dict(links=links)),
                               ("listed, ppp0 among them", 3, dict(links=links + ("ppp0",), listed=links + ("ppp0",))),
                               ("unlisted ppp0 beside the modem", 4, ppp_beside),
                               ("unlisted ppp0 beside the modem", 5, ppp_beside)]:
            with self.subTest(name, seed=seed):
                self.replay(seed, **kw)

    def test_wifi_that_appears_after_the_first_sample(self):
        c = self.container(wifi=(), counters={"wwan0": (1000, 1000), "eth0": (1, 1)})
        c.run("sample")
        os.makedirs(os.path.join(c.sysfs, "wlan0", "wireless"))
        for wlan in [(5000, 4000), (705000, 84000), (905000, 94000)]:  # came up from 0, then grew
            c.write_counters({"wwan0": (1000, 1000), "eth0": (1, 1), "wlan0": wlan})
            c.run("sample")
        t = c.totals()
        self.assertEqual((t["wifiIn"], t["wifiOut"]), (905000, 94000))


class ModemPppLink(Case):
    """A PPP link is cellular when the modem manager (on the system bus) names it as the data link of
    a connected bearer; otherwise it is a VPN's or a serial line's and is not counted."""

    def test_ppp_counts_only_as_a_connected_modems_link(self):
        for connected, expected in [(True, 700000 + 70000), (False, 0)]:
            with self.subTest(connected=connected), Bus(system=True, fake=(
                    "org.freedesktop.ModemManager1", "/org/freedesktop/ModemManager1",
                    "org.freedesktop.DBus.ObjectManager")) as modems:
                c = self.container(wifi=())
                os.makedirs(os.path.join(c.sysfs, "ppp0"))
                Path(c.sysfs, "ppp0", "type").write_text("512\n")
                modems.control.AddMethod("org.freedesktop.DBus.ObjectManager", "GetManagedObjects", "", "a{oa{sa{sv}}}",
                                         'ret = {dbus.ObjectPath("/org/freedesktop/ModemManager1/Bearer/0"): '
                                         '{"org.freedesktop.ModemManager1.Bearer": {"Interface": "ppp0", '
                                         f'"Connected": {connected}}}}}}}')
                for counters in [(1000, 100), (501000, 50100), (701000, 70100)]:
                    c.write_counters({"ppp0": counters})
                    c.run("refresh", env=dict(c.env, DBUS_SYSTEM_BUS_ADDRESS=modems.address))
                self.assertEqual(c.totals()["cellIn"] + c.totals()["cellOut"], expected)


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
                     ("export", "--cycles", "1", "-o", out), ("sample", "--json"), ("sample",)]:
            with self.subTest(args=args):
                grow()
                p = c.run(*args, check=False)
                self.assertNotIn("no new usage", p.stdout)
                if p.returncode != 0:
                    one_error_line(self, p)
                elif args == ("sample",):
                    self.assertTrue(p.stdout.startswith("recorded"), p.stdout)
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


def damaged(good, how):
    value = {"date 0000": b"<date>0000-01-01T00:00:00Z</date>", "date 10000": b"<date>10000-01-01T00:00:00Z</date>",
             "deep": b"<array>" * 50_000 + b"</array>" * 50_000}.get(how)
    if value:  # one more value in the top dictionary
        end = good.rindex(b"</dict>")
        return good[:end] + b"<key>DAMAGED</key>" + value + good[end:]
    if how == "truncated":
        return good[:len(good) // 2]
    if how == "flipped":
        middle = good.index(b"<", len(good) // 2)
        return good[:middle] + bytes(b ^ 0xFF for b in good[middle:middle + 16]) + good[middle + 16:]
    if how == "garbage":
        return bytes(random.Random(3).randrange(256) for _ in range(3000))
    return good  # intact, but unreadable


class DamagedSettings(Case):
    DAMAGE = ("truncated", "flipped", "garbage", "date 0000", "date 10000", "deep")

    def written(self, keep_copy=True):
        c = self.container()
        c.run("plans", "add", "--label", "Travel")
        c.run("plans", "set", "PREF_PLAN_LABEL", "Home")
        c.run("plans", "add", "--label", "Spare")
        path = os.path.join(c.path, SETTINGS)
        if keep_copy:
            self.assertTrue(os.path.exists(path + ".last-good"), "no last good copy after several writes")
        elif os.path.exists(path + ".last-good"):
            os.remove(path + ".last-good")
        return c, path

    def test_damage_with_a_last_good_copy(self):
        for how in self.DAMAGE:
            for command in (("plans", "list", "--json"), ("status",)):
                with self.subTest(damage=how, command=command[0]):
                    c, path = self.written()
                    good = set(plistlib.loads(Path(path + ".last-good").read_bytes())["PREF_ALL_PLANS"])
                    bad = damaged(Path(path).read_bytes(), how)
                    Path(path).write_bytes(bad)
                    p = c.run(*command, check=False)
                    self.assertEqual(p.returncode, 0, p.stderr)
                    self.assertEqual(len(p.stderr.splitlines()), 1, p.stderr)
                    self.assertIn(SETTINGS, p.stderr)
                    self.assertEqual(plan_ids(c), good)
                    aside = glob.glob(path + ".corrupt-*")
                    self.assertEqual(len(aside), 1, os.listdir(c.path))
                    self.assertEqual(Path(aside[0]).read_bytes(), bad)

    # No good copy to go back to: nothing is replaced. Mode 000 is tried as an unprivileged user.
    def test_damage_without_a_good_copy_is_left_alone(self):
        for how in self.DAMAGE + ("mode 000",):
            with self.subTest(damage=how):
                c, path = self.written(keep_copy=False)
                bad, prefix = damaged(Path(path).read_bytes(), how), []
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

    # The service samples every second while plan commands run, some of them killed half-way.
    def test_soak_with_the_service_and_killed_commands(self):
        c = self.container()
        cell, plans = [1000, 1000], plan_ids(c)
        daemon = self.enterContext(Daemon(c.env, 1))
        lock, outcomes, deadline = threading.Lock(), {"ok": 0, "killed": 0, "failed": []}, time.time() + 20

        def worker(seed):
            rng = random.Random(seed)
            while time.time() < deadline:
                with lock:
                    known = sorted(plans)
                args = rng.choice([("plans", "add", "--label", f"S{seed}"), ("plans", "switch", rng.choice(known)),
                                   ("plans", "set", "PREF_PLAN_LABEL", f"L{rng.randrange(99)}"),
                                   ("alerts", "set", "1", str(rng.randrange(51, 66)))])
                p = subprocess.Popen([TALLYMO, *args], env=c.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                     text=True)
                if rng.random() < 0.3:
                    time.sleep(rng.uniform(0, 0.05))
                    p.send_signal(signal.SIGKILL)
                out, err = p.communicate()
                with lock:
                    if p.returncode == 0:
                        outcomes["ok"] += 1
                        if args[1] == "add":
                            plans.add(out.strip())
                    elif p.returncode == -signal.SIGKILL:
                        outcomes["killed"] += 1
                    else:
                        outcomes["failed"].append((args, p.returncode, err))

        workers = [threading.Thread(target=worker, args=(seed,)) for seed in range(3)]
        for w in workers:
            w.start()
        while time.time() < deadline:
            cell[0] += 123_456
            c.write_counters({"wwan0": tuple(cell), "wlan0": (10, 10)})
            time.sleep(0.2)
        for w in workers:
            w.join()
        daemon.stop()
        print(f"\n  outcomes: ok {outcomes['ok']} killed {outcomes['killed']}", file=sys.stderr)
        self.assertEqual(daemon.proc.returncode, 0, daemon.err)
        self.assertEqual(outcomes["failed"][:3], [], f"{len(outcomes['failed'])} commands failed")
        self.assertGreater(outcomes["killed"], 3)
        self.assertLessEqual(plans, set(c.settings()["PREF_ALL_PLANS"]))
        for store in glob.glob(os.path.join(c.path, "*.sqlite")):
            # Read-write: after a kill -9 the log's index may have to be rebuilt, which a read-only
            # connection cannot do; everything has stopped by now.
            with closing(sqlite3.connect(store)) as db:
                self.assertEqual(db.execute("PRAGMA integrity_check").fetchone()[0], "ok", store)


if __name__ == "__main__":
    unittest.main(verbosity=2)
