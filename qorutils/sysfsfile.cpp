#include "sysfsfile.h"

namespace hmi {

SysFsFile::SysFsFile(const QString &path, QIODevice::OpenMode mode, QObject *parent)
    : QFile(path, parent)
{
    open(mode);
}

SysFsFile::~SysFsFile() { }

QString SysFsFile::toString()
{
    return QString();
}

} // namespace hmi
