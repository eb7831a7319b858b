#include "platform/linux/linuxnetworkinterfaces.h"
#include "testsupport.h"

#include <QtTest>

class TestInterfaces : public QObject
{
    Q_OBJECT

    static void writeFile(const QString &path, const QByteArray &content)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(content);
    }

private slots:
    void procNetDev()
    {
        const QByteArray text =
            "Inter-|   Receive                                                |  Transmit\n"
            " face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs drop "
            "fifo "
            "colls carrier compressed\n"
            "    lo:    3267      29    0    0    0     0          0         0     3267      29    0    0    "
            "0     "
            "0       0          0\n"
            "wwan0: 5026379344 3711 0 0 0 0 0 0 18446744073709551615 12 0 0 0 0 0 0\n";
        const auto counters = LinuxNetworkInterfaces::parseProcNetDev(text);
        QVERIFY(counters);
        QCOMPARE(counters->size(), 2);
        QCOMPARE(counters->at(1).name, QStringLiteral("wwan0"));
        QCOMPARE(counters->at(1).received, 5026379344.0);
        QCOMPARE(counters->at(1).sent, 18446744073709551615.0);
        QVERIFY(!LinuxNetworkInterfaces::parseProcNetDev("just text\n"));
        QVERIFY(!LinuxNetworkInterfaces::parseProcNetDev(text + "eth0: 1 2 3\n"));
        QVERIFY(!LinuxNetworkInterfaces::parseProcNetDev(text.left(text.indexOf("wwan0")) +
                                                         "eth0: x 0 0 0 0 0 0 0 1 0 0 0 0 0 0 0\n"));
        LinuxNetworkInterfaces missing(QStringLiteral("/nonexistent/net/dev"), QString());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("cannot read /nonexistent")));
        QVERIFY(!missing.readCounters());
    }

    void naturalOrder_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::newRow("numbers by value") << "ww2"
                                          << "ww10";
        QTest::newRow("prefix first") << "ppp"
                                      << "ppp0";
        QTest::newRow("letters") << "ppp9"
                                 << "wwan0";
        QTest::newRow("leading zeros") << "ww02"
                                       << "ww3";
    }

    void naturalOrder()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QVERIFY(InterfaceNames::naturalLess(a, b));
        QVERIFY(!InterfaceNames::naturalLess(b, a));
        QVERIFY(!InterfaceNames::naturalLess(a, a));
    }

    void cellularRoles_data()
    {
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QStringList>("configured");
        QTest::addColumn<QStringList>("sysfsCellular");
        QTest::addColumn<QString>("previous");
        QTest::addColumn<QStringList>("cellular");
        QTest::addColumn<QString>("primary");
        QTest::newRow("by name, natural order")
            << QStringList{"wlan0", "wwan10", "wwan2", "eth0", "ppp0"} << QStringList() << QStringList()
            << QString() << QStringList{"wwan2", "wwan10"} << "wwan2";
        QTest::newRow("by sysfs") << QStringList{"usb0", "enx00", "lo"} << QStringList()
                                  << QStringList{"enx00"} << QString() << QStringList{"enx00"} << "enx00";
        QTest::newRow("the role stays while its link is there")
            << QStringList{"rmnet_data0", "rmnet_data1"} << QStringList() << QStringList() << "rmnet_data1"
            << QStringList{"rmnet_data0", "rmnet_data1"} << "rmnet_data1";
        QTest::newRow("and moves when it is gone")
            << QStringList{"wwan1", "wwan2"} << QStringList() << QStringList() << "wwan0"
            << QStringList{"wwan1", "wwan2"} << "wwan1";
        QTest::newRow("a configured list decides, in its order")
            << QStringList{"wwan0", "ppp0", "eth0"} << QStringList{"ppp0", "eth0", "absent"} << QStringList()
            << "wwan0" << QStringList{"ppp0", "eth0"} << "ppp0";
        QTest::newRow("phone names keep their roles")
            << QStringList{"pdp_ip1", "wwan0", "pdp_ip0"} << QStringList() << QStringList() << "wwan0"
            << QStringList{"pdp_ip0", "pdp_ip1", "wwan0"} << "pdp_ip0";
        QTest::newRow("pdp_ip10 alone is tethering")
            << QStringList{"pdp_ip10"} << QStringList() << QStringList() << QString()
            << QStringList{"pdp_ip10"} << QString();
        QTest::newRow("nothing cellular") << QStringList{"lo", "eth0"} << QStringList() << QStringList()
                                          << "wwan0" << QStringList() << QString();
    }

    void cellularRoles()
    {
        QFETCH(QStringList, present);
        QFETCH(QStringList, configured);
        QFETCH(QStringList, sysfsCellular);
        QFETCH(QString, previous);
        QFETCH(QStringList, cellular);
        QFETCH(QString, primary);
        const QStringList found = InterfaceNames::cellularInterfaces(
            present, configured, [&](const QString &n) { return sysfsCellular.contains(n); });
        QCOMPARE(found, cellular);
        QCOMPARE(InterfaceNames::primaryCellular(found, !configured.isEmpty(), previous), primary);
    }

    // A stand-in sysfs tree: Wi-Fi by wireless/ or phy80211, cellular by uevent or link type.
    void sysfsClassification()
    {
        QTemporaryDir root;
        writeFile(root.filePath("wlp3s0/wireless/.keep"), "");
        writeFile(root.filePath("wlan1/phy80211/name"), "phy1");
        writeFile(root.filePath("eth0/uevent"), "INTERFACE=eth0\nIFINDEX=2\n");
        writeFile(root.filePath("eth0/type"), "1\n");
        writeFile(root.filePath("mbim0/uevent"), "DEVTYPE=wwan\nINTERFACE=mbim0\n");
        writeFile(root.filePath("rmnet_data0/type"), "519\n");
        writeFile(root.filePath("modem/type"), "512\n");
        writeFile(root.filePath("vpn/type"), "512\n");
        writeFile(root.filePath("mbim0/ifindex"), "7\n");
        writeFile(root.filePath("boot_id"), "6f1c-42\n");
        LinuxNetworkInterfaces sys(QString(), root.path(), root.filePath("boot_id"));
        QCOMPARE(sys.wifiInterfaces(), (QStringList{"wlan1", "wlp3s0"}));
        QVERIFY(sys.isCellularLink(QStringLiteral("mbim0")));
        QVERIFY(sys.isCellularLink(QStringLiteral("rmnet_data0")));
        QVERIFY(!sys.isCellularLink(QStringLiteral("modem"))); // PPP: only a modem's data link
        QVERIFY(!sys.isCellularLink(QStringLiteral("eth0")));
        QVERIFY(!sys.isCellularLink(QStringLiteral("absent")));
        sys.setModemLinks([] { return QStringList{QStringLiteral("modem")}; });
        QVERIFY(sys.isCellularLink(QStringLiteral("modem")));
        QVERIFY(!sys.isCellularLink(QStringLiteral("vpn")));
        QCOMPARE(sys.interfaceIndex(QStringLiteral("mbim0")), 7);
        QCOMPARE(sys.interfaceIndex(QStringLiteral("absent")), 0);
        QCOMPARE(sys.bootId(), QStringLiteral("6f1c-42"));
    }

    // The saved Wi-Fi name holds until re-detection.
    void wifiNameDetection_data()
    {
        QTest::addColumn<QStringList>("detected");
        QTest::addColumn<QString>("saved");
        QTest::newRow("the first detected name") << QStringList{"wlan0", "wlan1"} << "wlan0";
        QTest::newRow("nothing detected falls back to en0") << QStringList() << "en0";
    }

    void wifiNameDetection()
    {
        QFETCH(QStringList, detected);
        QFETCH(QString, saved);
        TestContainer c;
        c.interfaces.wifi = detected;
        auto shared = c.open();
        QCOMPARE(shared->savedWifiLink(), saved);
        QCOMPARE(shared->userPref().stringForKey(QStringLiteral("PREF_INTERFACE_NAME")), saved);
        c.interfaces.wifi = QStringList{QStringLiteral("wlx99")};
        QCOMPARE(shared->savedWifiLink(), saved); // the saved name stays in force
        shared->checkWifiLink();
        QCOMPARE(shared->savedWifiLink(), QStringLiteral("wlx99"));
    }
};

QTEST_GUILESS_MAIN(TestInterfaces)
#include "tst_interfaces.moc"
