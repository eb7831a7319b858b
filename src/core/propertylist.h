#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <optional>

// Reads and writes the XML property-list text format: the value types the settings domain holds
// (string, integer, real, boolean, date, data, array, dictionary) round-trip with their types.
namespace PropertyList {

// `sizeHint`: about how long the text will be (say, the file's size when last written), so that it
// is made in one piece instead of growing through copies.
QByteArray toXml(const QVariantMap &root, qsizetype sizeHint = 0);

// Parses a document whose root is a dictionary. On failure returns nothing and says why in *error.
std::optional<QVariantMap> fromXml(const QByteArray &xml, QString *error);

// The same with a general XML parser only: fromXml reads the plain form the writer makes without
// one, and whatever it reads must read the same here.
std::optional<QVariantMap> fromXmlGeneral(const QByteArray &xml, QString *error);

// True when the variant holds one of the types above (recursively for containers).
bool isPropertyListValue(const QVariant &value);

// True when the value can be written so that fromXml reads it back: a property-list value, dates
// within the years 1 to 9999 in UTC, text without characters XML cannot carry, and nesting no
// deeper than kMaxDepth. Otherwise says why in *why.
bool isWritable(const QVariant &value, QString *why);

// Deeper nesting is refused when read and when written (the reader recurses).
inline constexpr int kMaxDepth = 64;

} // namespace PropertyList
