"""Helpers shared by the end-to-end tests: a temporary container, the tallymo binary, counters, and
network namespaces with a process in each that holds connections."""
import importlib.util
import json
import os
import plistlib
import select
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time
import unittest
from contextlib import closing

TALLYMO = os.environ.get("TALLYMO_BIN", "tallymo")
PROGRAMS_DIR = os.path.dirname(os.path.dirname(TALLYMO))
APP, WIDGET, FACE = (os.path.join(PROGRAMS_DIR, n, n) for n in ("tallymo-app", "tallymo-widget", "tallymo-watch"))
SHOTS = os.path.join(os.path.dirname(PROGRAMS_DIR), "tools", "screenshots", "tallymo-screenshots")
PROGRAMS = os.path.join(os.path.dirname(__file__), "..", "..", "scripts", "programs.txt")


def require(*names):
    """Stops the test script at once, in one line, unless every outside program (or "python:MODULE")
    named is installed; the line names the Debian package from scripts/programs.txt."""
    with open(PROGRAMS) as f:
        packages = dict(line.split()[:2] for line in f if line.strip() and not line.startswith("#"))
    for name in names:
        if name not in packages:
            raise KeyError(f"{name} is not listed in scripts/programs.txt")
        found = (importlib.util.find_spec(name[7:]) if name.startswith("python:")
                 else shutil.which(name) or shutil.which(name, path="/usr/sbin:/sbin"))
        if not found:
            sys.exit(f"{os.path.basename(sys.argv[0])}: {name} is missing; install the Debian package "
                     f"{packages[name]} (scripts/deps.sh installs it)")


def wait_until(condition, what, timeout=15):
    """Polls `condition` until it holds; fails with `what` (or what it returns, if a function) after `timeout` s."""
    deadline = time.time() + timeout
    while not condition():
        if time.time() > deadline:
            raise AssertionError(what() if callable(what) else what)
        time.sleep(0.05)


HEADER = ("Inter-|   Receive                                                |  Transmit\n"
          " face |bytes    packets errs drop fifo frame compressed multicast|"
          "bytes    packets errs drop fifo colls carrier compressed\n")


class Container:
    """A container directory, a stand-in counters file (with `counters` in it, when given) and a
    stand-in sysfs tree; `env`: more environment for the commands."""

    def __init__(self, wifi=("wlan0",), counters=None, **env):
        self._tmp = tempfile.TemporaryDirectory(prefix="tallymo-e2e-")
        self.root = self._tmp.name
        self.path = os.path.join(self.root, "container")
        self.counters = os.path.join(self.root, "net_dev")
        self.sysfs = os.path.join(self.root, "sys")
        for name in wifi:
            os.makedirs(os.path.join(self.sysfs, name, "wireless"))
        os.makedirs(self.sysfs, exist_ok=True)
        self.env = dict(os.environ, TALLYMO_CONTAINER=self.path, TALLYMO_PROC_NET_DEV=self.counters,
                        TALLYMO_SYSFS_NET=self.sysfs, **{"TZ": os.environ.get("TZ", "UTC"), **env})
        if counters:
            self.write_counters(counters)

    def cleanup(self):
        self._tmp.cleanup()

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.cleanup()

    def write_counters(self, table):
        """Replaces the counters file atomically; table: name -> (received, sent)."""
        tmp = self.counters + ".tmp"
        with open(tmp, "w") as f:
            f.write(HEADER)
            for name, (rx, tx) in table.items():
                f.write(f"{name:>6}: {rx} 1 0 0 0 0 0 0 {tx} 1 0 0 0 0 0 0\n")
        os.replace(tmp, self.counters)

    def run(self, *args, check=True, **kw):
        """Runs tallymo; with check, fails unless it exits 0 (or 10, "no new data", for refresh)."""
        p = subprocess.run([TALLYMO, *args], env=kw.pop("env", self.env), capture_output=True, text=True, **kw)
        if check and p.returncode not in ((0, 10) if args[:1] == ("refresh",) else (0,)):
            raise AssertionError(f"tallymo {' '.join(args)} exited {p.returncode}: {p.stderr}")
        return p

    def json(self, *args, **kw):
        return json.loads(self.run(*args, "--json", **kw).stdout)

    def settings(self):
        with open(os.path.join(self.path, "group.zr.qxnext.plist"), "rb") as f:
            return plistlib.load(f)

    def store_path(self):
        s = self.settings()
        plan = s["PREF_ALL_PLANS"][s["PREF_ACTIVE_PLAN"]]
        return os.path.join(self.path, plan["PREF_PLAN_DBNAME"])

    def totals(self, store=None):
        """Sums of the stored usage of the active plan (or in `store`), read straight from the SQLite
        file; all 0 while there is none."""
        store = store or self.store_path()
        if not os.path.exists(store):
            return dict.fromkeys(("cellIn", "cellOut", "wifiIn", "wifiOut", "events"), 0)
        with closing(sqlite3.connect(f"file:{store}?mode=ro", uri=True)) as db:  # never creates it
            row = db.execute("SELECT total(cellIn), total(cellOut), total(wifiIn), total(wifiOut), count(*) "
                             "FROM Event").fetchone()
            check = db.execute("PRAGMA integrity_check").fetchone()[0]
        return {"cellIn": row[0], "cellOut": row[1], "wifiIn": row[2], "wifiOut": row[3], "events": row[4],
                "integrity": check}


