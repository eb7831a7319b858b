#include "connections/connectiontable.h"
#include "platform/linux/conntrack.h"

#include <QtTest>

#include <arpa/inet.h>

namespace {

// A socket list built field by field, in the record layout the parser reads.
class ListBuilder
{
public:
    // A TCP list (protocol 6) gives every connection a TCP control block.
    explicit ListBuilder(quint64 generation, int listProtocol = 6) : m_tcp(listProtocol == 6)
    {
        QByteArray header(24, '\0');
        put<quint32>(header, 0, 24);
        put<quint64>(header, 8, generation);
        m_data = header;
    }

    struct Connection
    {
        int protocol;
        quint64 generation;
        QString remote; // IPv4 or IPv6 text
        quint64 received = 0, sent = 0;
        quint8 flags = 0; // 0: from the address family
        quint32 pcbLength = 72;
    };

    ListBuilder &add(const Connection &c)
    {
        item(0x01, 64, [&](QByteArray &i) { put<qint32>(i, 36, c.protocol); });
        item(0x02, 32);
        item(0x04, 32);
        item(0x08, 136, [&](QByteArray &i) {
            // Split over two traffic classes: the parser must add all four.
            put<quint64>(i, 8 + 8, c.received / 2);
            put<quint64>(i, 8 + 24, c.sent / 2);
            put<quint64>(i, 8 + 3 * 32 + 8, c.received - c.received / 2);
            put<quint64>(i, 8 + 3 * 32 + 24, c.sent - c.sent / 2);
        });
        item(0x10, c.pcbLength, [&](QByteArray &i) {
            put<quint64>(i, 28, c.generation);
            unsigned char a[16] = {};
            const bool v4 = !c.remote.contains(QLatin1Char(':'));
            if (v4)
                inet_pton(AF_INET, c.remote.toLatin1().constData(), a + 12);
            else
                inet_pton(AF_INET6, c.remote.toLatin1().constData(), a);
            i[44] = char(c.flags ? c.flags : (v4 ? 0x1 : 0x2));
            std::memcpy(i.data() + 48, a, 16);
        });
        if (m_tcp)
            item(0x20, 40);
        return *this;
    }

    QByteArray finish()
    {
        QByteArray closing(24, '\0');
        put<quint32>(closing, 0, 24);
        return m_data + closing;
    }

private:
    template <typename T> static void put(QByteArray &b, int at, T v)
    {
        std::memcpy(b.data() + at, &v, sizeof v);
    }
    void item(quint32 kind, quint32 length, const std::function<void(QByteArray &)> &fill = {})
    {
        QByteArray i(int(length), '\0');
        put<quint32>(i, 0, length);
        put<quint32>(i, 4, kind);
        if (fill)
            fill(i);
        i.resize((i.size() + 7) & ~7); // the next item starts 8-byte aligned
        m_data += i;
    }
    bool m_tcp;
    QByteArray m_data;
};

using C = ListBuilder::Connection;

} // namespace

class TestConnectionTable : public QObject
{
    Q_OBJECT

private slots:
    void filters_data()
    {
        QTest::addColumn<int>("protocol");
        QTest::addColumn<QList<C>>("connections");
        QTest::addColumn<QStringList>("kept"); // addresses, in key order
        QTest::newRow("no connections") << 6 << QList<C>{} << QStringList{};
        QTest::newRow("private edge")
            << 6 << QList<C>{{6, 1, "172.31.255.1", 10, 1}, {6, 2, "172.32.0.1", 10, 1}}
            << QStringList{"172.32.0.1"};
        QTest::newRow("private ranges")
            << 6 << QList<C>{{6, 1, "10.1.2.3"},    {6, 2, "127.0.0.1"},   {6, 3, "169.254.9.9"},
                             {6, 4, "192.168.1.1"}, {6, 5, "224.0.0.251"}, {6, 6, "224.0.1.1"},
                             {6, 7, "100.64.0.1"}}
            << QStringList{"224.0.1.1", "100.64.0.1"};
        // A UDP list has no TCP control blocks: its connections are complete without.
        QTest::newRow("unconnected UDP")
            << 17 << QList<C>{{17, 1, "0.0.0.0"}, {17, 2, "198.18.0.1"}} << QStringList{"198.18.0.1"};
        QTest::newRow("IPv6") << 6
                              << QList<C>{{6, 1, "fe80::1"},    {6, 2, "fec0::1"}, {6, 3, "fd00::1"},
                                          {6, 4, "::1"},        {6, 5, "::"},      {6, 6, "::ffff:10.0.0.1"},
                                          {6, 7, "2001:db8::1"}}
                              << QStringList{"fec0::1", "::ffff:10.0.0.1", "2001:db8::1"};
        QTest::newRow("newer than the list")
            << 6 << QList<C>{{6, 101, "198.18.0.1"}, {6, 100, "198.18.0.2"}} << QStringList{"198.18.0.2"};
        QTest::newRow("other protocol")
            << 6 << QList<C>{{17, 1, "198.18.0.1"}, {6, 2, "198.18.0.2"}} << QStringList{"198.18.0.2"};
        C both{6, 1, "198.18.0.9"};
        both.flags = 0x3; // both flags: IPv4
        C none{6, 2, "198.18.0.8"};
        none.flags = 0x4;
        QTest::newRow("version flags") << 6 << QList<C>{both, none} << QStringList{"198.18.0.9"};
        C odd{6, 3, "198.18.0.7", 5, 5};
        odd.pcbLength = 69; // not a multiple of 8: the next item is still found
        QTest::newRow("unaligned length")
            << 6 << QList<C>{odd, {6, 4, "198.18.0.6"}} << QStringList{"198.18.0.7", "198.18.0.6"};
    }

