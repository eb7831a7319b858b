#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <optional>

// Reads and writes the XML property-list text format: the value types the settings domain holds
// (string, integer, real, boolean, date, data, array, dictionary) round-trip with their types.
namespace PropertyList {

QByteArray toXml(const QVariantMap &root);

// Parses a document whose root is a dictionary. On failure returns nothing and says why in *error.
std::optional<QVariantMap> fromXml(const QByteArray &xml, QString *error);

// True when the variant holds one of the types above (recursively for containers).
bool isPropertyListValue(const QVariant &value);

} // namespace PropertyList
