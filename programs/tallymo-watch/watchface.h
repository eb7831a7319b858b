#pragma once

#include <QColor>
#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

// The watch's side of the watch link, as a watch app would have it: it registers with the
// session as the companion, asks for the statistics record, and keeps the figures of the last
// record it was answered or pushed. It knows the record's keys and nothing else of Tallymo.
class WatchFace : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the watch program")
    // "connecting", "notRunning", "notSetUp" or "ready".
    Q_PROPERTY(QString state READ state NOTIFY changed)
    Q_PROPERTY(double fraction READ fraction NOTIFY changed) // of the ring, 0 to 1
    Q_PROPERTY(QColor color READ color NOTIFY changed)
    Q_PROPERTY(QString percentText READ percentText NOTIFY changed)
    Q_PROPERTY(QString forecastText READ forecastText NOTIFY changed)
    Q_PROPERTY(QString usedText READ usedText NOTIFY changed)
    Q_PROPERTY(QString leftText READ leftText NOTIFY changed)
    Q_PROPERTY(QString timeLeftText READ timeLeftText NOTIFY changed)
    Q_PROPERTY(QString daysText READ daysText NOTIFY changed) // the short form, for the strip
    // The colour lightened where it is too dark to read as text on the black face (4.5:1).
    Q_PROPERTY(QColor textColor READ textColor NOTIFY changed)
    Q_PROPERTY(QString messageText READ messageText NOTIFY changed)

public:
    static constexpr QLatin1StringView kService{"org.tallymo.Tallymo.Background"};
    static constexpr QLatin1StringView kPath{"/org/tallymo/Tallymo/WatchSession"};
    static constexpr QLatin1StringView kInterface{"org.tallymo.Tallymo.WatchSession"};

    explicit WatchFace(QDBusConnection bus, QObject *parent = nullptr);

    // Registers and asks; again each time the service comes onto the bus.
    void start();

    QString state() const { return m_state; }
    double fraction() const;
    QColor color() const;
    QString percentText() const;
    QString forecastText() const;
    QString usedText() const;
    QString leftText() const;
    QString timeLeftText() const;
    QString daysText() const;
    QColor textColor() const;
    QString messageText() const;

    // What the face shows, for logs and tests.
    QVariantMap shown() const;

signals:
    void changed();

private slots:
    void propertiesChanged(const QString &interface, const QVariantMap &changed,
                           const QStringList &invalidated);
    void complicationData(const QVariantMap &info);

private:
    void ask();
    void answered(QDBusPendingCallWatcher *call);
    void failed(const QString &errorName, const QString &message);
    void apply(const QVariantMap &record);
    void setState(const QString &state);

    QDBusConnection m_bus;
    QDBusServiceWatcher *m_watcher = nullptr;
    QString m_state = QStringLiteral("connecting");
    QString m_error;
    QVariantMap m_record;
};
