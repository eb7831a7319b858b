#include "output.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

namespace Cli {

QString isoWithOffset(const QDateTime &t)
{
    const QDateTime local = t.toLocalTime();
    const int offset = local.offsetFromUtc();
    QString text = local.toString(QStringLiteral("yyyy-MM-dd'T'HH:mm:ss"));
    const int minutes = std::abs(offset) / 60;
    text += QString::asprintf("%c%02d:%02d", offset < 0 ? '-' : '+', minutes / 60, minutes % 60);
    return text;
}

QJsonValue toJson(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::QDateTime:
        return isoWithOffset(v.toDateTime());
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        QJsonArray a;
        for (const QVariant &item : v.toList())
            a.append(toJson(item));
        return a;
    }
    case QMetaType::QVariantMap: {
        QJsonObject o;
        const QVariantMap map = v.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            o.insert(it.key(), toJson(it.value()));
        return o;
    }
    case QMetaType::QByteArray:
        return QString::fromLatin1(v.toByteArray().toBase64());
    default:
        return QJsonValue::fromVariant(v);
    }
}

QByteArray jsonText(const QJsonValue &v, bool indented)
{
    const auto format = indented ? QJsonDocument::Indented : QJsonDocument::Compact;
    const QByteArray end = indented ? QByteArray() : QByteArray("\n");
    if (v.isObject())
        return QJsonDocument(v.toObject()).toJson(format) + end;
    if (v.isArray())
        return QJsonDocument(v.toArray()).toJson(format) + end;
    // A scalar: wrap it and take it out again.
    const QByteArray wrapped = QJsonDocument(QJsonArray{v}).toJson(QJsonDocument::Compact);
    return wrapped.mid(1, wrapped.size() - 2) + '\n';
}

QString formatValue(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::QString:
        return v.toString();
    case QMetaType::Bool:
        return v.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QMetaType::Double:
        return QString::number(v.toDouble(), 'g', QLocale::FloatingPointShortest);
    case QMetaType::QDateTime:
        return isoWithOffset(v.toDateTime());
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
    case QMetaType::QVariantMap:
        return QString::fromUtf8(jsonText(toJson(v), false)).trimmed();
    default:
        return v.toString();
    }
}

} // namespace Cli
