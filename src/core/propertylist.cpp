#include "propertylist.h"

#include <QDateTime>
#include <QLocale>
#include <QStringDecoder>
#include <QTimeZone>
#include <QXmlStreamReader>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>

namespace PropertyList {
namespace {

bool isXmlText(const QString &text)
{
    bool surrogates = false;
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        if (u >= 0x20 && u < 0xD800)
            continue; // the common case
        if (u < 0x20 ? u != u'\t' && u != u'\n' : u == 0xFFFE || u == 0xFFFF)
            return false;
        surrogates = surrogates || c.isSurrogate();
    }
    return !surrogates || QStringView(text).isValidUtf16();
}

// The format's dates are whole seconds in UTC (other readers reject fractions); the fraction is cut.
QString dateText(const QDateTime &date)
{
    return date.toUTC().toString(Qt::ISODate);
}

// Writes the file form with one space of indentation per level, as QXmlStreamWriter writes it
// with that formatting (reals in their shortest form), straight into UTF-8: the connection
// baselines hold tens of thousands of entries and the general writer spent most of a sample on
// them.
class Writer
{
public:
    QByteArray document(const QVariantMap &root, qsizetype sizeHint)
    {
        m_out.reserve(size_t(std::max<qsizetype>(sizeHint, 4096)));
        m_out.append("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">");
        value(QVariant(root), 1);
        m_out.append("\n</plist>\n");
        return QByteArray(m_out.data(), qsizetype(m_out.size()));
    }

private:
    void open(int depth) { m_out.append(1, '\n').append(size_t(depth), ' '); }

    // The element's text with the markup characters and the quote escaped, as the general writer
    // escapes them (characters XML cannot carry were refused before they got here).
    void text(int depth, std::string_view tag, QStringView content)
    {
        open(depth);
        m_out.append(1, '<').append(tag).append(1, '>');
        // Most text is ASCII without markup: copied as it is, in one pass the compiler vectorises.
        const size_t start = m_out.size();
        m_out.resize(start + size_t(content.size()));
        char *out = m_out.data() + start;
        char16_t high = 0;
        for (const QChar c : content) {
            high |= c.unicode();
            *out++ = char(c.unicode());
        }
        const bool plain = high < 0x80 && std::none_of(std::begin(kMarkup), std::end(kMarkup), [&](char c) {
                               return std::memchr(m_out.data() + start, c, size_t(content.size())) != nullptr;
                           });
        if (!plain) {
            m_out.resize(start);
            for (const char c : content.toUtf8())
                escaped(c);
        }
        m_out.append("</").append(tag).append(1, '>');
    }

    static constexpr char kMarkup[] = {'<', '>', '&', '"'};

    void escaped(char c)
    {
        switch (c) {
        case '<':
            m_out.append("&lt;");
            break;
        case '>':
            m_out.append("&gt;");
            break;
        case '&':
            m_out.append("&amp;");
            break;
        case '"':
            m_out.append("&quot;");
            break;
        default:
            m_out.push_back(c);
        }
    }

    void real(int depth, double d)
    {
        if (std::isnan(d) || std::isinf(d)) {
            text(depth, "real", std::isnan(d) ? u"nan" : d > 0 ? u"+infinity" : u"-infinity");
            return;
        }
        char digits[32];
        const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, d);
        open(depth);
        m_out.append("<real>").append(digits, end.ptr).append("</real>");
    }

    void value(const QVariant &v, int depth)
    {
        switch (v.typeId()) {
        case QMetaType::Bool:
            open(depth);
            m_out.append(v.toBool() ? "<true/>" : "<false/>");
            return;
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
            text(depth, "integer", v.toString());
            return;
        case QMetaType::Double:
        case QMetaType::Float:
            real(depth, v.toDouble());
            return;
        case QMetaType::QDateTime:
            text(depth, "date", dateText(v.toDateTime()));
            return;
        case QMetaType::QByteArray:
            text(depth, "data", QString::fromLatin1(v.toByteArray().toBase64()));
            return;
        case QMetaType::QVariantList:
        case QMetaType::QStringList: {
            const QVariantList list = v.toList();
            container(depth, "array", list.isEmpty(), [&] {
                for (const QVariant &item : list)
                    value(item, depth + 1);
            });
            return;
        }
        case QMetaType::QVariantMap: {
            const QVariantMap map = v.toMap();
            container(depth, "dict", map.isEmpty(), [&] {
                for (auto it = map.cbegin(); it != map.cend(); ++it) {
                    text(depth + 1, "key", it.key());
                    value(it.value(), depth + 1);
                }
            });
            return;
        }
        default:
            text(depth, "string", v.toString());
        }
    }

