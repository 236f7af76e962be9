#include "piciodevice.h"

class PicIODevicePrivate
{
};

PicIODevice::PicIODevice(QObject *parent)
    : QIODevice(parent)
    , d(new PicIODevicePrivate)
{ }

PicIODevice::~PicIODevice()
{
    delete d;
}

QString PicIODevice::devicePath()
{
    return QLatin1String("/dev/qorpic0");
}
bool PicIODevice::open(OpenMode)
{
    return false;
}
void PicIODevice::close()
{
    QIODevice::close();
}
bool PicIODevice::isSequential() const
{
    return false;
}
qint64 PicIODevice::size() const
{
    return 0;
}
bool PicIODevice::seek(qint64 pos)
{
    return QIODevice::seek(pos);
}
qint64 PicIODevice::readData(char *, qint64)
{
    return -1;
}
qint64 PicIODevice::writeData(const char *, qint64)
{
    return -1;
}
