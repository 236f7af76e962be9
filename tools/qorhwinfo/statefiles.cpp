#include "statefiles.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace StateFiles {

namespace {

const char stateDirectory[] = "/var/local/qorhwinfo";

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

class Descriptor
{
public:
    explicit Descriptor(int fd = -1)
        : m_fd(fd)
    { }
    ~Descriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    int fd() const { return m_fd; }

private:
    Q_DISABLE_COPY(Descriptor)
    int m_fd;
};

int openDirectory(QString *error)
{
    const int fd = ::open(stateDirectory, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        *error = errno == ENOENT
            ? QString::fromLatin1(
                  "the directory %1 is missing; the system provides it: run \"systemd-tmpfiles "
                  "--create\" or reinstall the package")
                  .arg(QLatin1String(stateDirectory))
            : QString::fromLatin1("cannot open the directory %1: %2")
                  .arg(QLatin1String(stateDirectory), systemError(errno));
    }
    return fd;
}

QByteArray temporaryName(const char *name)
{
    unsigned char random[8] = {};
    if (::getrandom(random, sizeof random, 0) != qint64(sizeof random))
        return QByteArray();
    return QByteArray(".") + name + '.'
        + QByteArray(reinterpret_cast<const char *>(random), sizeof random).toHex();
}

bool writeAll(int fd, const QByteArray &bytes)
{
    qint64 done = 0;
    while (done < bytes.size()) {
        const ssize_t got = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        done += got;
    }
    return true;
}

} // namespace

QString directory()
{
    return QLatin1String(stateDirectory);
}

bool read(const char *name, qint64 maxSize, QByteArray *bytes, bool *exists, QString *error)
{
    bytes->clear();
    *exists = false;
    const Descriptor dir(openDirectory(error));
    if (dir.fd() < 0)
        return false;
    const Descriptor file(::openat(dir.fd(), name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (file.fd() < 0) {
        if (errno == ENOENT)
            return true;
        *error = QString::fromLatin1("cannot open %1/%2: %3")
                     .arg(directory(), QLatin1String(name), systemError(errno));
        return false;
    }
    *exists = true;
    struct stat info;
    if (::fstat(file.fd(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_size > maxSize) {
        *error = QString::fromLatin1("%1/%2 is no regular file of at most %3 bytes")
                     .arg(directory(), QLatin1String(name))
                     .arg(maxSize);
        return false;
    }
    bytes->resize(int(info.st_size));
    qint64 done = 0;
    while (done < bytes->size()) {
        const ssize_t got = ::read(file.fd(), bytes->data() + done, size_t(bytes->size() - done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += got;
    }
    bytes->truncate(int(done));
    return true;
}

bool replace(const char *name, const QByteArray &bytes, QString *error, mode_t mode)
{
    const Descriptor dir(openDirectory(error));
    if (dir.fd() < 0)
        return false;
    const QByteArray temporary = temporaryName(name);
    const int fd = temporary.isEmpty() ? -1
                                       : ::openat(dir.fd(), temporary.constData(),
                                                  O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
    if (fd < 0) {
        *error = QString::fromLatin1("cannot create a file in %1: %2").arg(directory(), systemError(errno));
        return false;
    }
    const Descriptor file(fd);
    if (::fchmod(fd, mode) != 0 || !writeAll(fd, bytes) || ::fsync(fd) != 0
        || ::renameat(dir.fd(), temporary.constData(), dir.fd(), name) != 0) {
        *error = QString::fromLatin1("cannot write %1/%2: %3")
                     .arg(directory(), QLatin1String(name), systemError(errno));
        ::unlinkat(dir.fd(), temporary.constData(), 0);
        return false;
    }
    if (::fsync(dir.fd()) != 0) {
        *error = QString::fromLatin1("cannot sync %1: %2").arg(directory(), systemError(errno));
        return false;
    }
    return true;
}

bool remove(const char *name, QString *error)
{
    const Descriptor dir(openDirectory(error));
    if (dir.fd() < 0)
        return false;
    if (::unlinkat(dir.fd(), name, 0) != 0 && errno != ENOENT) {
        *error = QString::fromLatin1("cannot remove %1/%2: %3")
                     .arg(directory(), QLatin1String(name), systemError(errno));
        return false;
    }
    if (::fsync(dir.fd()) != 0) {
        *error = QString::fromLatin1("cannot sync %1: %2").arg(directory(), systemError(errno));
        return false;
    }
    return true;
}

} // namespace StateFiles
