#include "unitbuilder.h"
#include "qtcompat.h"

#include "storeimagecomposer.h"

#include <QFile>
#include <QFileInfo>
#include <QtEndian>

namespace {

const char *const uioSysfsDir = "/sys/class/uio/uio0";

QByteArray uioMemory(const FpgaSpec &fpga)
{
    QByteArray bytes(UnitBuilder::UioMapSize, char(0));
    if (fpga.kind == FpgaSpec::Register)
        qToLittleEndian<quint32>(fpga.value,
                                 reinterpret_cast<uchar *>(bytes.data()) + UnitBuilder::FpgaRegisterOffset);
    return bytes;
}

/** A store that the unit file does not mention: an erased memory, or no cache file yet. */
StoreImage defaultImage(const StoreLayout &layout)
{
    StoreImage image;
    image.kind = layout.isFile() ? StoreImage::Missing : StoreImage::BlankFF;
    return image;
}

} // namespace

UnitBuilder::UnitBuilder(const QString &rootPath)
    : m_root(rootPath)
{ }

void UnitBuilder::build(const UnitDescription &unit)
{
    prepareRoot();
    makeDir(QStringLiteral("/sys"));
    bind(QStringLiteral("/sys"));
    makeDir(QStringLiteral("/dev"));
    writeAttribute(QStringLiteral("/sys/class/net/eth0/address"), unit.mac);
    writeAttribute(QStringLiteral("/sys/devices/virtual/dmi/id/board_serial"), unit.boardSerial);
    writeFpga(unit.fpga);
    writeCacheDir(unit.cacheDir);
    for (const QString &key : StoreLayout::keys()) {
        const StoreLayout layout = StoreLayout::of(key);
        writeStore(layout, unit.stores.value(key, defaultImage(layout)));
    }
    writeSandboxConf();
}

void UnitBuilder::prepareRoot()
{
    if (m_root.exists()
        && !m_root.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden).isEmpty())
        throw QStringLiteral("%1 is not empty").arg(m_root.path());
    if (!m_root.mkpath(QStringLiteral(".")))
        throw QStringLiteral("cannot create %1").arg(m_root.path());
}

void UnitBuilder::writeAttribute(const QString &unitPath, const TextAttribute &attribute)
{
    if (attribute.present)
        writeFile(unitPath, attribute.text.toUtf8() + '\n');
}

void UnitBuilder::writeFpga(const FpgaSpec &fpga)
{
    if (fpga.kind == FpgaSpec::None)
        return;
    const QString sysfs = QLatin1String(uioSysfsDir);
    writeFile(QStringLiteral("/dev/uio0"), uioMemory(fpga));
    bind(QStringLiteral("/dev/uio0"), fpga.readOnly);
    writeFile(sysfs + QStringLiteral("/name"), "qorfpga\n");
    writeFile(sysfs + QStringLiteral("/version"), "1.0\n");
    if (fpga.kind == FpgaSpec::NoMaps)
        return;
    const QString map0 = sysfs + QStringLiteral("/maps/map0");
    writeFile(map0 + QStringLiteral("/name"), "regs\n");
    writeFile(map0 + QStringLiteral("/addr"), "0x43c00000\n");
    writeFile(map0 + QStringLiteral("/offset"), "0x0\n");
    writeFile(map0 + QStringLiteral("/size"),
              QStringLiteral("0x%1\n").arg(UioMapSize, 8, 16, QLatin1Char('0')).toLatin1());
}

void UnitBuilder::writeStore(const StoreLayout &layout, const StoreImage &image)
{
    switch (image.kind) {
    case StoreImage::Missing:
        return;
    case StoreImage::Unreadable:
        // A directory cannot be opened as a file, not even by root, which a permission bit could not ensure.
        makeDir(layout.path());
        break;
    case StoreImage::Device:
        // Like a driver that cannot tell the memory's size: the sandbox binds the host's node as a device.
        makeDir(QFileInfo(layout.path()).path());
        if (!QFile::link(image.device, hostPath(layout.path())))
            throw QStringLiteral("cannot link %1 to %2").arg(hostPath(layout.path()), image.device);
        m_binds.append(QStringLiteral("dev-bind %1 %2").arg(layout.path().mid(1), layout.path()));
        return;
    default:
        try {
            writeFile(layout.path(), StoreImageComposer::compose(layout, image));
        } catch (const QString &message) {
            throw QStringLiteral("store %1 (line %2): %3").arg(layout.key()).arg(image.line).arg(message);
        }
        break;
    }
    if (layout.path().startsWith(QLatin1String("/dev/")))
        bind(layout.path());
}

void UnitBuilder::writeCacheDir(UnitDescription::CacheDir cacheDir)
{
    if (cacheDir == UnitDescription::CacheMissing)
        return;
    const QString dir = QFileInfo(StoreLayout::of(QStringLiteral("file")).path()).path();
    makeDir(dir);
    if (cacheDir == UnitDescription::CacheFull)
        m_binds.append(QStringLiteral("full-tmpfs %1 %2").arg(dir.mid(1), dir));
    else
        bind(dir, cacheDir == UnitDescription::CacheReadOnly);
}

void UnitBuilder::writeSandboxConf()
{
    QFile conf(m_root.filePath(QStringLiteral("sandbox.conf")));
    if (!conf.open(QIODevice::WriteOnly))
        throw QStringLiteral("cannot write %1: %2").arg(conf.fileName(), conf.errorString());
    conf.write("# Written by qorsimunit. <bind|ro-bind|full-tmpfs> <path under this directory> <path in the "
               "sandbox>\n");
    for (const QString &line : m_binds)
        conf.write(line.toUtf8() + '\n');
    if (!conf.flush())
        throw QStringLiteral("cannot write %1: %2").arg(conf.fileName(), conf.errorString());
}

void UnitBuilder::writeFile(const QString &unitPath, const QByteArray &bytes)
{
    makeDir(QFileInfo(unitPath).path());
    QFile file(hostPath(unitPath));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        throw QStringLiteral("cannot write %1: %2").arg(file.fileName(), file.errorString());
}

void UnitBuilder::makeDir(const QString &unitPath)
{
    if (!m_root.mkpath(hostPath(unitPath)))
        throw QStringLiteral("cannot create the directory %1").arg(hostPath(unitPath));
}

void UnitBuilder::bind(const QString &unitPath, bool readOnly)
{
    m_binds.append(
        QStringLiteral("%1 %2 %3")
            .arg(readOnly ? QStringLiteral("ro-bind") : QStringLiteral("bind"), unitPath.mid(1), unitPath));
}

QString UnitBuilder::hostPath(const QString &unitPath) const
{
    return m_root.path() + unitPath;
}