    // An empty container is one empty element, as the general writer makes it.
    template <typename Body> void container(int depth, std::string_view tag, bool empty, Body body)
    {
        open(depth);
        m_out.append(1, '<').append(tag);
        if (empty) {
            m_out.append("/>");
            return;
        }
        m_out.append(1, '>');
        body();
        open(depth);
        m_out.append("</").append(tag).append(1, '>');
    }

    std::string m_out;
};

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
    return ok ? std::optional<QVariant>(QVariant(d)) : std::nullopt;
}

// The value of an element that holds text, as both readers make it; nothing, and why (when asked),
// when the text is not one of the element's or the element is not one of the format's.
std::optional<QVariant> textValue(QAnyStringView tag, const QString &text, QString *why)
{
    const auto no = [why](const QString &reason) -> std::optional<QVariant> {
        if (why)
            *why = reason;
        return std::nullopt;
    };
    if (tag == QLatin1String("string"))
        return QVariant(text);
    if (tag == QLatin1String("integer")) {
        bool ok = false;
        const qlonglong n = text.trimmed().toLongLong(&ok);
        return ok ? std::optional<QVariant>(QVariant(n)) : no(QStringLiteral("bad integer: ") + text);
    }
    if (tag == QLatin1String("real")) {
        std::optional<QVariant> d = real(text.trimmed());
        return d ? d : no(QStringLiteral("bad real: ") + text);
    }
    if (tag == QLatin1String("date")) {
        QDateTime d = QDateTime::fromString(text.trimmed(), Qt::ISODateWithMs);
        if (!d.isValid() || d.toUTC().date().year() < 1 || d.toUTC().date().year() > 9999)
            return no(QStringLiteral("bad date: ") + text);
        return QVariant(d.toLocalTime());
    }
    if (tag == QLatin1String("data"))
        return QVariant(QByteArray::fromBase64(text.toLatin1()));
    return no(QStringLiteral("unknown element <%1>").arg(tag.toString()));
}

// Reads the plain form the writer makes (any indentation, UTF-8, the five named entities) without
// a general XML parser: the settings file is read by every command, and a machine tracking tens of
// thousands of connections has as many baseline entries in it. Anything else (a document type,
// comments, CDATA, character references, carriage returns, attributes, damage) it leaves to the
// general reader by answering nothing; what it does read, it reads as the general reader would.
class PlainReader
{
public:
    explicit PlainReader(QByteArrayView xml) : m_p(xml.data()), m_end(xml.data() + xml.size()) {}

