"""Which figure each link feeds, with NetworkManager as the python3-dbusmock template on a private
bus posing as the system bus, counters from a stand-in /proc/net/dev and the kinds of link from a
stand-in sysfs tree: a phone's hotspot, USB tethering and a VPN over a hotspot, each to the byte."""
import os
import pathlib
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("dbus-daemon", "python:dbus", "python:dbusmock")
import dbus  # noqa: E402
from session import DBUSMOCK_CONTROL, Bus, SessionBus  # noqa: E402
from support import Container, Daemon  # noqa: E402

NM = "org.freedesktop.NetworkManager"
DEVICE = "org.freedesktop.NetworkManager.Device"
MiB = 1048576


def sysfs_link(c, name, driver=None, kind_type=1):
    """A link in the stand-in sysfs tree: with a device bound to `driver`, or virtual without one."""
    base = os.path.join(c.sysfs, name)
    os.makedirs(base, exist_ok=True)
    pathlib.Path(base, "type").write_text(f"{kind_type}\n")
    if driver:
        os.makedirs(os.path.join(c.root, "drivers", driver), exist_ok=True)
        os.makedirs(os.path.join(base, "device"), exist_ok=True)
        os.symlink(os.path.join(c.root, "drivers", driver), os.path.join(base, "device", "driver"))


def network_manager():
    return Bus(system=True, template="networkmanager")


def mock(nm, path):
    """The mock interface of one of NetworkManager's objects."""
    return dbus.Interface(nm.bus.get_object(NM, path), DBUSMOCK_CONTROL)


def wifi(nm, interface, ssid, metered):
    """A Wi-Fi connection up on `interface`; `metered` is NetworkManager's verdict (3 guess-yes, 4 guess-no)."""
    dev = nm.control.AddWiFiDevice(f"dev_{interface}", interface, 100)
    ap = nm.control.AddAccessPoint(dev, f"ap_{interface}", ssid, "00:11:22:33:44:55", 2, 2437, 5400, 80, 0x100)
    conn = nm.control.AddWiFiConnection(dev, f"c_{interface}", ssid, "wpa-psk")
    active = nm.control.AddActiveConnection([dev], conn, ap, f"a_{interface}", 2)
    mock(nm, dev).AddProperty(DEVICE, "Metered", dbus.UInt32(metered))
    return dev, active


def shared(nm, interface):
    """A wired connection this machine shares with others (NetworkManager's IPv4 method "shared")."""
    dev = nm.control.AddEthernetDevice(f"dev_{interface}", interface, 100)
    settings = dbus.Interface(nm.bus.get_object(NM, "/org/freedesktop/NetworkManager/Settings"), NM + ".Settings")
    conn = settings.AddConnection({"connection": {"id": "Shared to the desk", "type": "802-3-ethernet"},
                                   "ipv4": {"method": "shared"}})
    nm.control.AddActiveConnection([dev], conn, "/", f"a_{interface}", 2)


BASE = {"lo": (500, 500), "eth0": (1000, 1000), "wlan0": (2000, 2000)}
LATER = {"lo": (9000, 9000), "eth0": (1000 + 300_000, 1000 + 30_000), "wlan0": (2000 + 5 * MiB, 2000 + MiB)}