class Daemon:
    """tallymo daemon (inside a namespace when given one), its output lines kept as they come. As a
    context manager: entered once it has launched, and stopped on the way out whatever happened."""

    def __init__(self, env, interval=3600, ns=None, args=()):
        self.proc = subprocess.Popen((["ip", "netns", "exec", ns] if ns else []) + [
            TALLYMO, "daemon", "--interval", str(interval), *args], env=env, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, text=True)
        self.lines, self.errors = [], []
        self.readers = [threading.Thread(target=lambda: self.lines.extend(self.proc.stdout)),
                        threading.Thread(target=lambda: self.errors.extend(self.proc.stderr))]
        for r in self.readers:
            r.start()

    def __enter__(self):
        try:
            self.wait_for("launch")
        except BaseException:
            self.stop()
            raise
        return self

    def __exit__(self, *exc):
        self.stop()

    def wait(self, condition, what, timeout=15):
        wait_until(condition, lambda: f"{what}; service output: {self.lines}", timeout)

    def found(self, trigger):
        return [line for line in self.lines if f"  {trigger}: " in line]

    def wait_for(self, trigger, count=1, timeout=15):
        """The count-th line of that trigger ("launch", "push", "fetch", ...), once it is there."""
        self.wait(lambda: len(self.found(trigger)) >= count, f"no {trigger} line", timeout)
        return self.found(trigger)[count - 1]

    def checks(self, count=1):
        """Waits for `count` more timed checks."""
        self.wait_for("fetch", len(self.found("fetch")) + count)

    def stop(self):
        self.proc.send_signal(signal.SIGCONT)
        self.proc.terminate()
        try:
            self.proc.wait(timeout=10)
        finally:
            if self.proc.poll() is None:  # hung: it must not outlive the test
                self.proc.kill()
                self.proc.wait()
        for r in self.readers:
            r.join()
        self.err = "".join(self.errors)
        self.proc.stdout.close()
        self.proc.stderr.close()


def one_error_line(test, p, *needles, status=None):
    """A failed command: exit `status` (or any status above 0: no crash) and one line on stderr,
    "tallymo: ...", naming each needle."""
    test.assertTrue(p.returncode == status if status else p.returncode > 0,
                    f"exit {p.returncode}, not {status or 'above 0'}: {p.stderr!r}")
    test.assertRegex(p.stderr, r"\Atallymo: .*\n?\Z")  # . takes no line break
    for needle in needles:
        test.assertIn(needle, p.stderr)


def script(path, body):
    """An executable shell script at `path`."""
    with open(path, "w") as f:
        f.write("#!/bin/sh\n" + body + "\n")
    os.chmod(path, 0o755)


