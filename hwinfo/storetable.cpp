#include "hwinfohelper.h"

#include "serialcachepath_p.h"

#include <qorutils/piciodevice.h>

#include <QtCore/QFile>

namespace hmi {

namespace {
const int unlimited = 0x7fffffff;
const int comRecordOffset = 0x100;
const int comRecordRoom = 0x180;
} // namespace

QHash<QString, HwInfoHelper::EEPROM> HwInfoHelper::eepromsInit(QObject *parent)
{
    QHash<QString, EEPROM> eeproms;
    eeproms.insert(QLatin1String("com"),
                   EEPROM(QLatin1String("COM Module"),
                          new QFile(QLatin1String("/sys/bus/i2c/devices/0-0050/eeprom"), parent),
                          comRecordOffset, comRecordRoom));
    eeproms.insert(QLatin1String("cb"),
                   EEPROM(QLatin1String("Carrier Board"), new PicIODevice(parent), 0, unlimited));
    eeproms.insert(QLatin1String("bf"),
                   EEPROM(QLatin1String("Beamformer Board"),
                          new QFile(QLatin1String("/sys/bus/i2c/devices/0-0051/eeprom"), parent), 0,
                          unlimited));
    eeproms.insert(QLatin1String("ut"),
                   EEPROM(QLatin1String("Mono-Element Board"),
                          new QFile(QLatin1String("/sys/bus/i2c/devices/0-0055/eeprom"), parent), 0,
                          unlimited));
    eeproms.insert(QLatin1String("file"),
                   EEPROM(QLatin1String("Serials File"), new QFile(serialCachePath, parent), 0, unlimited));
    return eeproms;
}

} // namespace hmi
