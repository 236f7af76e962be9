#include "storewriter.h"

#include "statefiles.h"

#include <qorutils/piciodevice.h>
#include <qorutils/romstorage.h>

#include <QFile>
#include <QScopedPointer>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace StoreWriter {

namespace {

const char cacheName[] = "serial.cache";
const qint64 imageBound = 128 * 1024;

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

QString pathOf(const hmi::HwInfoHelper::EEPROM &store)
{
    if (const QFile *file = qobject_cast<const QFile *>(store.ioDev))
        return file->fileName();
    return PicIODevice::devicePath();
}

/**
 * The store's device, opened without following a link and checked for its type before a single byte moves.
 * The carrier board's memory is its own device class, which opens its node itself.
 */
class DeviceHandle
{
public:
    DeviceHandle(const hmi::HwInfoHelper::EEPROM &store, QIODevice::OpenMode mode, QString *error)
        : m_device(nullptr)
    {
        if (!qobject_cast<QFile *>(store.ioDev)) {
            if (store.ioDev->open(mode | QIODevice::Unbuffered))
                m_device = store.ioDev;
            else
                *error = store.ioDev->errorString();
            m_borrowed = true;
            return;
        }
        m_borrowed = false;
        const QByteArray path = QFile::encodeName(pathOf(store));
        const int access = mode & QIODevice::WriteOnly ? O_RDWR : O_RDONLY;
        const int fd = ::open(path.constData(), access | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
        struct stat info;
        if (fd < 0 || ::fstat(fd, &info) != 0) {
            *error = QString::fromLatin1("cannot open %1: %2").arg(pathOf(store), systemError());
            if (fd >= 0)
                ::close(fd);
            return;
        }
        if (!S_ISREG(info.st_mode) && !S_ISCHR(info.st_mode)) {
            *error = QString::fromLatin1("%1 is neither a memory nor a file").arg(pathOf(store));
            ::close(fd);
            return;
        }
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
        m_file.reset(new QFile);
        if (!m_file->open(fd, mode | QIODevice::Unbuffered, QFile::AutoCloseHandle)) {
            *error = m_file->errorString();
            ::close(fd);
            m_file.reset();
            return;
        }
        m_device = m_file.data();
    }
    ~DeviceHandle()
    {
        if (m_device)
            m_device->close();
    }

    QIODevice *device() const { return m_device; }

private:
    Q_DISABLE_COPY(DeviceHandle)
    QScopedPointer<QFile> m_file;
    QIODevice *m_device;
    bool m_borrowed;
};

bool syncFile(QIODevice *device, QString *error)
{
    QFile *file = qobject_cast<QFile *>(device);
    if (!file)
        return true;
    if (!file->flush() || ::fsync(file->handle()) != 0) {
        // Character devices and sysfs attributes have nothing to sync.
        if (errno == EINVAL || errno == EROFS)
            return true;
        *error = QString::fromLatin1("could not sync %1: %2").arg(file->fileName(), systemError());
        return false;
    }
    return true;
}

// Reads to the end of the region, never more than its room, whatever size the device claims.
bool readRegion(const hmi::HwInfoHelper::EEPROM &store, QByteArray *image, QString *error)
{
    DeviceHandle handle(store, QIODevice::ReadOnly, error);
    QIODevice *device = handle.device();
    if (!device)
        return false;
    if (!device->seek(store.offset)) {
        *error = device->errorString();
        return false;
    }
    const qint64 room = roomOf(store);
    image->clear();
    char chunk[4096];
    while (image->size() < room) {
        const qint64 got = device->read(chunk, qMin<qint64>(sizeof chunk, room - image->size()));
        if (got < 0) {
            *error = device->errorString();
            return false;
        }
        if (got == 0)
            break;
        image->append(chunk, int(got));
    }
    return true;
}

// A store that was written is read again through the library, as the next discovery will read it.
bool readsBack(const hmi::HwInfoHelper::EEPROM &store, const QVariantMap &record, QString *error)
{
    hmi::HwInfoHelper::EEPROM check = store;
    try {
        check.load();
    } catch (const QString &failure) {
        *error = QString::fromLatin1("reading back: %1").arg(failure);
        return false;
    }
    if (QVariantMap(check.descriptor) != record) {
        *error = QLatin1String("reading back: the record differs from the one written");
        return false;
    }
    return true;
}

} // namespace

qint64 maxImageSize()
{
    return imageBound;
}

qint64 roomOf(const hmi::HwInfoHelper::EEPROM &store)
{
    return qMin<qint64>(store.maxSize, imageBound);
}

bool isCacheFile(const hmi::HwInfoHelper::EEPROM &store)
{
    return pathOf(store) == StateFiles::directory() + QLatin1Char('/') + QLatin1String(cacheName);
}

bool readImage(const hmi::HwInfoHelper::EEPROM &store, QByteArray *image, bool *present, QString *error)
{
    *present = true;
    image->clear();
    if (isCacheFile(store)) {
        QString readError;
        const bool read = StateFiles::read(cacheName, imageBound, image, present, &readError);
        if (!read)
            *error = readError;
        return read;
    }
    return readRegion(store, image, error);
}

bool writeImage(const hmi::HwInfoHelper::EEPROM &store, const QByteArray &image, QString *error)
{
    if (image.size() > roomOf(store)) {
        *error = QString::fromLatin1("%1 bytes do not fit the %2 bytes of room")
                     .arg(image.size())
                     .arg(roomOf(store));
        return false;
    }
    {
        // Never WriteOnly: on a file that truncates, and a memory keeps bytes outside the region.
        DeviceHandle handle(store, QIODevice::ReadWrite, error);
        QIODevice *device = handle.device();
        if (!device)
            return false;
        if (!device->seek(store.offset) || device->write(image) != image.size()) {
            *error = device->errorString();
            return false;
        }
        if (!syncFile(device, error))
            return false;
    }
    QByteArray readBack;
    if (!readRegion(store, &readBack, error))
        return false;
    if (!readBack.startsWith(image)) {
        *error = QLatin1String("the memory reads back other bytes than were written");
        return false;
    }
    return true;
}

bool writeRecord(const hmi::HwInfoHelper::EEPROM &store, const QVariantMap &record, QString *error)
{
    {
        DeviceHandle handle(store, QIODevice::ReadWrite, error);
        QIODevice *device = handle.device();
        if (!device)
            return false;
        if (!device->seek(store.offset)) {
            *error = device->errorString();
            return false;
        }
        try {
            ROMStorage(QVariant(record)).saveTo(*device, store.maxSize);
        } catch (const QString &failure) {
            *error = failure;
            return false;
        }
    }
    return readsBack(store, record, error);
}

bool replaceCache(const QByteArray &bytes, QString *error)
{
    return StateFiles::replace(cacheName, bytes, error, 0664);
}

bool writeCacheRecord(const hmi::HwInfoHelper::EEPROM &store, const QVariantMap &record, QString *error)
{
    QByteArray frame;
    try {
        frame = ROMStorage(QVariant(record)).frame();
    } catch (const QString &failure) {
        *error = failure;
        return false;
    }
    if (!replaceCache(frame, error))
        return false;
    return readsBack(store, record, error);
}

bool removeCache(QString *error)
{
    return StateFiles::remove(cacheName, error);
}

} // namespace StoreWriter
