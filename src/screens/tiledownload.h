#pragma once

#include <QByteArray>
#include <QObject>
#include <QTimer>

class QNetworkAccessManager;
class QNetworkReply;
class QNetworkRequest;

// One map tile's transfer, held to what a tile can need whatever the server does: at most
// kMaxBytes of body and kMaxMillis from the request to the last byte. (The transfer timeout of
// Qt's network access restarts with every byte that arrives, so a server that trickles forever,
// or sends gigabytes, would never be stopped by it.) finished() comes once, with the body or with
// one line saying why there is none; the object then deletes itself.
class TileDownload : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 kMaxBytes = 2 * 1024 * 1024;
    static constexpr int kMaxMillis = 15000;

    static TileDownload *start(QNetworkAccessManager &network, const QNetworkRequest &request,
                               QObject *parent, qint64 maxBytes = kMaxBytes, int maxMillis = kMaxMillis);

signals:
    void finished(const QByteArray &body, const QString &error);

private:
    TileDownload(QNetworkReply *reply, QObject *parent, qint64 maxBytes, int maxMillis);
    QString tooLarge() const;
    void stop(const QString &why);
    void complete();

    QNetworkReply *m_reply;
    qint64 m_maxBytes;
    QTimer m_deadline;
    QString m_stopped;
};
