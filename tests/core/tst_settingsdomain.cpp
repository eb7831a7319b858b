#include "core/propertylist.h"
#include "core/settingsdomain.h"

#include <QTimeZone>
#include <QtTest>

class TestSettingsDomain : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString path() const { return m_dir.filePath(QStringLiteral("group.zr.qxnext.plist")); }

private slots:
    void initTestCase() { qputenv("TZ", "Europe/Berlin"); }
    void cleanup()
    {
        for (const QString &f : QDir(m_dir.path()).entryList(QDir::Files))
            QFile::remove(m_dir.filePath(f));
    }

    // Every value reads back with its type; what the file could not read back is refused when written.
    void valuesRoundTripWithTheirTypes_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("writable");
        const auto row = [](const char *name, const QVariant &v, bool writable = true) {
            QTest::newRow(name) << v << writable;
        };
        row("string", QStringLiteral("Plan <1> & \"2\" ünï 日"));
        row("empty string", QString(QLatin1StringView("")));
        row("integer", qlonglong(-9007199254740993LL));
        row("double", 2147483648.5);
        row("double that looks whole", 2147483648.0);
        row("tiny double", 1e-300);
        row("infinity", -HUGE_VAL);
        row("true", true);
        row("false", false);
        row("date in a repeated hour", QDateTime::fromSecsSinceEpoch(1729992615)); // 02:30 CET
        row("array", QVariantList{QStringLiteral("2"), qlonglong(1), 0.5, false});
        row("nested dictionary", QVariantMap{{"A", QVariantMap{{"x", QVariantList{1.5, 2.5}}}},
                                             {QStringLiteral("B"), QVariantMap()}});
        row("data", QByteArray("\x00\x01\xff", 3));
        row("year 0", QDateTime(QDate(0, 12, 31), QTime(12, 0), Qt::UTC), false);
        row("year 10000 in UTC", QDateTime(QDate(9999, 12, 31), QTime(23, 30), QTimeZone(-3600)), false);
        row("control character", QStringLiteral("a\u0001b"), false);
        QVariant deep = QVariantList();
        for (int i = 0; i < PropertyList::kMaxDepth + 1; ++i)
            deep = QVariantList{deep};
        row("nested too deep", deep, false);
    }

    void valuesRoundTripWithTheirTypes()
    {
        QFETCH(QVariant, value);
        QFETCH(bool, writable);
        {
            SettingsDomain d(path());
            if (!writable)
                QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("refused")));
            QCOMPARE(d.setValue("K", value), writable);
            QCOMPARE(d.value("K").isValid(), writable);
            QVERIFY(d.synchronize());
        }
        SettingsDomain fresh(path());
        const QVariant read = fresh.value("K");
        if (!writable)
            QVERIFY(read.isNull());
        else
            QCOMPARE(read.typeId() == QMetaType::Int ? QMetaType::LongLong : read.typeId(),
                     value.typeId() == QMetaType::Int ? QMetaType::LongLong : value.typeId());
        QCOMPARE(read, writable ? value : QVariant());
    }

    // Dates are kept to the second, cut rather than rounded, so a moment never moves later. Files
    // written by earlier versions carry a document type declaration; they still read.
    void fileForm()
    {
        const QDateTime t(QDate(2026, 11, 30), QTime(23, 59, 59, 999));
        const QByteArray xml = PropertyList::toXml({{QStringLiteral("d"), t}});
        QVERIFY2(xml.contains("<date>2026-11-30T22:59:59Z</date>"), xml.constData());
        QCOMPARE(PropertyList::fromXml(xml, nullptr)->value(QStringLiteral("d")).toDateTime(),
                 t.addMSecs(-999));
        const QByteArray earlier =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<!DOCTYPE plist PUBLIC \"-//X//DTD PLIST 1.0//EN\" \"http://example.org/p.dtd\">\n"
            "<plist version=\"1.0\"><dict><key>PREF_BILLDAY</key><integer>15</integer></dict></plist>";
        const auto read = PropertyList::fromXml(earlier, nullptr);
        QVERIFY(read);
        QCOMPARE(read->value(QStringLiteral("PREF_BILLDAY")).toLongLong(), 15);
        QVERIFY(!PropertyList::toXml(*read).contains("DOCTYPE"));
    }

    // Settings are read without a general XML parser when the file keeps to the plain form the
    // writer makes; whatever that reader accepts must read exactly as the general one reads it,
    // and whatever it refuses goes to the general one.
    void plainAndGeneralReadersAgree_data()
    {
        QTest::addColumn<QByteArray>("xml");
        const QVariantMap written{
            {QStringLiteral("a<b>&\"c'"), QStringLiteral("x <y> & \"z\" 'w' ünï 日 \t\n")},
            {QStringLiteral(""), QVariantList{QVariantMap(), QVariantList(), QString(), true, false}},
            {QStringLiteral("n"), QVariantMap{{"i", qlonglong(-5)}, {QStringLiteral("r"), 0.1}}},
            {QStringLiteral("d"), QDateTime::fromSecsSinceEpoch(1729992615)},
            {QStringLiteral("b"), QByteArray("\x00\xff", 2)}};
        QTest::newRow("written") << PropertyList::toXml(written);
        // Other white space, empty elements, entities, repeated and unordered keys, comments, CDATA,
        // carriage returns, bytes that are no text, and every kind of malformed element.
        for (const char *body :
             {"\t<dict>\n\t<key>a</key>\t<integer> 7 </integer>\n</dict>\n",
              "<dict><key/><string/><key>t</key><true></true></dict>",
              "<dict><key>a</key><string>&apos;&lt;</string></dict>",
              "<dict><key>a</key><string>&#x41;</string></dict>",
              "<dict><key>a</key><integer>1</integer><key>a</key><real>2</real></dict>",
              "<dict><key>b</key><true/><key>a</key><false/></dict>",
              "<dict><!-- x --><key>a</key><true/></dict>",
              "<dict><key>a</key><string><![CDATA[<x>]]></string></dict>",
              "<dict><key>a</key><string>x\r\ny</string></dict>",
              "<dict><key>a</key><string>\xc3\x28</string></dict>",     // invalid UTF-8
              "<dict><key>a</key><string>\xef\xbf\xbe</string></dict>", // not a character
              "<dict><key>a</key><string>]]></string></dict>",
              "<dict><key>a</key><string>&nbsp;</string></dict>",
              "<dict><key>a</key><array><true/></ <true/></array></dict>",
              "<dict><key>a</key><string>x</key></dict>", "<dict><key>a</key><real>1,5</real></dict>",
              "<dict><key>a</key><string id=\"1\">x</string></dict>", "<dict>x<key>a</key><true/></dict>"})
            QTest::newRow(body) << QByteArray("<plist version=\"1.0\">") + body + "</plist>";
        QTest::newRow("after the root") << QByteArray("<plist version=\"1.0\"><dict/></plist><x/>");
        QTest::newRow("cut short") << PropertyList::toXml(written).chopped(20);
    }

    void plainAndGeneralReadersAgree()
    {
        QFETCH(QByteArray, xml);
        const std::optional<QVariantMap> general = PropertyList::fromXmlGeneral(xml, nullptr);
        const std::optional<QVariantMap> read = PropertyList::fromXml(xml, nullptr);
        QCOMPARE(read.has_value(), general.has_value());
        if (read) // written again, with the type of every value
            QCOMPARE(PropertyList::toXml(*read), PropertyList::toXml(*general));
    }

    // Writers in other processes merge by key, and inside a dictionary (the plans) entry by entry:
    // each sees the others' changes once it synchronises and loses none of them, removals included;
    // a plan removed by one is not brought back by another's later write.
    void writersMerge()
    {
        const auto plans = [](SettingsDomain &d) { return d.dictionaryForKey("plans"); };
        const auto withPlan = [&](SettingsDomain &d, const QString &id, const QVariant &v) {
            QVariantMap p = plans(d);
            if (v.isValid())
                p.insert(id, QVariantMap{{"label", v}});
            else
                p.remove(id);
            d.setValue("plans", p);
        };
        SettingsDomain a(path()), b(path()), c(path());
        a.setValue("gone", 1);
        withPlan(a, "A", "a");
        withPlan(a, "old", "o");
        QVERIFY(a.synchronize());
        QVERIFY(b.value("gone").isNull());
        QVERIFY(b.synchronize() && c.synchronize());
        QCOMPARE(b.integerForKey("gone"), 1);
        withPlan(a, "A", "a2"); // a changes A and removes a key,
        a.removeValue("gone");
        withPlan(b, "B", "b"); // b adds B and a key,
        b.setValue("fromB", QStringLiteral("b"));
        withPlan(c, "old", QVariant()); // c removes old and adds C
        withPlan(c, "C", "c");
        QVERIFY(c.synchronize() && b.synchronize() && a.synchronize() && b.synchronize());
        const QVariantMap expected{{"A", QVariantMap{{"label", "a2"}}},
                                   {"B", QVariantMap{{"label", "b"}}},
                                   {"C", QVariantMap{{"label", "c"}}}};
        SettingsDomain fresh(path());
        for (SettingsDomain *d : {&a, &b, &fresh}) {
            QCOMPARE(plans(*d), expected);
            QCOMPARE(d->stringForKey("fromB"), QStringLiteral("b"));
            QVERIFY(d->value("gone").isNull());
        }
    }

    // A write that changes nothing leaves the file alone; a change of type is a change.
    void unchangedValuesAreNotWrittenAgain()
    {
        SettingsDomain a(path());
        a.setValue("level", qlonglong(2));
        QVERIFY(a.synchronize());
        // Every write keeps the file it replaces as the last good copy: its absence says none was made.
        QFile::remove(path() + QStringLiteral(".last-good"));
        a.setValue("level", qlonglong(2));
        a.removeValue("absent");
        QVERIFY(a.synchronize());
        QVERIFY(!QFile::exists(path() + QStringLiteral(".last-good"))); // no write: no last-good copy
        a.setValue("level", 2.0);
        QVERIFY(a.synchronize());
        QVERIFY(QFile::exists(path() + QStringLiteral(".last-good")));
        SettingsDomain b(path());
        QCOMPARE(b.value("level").metaType(), QMetaType::fromType<double>());
    }

    // A damaged file: with a good copy from before the last write the domain goes back to it (less
    // the counter baselines) and keeps the damaged bytes aside; without one it refuses, leaves the
    // file as it is and writes nothing.
    void damagedFile_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("garbage") << QByteArray("\x89PNG not a settings file");
        QTest::newRow("truncated") << PropertyList::toXml({{QStringLiteral("a"), 1}}).left(120);
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("root is an array")
            << QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\"><array/></plist>");
        QTest::newRow("bad integer") << QByteArray(
            "<plist version=\"1.0\"><dict><key>a</key><integer>x1</integer></dict></plist>");
        QTest::newRow("empty date") << QByteArray(
            "<plist version=\"1.0\"><dict><key>a</key><date></date></dict></plist>");
        QTest::newRow("year 10000") << QByteArray(
            "<plist version=\"1.0\"><dict><key>a</key><date>+10000-01-01T00:00:00Z</date></dict></plist>");
        QTest::newRow("50,000 levels deep") << "<plist version=\"1.0\"><dict><key>a</key>" +
                                                   QByteArray("<array>").repeated(50000) +
                                                   QByteArray("</array>").repeated(50000) + "</dict></plist>";
    }

    void damagedFile()
    {
        QFETCH(QByteArray, content);
        {
            SettingsDomain d(path());
            d.setValue("plan", QStringLiteral("kept"));
            d.setValue("PREF_prevCellIn", 100.0);
            QVERIFY(d.synchronize());
            d.setValue("later", 2);
            QVERIFY(d.synchronize()); // the version before this write is the good copy
        }
        const auto damage = [&] {
            QFile f(path());
            QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
            f.write(content);
        };
        damage();
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("went back to the last good copy")));
        SettingsDomain restored(path());
        QVERIFY(restored.loadError().isEmpty());
        QCOMPARE(restored.stringForKey("plan"), QStringLiteral("kept"));
        QVERIFY(restored.value("PREF_prevCellIn").isNull()); // may be a sample old
        QFile aside(restored.lastMovedAside());
        QVERIFY(aside.open(QIODevice::ReadOnly));
        QCOMPARE(aside.readAll(), content);
        QCOMPARE(SettingsDomain(path()).stringForKey(QStringLiteral("plan")), QStringLiteral("kept"));

        QFile::remove(restored.lastGoodPath());
        damage();
        SettingsDomain refused(path());
        QVERIFY(refused.loadError().contains(path()));
        refused.setValue("k", 2);
        QVERIFY(!refused.synchronize());
        QFile f(path());
        QVERIFY(f.open(QIODevice::ReadOnly));
        QCOMPARE(f.readAll(), content);
    }
};

QTEST_GUILESS_MAIN(TestSettingsDomain)
#include "tst_settingsdomain.moc"
