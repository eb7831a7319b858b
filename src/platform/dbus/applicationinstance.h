#pragma once

#include <QObject>
#include <QStringList>
#include <QVariantMap>

// The app's one instance on the session bus (org.freedesktop.Application under its desktop id):
// the first process takes the name and hears Activate / ActivateAction; a later one hands its
// request to the first and exits.
class ApplicationInstance : public QObject
{
    Q_OBJECT
public:
    static constexpr QLatin1StringView kName{"org.tallymo.Tallymo"};
    static constexpr QLatin1StringView kPath{"/org/tallymo/Tallymo"};
    static constexpr QLatin1StringView kInterface{"org.freedesktop.Application"};

    explicit ApplicationInstance(QObject *parent = nullptr);
    ~ApplicationInstance() override;

    // The quick-action type of a desktop entry action ("history", "theme", "dataplan"; desktop
    // action names may hold no underscore). Any other name comes back as it is.
    static QString shortcutTypeForAction(const QString &action);

    enum class Outcome { First, Forwarded, NoBus };
    // Takes the name, or forwards `action` (ActivateAction when not empty, else Activate) to the
    // instance that has it; a process started by the bus to answer a call (`forward` false)
    // forwards nothing. Without a session bus the process runs on its own (NoBus, with why).
    Outcome registerOrForward(const QString &action, QString *error, bool forward = true);

signals:
    void activated();
    void actionActivated(const QString &name);

private:
    friend class ApplicationAdaptor;
};
