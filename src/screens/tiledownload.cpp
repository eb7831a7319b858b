#include "tiledownload.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

TileDownload *TileDownload::start(QNetworkAccessManager &network, const QNetworkRequest &request,
                                  QObject *parent, qint64 maxBytes, int maxMillis)
{
    return new TileDownload(network.get(request), parent, maxBytes, maxMillis);
}

TileDownload::TileDownload(QNetworkReply *reply, QObject *parent, qint64 maxBytes, int maxMillis)
    : QObject(parent), m_reply(reply), m_maxBytes(maxBytes)
{
    m_reply->setParent(this);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, [this] {
        const QVariant announced = m_reply->header(QNetworkRequest::ContentLengthHeader);
        if (announced.isValid() && announced.toLongLong() > m_maxBytes)
            stop(tooLarge());
    });
    connect(m_reply, &QNetworkReply::downloadProgress, this, [this](qint64 received) {
        if (received > m_maxBytes)
            stop(tooLarge());
    });
    connect(m_reply, &QNetworkReply::finished, this, &TileDownload::complete);
    m_deadline.setSingleShot(true);
    m_deadline.setTimerType(Qt::PreciseTimer);
    connect(&m_deadline, &QTimer::timeout, this,
            [this, maxMillis] { stop(QStringLiteral("no whole tile within %1 s").arg(maxMillis / 1000.0)); });
    m_deadline.start(maxMillis);
}

QString TileDownload::tooLarge() const
{
    return QStringLiteral("the tile is larger than %1 bytes").arg(m_maxBytes);
}

void TileDownload::stop(const QString &why)
{
    if (!m_stopped.isEmpty() || m_reply->isFinished())
        return;
    m_stopped = why;
    m_reply->abort(); // finished() follows, and nothing of it goes into the disk cache
}

void TileDownload::complete()
{
    m_deadline.stop();
    QByteArray body;
    QString error = m_stopped;
    if (error.isEmpty() && m_reply->error() != QNetworkReply::NoError)
        error = m_reply->errorString();
    if (error.isEmpty()) {
        body = m_reply->readAll();
        if (body.size() > m_maxBytes) {
            error = tooLarge();
            body.clear();
        }
    }
    emit finished(body, error);
    deleteLater();
}
