#include "sysfsfile.h"

namespace hmi {

namespace {

/** The kernel never hands out more than one page for an attribute. */
const qint64 attributeLimit = 4096;

} // namespace

SysFsFile::SysFsFile(const QString &path, QIODevice::OpenMode mode, QObject *parent)
    : QFile(path, parent)
{
    open(mode);
}

SysFsFile::~SysFsFile() { }

QString SysFsFile::toString()
{
    if (!isReadable() || !seek(0))
        return QString();
    QByteArray text = read(attributeLimit);
    if (text.endsWith('\n'))
        text.chop(1);
    return QString::fromUtf8(text.constData(), text.size());
}

} // namespace hmi
