#include "exportcontroller.h"

#include "app/datausageappdelegate.h"
#include "core/dispatchqueue.h"
#include "core/logging.h"
#include "plans/billingcycle.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <charconv>
#include <ctime>

namespace {

// How an export ends early; caught once, at the end.
struct ExportException
{
    bool cancel;
    QString reason;
};

} // namespace

ExportController::ExportController(SharedCode &shared, QString planID, QObject *parent)
    : QObject(parent), m_shared(shared), m_planID(std::move(planID))
{}

ExportController::~ExportController() = default;

qint64 ExportController::exportPeriod(quint32 row, int planType)
{
    if (row < 1 || row > 3)
        return 1;
    static const qint64 table[5][3] = {{3, 6, 12}, {3, 6, 12}, {4, 12, 24}, {3, 6, 12}, {7, 14, 28}};
    return planType >= 0 && planType <= 4 ? table[planType][row - 1] : 1;
}

qint64 ExportController::exportPeriod(quint32 row) const
{
    return exportPeriod(row, m_shared.dataPlanTypeForPlan(m_planID));
}

QString ExportController::exportString(quint32 row) const
{
    if (row == 0)
        return tr("Most Recent");
    const int type = m_shared.dataPlanTypeForPlan(m_planID);
    const QString unit = type == BillingCycle::Weekly                                    ? tr("Weeks")
                         : type >= BillingCycle::Monthly && type <= BillingCycle::Days28 ? tr("Months")
                                                                                         : tr("Cycles");
    return tr("Last %d %@")
        .replace(QLatin1StringView("%d"), QString::number(exportPeriod(row)))
        .replace(QLatin1StringView("%@"), unit);
}

QString ExportController::title() const
{
    return tr("Export Statistics");
}

QString ExportController::footer() const
{
    return tr("Export usage statistics in JSON format and send the exported file using email.");
}

QString ExportController::exportFilePath()
{
    return DataUsageAppDelegate::applicationLibraryDirectory() + QStringLiteral("/exportFile.json");
}

QString ExportController::dateText(double seconds)
{
    const time_t t = time_t(seconds);
    struct tm utc;
    gmtime_r(&t, &utc);
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d +0000", utc.tm_year + 1900,
                  utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
    return QString::fromLatin1(text);
}

QString ExportController::mailSubject(const QString &timestamp)
{
    return QStringLiteral("Tallymo Export %1").arg(timestamp);
}

QString ExportController::attachmentName(const QString &timestamp)
{
    return QString(timestamp).replace(QLatin1Char(' '), QLatin1Char('_')) + QStringLiteral(".json");
}

ExportController::Outcome ExportController::runExport(UsageStore *store, qint64 cycles, const QString &path,
                                                      const std::function<void(qint64)> &progress)
{
    Outcome outcome;
    QFile file(path);
    try {
        QDir().mkpath(QFileInfo(path).path());
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            throw ExportException{false, tr("Export file creation error.")};
        if (store)
            store->setMemoryMapLimit(0); // memory stays flat whatever the store's size
        const std::optional<TimeStampRange> range = store ? store->timeStampRange() : std::nullopt;
        if (!range)
            throw ExportException{false, tr("No statistics to export.")};
        QByteArray out;
        out.reserve(1 << 17);
        const auto flush = [&] {
            if (file.write(out) != out.size())
                throw std::runtime_error(file.errorString().toStdString());
            out.resize(0); // keeps the buffer
        };
        out += "{\"exportData\":[";
        QDateTime cursor = range->maxDate;
        for (qint64 i = 0; i < cycles; ++i) {
            const Period p = m_shared.computeStartEndDates(cursor, m_planID);
            if (range->minDate > p.end)
                break; // the cycle lies wholly before the first record
            if (m_exportCancel) {
                flush(); // a cancelled export leaves what it wrote
                throw ExportException{true, QString()};
            }
            cursor = SharedCode::dateByAddingUnit(CalendarUnit::Day, -1, p.start);
            if (i > 0)
                out += ',';
            out += "{\"billCycleStart\":\"" + dateText(UsageStore::toSeconds(p.start)).toLatin1() +
                   "\",\"billCycleEnd\":\"" + dateText(UsageStore::toSeconds(p.end)).toLatin1() +
                   "\",\"usageStatistics\":{\"columns\":[\"time\",\"cellReceived\",\"cellSent\","
                   "\"wifiReceived\","
                   "\"wifiSent\"],\"rows\":[";
            bool first = true;
            double lastStamp = -1;
            QByteArray stampText;
            store->forEachEvent(p.start, p.end, [&](double ts, const double(&c)[4]) {
                if (!first)
                    out += ',';
                first = false;
                if (ts != lastStamp) { // records share their hour: format each stamp once
                    lastStamp = ts;
                    stampText = dateText(ts).toLatin1();
                }
                out += "[\"";
                out += stampText;
                out += '"';
                // Whole bytes as they are: no 32-bit wrap.
                for (double v : c) {
                    char number[24] = {','};
                    const auto end =
                        std::to_chars(number + 1, number + sizeof number, static_cast<long long>(v)).ptr;
                    out.append(number, end - number);
                }
                out += ']';
                ++outcome.rows;
                if (out.size() > (1 << 16))
                    flush();
                return !m_exportCancel;
            });
            if (m_exportCancel) {
                flush();
                throw ExportException{true, QString()};
            }
            out += "]}}";
            ++outcome.cycles;
            if (progress)
                progress(outcome.rows);
        }
        outcome.timestamp = dateText(double(QDateTime::currentSecsSinceEpoch()));
        out += "],\"exportTimestamp\":\"" + outcome.timestamp.toLatin1() + "\"}";
        flush();
        file.close();
        outcome.kind = Outcome::Finished;
    } catch (const ExportException &e) {
        outcome.kind = e.cancel ? Outcome::Cancelled : Outcome::Failed;
        outcome.message = e.reason;
    } catch (const std::exception &e) {
        qCWarning(lcCore, "export failed: %s", e.what());
        outcome.kind = Outcome::Failed;
        outcome.message = tr("Export file error.");
    }
    return outcome;
}

void ExportController::processExport(quint32 row, const QString &path, MailComposer *mail,
                                     std::function<void(Outcome)> done)
{
    processCycles(exportPeriod(row), path, mail, std::move(done));
}

void ExportController::processCycles(qint64 cycles, const QString &path, MailComposer *mail,
                                     std::function<void(Outcome)> done)
{
    if (mail && !mail->canSendMail()) {
        done(Outcome{Outcome::Failed, tr("Your email is not set up."), QString(), 0, 0});
        return;
    }
    m_exportCancel = false;
    // A private context of its own on the plan's store, so the plan's queue stays free. It is
    // released on the main thread: a queue cannot be stopped from its own thread.
    m_context = std::make_unique<StoreContext>(m_planID, m_shared.sqliteURLForPlan(m_planID));
    StoreContext *context = m_context.get();
    context->perform([this, context, cycles, path, mail, done = std::move(done)] {
        const Outcome outcome = runExport(context->store(), cycles, path, progress);
        dispatchMain([this, outcome, path, mail, done] {
            m_context.reset();
            if (outcome.kind == Outcome::Finished && mail)
                mail->compose(mailSubject(outcome.timestamp), path, attachmentName(outcome.timestamp));
            done(outcome);
        });
    });
}
