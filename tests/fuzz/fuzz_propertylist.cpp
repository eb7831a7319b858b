// Any bytes as a settings file: the plain reader and the general one must agree on whether it
// reads and on every value with its type, and neither may crash or read outside the bytes.
#include "core/propertylist.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // A copy of exactly `size` bytes, so that a read past the end is caught.
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const std::optional<QVariantMap> general = PropertyList::fromXmlGeneral(bytes, nullptr);
    const std::optional<QVariantMap> read = PropertyList::fromXml(bytes, nullptr);
    if (read.has_value() != general.has_value() ||
        (read && PropertyList::toXml(*read) != PropertyList::toXml(*general)))
        std::abort();
    return 0;
}
