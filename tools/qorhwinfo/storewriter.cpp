#include "storewriter.h"

#include "cachefilecreationmask_p.h"

#include <qorutils/romstorage.h>

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace StoreWriter {

namespace {

const int unlimitedRoom = 0x7fffffff;

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

// A rename reaches the disk only with its directory.
bool syncDirectoryOf(const QString &path, QString *error)
{
    const int fd
        = ::open(QFile::encodeName(QFileInfo(path).absolutePath()).constData(), O_RDONLY | O_DIRECTORY);
    if (fd < 0 || ::fsync(fd) != 0) {
        *error = QString::fromLatin1("could not sync the directory of %1: %2").arg(path, systemError());
        if (fd >= 0)
            ::close(fd);
        return false;
    }
    ::close(fd);
    return true;
}

bool syncFile(QFile &file, QString *error)
{
    if (!file.flush() || ::fsync(file.handle()) != 0) {
        // Character devices and sysfs attributes have nothing to sync.
        if (errno == EINVAL || errno == EROFS)
            return true;
        *error = QString::fromLatin1("could not sync %1: %2").arg(file.fileName(), systemError());
        return false;
    }
    return true;
}

qint64 regionSize(QIODevice *device, const hmi::HwInfoHelper::EEPROM &store)
{
    const qint64 rest = qMax<qint64>(device->size() - store.offset, 0);
    return store.maxSize == unlimitedRoom ? rest : qMin<qint64>(rest, store.maxSize);
}

bool readRegion(const hmi::HwInfoHelper::EEPROM &store, QByteArray *image, QString *error)
{
    QIODevice *device = store.ioDev;
    if (!device->open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        *error = device->errorString();
        return false;
    }
    bool ok = device->seek(store.offset);
    if (ok) {
        const qint64 size = regionSize(device, store);
        image->resize(int(size));
        qint64 done = 0;
        while (ok && done < size) {
            const qint64 got = device->read(image->data() + done, size - done);
            ok = got > 0;
            done += qMax<qint64>(got, 0);
        }
    }
    if (!ok)
        *error = device->errorString();
    device->close();
    return ok;
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

bool readImage(const hmi::HwInfoHelper::EEPROM &store, QByteArray *image, bool *present, QString *error)
{
    *present = true;
    image->clear();
    QFile *file = qobject_cast<QFile *>(store.ioDev);
    if (file && !file->exists()) {
        *present = false;
        return true;
    }
    return readRegion(store, image, error);
}

bool writeImage(const hmi::HwInfoHelper::EEPROM &store, const QByteArray &image, QString *error)
{
    QIODevice *device = store.ioDev;
    // Never WriteOnly: on a file that truncates, and a memory keeps bytes outside the region.
    if (!device->open(QIODevice::ReadWrite | QIODevice::Unbuffered)) {
        *error = device->errorString();
        return false;
    }
    bool ok = device->seek(store.offset) && device->write(image) == image.size();
    if (!ok)
        *error = device->errorString();
    QFile *file = qobject_cast<QFile *>(device);
    if (ok && file)
        ok = syncFile(*file, error);
    device->close();
    if (!ok)
        return false;

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
    QIODevice *device = store.ioDev;
    if (!device->open(QIODevice::ReadWrite | QIODevice::Unbuffered)) {
        *error = device->errorString();
        return false;
    }
    bool ok = device->seek(store.offset);
    if (!ok)
        *error = device->errorString();
    try {
        if (ok)
            ROMStorage(QVariant(record)).saveTo(*device, store.maxSize);
    } catch (const QString &failure) {
        *error = failure;
        ok = false;
    }
    device->close();
    if (!ok)
        return false;

    return readsBack(store, record, error);
}

bool replaceFile(const QString &path, const QByteArray &bytes, QString *error)
{
    const QString newPath = path + QLatin1String(".new");
    QFile file(newPath);
    bool ok;
    {
        const hmi::CacheFileCreationMask mask;
        ok = file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    }
    if (!ok) {
        *error = QString::fromLatin1("could not create %1: %2").arg(newPath, file.errorString());
        return false;
    }
    ok = file.write(bytes) == bytes.size();
    if (!ok)
        *error = QString::fromLatin1("could not write %1: %2").arg(newPath, file.errorString());
    ok = ok && syncFile(file, error);
    file.close();
    if (ok && std::rename(QFile::encodeName(newPath).constData(), QFile::encodeName(path).constData()) != 0) {
        *error = QString::fromLatin1("could not rename %1 to %2: %3").arg(newPath, path, systemError());
        ok = false;
    }
    if (!ok) {
        QFile::remove(newPath);
        return false;
    }
    return syncDirectoryOf(path, error);
}

bool writeCacheRecord(const hmi::HwInfoHelper::EEPROM &store, const QString &path, const QVariantMap &record,
                      QString *error)
{
    QByteArray frame;
    try {
        frame = ROMStorage(QVariant(record)).frame();
    } catch (const QString &failure) {
        *error = failure;
        return false;
    }
    if (!replaceFile(path, frame, error))
        return false;
    return readsBack(store, record, error);
}

bool removeFile(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.exists())
        return true;
    if (!file.remove()) {
        *error = QString::fromLatin1("could not remove %1: %2").arg(path, file.errorString());
        return false;
    }
    return syncDirectoryOf(path, error);
}

} // namespace StoreWriter
