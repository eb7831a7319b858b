#include "propertylist.h"

#include <QDateTime>
#include <QLocale>
#include <QTimeZone>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>
#include <cmath>

namespace PropertyList {
namespace {

QString realText(double d)
{
    if (std::isnan(d))
        return QStringLiteral("nan");
    if (std::isinf(d))
        return d > 0 ? QStringLiteral("+infinity") : QStringLiteral("-infinity");
    return QString::number(d, 'g', QLocale::FloatingPointShortest);
}

// The format's dates are whole seconds in UTC (other readers reject fractions); the fraction is cut.
QString dateText(const QDateTime &date)
{
    return date.toUTC().toString(Qt::ISODate);
}

void writeValue(QXmlStreamWriter &w, const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::Bool:
        w.writeEmptyElement(v.toBool() ? QStringLiteral("true") : QStringLiteral("false"));
        return;
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        w.writeTextElement(QStringLiteral("integer"), v.toString());
        return;
    case QMetaType::Double:
    case QMetaType::Float:
        w.writeTextElement(QStringLiteral("real"), realText(v.toDouble()));
        return;
    case QMetaType::QDateTime:
        w.writeTextElement(QStringLiteral("date"), dateText(v.toDateTime()));
        return;
    case QMetaType::QByteArray:
        w.writeTextElement(QStringLiteral("data"), QString::fromLatin1(v.toByteArray().toBase64()));
        return;
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        w.writeStartElement(QStringLiteral("array"));
        for (const QVariant &item : v.toList())
            writeValue(w, item);
        w.writeEndElement();
        return;
    }
    case QMetaType::QVariantMap: {
        const QVariantMap map = v.toMap();
        w.writeStartElement(QStringLiteral("dict"));
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            w.writeTextElement(QStringLiteral("key"), it.key());
            writeValue(w, it.value());
        }
        w.writeEndElement();
        return;
    }
    default:
        w.writeTextElement(QStringLiteral("string"), v.toString());
    }
}

class Reader
{
public:
    explicit Reader(const QByteArray &xml) : m_xml(xml) {}

    std::optional<QVariantMap> document(QString *error)
    {
        if (!m_xml.readNextStartElement() || m_xml.name() != QLatin1String("plist"))
            return fail(error, QStringLiteral("no <plist> root element"));
        if (!m_xml.readNextStartElement())
            return fail(error, QStringLiteral("empty <plist>"));
        std::optional<QVariant> root = value();
        if (!root || root->typeId() != QMetaType::QVariantMap)
            return fail(error, m_error.isEmpty() ? QStringLiteral("root is not a dictionary") : m_error);
        m_xml.skipCurrentElement(); // </plist>
        while (!m_xml.atEnd())
            m_xml.readNext();
        if (m_xml.hasError())
            return fail(error, m_xml.errorString());
        return root->toMap();
    }

private:
    std::optional<QVariantMap> fail(QString *error, const QString &why)
    {
        if (error) {
            const QString where = QStringLiteral(" (line %1)").arg(m_xml.lineNumber());
            *error = (m_xml.hasError() ? m_xml.errorString() : why) + where;
        }
        return std::nullopt;
    }

    std::optional<QVariant> bad(const QString &why)
    {
        if (m_error.isEmpty())
            m_error = why;
        return std::nullopt;
    }

    // Positioned on a start element; leaves the reader on its end element.
    std::optional<QVariant> value()
    {
        const QString tag = m_xml.name().toString();
        if (tag == QLatin1String("dict") || tag == QLatin1String("array")) {
            if (m_depth > kMaxDepth) // the root dictionary is one level more than any value in it
                return bad(QStringLiteral("nested deeper than %1 levels").arg(kMaxDepth));
            ++m_depth;
            std::optional<QVariant> v = tag == QLatin1String("dict") ? dict() : array();
            --m_depth;
            return v;
        }
        if (tag == QLatin1String("true") || tag == QLatin1String("false")) {
            m_xml.skipCurrentElement();
            return QVariant(tag == QLatin1String("true"));
        }
        const QString text = m_xml.readElementText();
        if (m_xml.hasError())
            return std::nullopt;
        if (tag == QLatin1String("string"))
            return QVariant(text);
        if (tag == QLatin1String("integer")) {
            bool ok = false;
            const qlonglong n = text.trimmed().toLongLong(&ok);
            return ok ? std::optional<QVariant>(QVariant(n)) : bad(QStringLiteral("bad integer: ") + text);
        }
        if (tag == QLatin1String("real"))
            return real(text.trimmed());
        if (tag == QLatin1String("date")) {
            QDateTime d = QDateTime::fromString(text.trimmed(), Qt::ISODateWithMs);
            if (!d.isValid() || d.toUTC().date().year() < 1 || d.toUTC().date().year() > 9999)
                return bad(QStringLiteral("bad date: ") + text);
            return QVariant(d.toLocalTime());
        }
        if (tag == QLatin1String("data"))
            return QVariant(QByteArray::fromBase64(text.toLatin1()));
        return bad(QStringLiteral("unknown element <") + tag + QLatin1Char('>'));
    }

