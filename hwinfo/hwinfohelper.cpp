#include "hwinfohelper.h"

#include "hwinfohelper_p.h"

#include <qorutils/exception.h>
#include <qorutils/sysfsfile.h>
#include <qorutils/uiodevice.h>

#include <QtCore/QMetaObject>

namespace hmi {

namespace {

const char macAddressPath[] = "/sys/class/net/eth0/address";
const char comSerialPath[] = "/sys/devices/virtual/dmi/id/board_serial";
const unsigned int fpgaUioDevice = 0;
const int fpgaUidRegister = 0x1D8 / sizeof(quint32);

QString readSysFsAttribute(const char *path)
{
    SysFsFile attribute(QLatin1String(path), QIODevice::ReadOnly);
    return attribute.toString();
}

QString formatFpgaUid(quint32 registerValue)
{
    return QString(QLatin1String("%1")).arg(registerValue & 0xFFFFu, 4, 16, QLatin1Char('0'));
}

// The FPGA's register block is the first map of UIO device 0; without it the unit simply has no FPGA UID.
QString readFpgaUid()
{
    try {
        const UioDevice uio(fpgaUioDevice);
        const QList<UioDevice::Map> maps = uio.maps();
        if (maps.isEmpty())
            return QString();
        const volatile quint32 *registers
            = static_cast<const volatile quint32 *>(maps.first().mmap(UioDevice::ReadOnly));
        return formatFpgaUid(registers[fpgaUidRegister]);
    } catch (const Exception &) {
        return QString();
    }
}

} // namespace

HwInfoHelper::HwInfoHelper()
    : QObject(0)
    , d(0)
{
    // The private object is attached only once the hardware facts are read; if reading them throws, no
    // helper exists and the private object must not outlive the attempt.
    HwInfoHelperPrivate *p = new HwInfoHelperPrivate;
    try {
        p->eeproms = eepromsInit(this);
        p->status = OK;
        const QString mac = readSysFsAttribute(macAddressPath);
        const QString com = readSysFsAttribute(comSerialPath);
        const QString fpgaUid = readFpgaUid();
        p->serials = Serials(QString(), 0, 0, fpgaUid, com, mac);
    } catch (...) {
        delete p;
        throw;
    }
    d = p;
}

HwInfoHelper::~HwInfoHelper()
{
    delete d;
}

QString HwInfoHelper::mac() const
{
    return d->serials.mac;
}

QString HwInfoHelper::comSerial() const
{
    return d->serials.com;
}

QString HwInfoHelper::fpgaUid() const
{
    return d->serials.fpgaUid;
}

uint HwInfoHelper::cbSerial() const
{
    return d->serials.cb;
}

uint HwInfoHelper::bfSerial() const
{
    return d->serials.bf;
}

const QHash<QString, HwInfoHelper::EEPROM> &HwInfoHelper::eeproms() const
{
    return d->eeproms;
}

HwInfoHelper::StatusFlags HwInfoHelper::status() const
{
    return d->status;
}

HwInfoHelper::StatusFlags HwInfoHelper::status(const QString &name) const
{
    return d->eeproms.value(name).status;
}

HwInfoHelper::StatusFlags HwInfoHelper::globalStatus() const
{
    StatusFlags global = d->status;
    for (QHash<QString, EEPROM>::const_iterator it = d->eeproms.constBegin(); it != d->eeproms.constEnd();
         ++it)
        global |= it->status;
    return global;
}

QMetaEnum HwInfoHelper::statusMetaEnum()
{
    const QMetaObject &meta = staticMetaObject;
    return meta.enumerator(meta.indexOfEnumerator("StatusFlag"));
}

QString HwInfoHelper::unitSerial() const
{
    if (d->status != OK)
        throw d->status;
    return d->serials.unit;
}

QList<QString> HwInfoHelper::probableSerials() const
{
    return d->probableSerials;
}

void HwInfoHelper::discover()
{
    HwInfoHelperPrivate::ProgressSignals progress(this);
    Discovery(d->eeproms, d->serials, d->status, d->probableSerials).run(&progress);
}

} // namespace hmi
