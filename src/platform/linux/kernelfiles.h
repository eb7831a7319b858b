#pragma once

#include <QByteArray>
#include <QString>

namespace KernelFiles {

// The whole of a small procfs or sysfs file, with plain system calls: QFile asks for the file's
// status three times per open, most of what reading a two-byte attribute costs at every check.
// Nothing, with errno's value in *error (when given), when it cannot be read.
QByteArray read(const QString &path, int *error = nullptr);

} // namespace KernelFiles
