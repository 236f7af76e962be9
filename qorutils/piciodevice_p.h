#ifndef QORUTILS_PICIODEVICE_P_H
#define QORUTILS_PICIODEVICE_P_H

#include <QtCore/QtGlobal>

/** The open device node of a PicIODevice and the size of the memory behind it, if its driver tells it. */
class PicIODevicePrivate
{
public:
    enum { UnknownSize = -1 };

    PicIODevicePrivate()
        : fd(-1)
        , memorySize(0)
    { }

    bool sizeKnown() const { return memorySize != UnknownSize; }

    int fd;
    qint64 memorySize;
};

#endif
