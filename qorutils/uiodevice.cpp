#include "uiodevice.h"
#include "retryingopen_p.h"
#include "uiodevice_p.h"

#include "exception.h"
#include "sysfsfile.h"

#include <QtCore/QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace hmi {

namespace {

/** A map's "size" attribute, hexadecimal with a "0x" prefix; false when absent or not a number. */
bool readMapSize(const QString &path, quint64 *size)
{
    SysFsFile file(path);
    QString text = file.toString().trimmed();
    if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        text.remove(0, 2);
    bool ok = false;
    *size = text.toULongLong(&ok, 16);
    return ok;
}

} // namespace

UioDevicePrivate::UioDevicePrivate(unsigned int number_)
    : number(number_)
    , fd(-1)
    , writable(false)
{ }

UioDevicePrivate::~UioDevicePrivate()
{
    for (int i = 0; i < mappings.size(); ++i)
        ::munmap(mappings.at(i).first, mappings.at(i).second);
    if (fd >= 0)
        ::close(fd);
}

QString UioDevicePrivate::devicePath() const
{
    return QLatin1String("/dev/uio") + QString::number(number);
}

QString UioDevicePrivate::sysfsPath() const
{
    return QLatin1String("/sys/class/uio/uio") + QString::number(number);
}

void UioDevicePrivate::open()
{
    fd = QorUtilsPrivate::openRetrying(devicePath(), O_RDWR | O_CLOEXEC);
    writable = fd >= 0;
    // A reader without write permission can still map the registers read-only.
    if (fd < 0 && (errno == EACCES || errno == EROFS))
        fd = QorUtilsPrivate::openRetrying(devicePath(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        throw Exception(QString(QLatin1String("Cannot open the UIO device %1: %2"))
                            .arg(devicePath(), qt_error_string(errno)));
    }
}

QList<quint64> UioDevicePrivate::readMapSizes() const
{
    const QString mapsDir = sysfsPath() + QLatin1String("/maps/map");
    QList<quint64> sizes;
    quint64 size;
    while (readMapSize(mapsDir + QString::number(sizes.size()) + QLatin1String("/size"), &size))
        sizes.append(size);
    return sizes;
}

void *UioDevicePrivate::map(int index, quint64 size, UioDevice::AccessType access)
{
    const QString what = QString(QLatin1String("map %1 of %2")).arg(index).arg(devicePath());
    if (size == 0 || size > quint64(size_t(-1)))
        throw Exception(QString(QLatin1String("Cannot map %1: it has no usable size")).arg(what));
    if (access == UioDevice::ReadWrite && !writable)
        throw Exception(
            QString(QLatin1String("Cannot map %1 for writing: %2")).arg(what, qt_error_string(EACCES)));
    const int protection = access == UioDevice::ReadWrite ? PROT_READ | PROT_WRITE : PROT_READ;
    // The UIO driver selects the map by the offset: map K is at K pages.
    const off_t offset = off_t(index) * off_t(sysconf(_SC_PAGESIZE));
    void *address = ::mmap(0, size_t(size), protection, MAP_SHARED, fd, offset);
    if (address == MAP_FAILED)
        throw Exception(QString(QLatin1String("Cannot map %1: %2")).arg(what, qt_error_string(errno)));
    mappings.append(qMakePair(address, size_t(size)));
    return address;
}

UioDevice::Map::Map()
    : m_index(-1)
    , m_size(0)
{ }

int UioDevice::Map::index() const
{
    return m_index;
}

quint64 UioDevice::Map::size() const
{
    return m_size;
}

void *UioDevice::Map::mmap(AccessType access) const
{
    const QSharedPointer<UioDevicePrivate> device = m_device.toStrongRef();
    if (!device)
        throw Exception(QString(QLatin1String("Cannot map UIO map %1: its device is closed")).arg(m_index));
    return device->map(m_index, m_size, access);
}

UioDevice::UioDevice(unsigned int number)
    : d(new UioDevicePrivate(number))
{
    d->open();
    const QList<quint64> sizes = d->readMapSizes();
    for (int index = 0; index < sizes.size(); ++index) {
        Map map;
        map.m_device = d;
        map.m_index = index;
        map.m_size = sizes.at(index);
        d->maps.append(map);
    }
}

UioDevice::~UioDevice() { }

unsigned int UioDevice::number() const
{
    return d->number;
}

QList<UioDevice::Map> UioDevice::maps() const
{
    return d->maps;
}

} // namespace hmi