    std::optional<QVariantMap> document()
    {
        skip("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
        space();
        if (!skip("<plist version=\"1.0\">") && !skip("<plist>"))
            return std::nullopt;
        std::optional<QVariant> root = element();
        space();
        if (!root || root->typeId() != QMetaType::QVariantMap || !skip("</plist>"))
            return std::nullopt;
        space();
        return m_p == m_end ? std::optional<QVariantMap>(root->toMap()) : std::nullopt;
    }

private:
    bool skip(QByteArrayView s)
    {
        if (m_end - m_p < s.size() || std::memcmp(m_p, s.data(), s.size()) != 0)
            return false;
        m_p += s.size();
        return true;
    }

    void space()
    {
        while (m_p < m_end && (*m_p == ' ' || *m_p == '\t' || *m_p == '\n'))
            ++m_p;
    }

    // The next start tag, after white space: its name, and whether it is empty (`<name/>`).
    bool startTag(QByteArrayView *name, bool *empty)
    {
        space();
        if (!skip("<"))
            return false;
        const char *start = m_p;
        while (m_p < m_end && *m_p >= 'a' && *m_p <= 'z')
            ++m_p;
        *name = QByteArrayView(start, m_p - start);
        *empty = skip("/>");
        return !name->isEmpty() && (*empty || skip(">"));
    }

    // Whole or not at all: the containers try it before each of their items.
    bool endTag(QByteArrayView name)
    {
        const char *at = m_p;
        if (skip("</") && skip(name) && skip(">"))
            return true;
        m_p = at;
        return false;
    }

    std::optional<QVariant> element()
    {
        QByteArrayView tag;
        bool empty = false;
        return startTag(&tag, &empty) ? value(tag, empty) : std::nullopt;
    }

    std::optional<QVariant> value(QByteArrayView tag, bool empty)
    {
        if (tag == "dict" || tag == "array") {
            if (m_depth > kMaxDepth)
                return std::nullopt;
            ++m_depth;
            std::optional<QVariant> v = tag == "dict" ? dict(empty) : array(empty);
            --m_depth;
            return v;
        }
        if (tag == "true" || tag == "false")
            return empty || endTag(tag) ? std::optional<QVariant>(QVariant(tag == "true")) : std::nullopt;
        const std::optional<QString> content = textOf(tag, empty);
        return content ? textValue(QLatin1StringView(tag), *content, nullptr) : std::nullopt;
    }

    // The text of the element just opened, up to its end tag.
    std::optional<QString> textOf(QByteArrayView tag, bool empty)
    {
        if (empty)
            return QString();
        std::optional<QString> content = text();
        return content && endTag(tag) ? content : std::nullopt;
    }

    std::optional<QVariant> dict(bool empty)
    {
        QVariantMap map;
        while (!empty) {
            space();
            if (endTag("dict"))
                break;
            QByteArrayView tag;
            bool emptyKey = false;
            if (!startTag(&tag, &emptyKey) || tag != "key")
                return std::nullopt;
            const std::optional<QString> key = textOf(tag, emptyKey);
            std::optional<QVariant> item = key ? element() : std::nullopt;
            if (!item)
                return std::nullopt;
            map.insert(map.cend(), *key, *item); // written in key order; a repeated key: the last holds
        }
        return QVariant(map);
    }

    std::optional<QVariant> array(bool empty)
    {
        QVariantList list;
        while (!empty) {
            space();
            if (endTag("array"))
                break;
            std::optional<QVariant> item = element();
            if (!item)
                return std::nullopt;
            list.append(*item);
        }
        return QVariant(list);
    }

    // The text up to the next tag; nothing for what only the general reader reads.
    std::optional<QString> text()
    {
        const char *start = m_p;
        bool ascii = true;
        for (; m_p < m_end && *m_p != '<'; ++m_p) {
            const auto c = static_cast<unsigned char>(*m_p);
            if (c == '&' || c >= 0x80)
                ascii = false;
            else if ((c < 0x20 && c != '\t' && c != '\n') || c == '>')
                return std::nullopt;
        }
        if (m_p == m_end)
            return std::nullopt;
        const QByteArrayView raw(start, m_p - start);
        return ascii ? QString::fromLatin1(raw) : decoded(raw);
    }

    static std::optional<QString> decoded(QByteArrayView raw)
    {
        static constexpr std::pair<const char *, char> entities[] = {
            {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&apos;", '\''}};
        QByteArray utf8;
        utf8.reserve(raw.size());
        for (qsizetype i = 0; i < raw.size();) {
            if (raw[i] != '&') {
                utf8.append(raw[i++]);
                continue;
            }
            const auto entity = std::find_if(std::begin(entities), std::end(entities), [&](const auto &e) {
                return raw.sliced(i).startsWith(e.first);
            });
            if (entity == std::end(entities))
                return std::nullopt;
            utf8.append(entity->second);
            i += qstrlen(entity->first);
        }
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        QString text = decoder.decode(utf8);
        if (decoder.hasError() || !isXmlText(text))
            return std::nullopt;
        return text;
    }

    const char *m_p;
    const char *m_end;
    int m_depth = 0;
};

// The general reader: any well-formed document of the format, and a reason for any other.
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
        QString why;
        std::optional<QVariant> v = textValue(tag, text, &why);
        return v ? v : bad(why);
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

QByteArray toXml(const QVariantMap &root, qsizetype sizeHint)
{
    return Writer().document(root, sizeHint);
}

std::optional<QVariantMap> fromXml(const QByteArray &xml, QString *error)
{
    if (std::optional<QVariantMap> plain = PlainReader(xml).document())
        return plain;
    return fromXmlGeneral(xml, error);
}

std::optional<QVariantMap> fromXmlGeneral(const QByteArray &xml, QString *error)
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
