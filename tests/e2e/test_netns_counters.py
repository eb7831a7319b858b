"""Real kernel counters: two network namespaces joined by a veth pair, one end named like a
cellular modem and the other counted as Wi-Fi through a stand-in sysfs tree. A transfer of a known
size shows up as cellular bytes sent and Wi-Fi bytes received, within the headers' overhead."""
import os
import sqlite3
import subprocess
import sys
import time
import unittest
from contextlib import closing

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("ip", "nft")
from support import Container, Daemon, drop_namespaces, veth_pair  # noqa: E402

SIZE = 20_000_000
# Addresses from the benchmarking range, assigned inside the test's own namespaces only.
SENDER, RECEIVER, PORT = "198.18.77.1", "198.18.77.2", 7077
NS_A, NS_B = f"tmA{os.getpid()}", f"tmB{os.getpid()}"

RECEIVE = f"""
import socket
s = socket.socket(); s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
s.bind(("{RECEIVER}", {PORT})); s.listen(1); print("ready", flush=True)
c, _ = s.accept(); n = 0
while True:
    b = c.recv(1 << 16)
    if not b: break
    n += len(b)
print(n, flush=True)
"""
SEND = f"""
import socket, sys
s = socket.create_connection(("{RECEIVER}", {PORT}))
s.sendall(b"x" * int(sys.argv[1])); s.close()
"""


def transfer(size):
    """Sends `size` bytes over TCP from one namespace to the other; fails unless all arrived."""
    receiver = subprocess.Popen(["ip", "netns", "exec", NS_B, sys.executable, "-c", RECEIVE],
                                stdout=subprocess.PIPE, text=True)
    try:
        assert receiver.stdout.readline().strip() == "ready"
        subprocess.run(["ip", "netns", "exec", NS_A, sys.executable, "-c", SEND, str(size)], check=True,
                       timeout=60)
        received = int(receiver.stdout.readline())
        assert received == size, f"{received} of {size} bytes arrived"
    finally:
        receiver.wait(timeout=10)
        receiver.stdout.close()
    time.sleep(0.5)  # the last acknowledgements and the closing handshake


def per_address(c):
    with closing(sqlite3.connect(c.store_path())) as db:
        return db.execute("SELECT ipaddress, total(bytes) FROM Netevent GROUP BY ipaddress").fetchall()


class NamespaceCounters(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        veth_pair(NS_A, NS_B, "wwan0", f"{SENDER}/30", "wlan0", f"{RECEIVER}/30")

    @classmethod
    def tearDownClass(cls):
        drop_namespaces(NS_A, NS_B)

    def sample(self, c, ns):
        return subprocess.run(["ip", "netns", "exec", ns, os.environ["TALLYMO_BIN"], "sample", "--json"],
                              env=c.env, capture_output=True, text=True, check=True).stdout

    def test_transfer_is_recorded(self):
        c = self.enterContext(Container(wifi=("wlan0",)))
        del c.env["TALLYMO_PROC_NET_DEV"]  # the kernel's own counters
        # Each namespace sees its own end: cellular on one side, Wi-Fi on the other. Interface
        # indexes are numbered per namespace, so both ends may have the same one. The first
        # sample of the other namespace counts what its link moved since it came up.
        transfer(1000)
        self.sample(c, NS_A)
        self.sample(c, NS_B)
        before = c.totals()
        transfer(SIZE)
        self.sample(c, NS_A)
        self.sample(c, NS_B)
        after = c.totals()
        t = {key: after[key] - before[key] for key in ("cellIn", "cellOut", "wifiIn", "wifiOut")}
        print(f"\n  sent {SIZE}: cellOut {t['cellOut']:.0f} cellIn {t['cellIn']:.0f} "
              f"wifiIn {t['wifiIn']:.0f} wifiOut {t['wifiOut']:.0f}", file=sys.stderr)
        # Ethernet, IP and TCP headers add about 5%; acknowledgements flow the other way.
        for key in ("cellOut", "wifiIn"):
            self.assertGreaterEqual(t[key], SIZE, key)
            self.assertLessEqual(t[key], SIZE * 1.07, key)
        for key in ("cellIn", "wifiOut"):
            self.assertLess(t[key], SIZE * 0.05, key)
        # Both ends of one wire, sampled one after the other: at most a late packet or two apart.
        self.assertLessEqual(abs(t["cellIn"] - t["wifiOut"]), 150)

    # UDP from connection tracking with accounting: switched on in the sender's namespace, with a
    # ruleset that tracks its flows. Datagrams to a peer count with their IP and UDP headers.
    def test_udp_from_connection_tracking(self):
        setup = [["sh", "-c", "echo 1 > /proc/sys/net/netfilter/nf_conntrack_acct"],
                 ["nft", "add table inet tallymo"],
                 ["nft", "add chain inet tallymo out { type filter hook output priority 0 ; }"],
                 ["nft", "add rule inet tallymo out ct state new,established counter"]]
        for step in setup:
            r = subprocess.run(["ip", "netns", "exec", NS_A, *step], capture_output=True, text=True)
            if r.returncode != 0:
                self.skipTest(f"connection tracking cannot be set up here: {' '.join(step)}: {r.stderr.strip()}")
        c = self.enterContext(Container(wifi=("wlan0",)))
        c.env.update(DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent", XDG_RUNTIME_DIR=c.root)
        with Daemon(c.env, 1, NS_A) as daemon:
            send = (f"import socket\ns = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)\n"
                    f"s.bind(('{SENDER}', 0))\n"
                    f"for _ in range(200): s.sendto(b'u' * 1000, ('{RECEIVER}', {PORT + 2}))\n")
            subprocess.run(["ip", "netns", "exec", NS_A, sys.executable, "-c", send], check=True, timeout=30)
            daemon.checks(3)
        rows = per_address(c)
        print(f"\n  UDP per address after 200 x 1000 bytes: {rows}", file=sys.stderr)
        self.assertEqual([r[0] for r in rows], [RECEIVER])
        self.assertGreaterEqual(rows[0][1], 200 * 1028)  # 20 bytes IP, 8 bytes UDP each
        self.assertLessEqual(rows[0][1], 200 * 1028 + 5000)  # and the peer's unreachable answers


if __name__ == "__main__":
    unittest.main(verbosity=2)
