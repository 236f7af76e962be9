#ifndef QORUTILS_UIODEVICE_P_H
#define QORUTILS_UIODEVICE_P_H

#include "uiodevice.h"

#include <QtCore/QList>
#include <QtCore/QPair>

#include <cstddef>

namespace hmi {

/**
 * The open UIO device and everything mapped through it. It outlives its UioDevice only while a Map
 * briefly holds it; its destructor releases the mappings and the device.
 */
class UioDevicePrivate
{
public:
    explicit UioDevicePrivate(unsigned int number);
    ~UioDevicePrivate();

    /** @throws Exception */
    void open();
    /** The sizes of map0, map1, ... up to the first that is missing or unreadable. */
    QList<quint64> readMapSizes() const;
    /** @throws Exception */
    void *map(int index, quint64 size, UioDevice::AccessType access);

    QString devicePath() const;
    QString sysfsPath() const;

    unsigned int number;
    int fd;
    bool writable;
    QList<UioDevice::Map> maps;
    QList<QPair<void *, size_t> > mappings;

private:
    UioDevicePrivate(const UioDevicePrivate &);
    UioDevicePrivate &operator=(const UioDevicePrivate &);
};

} // namespace hmi

#endif
