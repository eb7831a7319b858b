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

    void valuesRoundTripWithTheirTypes_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("string") << QVariant(QStringLiteral("Plan <1> & \"2\" ünï 日"));
        QTest::newRow("empty string") << QVariant(QString(QLatin1StringView("")));
        QTest::newRow("integer") << QVariant(qlonglong(-9007199254740993LL));
        QTest::newRow("double") << QVariant(2147483648.5);
        QTest::newRow("double that looks whole") << QVariant(2147483648.0);
        QTest::newRow("tiny double") << QVariant(1e-300);
        QTest::newRow("infinity") << QVariant(-HUGE_VAL);
        QTest::newRow("true") << QVariant(true);
        QTest::newRow("false") << QVariant(false);
        QTest::newRow("date in a repeated hour")
            << QVariant(QDateTime::fromSecsSinceEpoch(1729992615)); // 02:30 CET
        QTest::newRow("array") << QVariant(QVariantList{QStringLiteral("2"), qlonglong(1), 0.5, false});
        QTest::newRow("nested dictionary") << QVariant(
            QVariantMap{{QStringLiteral("A"), QVariantMap{{QStringLiteral("x"), QVariantList{1.5, 2.5}}}},
                        {QStringLiteral("B"), QVariantMap()}});
        QTest::newRow("data") << QVariant(QByteArray("\x00\x01\xff", 3));
    }

    void valuesRoundTripWithTheirTypes()
    {
        QFETCH(QVariant, value);
        {
            SettingsDomain d(path());
            d.setValue(QStringLiteral("K"), value);
            QVERIFY(d.synchronize());
        }
        SettingsDomain fresh(path());
        const QVariant read = fresh.value(QStringLiteral("K"));
        QCOMPARE(read.typeId() == QMetaType::Int ? QMetaType::LongLong : read.typeId(),
                 value.typeId() == QMetaType::Int ? QMetaType::LongLong : value.typeId());
        QCOMPARE(read, value);
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
            {QStringLiteral("n"),
             QVariantMap{{QStringLiteral("i"), qlonglong(-5)}, {QStringLiteral("r"), 0.1}}},
            {QStringLiteral("d"), QDateTime::fromSecsSinceEpoch(1729992615)},
            {QStringLiteral("b"), QByteArray("\x00\xff", 2)}};
        QTest::newRow("written") << PropertyList::toXml(written);
        const auto doc = [](const char *body) {
            return QByteArray("<plist version=\"1.0\">") + body + "</plist>";
        };
        QTest::newRow("other white space")
            << doc("\t<dict>\n\t<key>a</key>\t<integer> 7 </integer>\n</dict>\n");
        QTest::newRow("empty elements") << doc("<dict><key/><string/><key>t</key><true></true></dict>");
        QTest::newRow("apostrophe entity") << doc("<dict><key>a</key><string>&apos;&lt;</string></dict>");
        QTest::newRow("character reference") << doc("<dict><key>a</key><string>&#x41;</string></dict>");
        QTest::newRow("repeated key")
            << doc("<dict><key>a</key><integer>1</integer><key>a</key><real>2</real></dict>");
        QTest::newRow("keys out of order") << doc("<dict><key>b</key><true/><key>a</key><false/></dict>");
        QTest::newRow("comment") << doc("<dict><!-- x --><key>a</key><true/></dict>");
        QTest::newRow("CDATA") << doc("<dict><key>a</key><string><![CDATA[<x>]]></string></dict>");
        QTest::newRow("carriage return") << doc("<dict><key>a</key><string>x\r\ny</string></dict>");
        QTest::newRow("invalid UTF-8") << doc("<dict><key>a</key><string>\xc3\x28</string></dict>");
        QTest::newRow("not a character") << doc("<dict><key>a</key><string>\xef\xbf\xbe</string></dict>");
        QTest::newRow("CDATA end in text") << doc("<dict><key>a</key><string>]]></string></dict>");
        QTest::newRow("unknown entity") << doc("<dict><key>a</key><string>&nbsp;</string></dict>");
        QTest::newRow("end tag without a name")
            << doc("<dict><key>a</key><array><true/></ <true/></array></dict>");
        QTest::newRow("mismatched end") << doc("<dict><key>a</key><string>x</key></dict>");
        QTest::newRow("bad real") << doc("<dict><key>a</key><real>1,5</real></dict>");
        QTest::newRow("attribute") << doc("<dict><key>a</key><string id=\"1\">x</string></dict>");
        QTest::newRow("text beside elements") << doc("<dict>x<key>a</key><true/></dict>");
        QTest::newRow("after the root") << doc("<dict/>") + "<x/>";
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
        const auto plans = [](SettingsDomain &d) { return d.dictionaryForKey(QStringLiteral("plans")); };
        const auto withPlan = [&](SettingsDomain &d, const QString &id, const QVariant &v) {
            QVariantMap p = plans(d);
            if (v.isValid())
                p.insert(id, QVariantMap{{QStringLiteral("label"), v}});
            else
                p.remove(id);
            d.setValue(QStringLiteral("plans"), p);
        };
        SettingsDomain a(path()), b(path()), c(path());
        a.setValue(QStringLiteral("gone"), 1);
        withPlan(a, QStringLiteral("A"), QStringLiteral("a"));
        withPlan(a, QStringLiteral("old"), QStringLiteral("o"));
        QVERIFY(a.synchronize());
        QVERIFY(b.value(QStringLiteral("gone")).isNull());
        QVERIFY(b.synchronize() && c.synchronize());
        QCOMPARE(b.integerForKey(QStringLiteral("gone")), 1);
        withPlan(a, QStringLiteral("A"), QStringLiteral("a2")); // a changes A and removes a key,
        a.removeValue(QStringLiteral("gone"));
        withPlan(b, QStringLiteral("B"), QStringLiteral("b")); // b adds B and a key,
        b.setValue(QStringLiteral("fromB"), QStringLiteral("b"));
        withPlan(c, QStringLiteral("old"), QVariant()); // c removes old and adds C
        withPlan(c, QStringLiteral("C"), QStringLiteral("c"));
        QVERIFY(c.synchronize() && b.synchronize() && a.synchronize() && b.synchronize());
        const QVariantMap expected{
            {QStringLiteral("A"), QVariantMap{{QStringLiteral("label"), QStringLiteral("a2")}}},
            {QStringLiteral("B"), QVariantMap{{QStringLiteral("label"), QStringLiteral("b")}}},
            {QStringLiteral("C"), QVariantMap{{QStringLiteral("label"), QStringLiteral("c")}}}};
        SettingsDomain fresh(path());
        for (SettingsDomain *d : {&a, &b, &fresh}) {
            QCOMPARE(plans(*d), expected);
            QCOMPARE(d->stringForKey(QStringLiteral("fromB")), QStringLiteral("b"));
            QVERIFY(d->value(QStringLiteral("gone")).isNull());
        }
    }

    // A write that changes nothing leaves the file alone; a change of type is a change.
    void unchangedValuesAreNotWrittenAgain()
    {
        SettingsDomain a(path());
        a.setValue(QStringLiteral("level"), qlonglong(2));
        QVERIFY(a.synchronize());
        // Every write keeps the file it replaces as the last good copy: its absence says none was made.
        QFile::remove(path() + QStringLiteral(".last-good"));
        a.setValue(QStringLiteral("level"), qlonglong(2));
        a.removeValue(QStringLiteral("absent"));
        QVERIFY(a.synchronize());
        QVERIFY(!QFile::exists(path() + QStringLiteral(".last-good"))); // no write: no last-good copy
        a.setValue(QStringLiteral("level"), 2.0);
        QVERIFY(a.synchronize());
        QVERIFY(QFile::exists(path() + QStringLiteral(".last-good")));
        SettingsDomain b(path());
        QCOMPARE(b.value(QStringLiteral("level")).metaType(), QMetaType::fromType<double>());
    }

    // What the file could not read back is refused when written.
    void unwritableValuesAreRefused_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("year 0") << QVariant(QDateTime(QDate(0, 12, 31), QTime(12, 0), Qt::UTC));
        QTest::newRow("year 10000 in UTC")
            << QVariant(QDateTime(QDate(9999, 12, 31), QTime(23, 30), QTimeZone(-3600)));
        QTest::newRow("control character") << QVariant(QStringLiteral("a\u0001b"));
        QVariant deep = QVariantList();
        for (int i = 0; i < PropertyList::kMaxDepth + 1; ++i)
            deep = QVariantList{deep};
        QTest::newRow("nested too deep") << deep;
    }

    void unwritableValuesAreRefused()
    {
        QFETCH(QVariant, value);
        SettingsDomain d(path());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("refused")));
        QVERIFY(!d.setValue(QStringLiteral("K"), value));
        QVERIFY(d.value(QStringLiteral("K")).isNull());
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
            d.setValue(QStringLiteral("plan"), QStringLiteral("kept"));
            d.setValue(QStringLiteral("PREF_prevCellIn"), 100.0);
            QVERIFY(d.synchronize());
            d.setValue(QStringLiteral("later"), 2);
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
        QCOMPARE(restored.stringForKey(QStringLiteral("plan")), QStringLiteral("kept"));
        QVERIFY(restored.value(QStringLiteral("PREF_prevCellIn")).isNull()); // may be a sample old
        QFile aside(restored.lastMovedAside());
        QVERIFY(aside.open(QIODevice::ReadOnly));
        QCOMPARE(aside.readAll(), content);
        QCOMPARE(SettingsDomain(path()).stringForKey(QStringLiteral("plan")), QStringLiteral("kept"));

        QFile::remove(restored.lastGoodPath());
        damage();
        SettingsDomain refused(path());
        QVERIFY(refused.loadError().contains(path()));
        refused.setValue(QStringLiteral("k"), 2);
        QVERIFY(!refused.synchronize());
        QFile f(path());
        QVERIFY(f.open(QIODevice::ReadOnly));
        QCOMPARE(f.readAll(), content);
    }
};

QTEST_GUILESS_MAIN(TestSettingsDomain)
#include "tst_settingsdomain.moc"
