#include "exportcontroller.h"

#include <climits>

#include "core/dispatchqueue.h"
#include "core/privatefiles.h"
#include "logging.h"
#include "plans/billingcycle.h"
#include "services/alertservice.h"
#include "services/usagemonitor.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
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

// The export's file: written beside the old one and put in its place only when whole (or cut
// short by a cancel).
class ExportFile
{
public:
    explicit ExportFile(const QString &path) : m_path(path), m_temp(path + QStringLiteral(".part")) {}
    // Makes the folder and opens the new file beside the old one; false when it cannot.
    bool create()
    {
        QDir().mkpath(QFileInfo(m_path).path());
        const int fd = PrivateFiles::openPrivate(m_temp, O_WRONLY | O_TRUNC, nullptr);
        return fd >= 0 &&
               m_file.open(fd, QIODevice::WriteOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle);
    }
    // Writes out the text waiting in `out`.
    void write(TextBuffer &out)
    {
        if (m_file.write(out.data(), qint64(out.size())) != qint64(out.size()))
            throw std::runtime_error(m_file.errorString().toStdString());
        out.clear(); // keeps the buffer
    }
    // Puts the new file, on disk and closed, where the old one was.
    void putInPlace()
    {
        if (::fsync(m_file.handle()) != 0 || (m_file.close(), m_file.error() != QFileDevice::NoError) ||
            ::rename(QFile::encodeName(m_temp).constData(), QFile::encodeName(m_path).constData()) != 0)
            throw std::runtime_error(std::strerror(errno));
    }
    // A failed export leaves the old file as it was.
    void removeNew() { QFile::remove(m_temp); }

private:
    QString m_path;
    QString m_temp;
    QFile m_file;
};

// The export's JSON, cycle by cycle from the newest, streamed to its file; what was written is
// counted in the outcome.
class ExportWriter
{
public:
    ExportWriter(SharedCode &shared, const QString &planID, const std::atomic<bool> &cancel, ExportFile &file,
                 ExportController::Outcome &outcome)
        : m_shared(shared), m_planID(planID), m_cancel(cancel), m_file(file), m_outcome(outcome)
    {}
    // Writes up to `cycles` cycles back from the store's last record, stopping at its first, and
    // puts the file in place; `progress` gets the rows written so far after each cycle.
    void write(UsageStore &store, const TimeStampRange &range, qint64 cycles,
               const std::function<void(qint64)> &progress);

private:
    void writeCycle(UsageStore &store, const Period &cycle, bool first);
    void writeRow(double seconds, const double (&counters)[4], bool first);
    // A cancelled export leaves what it wrote.
    [[noreturn]] void endCancelled()
    {
        m_file.write(m_out);
        m_file.putInPlace();
        throw ExportException{true, QString()};
    }

    SharedCode &m_shared;
    const QString &m_planID;
    const std::atomic<bool> &m_cancel;
    ExportFile &m_file;
    ExportController::Outcome &m_outcome;
    TextBuffer m_out{1 << 17};
    StampWriter m_stamps;
};

void ExportWriter::write(UsageStore &store, const TimeStampRange &range, qint64 cycles,
                         const std::function<void(qint64)> &progress)
{
    m_out.put("{\"exportData\":[");
    QDateTime cursor = range.maxDate;
    for (qint64 i = 0; i < cycles; ++i) {
        const Period p = BillingCycle::computeStartEndDates(m_shared, cursor, m_planID);
        if (range.minDate > p.end)
            break; // the cycle lies wholly before the first record
        if (m_cancel)
            endCancelled();
        cursor = BillingCycle::dateByAddingUnit(CalendarUnit::Day, -1, p.start);
        writeCycle(store, p, i == 0);
        ++m_outcome.cycles;
        if (progress)
            progress(m_outcome.rows);
    }
    m_outcome.timestamp = ExportController::dateText(double(QDateTime::currentSecsSinceEpoch()));
    m_out.put("],\"exportTimestamp\":\"");
    m_out.put(m_outcome.timestamp.toLatin1());
    m_out.put("\"}");
    m_file.write(m_out);
    m_file.putInPlace();
}

