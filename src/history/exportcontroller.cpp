#include "exportcontroller.h"

#include <climits>

#include "core/dispatchqueue.h"
#include "core/privatefiles.h"
#include "logging.h"
#include "plans/billingcycle.h"
#include "services/usagemonitor.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

namespace {

// The text waiting to be written: plain appends into one buffer that is kept between flushes.
class TextBuffer
{
public:
    explicit TextBuffer(size_t capacity) : m_data(capacity) {}
    void put(const char *text, size_t n)
    {
        if (m_size + n > m_data.size())
            m_data.resize(std::max(m_data.size() * 2, m_size + n));
        std::memcpy(m_data.data() + m_size, text, n);
        m_size += n;
    }
    template <size_t N> void put(const char (&literal)[N]) { put(literal, N - 1); }
    void put(char c) { put(&c, 1); }
    void put(const QByteArray &text) { put(text.constData(), size_t(text.size())); }
    // Room for `n` more characters, to write in place; commit() what was written.
    char *reserve(size_t n)
    {
        if (m_size + n > m_data.size())
            m_data.resize(std::max(m_data.size() * 2, m_size + n));
        return m_data.data() + m_size;
    }
    void commit(const char *end) { m_size = size_t(end - m_data.data()); }
    size_t size() const { return m_size; }
    const char *data() const { return m_data.data(); }
    void clear() { m_size = 0; }

private:
    std::vector<char> m_data;
    size_t m_size = 0;
};

// The export's time stamps, "YYYY-MM-DD HH:MM:SS +0000" in UTC, as dateText writes them: the date
// is formatted once per day, the time of day by arithmetic.
class StampWriter
{
public:
    static constexpr size_t kLength = 25;
    const char *text(double seconds)
    {
        const time_t t = time_t(seconds);
        const time_t day = t >= 0 ? t / 86400 * 86400 : (t - 86399) / 86400 * 86400;
        if (day != m_day || !m_valid) {
            const QByteArray date = ExportController::dateText(double(day)).toLatin1();
            if (date.size() != qsizetype(kLength))
                return nullptr;
            std::memcpy(m_text, date.constData(), kLength);
            m_day = day;
            m_valid = true;
        }
        const int sod = int(t - day);
        const int fields[3] = {sod / 3600, sod / 60 % 60, sod % 60};
        for (int i = 0; i < 3; ++i) {
            m_text[11 + 3 * i] = char('0' + fields[i] / 10);
            m_text[12 + 3 * i] = char('0' + fields[i] % 10);
        }
        return m_text;
    }

private:
    char m_text[kLength];
    time_t m_day = 0;
    bool m_valid = false;
};

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

ExportController::~ExportController()
{
    // A running export stops at its next check; the context waits for it.
    m_exportCancel = true;
    m_context.reset();
}

qint64 ExportController::exportPeriod(quint32 row, int planType)
{
    if (row < 1 || row > 3)
        return 1;
    static const qint64 table[5][3] = {{3, 6, 12}, {3, 6, 12}, {4, 12, 24}, {3, 6, 12}, {7, 14, 28}};
    return planType >= 0 && planType <= 4 ? table[planType][row - 1] : 1;
}

qint64 ExportController::exportPeriod(quint32 row) const
{
    return exportPeriod(row, BillingCycle::dataPlanTypeForPlan(m_shared, m_planID));
}

QString ExportController::exportString(quint32 row) const
{
    if (row == 0)
        return tr("Most Recent");
    const int type = BillingCycle::dataPlanTypeForPlan(m_shared, m_planID);
    const QString unit = type == BillingCycle::Weekly                                    ? tr("Weeks")
                         : type >= BillingCycle::Monthly && type <= BillingCycle::Days28 ? tr("Months")
                                                                                         : tr("Cycles");
    return tr("Last %1 %2").arg(exportPeriod(row)).arg(unit);
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
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/tallymo/Library/exportFile.json");
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
    // Written beside the old file and put in its place only when whole (or cut short by a cancel),
    // so a full disk never leaves a damaged export where a good one was.
    const QString temp = path + QStringLiteral(".part");
    QFile file;
    const auto putInPlace = [&] {
        if (::fsync(file.handle()) != 0 || (file.close(), file.error() != QFileDevice::NoError) ||
            ::rename(QFile::encodeName(temp).constData(), QFile::encodeName(path).constData()) != 0)
            throw std::runtime_error(std::strerror(errno));
    };
    try {
        QDir().mkpath(QFileInfo(path).path());
        const int fd = PrivateFiles::openPrivate(temp, O_WRONLY | O_TRUNC, nullptr);
        if (fd < 0 ||
            !file.open(fd, QIODevice::WriteOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle))
            throw ExportException{false, tr("Export file creation error.")};
        if (store)
            store->setMemoryMapLimit(0); // memory stays flat whatever the store's size
        const std::optional<TimeStampRange> range = store ? store->timeStampRange() : std::nullopt;
        if (!range)
            throw ExportException{false, tr("No statistics to export.")};
        TextBuffer out(1 << 17);
        const auto flush = [&] {
            if (file.write(out.data(), qint64(out.size())) != qint64(out.size()))
                throw std::runtime_error(file.errorString().toStdString());
            out.clear(); // keeps the buffer
        };
        out.put("{\"exportData\":[");
        QDateTime cursor = range->maxDate;
        StampWriter stamps;
        for (qint64 i = 0; i < cycles; ++i) {
            const Period p = BillingCycle::computeStartEndDates(m_shared, cursor, m_planID);
            if (range->minDate > p.end)
                break; // the cycle lies wholly before the first record
            if (m_exportCancel) {
                flush(); // a cancelled export leaves what it wrote
                putInPlace();
                throw ExportException{true, QString()};
            }
            cursor = BillingCycle::dateByAddingUnit(CalendarUnit::Day, -1, p.start);
            if (i > 0)
                out.put(',');
            out.put("{\"billCycleStart\":\"");
            out.put(dateText(UsageStore::toSeconds(p.start)).toLatin1());
            out.put("\",\"billCycleEnd\":\"");
            out.put(dateText(UsageStore::toSeconds(p.end)).toLatin1());
            out.put("\",\"usageStatistics\":{\"columns\":[\"time\",\"cellReceived\",\"cellSent\","
                    "\"wifiReceived\",\"wifiSent\"],\"rows\":[");
            bool first = true;
            store->forEachEvent(p.start, p.end, [&](double ts, const double(&c)[4]) {
                const char *stamp = stamps.text(ts);
                if (!stamp)
                    throw std::runtime_error("time stamp out of range");
                // One row: at most 1 + 2 + 25 + 1 + 4 * (1 + 20) + 1 characters.
                char *w = out.reserve(160);
                if (!first)
                    *w++ = ',';
                first = false;
                *w++ = '[';
                *w++ = '"';
                std::memcpy(w, stamp, StampWriter::kLength);
                w += StampWriter::kLength;
                *w++ = '"';
                // Whole bytes as they are: no 32-bit wrap.
                for (double v : c) {
                    *w++ = ',';
                    w = std::to_chars(w, w + 24, static_cast<long long>(v)).ptr;
                }
                *w++ = ']';
                out.commit(w);
                ++outcome.rows;
                if (out.size() > (1 << 16))
                    flush();
                return !m_exportCancel;
            });
            if (m_exportCancel) {
                flush();
                putInPlace();
                throw ExportException{true, QString()};
            }
            out.put("]}}");
            ++outcome.cycles;
            if (progress)
                progress(outcome.rows);
        }
        outcome.timestamp = dateText(double(QDateTime::currentSecsSinceEpoch()));
        out.put("],\"exportTimestamp\":\"");
        out.put(outcome.timestamp.toLatin1());
        out.put("\"}");
        flush();
        putInPlace();
        outcome.kind = Outcome::Finished;
    } catch (const ExportException &e) {
        outcome.kind = e.cancel ? Outcome::Cancelled : Outcome::Failed;
        outcome.message = e.reason;
    } catch (const std::exception &e) {
        qCInfo(lcHistory, "export to %s failed: %s", qPrintable(path), e.what());
        outcome.kind = Outcome::Failed;
        outcome.message = tr("Export file error.");
        outcome.reason = QString::fromLocal8Bit(e.what());
    }
    if (outcome.kind == Outcome::Failed)
        QFile::remove(temp);
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
        done(Outcome{Outcome::Failed, tr("Your email is not set up."), QString(), QString(), 0, 0});
        return;
    }
    m_exportCancel = false;
    // A private context of its own on the plan's store, so the plan's queue stays free. It is
    // released on the main thread: a queue cannot be stopped from its own thread.
    m_context = std::make_unique<StoreContext>(m_planID, m_shared.sqliteURLForPlan(m_planID));
    StoreContext *context = m_context.get();
    context->perform([this, context, cycles, path, mail, done = std::move(done)] {
        const Outcome outcome = runExport(context->store(), cycles, path, progress);
        dispatchMain([this, alive = std::weak_ptr<int>(m_alive), outcome, path, mail, done] {
            if (alive.expired())
                return;
            m_context.reset();
            if (outcome.kind == Outcome::Finished && mail)
                mail->compose(mailSubject(outcome.timestamp), QString(), path,
                              attachmentName(outcome.timestamp));
            done(outcome);
        });
    });
}

