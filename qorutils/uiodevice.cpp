#include "uiodevice.h"

#include "exception.h"

namespace hmi {

class UioDevicePrivate
{
public:
    unsigned int number;
};

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
void *UioDevice::Map::mmap(AccessType) const
{
    throw Exception(QLatin1String("not implemented"));
}

UioDevice::UioDevice(unsigned int number)
    : d(new UioDevicePrivate)
{
    d->number = number;
    throw Exception(QLatin1String("not implemented"));
}

UioDevice::~UioDevice() { }

unsigned int UioDevice::number() const
{
    return d->number;
}
QList<UioDevice::Map> UioDevice::maps() const
{
    return QList<Map>();
}

} // namespace hmi
