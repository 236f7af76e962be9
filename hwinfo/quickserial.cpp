#include "hwinfohelper.h"

#include "serialcachepath_p.h"

#include <QtCore/QFile>

namespace hmi {

const QString serialCachePath = QLatin1String("/var/local/qorhwinfo/serial.cache");

QString HwInfoHelper::quickNonValidatedSerial()
{
    QFile file(serialCachePath);
    EEPROM cache(QString(), &file, 0, 0x7fffffff);
    try {
        cache.load();
        return Serials(cache.descriptor).unit;
    } catch (...) {
        return QString();
    }
}

} // namespace hmi
