#include "kernelfiles.h"

#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

QByteArray KernelFiles::read(const QString &path, int *error)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        if (error)
            *error = errno;
        return {};
    }
    QByteArray data;
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n > 0) {
            data.append(buffer, n);
        } else if (n == 0) {
            break;
        } else if (errno != EINTR) {
            if (error)
                *error = errno;
            data.clear();
            break;
        }
    }
    ::close(fd);
    return data;
}
