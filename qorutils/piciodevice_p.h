#ifndef QORUTILS_PICIODEVICE_P_H
#define QORUTILS_PICIODEVICE_P_H

#include <QtCore/QtGlobal>

/** The open device node of a PicIODevice and the size of the memory behind it. */
class PicIODevicePrivate
{
public:
    PicIODevicePrivate()
        : fd(-1)
        , memorySize(0)
    { }

    int fd;
    qint64 memorySize;
};

#endif
