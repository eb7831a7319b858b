// Runs on a private session bus with the mock notification server (see tests/e2e/session.py).
#include "platform/dbus/freedesktopnotifications.h"
#include "testsupport.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QtTest>

namespace {

// The arguments of each call of `method` the mock server received.
QList<QVariantList> mockCalls(const QString &method)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.DBus.Mock"), QStringLiteral("GetMethodCalls"));
    call << method;
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call);
    QList<QVariantList> calls;
    if (reply.type() != QDBusMessage::ReplyMessage)
        return calls;
    const QDBusArgument arg = reply.arguments().value(0).value<QDBusArgument>();
    arg.beginArray();
    while (!arg.atEnd()) {
        quint64 time;
        QVariantList args;
        arg.beginStructure();
        arg >> time;
        arg.beginArray();
        while (!arg.atEnd()) {
            QDBusVariant v;
            arg >> v;
            args.append(v.variant());
        }
        arg.endArray();
        arg.endStructure();
        calls.append(args);
    }
    arg.endArray();
    return calls;
}

} // namespace

class TestNotifications : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
            !QDBusConnection::sessionBus().isConnected())
            QSKIP("needs a private session bus with the mock notification server (tests/e2e/session.py)");
    }

    void replaceKeepAndClose()
    {
        TestContainer c;
        using T = NotificationRequest::Trigger;
        {
            FreedesktopNotifications center(c.dir.path(), QDBusConnection::sessionBus(), c.clock);
            for (const auto &[id, title, trigger] :
                 QList<std::tuple<const char *, const char *, T>>{{"qx.noti.any", "one", T::Now},
                                                                  {"qx.noti.any", "two", T::Now},
                                                                  {"qx.noti.other", "three", T::Now},
                                                                  {"later", "four", T::AfterSeconds}})
                center.addRequest({id, title, "body", trigger, 3600, {}, 0});
        }
        const QList<QVariantList> notify = mockCalls(QStringLiteral("Notify"));
        QCOMPARE(notify.size(), 3);
        QCOMPARE(notify[0].value(3).toString(), QStringLiteral("one"));
        QCOMPARE(notify[1].value(1).toUInt(), 1u); // replaces what "one" showed
        QCOMPARE(notify[2].value(1).toUInt(), 0u); // another identifier: a new notification

        // A new process finds the pending request; when it falls due it is shown once.
        FreedesktopNotifications again(c.dir.path(), QDBusConnection::sessionBus(), c.clock);
        QCOMPARE(again.nextDue(), c.clock.now().addSecs(3600));
        c.clock.set(c.clock.now().addSecs(3600));
        again.deliverDue();
        again.deliverDue();
        QCOMPARE(mockCalls(QStringLiteral("Notify")).size(), 4);
        QVERIFY(!again.nextDue().isValid());

        // Clearing closes each notification still on record, once.
        again.removeAllDeliveredNotifications();
        again.removeAllDeliveredNotifications();
        QList<uint> closed;
        for (const QVariantList &args : mockCalls(QStringLiteral("CloseNotification")))
            closed.append(args.value(0).toUInt());
        std::sort(closed.begin(), closed.end());
        QCOMPARE(closed, (QList<uint>{1, 2, 3}));

        bool granted = false;
        again.requestAuthorization([&](bool g) { granted = g; });
        QVERIFY(granted);
    }
};

QTEST_GUILESS_MAIN(TestNotifications)
#include "tst_notifications.moc"
