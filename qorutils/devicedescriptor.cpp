#include "devicedescriptor.h"

#include <QtCore/QString>

namespace hmi {

DeviceDescriptor::DeviceDescriptor() { }

DeviceDescriptor::DeviceDescriptor(const QVariantMap &map)
    : QVariantMap(map)
{ }

DeviceDescriptor::~DeviceDescriptor() { }

uint DeviceDescriptor::serial() const
{
    return value(QLatin1String("serial")).toUInt();
}

} // namespace hmi
