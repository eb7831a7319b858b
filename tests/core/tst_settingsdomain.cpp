#include "core/propertylist.h"
#include "core/settingsdomain.h"

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

    // Dates are kept to the second, cut rather than rounded, so a moment never moves later.
    void datesKeepWholeSeconds()
    {
        const QDateTime t(QDate(2026, 11, 30), QTime(23, 59, 59, 999));
        const QByteArray xml = PropertyList::toXml({{QStringLiteral("d"), t}});
        QVERIFY2(xml.contains("<date>2026-11-30T22:59:59Z</date>"), xml.constData());
        QCOMPARE(PropertyList::fromXml(xml, nullptr)->value(QStringLiteral("d")).toDateTime(),
                 t.addMSecs(-999));
    }

    void typedReadersOfAbsentValues()
    {
        SettingsDomain d(path());
        QCOMPARE(d.integerForKey(QStringLiteral("none")), 0);
        QCOMPARE(d.doubleForKey(QStringLiteral("none")), 0.0);
        QCOMPARE(d.boolForKey(QStringLiteral("none")), false);
        QVERIFY(d.stringForKey(QStringLiteral("none")).isNull());
        QVERIFY(!d.dateForKey(QStringLiteral("none")).isValid());
        QVERIFY(d.dictionaryForKey(QStringLiteral("none")).isEmpty());
    }

    // Another writer's change is seen once this process synchronises, and neither loses the other's
    // keys, including a removal.
    void writersMergeByKey()
    {
        SettingsDomain a(path());
        SettingsDomain b(path());
        a.setValue(QStringLiteral("shared"), 1);
        a.setValue(QStringLiteral("gone"), 1);
        QVERIFY(a.synchronize());
        QVERIFY(b.value(QStringLiteral("shared")).isNull());
        b.setValue(QStringLiteral("fromB"), QStringLiteral("b"));
        QVERIFY(b.synchronize());
        QCOMPARE(b.integerForKey(QStringLiteral("shared")), 1);
        a.setValue(QStringLiteral("fromA"), QStringLiteral("a"));
        a.removeValue(QStringLiteral("gone"));
        QVERIFY(a.synchronize());
        QVERIFY(b.synchronize());
        for (SettingsDomain *d : {&a, &b}) {
            QCOMPARE(d->stringForKey(QStringLiteral("fromA")), QStringLiteral("a"));
            QCOMPARE(d->stringForKey(QStringLiteral("fromB")), QStringLiteral("b"));
            QVERIFY(d->value(QStringLiteral("gone")).isNull());
        }
    }

    void unreadableFileIsMovedAsideAndKept_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("garbage") << QByteArray("\x89PNG not a settings file");
        QTest::newRow("truncated") << PropertyList::toXml({{QStringLiteral("a"), 1}}).left(120);
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("root is an array")
            << QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\"><array/></plist>");
        QTest::newRow("bad integer") << QByteArray(
            "<plist version=\"1.0\"><dict><key>a</key><integer>x1</integer></dict></plist>");
    }

    void unreadableFileIsMovedAsideAndKept()
    {
        QFETCH(QByteArray, content);
        {
            QFile f(path());
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write(content);
        }
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("cannot be read.*kept as")));
        SettingsDomain d(path());
        QVERIFY(d.dictionaryRepresentation().isEmpty());
        QFile aside(d.lastMovedAside());
        QVERIFY(aside.open(QIODevice::ReadOnly));
        QCOMPARE(aside.readAll(), content);
        d.setValue(QStringLiteral("k"), 2);
        QVERIFY(d.synchronize());
        QCOMPARE(SettingsDomain(path()).integerForKey(QStringLiteral("k")), 2);
    }
};

QTEST_GUILESS_MAIN(TestSettingsDomain)
#include "tst_settingsdomain.moc"
