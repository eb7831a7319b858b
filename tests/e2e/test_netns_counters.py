"""Real kernel counters: two network namespaces joined by a veth pair, one end named like a
cellular modem and the other counted as Wi-Fi through a stand-in sysfs tree. A transfer of a known
size shows up as cellular bytes sent and Wi-Fi bytes received, within the headers' overhead."""
import os
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(__file__))
from support import Container  # noqa: E402

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


def ip(*args):
    return subprocess.run(["ip", *args], capture_output=True, text=True)


class NamespaceCounters(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        r = ip("netns", "add", NS_A)
        if r.returncode != 0:
            raise unittest.SkipTest(f"network namespaces refused here: {r.stderr.strip()}")
        ip("netns", "add", NS_B)
        steps = [("link", "add", "wwan0", "netns", NS_A, "type", "veth", "peer", "name", "wlan0", "netns", NS_B),
                 ("-n", NS_A, "addr", "add", f"{SENDER}/30", "dev", "wwan0"),
                 ("-n", NS_B, "addr", "add", f"{RECEIVER}/30", "dev", "wlan0"),
                 ("-n", NS_A, "link", "set", "wwan0", "up"), ("-n", NS_B, "link", "set", "wlan0", "up"),
                 ("-n", NS_A, "link", "set", "lo", "up"), ("-n", NS_B, "link", "set", "lo", "up")]
        for step in steps:
            r = ip(*step)
            if r.returncode != 0:
                cls.tearDownClass()
                raise unittest.SkipTest(f"cannot set up the veth pair: ip {' '.join(step)}: {r.stderr.strip()}")

    @classmethod
    def tearDownClass(cls):
        ip("netns", "del", NS_A)
        ip("netns", "del", NS_B)

    def sample(self, c, ns):
        return subprocess.run(["ip", "netns", "exec", ns, os.environ["TALLYMO_BIN"], "sample", "--json"],
                              env=c.env, capture_output=True, text=True, check=True).stdout

    def transfer(self, size):
        receiver = subprocess.Popen(["ip", "netns", "exec", NS_B, sys.executable, "-c", RECEIVE],
                                    stdout=subprocess.PIPE, text=True)
        self.assertEqual(receiver.stdout.readline().strip(), "ready")
        subprocess.run(["ip", "netns", "exec", NS_A, sys.executable, "-c", SEND, str(size)], check=True,
                       timeout=60)
        self.assertEqual(int(receiver.stdout.readline()), size)
        receiver.wait(timeout=10)
        receiver.stdout.close()
        time.sleep(0.1)

    def test_transfer_is_recorded(self):
        c = Container(wifi=("wlan0",))
        try:
            del c.env["TALLYMO_PROC_NET_DEV"]  # the kernel's own counters
            # A received counter at 0 reads as "no previous value": move both off 0 first.
            self.transfer(1000)
            # Each namespace sees its own end: cellular on one side, Wi-Fi on the other.
            self.sample(c, NS_A)
            self.sample(c, NS_B)
            self.transfer(SIZE)
            self.sample(c, NS_A)
            self.sample(c, NS_B)
            t = c.totals()
            print(f"\n  sent {SIZE}: cellOut {t['cellOut']:.0f} cellIn {t['cellIn']:.0f} "
                  f"wifiIn {t['wifiIn']:.0f} wifiOut {t['wifiOut']:.0f}", file=sys.stderr)
            # Ethernet, IP and TCP headers add about 5%; acknowledgements flow the other way.
            for key in ("cellOut", "wifiIn"):
                self.assertGreaterEqual(t[key], SIZE, key)
                self.assertLessEqual(t[key], SIZE * 1.07, key)
            for key in ("cellIn", "wifiOut"):
                self.assertLess(t[key], SIZE * 0.05, key)
            self.assertEqual(t["cellIn"], t["wifiOut"])  # both ends of one wire
        finally:
            c.cleanup()


if __name__ == "__main__":
    unittest.main(verbosity=2)
