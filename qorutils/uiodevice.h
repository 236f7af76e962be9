#ifndef QORUTILS_UIODEVICE_H
#define QORUTILS_UIODEVICE_H

#include <qorutils/qorutils_export.h>

#include <QtCore/QList>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QWeakPointer>

namespace hmi {

class UioDevicePrivate;

/**
 * A Linux userspace-I/O device "/dev/uio<N>" and its memory maps as listed under
 * "/sys/class/uio/uio<N>/maps". Mappings made through it are released when it is destroyed.
 */
class QORUTILS_EXPORT UioDevice
{
public:
    /**
     * How Map::mmap() maps a region. Reading is 2, the access that the hardware inventory asks for: it only
     * reads through its mapping, so an account with read access to the device gets its registers.
     */
    enum AccessType {
        ReadOnly = 2, ///< for reading
        ReadWrite = 3 ///< for reading and writing; needs the device open read-write
    };

    /** One memory region of the device. */
    class QORUTILS_EXPORT Map
    {
    public:
        /** A map of no device: index -1, size 0; mmap() throws. */
        Map();
        /** The map's number K, from "/sys/class/uio/uio<N>/maps/map<K>". */
        int index() const;
        /** The region's size in bytes, as the kernel lists it. */
        quint64 size() const;
        /**
         * Maps the region (map K lies at offset K times the page size of the device) and returns its
         * base address, valid until the device is destroyed.
         * @throws hmi::Exception when the region cannot be mapped or the device is gone
         */
        void *mmap(AccessType access) const;

    private:
        friend class UioDevice;
        QWeakPointer<UioDevicePrivate> m_device;
        int m_index;
        quint64 m_size;
    };

    /** Opens "/dev/uio<number>". @throws hmi::Exception when it cannot be opened. */
    explicit UioDevice(unsigned int number);
    /** Unmaps every region mapped through it and closes the device. */
    ~UioDevice();

    /** The device's number N, as given to the constructor. */
    unsigned int number() const;
    /** The device's maps, in index order; empty when it has none. */
    QList<Map> maps() const;

private:
    UioDevice(const UioDevice &);
    UioDevice &operator=(const UioDevice &);

    QSharedPointer<UioDevicePrivate> d;
};

} // namespace hmi

#endif
