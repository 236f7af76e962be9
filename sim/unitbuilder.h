#ifndef QORSIMUNIT_UNITBUILDER_H
#define QORSIMUNIT_UNITBUILDER_H

#include "storelayout.h"
#include "unitdescription.h"

#include <QDir>
#include <QStringList>

/**
 * Writes a simulated unit as a file tree: ROOT/sys, ROOT/dev and ROOT/var/local/qorhwinfo hold what the
 * unit's paths would show, and ROOT/sandbox.conf lists what the sandbox binds where.
 */
class UnitBuilder
{
public:
    explicit UnitBuilder(const QString &rootPath);

    /** @throws QString on any file system failure or when the root is not empty. */
    void build(const UnitDescription &unit);

    static const int FpgaRegisterOffset = 0x1d8;
    static const int UioMapSize = 4096;

private:
    void prepareRoot();
    void writeAttribute(const QString &unitPath, const TextAttribute &attribute);
    void writeFpga(const FpgaSpec &fpga);
    void writeStore(const StoreLayout &layout, const StoreImage &image);
    void writeCacheDir(UnitDescription::CacheDir cacheDir);
    void writeSandboxConf();

    void writeFile(const QString &unitPath, const QByteArray &bytes);
    void makeDir(const QString &unitPath);
    void bind(const QString &unitPath, bool readOnly = false);
    QString hostPath(const QString &unitPath) const;

    QDir m_root;
    QStringList m_binds;
};

#endif
