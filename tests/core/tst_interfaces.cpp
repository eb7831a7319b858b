#include "core/linkclassifier.h"
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
            " face |bytes    packets errs drop fifo frame compressed multicast|"
            "bytes    packets errs drop fifo colls carrier compressed\n"
            "    lo:    3267      29    0    0    0     0          0         0     "
            "3267      29    0    0    0     0       0          0\n"
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
        QVERIFY(!missing.readCounters());
    }

    // Numbers by value, a prefix first, then letters; leading zeros do not make a number larger.
    void naturalOrder()
    {
        for (const auto &[a, b] : QList<std::pair<QString, QString>>{
                 {"ww2", "ww10"}, {"ppp", "ppp0"}, {"ppp9", "wwan0"}, {"ww02", "ww3"}}) {
            QVERIFY2(InterfaceNames::naturalLess(a, b), qPrintable(a));
            QVERIFY2(!InterfaceNames::naturalLess(b, a) && !InterfaceNames::naturalLess(a, a), qPrintable(a));
        }
    }

    // A stand-in sysfs tree: each kind of link as the kernel shows it.
    void sysfsClassification()
    {
        QTemporaryDir root;
        const auto device = [&](const QString &name, const QString &driver) {
            writeFile(root.filePath(QStringLiteral("drivers/%1/.keep").arg(driver)), "");
            QDir().mkpath(root.filePath(name + QStringLiteral("/device")));
            QFile::link(root.filePath(QStringLiteral("drivers/") + driver),
                        root.filePath(name + QStringLiteral("/device/driver")));
        };
        writeFile(root.filePath("wlp3s0/wireless/.keep"), "");
        writeFile(root.filePath("wlan1/phy80211/name"), "phy1");
        writeFile(root.filePath("lo/type"), "772\n");
        writeFile(root.filePath("eth0/type"), "1\n");
        device("eth0", "e1000e");
        writeFile(root.filePath("mbim0/uevent"), "DEVTYPE=wwan\nINTERFACE=mbim0\n");
        writeFile(root.filePath("mbim0/ifindex"), "7\n");
        writeFile(root.filePath("rmnet_data0/type"), "519\n");
        writeFile(root.filePath("modem/type"), "512\n");
        writeFile(root.filePath("vpn/type"), "512\n");
        for (const char *name : {"usb0", "enx0a1b", "enp0s20u2"})
            writeFile(root.filePath(QStringLiteral("%1/type").arg(QLatin1StringView(name))), "1\n");
        device("usb0", "rndis_host");
        device("enx0a1b", "cdc_ncm");
        device("enp0s20u2", "ipheth");
        writeFile(root.filePath("bnep0/type"), "1\n");
        writeFile(root.filePath("br0/type"), "1\n"); // bridge, veth, tun, WireGuard: no device
        writeFile(root.filePath("wg0/type"), "65534\n");
        writeFile(root.filePath("boot_id"), "6f1c-42\n");
        LinuxNetworkInterfaces sys(QString(), root.path(), root.filePath("boot_id"));
        QCOMPARE(sys.wifiInterfaces(), (QStringList{"wlan1", "wlp3s0"}));
        const QList<std::pair<const char *, LinkKind>> kinds{
            {"wlp3s0", LinkKind::WiFi},          {"wlan1", LinkKind::WiFi},
            {"lo", LinkKind::Loopback},          {"eth0", LinkKind::Ethernet},
            {"mbim0", LinkKind::Modem},          {"rmnet_data0", LinkKind::Modem},
            {"modem", LinkKind::Virtual},        {"usb0", LinkKind::UsbTethering},
            {"enx0a1b", LinkKind::UsbTethering}, {"enp0s20u2", LinkKind::UsbTethering},
            {"bnep0", LinkKind::Bluetooth},      {"br0", LinkKind::Virtual},
            {"wg0", LinkKind::Virtual},          {"absent", LinkKind::Unknown},
            {"../eth0", LinkKind::Unknown}};
        for (const auto &[name, kind] : kinds)
            QVERIFY2(sys.linkKind(QLatin1StringView(name)) == kind, name);
        sys.setModemLinks([] { return QStringList{"modem"}; }); // a connected modem's PPP
        QCOMPARE(sys.linkKind(QStringLiteral("modem")), LinkKind::Modem);
        QCOMPARE(sys.linkKind(QStringLiteral("vpn")), LinkKind::Virtual);
        QVERIFY(!sys.managedLinks());
        // A link is classified once for its life: a new link under the same name is classified anew.
        QCOMPARE(sys.linkKind(QStringLiteral("eth0")), LinkKind::Ethernet);
        writeFile(root.filePath("eth0/wireless/.keep"), "");
        QCOMPARE(sys.linkKind(QStringLiteral("eth0")), LinkKind::Ethernet);
        QVERIFY(QDir(root.path()).rename(QStringLiteral("eth0"), QStringLiteral("gone")));
        writeFile(root.filePath("eth0/wireless/.keep"), "");
        QCOMPARE(sys.linkKind(QStringLiteral("eth0")), LinkKind::WiFi);
        QCOMPARE(sys.interfaceIndex(QStringLiteral("mbim0")), 7);
        QCOMPARE(sys.interfaceIndex(QStringLiteral("absent")), 0);
        QCOMPARE(sys.bootId(), QStringLiteral("6f1c-42"));
    }

    // The running service's view of NetworkManager stands in for asking it, but only while that
    // service runs and for the same system bus; when it stops sharing, the file goes.
    void sharedView()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("run/networkmanager-view.json"));
        const QList<ManagedLink> hotspot{{"wlan0", "Pixel", "u-7", 3}};
        std::optional<QList<ManagedLink>> said = hotspot;
        LinuxNetworkInterfaces service{QString(), QString()};
        service.setManagedLinks([&said] { return said; });
        service.setSharedViewPath(path);
        service.shareManagedLinks(true);
        int asked = 0;
        LinuxNetworkInterfaces sample{QString(), QString()};
        sample.setManagedLinks([&asked] {
            ++asked;
            return std::optional<QList<ManagedLink>>(QList<ManagedLink>());
        });
        sample.setSharedViewPath(path);
        QProcess ended;
        ended.start(QStringLiteral("true"));
        QVERIFY(ended.waitForFinished());
        const auto edited = [&](const char *key, const QJsonValue &value) {
            service.managedLinks();
            QFile f(path);
            QVERIFY(f.open(QIODevice::ReadOnly));
            QJsonObject view = QJsonDocument::fromJson(f.readAll()).object();
            f.close();
            view.insert(QLatin1StringView(key), value);
            writeFile(path, QJsonDocument(view).toJson());
        };
        struct Case
        {
            const char *name;
            bool viewUsed;
            std::function<void()> arrange;
        };
        const QList<Case> cases{
            {"a running service's view", true, [&] { service.managedLinks(); }},
            {"NetworkManager absent, as the service saw it", true,
             [&] { said.reset(), service.managedLinks(); }},
            {"left by a process that ended", false, [&] { edited("pid", qint64(ended.processId())); }},
            {"the same process id, started later", false, [&] { edited("start", "1"); }},
            {"read on another system bus", false, [&] { edited("bus", "unix:path=/elsewhere"); }},
            {"a damaged file", false, [&] { writeFile(path, "{\"pid\": "); }},
        };
        for (const Case &c : cases) {
            said = hotspot;
            c.arrange();
            asked = 0;
            const auto links = sample.managedLinks();
            QVERIFY2(asked == (c.viewUsed ? 0 : 1), c.name);
            if (c.viewUsed) // the view keeps NetworkManager's answer, or that there was none
                QVERIFY2(links.has_value() == said.has_value() &&
                             (!links || (links->size() == 1 && links->at(0).connection == "Pixel" &&
                                         links->at(0).metered == 3)),
                         c.name);
        }
        service.shareManagedLinks(false);
        QVERIFY(!QFile::exists(path));
    }

    // Which figure a link feeds: the user's choice first, then a cellular listing, virtual links,
    // a served hotspot, NetworkManager's verdict, and the kind of link.
    void linkUses_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("metered"); // -1: not managed
        QTest::addColumn<bool>("serving");
        QTest::addColumn<bool>("listed");
        QTest::addColumn<QString>("choice");
        QTest::addColumn<int>("use");
        using K = LinkKind;
        using U = LinkUse;
        const auto row = [](const char *name, K kind, int metered, U use, bool listed = false,
                            const char *choice = "", bool serving = false) {
            QTest::newRow(name) << int(kind) << metered << serving << listed << QString::fromLatin1(choice)
                                << int(use);
        };
        row("phone hotspot over Wi-Fi", K::WiFi, 3, U::Mobile);
        row("home Wi-Fi", K::WiFi, 4, U::Other);
        row("Wi-Fi, no manager", K::WiFi, -1, U::Other);
        row("Wi-Fi the user marked metered", K::WiFi, 1, U::Mobile);
        row("wired, not activated", K::Ethernet, 0, U::Other);
        row("USB tethering, no manager", K::UsbTethering, -1, U::Mobile);
        row("USB adapter NetworkManager calls unmetered", K::UsbTethering, 4, U::Other);
        row("Bluetooth PAN", K::Bluetooth, -1, U::Mobile);
        row("modem guessed unmetered still pays", K::Modem, 4, U::Mobile);
        row("modem set unmetered by the user in NetworkManager", K::Modem, 2, U::Other);
        row("VPN tunnel on a metered link", K::Virtual, 3, U::NotCounted);
        row("loopback", K::Loopback, -1, U::NotCounted);
        row("listed PPP link", K::Virtual, -1, U::Mobile, true);
        row("hotspot served", K::WiFi, 4, U::Serving, false, "", true);
        row("the user's choice decides last", K::WiFi, 3, U::Other, false, "other");
        row("ignore a modem", K::Modem, -1, U::NotCounted, true, "ignore");
        row("count a tunnel", K::Virtual, -1, U::Mobile, false, "mobile");
        row("a word that is no choice is automatic", K::WiFi, 3, U::Mobile, false, "Mobile");
    }

    void linkUses()
    {
        QFETCH(int, kind);
        QFETCH(int, metered);
        QFETCH(bool, serving);
        QFETCH(bool, listed);
        QFETCH(QString, choice);
        QFETCH(int, use);
        LinkClassifier::Facts facts{QStringLiteral("link0"), LinkKind(kind), std::nullopt, listed};
        if (metered >= 0)
            facts.managed = ManagedLink{"link0", "Pixel", "u-1", metered, serving};
        // A managed link's choice is its connection's, an unmanaged one's its interface's
        // (by its identifier: a renamed connection keeps it).
        const QString key = metered >= 0 ? QStringLiteral("u-1") : QStringLiteral("link0");
        const QVariantMap choices{{key, QVariantMap{{"choice", choice}, {"name", "Old"}}},
                                  {"Pixel", LinkClassifier::storedChoice(LinkChoice::Ignore, "Pixel")}};
        const LinkClass c = LinkClassifier::classify(facts, choices);
        QCOMPARE(int(c.use), use);
        QCOMPARE(c.choiceKey, key);
        QCOMPARE(c.choiceName, metered >= 0 ? QStringLiteral("Pixel") : QStringLiteral("link0"));
        QVERIFY(!c.reason.isEmpty());
    }

    // The saved Wi-Fi name (the first detected, or en0 when none is) holds until re-detection.
    void wifiNameDetection()
    {
        for (const auto &[detected, saved] :
             QList<std::pair<QStringList, QString>>{{{"wlan0", "wlan1"}, "wlan0"}, {{}, "en0"}}) {
            TestContainer c;
            c.interfaces.wifi = detected;
            auto shared = c.open();
            QCOMPARE(shared->savedWifiLink(), saved);
            QCOMPARE(shared->userPref().stringForKey(QStringLiteral("PREF_INTERFACE_NAME")), saved);
            c.interfaces.wifi = QStringList{"wlx99"};
            QCOMPARE(shared->savedWifiLink(), saved); // the saved name stays in force
            shared->checkWifiLink();
            QCOMPARE(shared->savedWifiLink(), QStringLiteral("wlx99"));
        }
    }
};

QTEST_GUILESS_MAIN(TestInterfaces)
#include "tst_interfaces.moc"