QStringList ExportController::rowTexts() const
{
    QStringList rows;
    for (quint32 row = 0; row < 4; ++row)
        rows.append(exportString(row));
    return rows;
}

QString ExportController::progressText() const
{
    return m_runningRow < 0
               ? QString()
               : tr("%n records exported", nullptr, int(std::min<qint64>(m_rowsWritten, INT_MAX)));
}

void ExportController::tapRow(int row)
{
    if (m_runningRow >= 0 || row < 0 || row > 3)
        return;
    m_runningRow = row;
    m_rowsWritten = 0;
    emit runningChanged();
    emit progressChanged();
    progress = [this, alive = std::weak_ptr<int>(m_alive)](qint64 rows) {
        dispatchMain([this, alive, rows] {
            if (alive.expired() || m_runningRow < 0)
                return;
            m_rowsWritten = rows;
            emit progressChanged();
        });
    };
    const QString path = exportFilePath();
    processExport(quint32(row), path, m_mail, [this, path](const Outcome &outcome) {
        m_runningRow = -1;
        emit runningChanged();
        emit progressChanged();
        switch (outcome.kind) {
        case Outcome::Finished:
            emit exported(path);
            emit leave();
            break;
        case Outcome::Failed:
            emit leave();
            emit alert(outcome.message);
            break;
        case Outcome::Cancelled:
            break; // the screen was left when it was cancelled
        }
    });
}

void ExportController::cancel()
{
    cancelExport();
    emit leave();
}
