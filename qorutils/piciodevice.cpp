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
    return access | O_CLOEXEC;
}

/** The memory's size: drivers of such memories report it through lseek, files through fstat. */
qint64 memorySizeOf(int fd)
{
    const off_t end = ::lseek(fd, 0, SEEK_END);
    if (end > 0)
        return end;
    struct stat info;
    if (::fstat(fd, &info) == 0)
        return info.st_size;
    return 0;
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
    return d->memorySize;
}

bool PicIODevice::seek(qint64 pos)
{
    if (!isOpen()) {
        setErrorString(QLatin1String("The carrier board memory is not open"));
        return false;
    }
    if (pos < 0 || pos > d->memorySize) {
        setErrorString(QString(QLatin1String("Position %1 lies outside the carrier board memory (%2 bytes)"))
                           .arg(pos)
                           .arg(d->memorySize));
        return false;
    }
    return QIODevice::seek(pos);
}

qint64 PicIODevice::readData(char *data, qint64 maxSize)
{
    const qint64 count = qMin(maxSize, qMax(Q_INT64_C(0), d->memorySize - pos()));
    qint64 done = 0;
    while (done < count) {
        const ssize_t got = ::pread(d->fd, data + done, size_t(count - done), off_t(pos() + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            setErrorString(qt_error_string(errno));
            return done > 0 ? done : -1;
        }
        if (got == 0)
            break;
        done += got;
    }
    return done;
}

qint64 PicIODevice::writeData(const char *data, qint64 maxSize)
{
    // A memory does not grow: what lies beyond its end is refused, as the hardware would.
    const qint64 room = qMax(Q_INT64_C(0), d->memorySize - pos());
    const qint64 count = qMin(maxSize, room);
    qint64 written = 0;
    while (written < count) {
        const ssize_t done = ::pwrite(d->fd, data + written, size_t(count - written), off_t(pos() + written));
        if (done < 0 && errno == EINTR)
            continue;
        if (done <= 0) {
            setErrorString(qt_error_string(done < 0 ? errno : ENOSPC));
            return written > 0 ? written : -1;
        }
        written += done;
    }
    if (written < maxSize) {
        setErrorString(qt_error_string(ENOSPC));
        return written > 0 ? written : -1;
    }
    return written;
}
