#include "throwingdevice.h"

#include <stdexcept>

ThrowingDevice::ThrowingDevice(const QByteArray &content, QObject *parent)
    : QBuffer(parent)
{
    setData(content);
}

void ThrowingDevice::setFault(Fault fault)
{
    m_fault = fault;
}

bool ThrowingDevice::open(OpenMode mode)
{
    // As a file and the carrier board's device do; a buffer would quietly open again.
    if (isOpen()) {
        setErrorString(QStringLiteral("already open"));
        return false;
    }
    m_reads = 0;
    if (mode & WriteOnly)
        m_openedForWriting = true;
    // As a file does: opened for writing alone, it starts empty.
    if ((mode & WriteOnly) && !(mode & (ReadOnly | Append)))
        mode |= Truncate;
    return QBuffer::open(mode);
}

// The first read, the frame's header, succeeds; the throw comes with the payload, half-way through the frame.
qint64 ThrowingDevice::readData(char *data, qint64 maxSize)
{
    if (m_fault == ThrowsWhileReading && ++m_reads > 1)
        throw std::runtime_error("memory read failed");
    return QBuffer::readData(data, maxSize);
}

qint64 ThrowingDevice::writeData(const char *data, qint64 len)
{
    if (m_fault == ThrowsWhileWriting)
        throw std::runtime_error("memory write failed");
    return QBuffer::writeData(data, len);
}