    void filters()
    {
        QFETCH(int, protocol);
        QFETCH(QList<C>, connections);
        QFETCH(QStringList, kept);
        ListBuilder list(100, protocol);
        for (const C &c : connections)
            list.add(c);
        const std::optional<ConnectionTable> table = ConnectionTables::parsePcbList(list.finish(), protocol);
        QVERIFY(table);
        QStringList got;
        for (const C &c : connections)
            if (table->contains(QString::number(c.generation)))
                got.append(table->value(QString::number(c.generation)).address);
        QCOMPARE(got, kept);
        QCOMPARE(table->size(), kept.size());
    }

    void totalsAndFailures()
    {
        const QByteArray list = ListBuilder(10).add({6, 7, "198.18.0.1", 1001, 333}).finish();
        const std::optional<ConnectionTable> t = ConnectionTables::parsePcbList(list, 6);
        QCOMPARE(t->value("7"), (ConnectionEntry{1334, "198.18.0.1"}));
        QVERIFY(!ConnectionTables::parsePcbList(list, 1));          // neither TCP nor UDP
        QVERIFY(!ConnectionTables::parsePcbList(list.left(24), 6)); // the header alone
        // A list cut inside a connection's items: what came before still counts, nothing is read past the
        // end.
        const QByteArray two =
            ListBuilder(10).add({6, 1, "198.18.0.1", 5}).add({6, 2, "198.18.0.2", 5}).finish();
        for (qsizetype cut = 25; cut < two.size(); cut += 7) {
            const std::optional<ConnectionTable> part =
                ConnectionTables::parsePcbList(QByteArrayView(two).first(cut), 6);
            QVERIFY(part);
            QVERIFY(part->size() <= 2);
        }
    }

    // Whether the connection table is walked at all: only with accounting on and something tracked.
    void conntrackOutlook()
    {
        using O = ConntrackFlows::Outlook;
        // accounting "": no such file (connection tracking not loaded)
        for (const auto &[accounting, count, outlook] :
             QList<std::tuple<QByteArray, QByteArray, O>>{{"", "", O::NoTracking},
                                                          {"0\n", "12\n", O::AccountingOff},
                                                          {"1\n", "0\n", O::NothingTracked},
                                                          {"1\n", "10000\n", O::Dump},
                                                          {"1\n", "", O::Dump}, // count unreadable
                                                          {"on\n", "0\n", O::NoTracking}}) {
            QTemporaryDir dir;
            for (const auto &[name, text] :
                 {std::pair{"nf_conntrack_acct", accounting}, {"nf_conntrack_count", count}}) {
                QFile f(dir.filePath(QLatin1StringView(name)));
                QVERIFY(text.isEmpty() || (f.open(QIODevice::WriteOnly) && f.write(text) == text.size()));
            }
            ConntrackFlows flows(dir.path());
            QVERIFY2(flows.outlook() == outlook, accounting + count);
            // Nothing tracked: an empty table, known without asking the kernel; off: no table at all.
            if (outlook == O::NothingTracked)
                QCOMPARE(flows.udp(), ConnectionTable());
            if (outlook == O::AccountingOff || outlook == O::NoTracking)
                QVERIFY(!flows.udp());
        }
    }
};

QTEST_GUILESS_MAIN(TestConnectionTable)
#include "tst_connectiontable.moc"
