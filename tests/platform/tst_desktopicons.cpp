// The launcher icon through a per-user desktop entry, against a real installed entry in a
// temporary data tree.
#include "platform/linux/desktopicons.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class TestDesktopIcons : public QObject
{
    Q_OBJECT

    QTemporaryDir m_root;
    QString m_user;

    static void write(const QString &path, const QByteArray &text)
    {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(text);
    }
    static QByteArray read(const QString &path)
    {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }

private slots:
    void init()
    {
        QVERIFY(QDir(m_root.path()).mkpath(QStringLiteral("system/applications")));
        QVERIFY(QDir(m_root.path()).mkpath(QStringLiteral("home")));
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_root.path() + QStringLiteral("/home")));
        qputenv("XDG_DATA_DIRS", QFile::encodeName(m_root.path() + QStringLiteral("/system")));
        write(
            m_root.path() + QStringLiteral("/system/applications/org.tallymo.Tallymo.desktop"),
            "[Desktop "
            "Entry]\nType=Application\nName=Tallymo\nIcon=org.tallymo.Tallymo\nExec=/usr/bin/tallymo-app\n\n"
            "[Desktop Action refresh]\nName=Refresh\nIcon=view-refresh\nExec=tallymo refresh\n");
        m_user = m_root.path() + QStringLiteral("/home/applications/org.tallymo.Tallymo.desktop");
        QFile::remove(m_user);
    }

    void choosingAndRestoringTheIcon()
    {
        LinuxAlternateIcons icons;
        QCOMPARE(icons.userEntryPath(), m_user);
        QStringList told;
        icons.changed = [&](const QString &name) { told.append(name); };
        QString error;
        QVERIFY2(icons.setAlternateIconName(QStringLiteral("blue"), &error), qPrintable(error));
        const QByteArray entry = read(m_user);
        QVERIFY(entry.contains("Icon=org.tallymo.Tallymo-blue\n"));
        QCOMPARE(entry.count("Icon=org.tallymo.Tallymo"), 1); // the main group's icon replaced once
        QVERIFY(entry.contains("Icon=view-refresh"));         // the actions keep theirs
        QVERIFY(entry.contains("Exec=/usr/bin/tallymo-app"));
        QCOMPARE(icons.alternateIconName(), QStringLiteral("blue"));
        QVERIFY(icons.setAlternateIconName(QStringLiteral("purple"), &error));
        QCOMPARE(icons.alternateIconName(), QStringLiteral("purple"));
        QVERIFY(icons.setAlternateIconName(QString(), &error)); // "Red": the default again
        QVERIFY(!QFile::exists(m_user));
        QCOMPARE(icons.alternateIconName(), QString());
        QCOMPARE(told, (QStringList{QStringLiteral("blue"), QStringLiteral("purple"), QString()}));
    }

    // The user's own entry is never touched; without an installed entry there is nothing to copy.
    void refusals()
    {
        const QByteArray own("[Desktop Entry]\nType=Application\nName=My Tallymo\nExec=/opt/tallymo\n");
        QVERIFY(QDir().mkpath(QFileInfo(m_user).absolutePath()));
        write(m_user, own);
        LinuxAlternateIcons icons;
        QString error;
        QVERIFY(!icons.setAlternateIconName(QStringLiteral("green"), &error));
        QVERIFY(error.contains(m_user));
        QVERIFY(!icons.setAlternateIconName(QString(), &error));
        QCOMPARE(read(m_user), own);

        QFile::remove(m_user);
        QFile::remove(m_root.path() + QStringLiteral("/system/applications/org.tallymo.Tallymo.desktop"));
        LinuxAlternateIcons uninstalled;
        QVERIFY(!uninstalled.setAlternateIconName(QStringLiteral("black"), &error));
        QVERIFY(error.contains(QLatin1StringView("not installed")));
        QVERIFY(!QFile::exists(m_user));
    }
};

QTEST_GUILESS_MAIN(TestDesktopIcons)
#include "tst_desktopicons.moc"
