// Any bytes, as either protocol's socket list: the parser must neither crash nor read outside them.
#include "connections/connectiontable.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // A copy of exactly `size` bytes, so that a read past the end is caught.
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    ConnectionTables::parsePcbList(bytes, 6);
    ConnectionTables::parsePcbList(bytes, 17);
    return 0;
}
