#include "storelayout.h"
#include "qtcompat.h"

StoreLayout::StoreLayout(const QString &key, const QString &path, qint64 defaultSize, qint64 recordOffset)
    : m_key(key)
    , m_path(path)
    , m_defaultSize(defaultSize)
    , m_recordOffset(recordOffset)
{ }

QStringList StoreLayout::keys()
{
    return { QStringLiteral("com"), QStringLiteral("cb"), QStringLiteral("bf"), QStringLiteral("ut"),
             QStringLiteral("file") };
}

bool StoreLayout::isKnown(const QString &key)
{
    return keys().contains(key);
}

StoreLayout StoreLayout::of(const QString &key)
{
    if (key == QLatin1String("com"))
        return StoreLayout(key, QStringLiteral("/sys/bus/i2c/devices/0-0050/eeprom"), 1024, 256);
    if (key == QLatin1String("cb"))
        return StoreLayout(key, QStringLiteral("/dev/qorpic0"), 2048, 0);
    if (key == QLatin1String("bf"))
        return StoreLayout(key, QStringLiteral("/sys/bus/i2c/devices/0-0051/eeprom"), 4096, 0);
    if (key == QLatin1String("ut"))
        return StoreLayout(key, QStringLiteral("/sys/bus/i2c/devices/0-0055/eeprom"), 4096, 0);
    Q_ASSERT(key == QLatin1String("file"));
    return StoreLayout(key, QStringLiteral("/var/local/qorhwinfo/serial.cache"), 0, 0);
}
