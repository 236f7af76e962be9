#include "referencerecord.h"

#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/romstorage.h>

namespace ReferenceRecord {

QVariantMap map()
{
    const hmi::HwInfoHelper::Serials serials(QStringLiteral("I123456"), 1234567, 7654321,
                                             QStringLiteral("0a5f"), QStringLiteral("ABC123456789"),
                                             QStringLiteral("02:fc:00:00:00:01"));
    QVariantMap record;
    serials.writeTo(record);
    return record;
}

QByteArray frame()
{
    return ROMStorage(QVariant(map())).frame();
}

QByteArray memoryImage(const QByteArray &frame, int offset, int size)
{
    QByteArray image(size, '\xff');
    image.replace(offset, frame.size(), frame);
    return image;
}

} // namespace ReferenceRecord
