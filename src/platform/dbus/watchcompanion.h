#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

#include <functional>

// A companion on the terminal: registers with the watch session, asks once and, when following,
// reports every application context and complication push.
class WatchCompanion : public QObject
{
    Q_OBJECT
public:
    using Report = std::function<void(const QString &kind, const QVariantMap &record)>;
    WatchCompanion(QDBusConnection bus, Report report) : m_bus(std::move(bus)), m_report(std::move(report)) {}
    // Registers and asks; false with `error` set when the service cannot be reached.
    bool start(bool follow, bool complication, QString *error);

private slots:
    void propertiesChanged(const QString &interface, const QVariantMap &changed,
                           const QStringList &invalidated);
    void complicationData(const QVariantMap &info);

private:
    QDBusConnection m_bus;
    Report m_report;
};