def ip(*args):
    return subprocess.run(["ip", *args], capture_output=True, text=True)


def veth_pair(ns_a, ns_b, link_a, address_a, link_b, address_b):
    """Two namespaces, loopbacks up, joined by a veth pair (addresses with their prefix length), both
    ends up; skips the calling test class with the reason when the kernel refuses."""
    r = ip("netns", "add", ns_a)
    if r.returncode != 0:
        raise unittest.SkipTest(f"network namespaces refused here: {r.stderr.strip()}")
    ip("netns", "add", ns_b)
    for ns in (ns_a, ns_b):
        ip("-n", ns, "link", "set", "lo", "up")
        # No IPv6 on the test links: the kernel's own router solicitations and listener reports
        # would go out at moments of its choosing and blur byte counts taken on both ends.
        for scope in ("all", "default"):
            subprocess.run(["ip", "netns", "exec", ns, "sh", "-c",
                            f"echo 1 > /proc/sys/net/ipv6/conf/{scope}/disable_ipv6"],
                           capture_output=True)
    for step in [("link", "add", link_a, "netns", ns_a, "type", "veth", "peer", "name", link_b, "netns", ns_b),
                 ("-n", ns_a, "addr", "add", address_a, "dev", link_a),
                 ("-n", ns_b, "addr", "add", address_b, "dev", link_b),
                 ("-n", ns_a, "link", "set", link_a, "up"), ("-n", ns_b, "link", "set", link_b, "up")]:
        r = ip(*step)
        if r.returncode != 0:
            drop_namespaces(ns_a, ns_b)
            raise unittest.SkipTest(f"cannot set up the veth pair: ip {' '.join(step)}: {r.stderr.strip()}")


def drop_namespaces(*names):
    for name in names:
        ip("netns", "del", name)


CHUNK = 1_000_000
# Holds connections and listeners in one namespace, driven line by line; a listener answers "k" for
# every CHUNK it receives, so a sender knows the peer has (and has acknowledged) what it sent.
HUB = """
import socket, sys, threading
CHUNK = 1_000_000
conns = {}
def drain(c):
    n = 0
    while b := c.recv(1 << 16):
        c.sendall(b"k" * ((n + len(b)) // CHUNK - n // CHUNK))
        n += len(b)
def serve(s):
    while True:
        threading.Thread(target=drain, args=(s.accept()[0],), daemon=True).start()
def sock(host):
    s = socket.socket(socket.AF_INET6 if ":" in host else socket.AF_INET)
    if ":" in host: s.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_V6ONLY, 0)
    return s
for line in sys.stdin:
    cmd, *a = line.split()
    if cmd == "listen":
        s = sock(a[0]); s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        s.bind((a[0], int(a[1]))); s.listen(8)
        threading.Thread(target=serve, args=(s,), daemon=True).start()
    elif cmd == "connect":
        s = conns[a[0]] = sock(a[1])
        s.bind(("::" if ":" in a[1] else "0.0.0.0", 0)); s.connect((a[1], int(a[2])))
    elif cmd == "send":
        s = conns[a[0]]; s.sendall(b"x" * int(a[1]))
        for _ in range(int(a[1]) // CHUNK): assert s.recv(1) == b"k"
    elif cmd == "close":
        conns.pop(a[0]).close()
    print("ok", flush=True)
"""


class Hub:
    """The script above in a namespace; a call sends it one command and waits for its "ok"."""

    def __init__(self, ns):
        self.proc = subprocess.Popen(["ip", "netns", "exec", ns, "/usr/bin/python3", "-c", HUB], text=True,
                                     stdin=subprocess.PIPE, stdout=subprocess.PIPE)

    def __call__(self, *command):
        self.proc.stdin.write(" ".join(map(str, command)) + "\n")
        self.proc.stdin.flush()
        if not select.select([self.proc.stdout], [], [], 30)[0] or self.proc.stdout.readline() != "ok\n":
            raise AssertionError(f"{command} failed")

    def close(self):
        self.proc.stdin.close()
        self.proc.kill()
        self.proc.wait(timeout=10)
        self.proc.stdout.close()
