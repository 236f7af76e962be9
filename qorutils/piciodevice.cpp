#include "piciodevice.h"
#include "piciodevice_p.h"
#include "retryingopen_p.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int openFlags(QIODevice::OpenMode mode)
{
    const bool reads = mode & QIODevice::ReadOnly;
    const bool writes = mode & QIODevice::WriteOnly;
    const int access = reads && writes ? O_RDWR : (writes ? O_WRONLY : O_RDONLY);
    // The node is the driver's own: a link in its place is somebody else's.
    return access | O_CLOEXEC | O_NOFOLLOW;
}

/**
 * The memory's size: drivers of such memories report it through lseek, files through fstat. Many drivers
 * refuse SEEK_END or answer 0, and a character device's fstat size is 0: their size is unknown.
 */
qint64 memorySizeOf(int fd)
{
    const off_t end = ::lseek(fd, 0, SEEK_END);
    if (end > 0)
        return end;
    struct stat info;
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode))
        return info.st_size;
    return PicIODevicePrivate::UnknownSize;
}

ssize_t preadRetrying(int fd, char *data, qint64 size, qint64 pos)
{
    ssize_t done;
    do {
        done = ::pread(fd, data, size_t(size), off_t(pos));
    } while (done < 0 && errno == EINTR);
    return done;
}

ssize_t pwriteRetrying(int fd, const char *data, qint64 size, qint64 pos)
{
    ssize_t done;
    do {
        done = ::pwrite(fd, data, size_t(size), off_t(pos));
    } while (done < 0 && errno == EINTR);
    return done;
}

} // namespace

PicIODevice::PicIODevice(QObject *parent)
    : QIODevice(parent)
    , d(new PicIODevicePrivate)
{ }

PicIODevice::~PicIODevice()
{
    if (isOpen())
        close();
    delete d;
}

QString PicIODevice::devicePath()
{
    return QLatin1String("/dev/qorpic0");
}

bool PicIODevice::open(OpenMode mode)
{
    if (isOpen()) {
        qWarning("PicIODevice::open: device already open");
        return false;
    }
    if (!(mode & ReadWrite) || (mode & Append)) {
        setErrorString(
            QLatin1String("The carrier board memory opens for reading and/or writing, not appending"));
        return false;
    }
    const int fd = QorUtilsPrivate::openRetrying(devicePath(), openFlags(mode));
    if (fd < 0) {
        setErrorString(qt_error_string(errno));
        return false;
    }
    struct stat info;
    if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
        ::close(fd);
        setErrorString(qt_error_string(EISDIR));
        return false;
    }
    d->fd = fd;
    d->memorySize = memorySizeOf(fd);
    // Buffering would read ahead past the record, through a slow bus, and keep QIODevice's idea of
    // the position apart from the one that pread() and pwrite() use.
    return QIODevice::open((mode & ~OpenMode(Truncate)) | Unbuffered);
}

void PicIODevice::close()
{
    if (!isOpen())
        return;
    QIODevice::close();
    ::close(d->fd);
    d->fd = -1;
    d->memorySize = 0;
}

bool PicIODevice::isSequential() const
{
    return false;
}

qint64 PicIODevice::size() const
{
    return d->sizeKnown() ? d->memorySize : 0;
}

bool PicIODevice::seek(qint64 pos)
{
    if (!isOpen()) {
        setErrorString(QLatin1String("The carrier board memory is not open"));
        return false;
    }
    if (pos < 0 || (d->sizeKnown() && pos > d->memorySize)) {
        const QString where
            = QString(QLatin1String("Position %1 lies outside the carrier board memory")).arg(pos);
        setErrorString(d->sizeKnown() ? QString(QLatin1String("%1 (%2 bytes)")).arg(where).arg(d->memorySize)
                                      : where);
        return false;
    }
    return QIODevice::seek(pos);
}

// Without a known size, the driver's short read or end of file is where the memory ends.
qint64 PicIODevice::readData(char *data, qint64 maxSize)
{
    const qint64 count = d->sizeKnown() ? qMin(maxSize, qMax(Q_INT64_C(0), d->memorySize - pos())) : maxSize;
    qint64 done = 0;
    while (done < count) {
        const ssize_t got = preadRetrying(d->fd, data + done, count - done, pos() + done);
        if (got < 0) {
            setErrorString(qt_error_string(errno));
            return done > 0 ? done : -1;
        }
        done += got;
        if (got == 0 || !d->sizeKnown())
            break;
    }
    return done;
}

// A memory does not grow: what lies beyond its end is refused, as the hardware would, and a driver that
// cannot tell the size shows the end by taking fewer bytes.
qint64 PicIODevice::writeData(const char *data, qint64 maxSize)
{
    const qint64 room = qMax(Q_INT64_C(0), d->memorySize - pos());
    const qint64 count = d->sizeKnown() ? qMin(maxSize, room) : maxSize;
    qint64 written = 0;
    while (written < count) {
        const ssize_t done = pwriteRetrying(d->fd, data + written, count - written, pos() + written);
        if (done < 0) {
            setErrorString(qt_error_string(errno));
            return written > 0 ? written : -1;
        }
        written += done;
        if (done == 0 || !d->sizeKnown())
            break;
    }
    if (written < maxSize) {
        setErrorString(d->sizeKnown()
                           ? qt_error_string(ENOSPC)
                           : QString(QLatin1String("The carrier board memory took only %1 of %2 bytes "
                                                   "at position %3: it ends there"))
                                 .arg(written)
                                 .arg(maxSize)
                                 .arg(pos()));
        return written > 0 ? written : -1;
    }
    return written;
}
