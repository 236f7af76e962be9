#ifndef QORUTILS_DEVICEDESCRIPTOR_H
#define QORUTILS_DEVICEDESCRIPTOR_H

#include <qorutils/qorutils_export.h>

#include <QtCore/QVariant>
#include <QtCore/QVariantMap>

namespace hmi {

/**
 * The descriptor a board keeps in its identity memory: a plain QVariantMap whose "serial" entry is the
 * board's serial number.
 */
class QORUTILS_EXPORT DeviceDescriptor : public QVariantMap
{
public:
    /** An empty descriptor. */
    DeviceDescriptor();
    /** A descriptor holding the entries of @p map (implicitly shared, as QVariantMap is). */
    DeviceDescriptor(const QVariantMap &map);
    ~DeviceDescriptor();

    /** The "serial" entry as an unsigned number; 0 when it is absent or not a number. */
    uint serial() const;
};

} // namespace hmi

#endif
