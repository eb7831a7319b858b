#include "setupcontroller.h"

#include "core/sharedcode.h"
#include "services/firstrunsetup.h"
#include "services/usagemonitor.h"

SetupController::SetupController(UsageMonitor &monitor, QObject *parent)
    : QObject(parent), m_monitor(monitor),
      m_billdate(new BilldateController(monitor.shared(), QString(), this)),
      m_allow(new CapController(monitor.shared(), QString(), this)),
      m_existing(new AddExistingController(this))
{
    // A metered connection up now (a phone's hotspot, tethering, a modem) is said to count.
    m_onMobileData =
        LinkClassifier::onMobileData(monitor.shared().presentLinks().value_or(QList<LinkClass>()));
}

QString SetupController::title() const
{
    switch (m_step) {
    case BillDate:
        return m_billdate->title();
    case Cap:
        return m_allow->title();
    case Existing:
        return m_existing->title();
    case Finish:
        return tr("Finish");
    default:
        return tr("Set Up");
    }
}

QString SetupController::button() const
{
    return m_step == Finish ? tr("Done") : tr("Next");
}

QString SetupController::intro() const
{
    const QString intro =
        tr("Tallymo counts the mobile data you use and tells you whether your data cap will "
           "last until the end of the billing period. Three questions and you are ready.");
    if (m_onMobileData.isEmpty())
        return intro;
    return intro + QStringLiteral("\n\n") +
           tr("You are on mobile data now (%1): it counts against your plan. Settings > Networks decides "
              "which connections count.")
               .arg(m_onMobileData.join(QStringLiteral(", ")));
}

void SetupController::setStep(int step)
{
    if (step == m_step)
        return;
    m_step = step;
    emit stepChanged();
}

void SetupController::setError(const QString &error)
{
    if (error == m_error)
        return;
    m_error = error;
    emit errorChanged();
}

void SetupController::next()
{
    setError(QString());
    switch (m_step) {
    case Intro:
        m_billdate->selectRow(m_billdate->selectedRow()); // the day shown is the day stored
        setStep(BillDate);
        break;
    case BillDate:
        setStep(Cap);
        break;
    case Cap:
        m_allow->keep(); // an empty field or a cap below 0.001 leaves the cap as it was
        setStep(Existing);
        break;
    case Existing:
        FirstRunSetup::resetWithExistingUsage(m_monitor, m_existing->bytes());
        setStep(Finish);
        break;
    case Finish: {
        QString why;
        if (!FirstRunSetup::markShown(m_monitor, &why)) {
            setError(tr("Could not save the settings: %1").arg(why));
            return;
        }
        emit finished();
        break;
    }
    }
}

void SetupController::back()
{
    if (m_step > Intro && m_step < Finish)
        setStep(m_step - 1);
}