    std::optional<QVariant> real(const QString &text)
    {
        if (text == QLatin1String("nan"))
            return QVariant(std::nan(""));
        if (text == QLatin1String("+infinity") || text == QLatin1String("infinity"))
            return QVariant(HUGE_VAL);
        if (text == QLatin1String("-infinity"))
            return QVariant(-HUGE_VAL);
        bool ok = false;
        const double d = text.toDouble(&ok);
        return ok ? std::optional<QVariant>(QVariant(d)) : bad(QStringLiteral("bad real: ") + text);
    }

    std::optional<QVariant> array()
    {
        QVariantList list;
        while (m_xml.readNextStartElement()) {
            std::optional<QVariant> item = value();
            if (!item)
                return std::nullopt;
            list.append(*item);
        }
        return m_xml.hasError() ? std::nullopt : std::optional<QVariant>(QVariant(list));
    }

    std::optional<QVariant> dict()
    {
        QVariantMap map;
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() != QLatin1String("key"))
                return bad(QStringLiteral("dictionary entry without <key>"));
            const QString key = m_xml.readElementText();
            if (!m_xml.readNextStartElement())
                return bad(QStringLiteral("key without a value: ") + key);
            std::optional<QVariant> item = value();
            if (!item)
                return std::nullopt;
            map.insert(key, *item);
        }
        return m_xml.hasError() ? std::nullopt : std::optional<QVariant>(QVariant(map));
    }

    QXmlStreamReader m_xml;
    QString m_error;
    int m_depth = 0;
};

bool isXmlText(const QString &text)
{
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        if ((u < 0x20 && u != u'\t' && u != u'\n') || u == 0xFFFE || u == 0xFFFF)
            return false;
    }
    return QStringView(text).isValidUtf16();
}

bool writable(const QVariant &value, QString *why, int depth)
{
    const auto no = [why](const QString &reason) {
        if (why)
            *why = reason;
        return false;
    };
    switch (value.typeId()) {
    case QMetaType::QDateTime: {
        const QDateTime d = value.toDateTime();
        const int year = d.isValid() ? d.toUTC().date().year() : 0;
        return year >= 1 && year <= 9999 ? true : no(QStringLiteral("a date outside the years 1 to 9999"));
    }
    case QMetaType::QString:
        return isXmlText(value.toString()) ? true : no(QStringLiteral("text with control characters"));
    case QMetaType::QStringList:
    case QMetaType::QVariantList: {
        if (depth >= kMaxDepth)
            return no(QStringLiteral("nested deeper than %1 levels").arg(kMaxDepth));
        const QVariantList list = value.toList();
        return std::all_of(list.cbegin(), list.cend(),
                           [&](const QVariant &item) { return writable(item, why, depth + 1); });
    }
    case QMetaType::QVariantMap: {
        if (depth >= kMaxDepth)
            return no(QStringLiteral("nested deeper than %1 levels").arg(kMaxDepth));
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            if (!isXmlText(it.key()))
                return no(QStringLiteral("a key with control characters"));
            else if (!writable(it.value(), why, depth + 1))
                return false;
        return true;
    }
    default:
        return isPropertyListValue(value) ? true : no(QStringLiteral("not a settings value"));
    }
}

} // namespace

QByteArray toXml(const QVariantMap &root)
{
    QByteArray out;
    QXmlStreamWriter w(&out);
    w.setAutoFormatting(true);
    w.setAutoFormattingIndent(1);
    w.writeStartDocument();
    w.writeStartElement(QStringLiteral("plist"));
    w.writeAttribute(QStringLiteral("version"), QStringLiteral("1.0"));
    writeValue(w, QVariant(root));
    w.writeEndElement();
    w.writeEndDocument();
    return out;
}

std::optional<QVariantMap> fromXml(const QByteArray &xml, QString *error)
{
    return Reader(xml).document(error);
}

bool isWritable(const QVariant &value, QString *why)
{
    return writable(value, why, 0);
}

bool isPropertyListValue(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::QDateTime:
    case QMetaType::QByteArray:
    case QMetaType::QString:
    case QMetaType::QStringList:
        return true;
    case QMetaType::QVariantList:
        for (const QVariant &item : value.toList())
            if (!isPropertyListValue(item))
                return false;
        return true;
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            if (!isPropertyListValue(it.value()))
                return false;
        return true;
    }
    default:
        return false;
    }
}

} // namespace PropertyList
