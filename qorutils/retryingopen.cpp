#include "retryingopen_p.h"

#include <QtCore/QFile>

#include <cerrno>
#include <fcntl.h>

namespace QorUtilsPrivate {

int openRetrying(const QString &path, int flags)
{
    const QByteArray name = QFile::encodeName(path);
    int fd;
    do {
        fd = ::open(name.constData(), flags);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

} // namespace QorUtilsPrivate