// One cycle: its start and end, then its rows of time stamp and the four counters.
void ExportWriter::writeCycle(UsageStore &store, const Period &cycle, bool first)
{
    if (!first)
        m_out.put(',');
    m_out.put("{\"billCycleStart\":\"");
    m_out.put(ExportController::dateText(UsageStore::toSeconds(cycle.start)).toLatin1());
    m_out.put("\",\"billCycleEnd\":\"");
    m_out.put(ExportController::dateText(UsageStore::toSeconds(cycle.end)).toLatin1());
    m_out.put("\",\"usageStatistics\":{\"columns\":[\"time\",\"cellReceived\",\"cellSent\","
              "\"wifiReceived\",\"wifiSent\"],\"rows\":[");
    bool firstRow = true;
    store.forEachEvent(cycle.start, cycle.end, [&](double ts, const double(&c)[4]) {
        writeRow(ts, c, std::exchange(firstRow, false));
        return !m_cancel;
    });
    if (m_cancel)
        endCancelled();
    m_out.put("]}}");
}

// One row, the time stamp and the four counters, counted; the waiting text goes out to the file
// once it passes 64 KiB.
void ExportWriter::writeRow(double seconds, const double (&counters)[4], bool first)
{
    const char *stamp = m_stamps.text(seconds);
    if (!stamp)
        throw std::runtime_error("time stamp out of range");
    // One row: at most 1 + 2 + 25 + 1 + 4 * (1 + 20) + 1 characters.
    char *w = m_out.reserve(160);
    if (!first)
        *w++ = ',';
    *w++ = '[';
    *w++ = '"';
    std::memcpy(w, stamp, StampWriter::kLength);
    w += StampWriter::kLength;
    *w++ = '"';
    // Whole bytes as they are: no 32-bit wrap.
    for (double v : counters) {
        *w++ = ',';
        w = std::to_chars(w, w + 24, static_cast<long long>(v)).ptr;
    }
    *w++ = ']';
    m_out.commit(w);
    ++m_outcome.rows;
    if (m_out.size() > (1 << 16))
        m_file.write(m_out);
}

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
    return tr("Export usage statistics in JSON format and send the exported file by email or save it.");
}

QString ExportController::exportFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/tallymo/Library/exportFile.json");
}

QString ExportController::savedExportPath() const
{
    // The documents folder, else the downloads folder when only that one exists.
    QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const QString downloads = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (!QFileInfo(folder).isDir() && QFileInfo(downloads).isDir())
        folder = downloads;
    QDir().mkpath(folder);
    const QString stamp = m_shared.clock().now().toString(QStringLiteral("yyyy-MM-dd HH.mm.ss"));
    return QDir(folder).filePath(QStringLiteral("Tallymo export %1.json").arg(stamp));
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
    ExportFile file(path);
    try {
        if (!file.create())
            throw ExportException{false, tr("Export file creation error.")};
        if (store)
            store->setMemoryMapLimit(0); // memory stays flat whatever the store's size
        const std::optional<TimeStampRange> range = store ? store->timeStampRange() : std::nullopt;
        if (!range)
            throw ExportException{false, tr("No statistics to export.")};
        ExportWriter writer(m_shared, m_planID, m_exportCancel, file, outcome);
        writer.write(*store, *range, cycles, progress);
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
        file.removeNew();
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
    if (!m_mail || !m_mail->canSendMail()) {
        start(row, savedExportPath(), nullptr);
        return;
    }
    AlertValue question = AlertService::alertControllerWithTitle(
        QString(), tr("Send the export by email, or save it to a file?"));
    question.actions = {AlertAction{tr("Email"), AlertAction::Default},
                        AlertAction{tr("Save…"), AlertAction::Default},
                        AlertAction{tr("Cancel"), AlertAction::Cancel}};
    emit destinationAsked(row, question.toMap());
}

void ExportController::mailRow(int row)
{
    MailComposer *mail = m_mail && m_mail->canSendMail() ? m_mail : nullptr;
    start(row, mail ? exportFilePath() : savedExportPath(), mail);
}

void ExportController::saveRow(int row, const QUrl &file)
{
    if (!file.isLocalFile()) {
        qCWarning(lcHistory) << "export: not a local file:" << file;
        emit alert(tr("The export can only be saved to a folder on this computer."));
        return;
    }
    start(row, file.toLocalFile(), nullptr);
}

QUrl ExportController::suggestedFile() const
{
    return QUrl::fromLocalFile(savedExportPath());
}

void ExportController::start(int row, const QString &path, MailComposer *mail)
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
    processExport(quint32(row), path, mail, [this, path](const Outcome &outcome) {
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
