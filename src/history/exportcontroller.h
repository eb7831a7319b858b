#pragma once

#include "core/sharedcode.h"

#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>

#include <atomic>
#include <functional>
#include <memory>

class StoreContext;
class UsageStore;

// Hands an exported file to the user's mail program.
class MailComposer
{
public:
    virtual ~MailComposer() = default;
    virtual bool canSendMail() = 0;
    // Opens a new message with the subject, the body text (may be empty) and the file attached under
    // `attachmentName`.
    virtual bool compose(const QString &subject, const QString &body, const QString &file,
                         const QString &attachmentName) = 0;
};

// The export screen: one plan's usage, cycle by cycle, as JSON streamed to a file.
class ExportController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString footer READ footer CONSTANT)
    Q_PROPERTY(QStringList rowTexts READ rowTexts CONSTANT)
    Q_PROPERTY(int runningRow READ runningRow NOTIFY runningChanged)
    Q_PROPERTY(QString progressText READ progressText NOTIFY progressChanged)

public:
    struct Outcome
    {
        enum Kind { Finished, Failed, Cancelled };
        Kind kind = Failed;
        QString message;   // for Failed: what to tell the user
        QString reason;    // for Failed: what the system said (a full disk, say), when anything
        QString timestamp; // for Finished: the export's time stamp text
        qint64 cycles = 0;
        qint64 rows = 0;
    };

    ExportController(SharedCode &shared, QString planID, QObject *parent = nullptr);
    ~ExportController() override;

    static qint64 exportPeriod(quint32 row, int planType);
    qint64 exportPeriod(quint32 row) const;
    QString exportString(quint32 row) const;
    QString title() const;
    QString footer() const;
    static QString exportFilePath();
    static QString dateText(double secondsSinceEpoch);
    static QString mailSubject(const QString &timestamp);
    static QString attachmentName(const QString &timestamp);

    // The export of `cycles` cycles over an open store, on the calling thread; `progress` gets the
    // rows written so far after each cycle.
    Outcome runExport(UsageStore *store, qint64 cycles, const QString &path,
                      const std::function<void(qint64 rows)> &progress = {});
    // The same on a private context of the plan's store; `done` runs on the main thread, where a
    // finished export is handed to the mail program when one is given.
    void processExport(quint32 row, const QString &path, MailComposer *mail,
                       std::function<void(Outcome)> done);
    void processCycles(qint64 cycles, const QString &path, MailComposer *mail,
                       std::function<void(Outcome)> done);
    void cancelExport() { m_exportCancel = true; }
    // Told the rows written so far after each cycle, on the export's queue.
    std::function<void(qint64 rows)> progress;

    // The screen: four rows; a tapped row exports to exportFilePath() and hands the file to the mail
    // program; without a mail program that can send, the file is saved in the user's documents
    // (savedExportPath()) and exported() says where. Then the screen is left, with a message when
    // the export failed.
    QString savedExportPath() const;
    void setMail(MailComposer *mail) { m_mail = mail; }
    QStringList rowTexts() const;
    int runningRow() const { return m_runningRow; }
    QString progressText() const;
    // With a mail program the screen asks where the file goes (destinationAsked): mailRow() or a
    // file the user chose, saveRow().
    Q_INVOKABLE void tapRow(int row);
    Q_INVOKABLE void mailRow(int row);
    Q_INVOKABLE void saveRow(int row, const QUrl &file);
    // Where the file chooser starts: savedExportPath() as a URL.
    Q_INVOKABLE QUrl suggestedFile() const;
    // Stops the export (it ends at its next check) and leaves the screen.
    Q_INVOKABLE void cancel();

signals:
    void runningChanged();
    void progressChanged();
    void leave();
    void alert(const QString &message);
    void exported(const QString &path);
    // The question of where the export of `row` goes: {title, message, actions} with "Email",
    // "Save…" and "Cancel".
    void destinationAsked(int row, const QVariantMap &question);

private:
    void start(int row, const QString &path, MailComposer *mail);

    SharedCode &m_shared;
    QString m_planID;
    std::atomic<bool> m_exportCancel{false};
    std::unique_ptr<StoreContext> m_context; // the running export's own context
    MailComposer *m_mail = nullptr;
    int m_runningRow = -1;
    qint64 m_rowsWritten = 0;
    std::shared_ptr<int> m_alive = std::make_shared<int>(0); // main-thread work after it is gone does nothing
};