class Links(unittest.TestCase):
    def container(self, system_bus):
        c = self.enterContext(Container(DBUS_SYSTEM_BUS_ADDRESS=system_bus,
                                        DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent"))
        sysfs_link(c, "usb0", "rndis_host")
        sysfs_link(c, "eth0", "e1000e")
        sysfs_link(c, "tun0", kind_type=65534)
        c.run("setup", "--bill-day", "1", "--cap", "10GB", "--used", "0")
        return c

    # NetworkManager's verdicts as the list shows them: the hotspot's metered guess, and the Ethernet this
    # machine shares it on. What each link then feeds (a VPN over the hotspot, the bytes served on) is
    # in tst_interfaces (linkUses) and tst_recorder (servedHotspot); the kinds from sysfs too.
    def test_verdicts_from_network_manager(self):
        nm = self.enterContext(network_manager())
        c = self.container(nm.address)
        wifi(nm, "wlan0", "Pixel hotspot", 3)
        shared(nm, "eth0")
        c.write_counters(BASE)
        rows = {r["interface"]: (r["name"], r["metered"], r["countedAs"]) for r in c.json("networks")}
        self.assertEqual((rows["wlan0"], rows["eth0"][2]), (("Pixel hotspot", "guess-yes", "mobile"), "serving"))

    # A choice made by the connection's name, which follows the connection when NetworkManager renames it.
    def test_a_choice_and_a_renamed_connection(self):
        nm = self.enterContext(network_manager())
        c = self.container(nm.address)
        dev, active = wifi(nm, "wlan0", "Pixel hotspot", 3)
        c.write_counters(BASE)
        c.run("networks", "set", "Pixel hotspot", "other")
        mock(nm, active).UpdateProperties(NM + ".Connection.Active", {"Id": "Travel phone"})
        row = [r for r in c.json("networks") if r.get("interface") == "wlan0"][0]
        self.assertEqual((row["name"], row["choice"], row["countedAs"]), ("Travel phone", "other", "other"))
        for table in (BASE, LATER):
            c.write_counters(table)
            c.run("sample")
        self.assertEqual([c.totals()[k] for k in ("cellIn", "cellOut", "wifiIn", "wifiOut")],
                         [0, 0, 300_000 + 5 * MiB, 30_000 + MiB])

    # The service splits the interval at NetworkManager's signal: what the Wi-Fi moved on the home
    # network before the hotspot was joined stays the second figure, what it moved after is mobile.
    # When NetworkManager restarts, what moved before it went is counted as it was then.
    def test_the_service_splits_at_a_connection_change(self):
        nm = self.enterContext(network_manager())
        c = self.container(nm.address)
        dev, _ = wifi(nm, "wlan0", "Home", 4)
        c.env.update(DBUS_SESSION_BUS_ADDRESS=self.enterContext(SessionBus(notification_server=False)).address)
        c.write_counters({"wlan0": (1000, 1000)})
        with Daemon(c.env) as daemon:
            c.write_counters({"wlan0": (1000 + MiB, 1000 + 100_000)})
            mock(nm, dev).UpdateProperties(DEVICE, {"Metered": dbus.UInt32(3)})
            self.assertIn("+cell 0.0 KB +wifi 1.1 MB", daemon.wait_for("network"))
            c.write_counters({"wlan0": (1000 + 3 * MiB, 1000 + 300_000)})
            c.run("push")
            self.assertIn("+cell 2.2 MB +wifi 0.0 KB", daemon.wait_for("push"))
            c.write_counters({"wlan0": (1000 + 4 * MiB, 1000 + 300_000)})
            nm.stop_mock()  # NetworkManager stops and comes back, as after an upgrade, without devices
            nm.start_mock()
            self.assertIn("+cell 1.0 MB +wifi 0.0 KB", daemon.wait_for("network", count=2))
            wifi(nm, "wlan0", "Home", 4)
            self.settled(daemon)
            c.write_counters({"wlan0": (1000 + 6 * MiB, 1000 + 300_000)})
            c.run("push")
            self.assertIn("+cell 0.0 KB +wifi 2.0 MB", daemon.wait_for("push", count=2))
        t = c.totals()
        self.assertEqual([t["cellIn"], t["cellOut"], t["wifiIn"], t["wifiOut"]], [3 * MiB, 200_000, 3 * MiB, 100_000])

    @staticmethod
    def settled(daemon, quiet=0.6):
        """Waits until the service has taken no sample for `quiet` seconds."""
        seen = -1
        while seen != len(daemon.lines):
            seen = len(daemon.lines)
            time.sleep(quiet)

    # With a NetworkManager that never answers, the links are told apart by their kind (as without one:
    # tst_interfaces), and a sample does not hang waiting for it.
    def test_without_an_answering_network_manager(self):
        hung = self.enterContext(Bus(system=True))
        squatter = self.enterContext(subprocess.Popen(
            ["/usr/bin/python3", "-c", "import dbus, sys, time; b = dbus.bus.BusConnection(sys.argv[1]); "
             f"b.request_name('{NM}'); print('up', flush=True); time.sleep(600)", hung.address],
            stdout=subprocess.PIPE, text=True))
        self.addCleanup(squatter.kill)  # before the wait on the way out
        self.assertEqual(squatter.stdout.readline().strip(), "up")
        c = self.container(system_bus=hung.address)
        for wlan, usb in [(10, 10), (1010, 510)]:
            c.write_counters({"wlan0": (wlan, 10), "usb0": (usb, 10)})
            c.run("sample", timeout=20)  # below the bus's own 25 s: a sample does not wait on the call
        self.assertEqual([c.totals()[k] for k in ("cellIn", "wifiIn")], [500, 1000])


if __name__ == "__main__":
    unittest.main(verbosity=2)
