#include "countingdevice.h"

CountingDevice::CountingDevice(QIODevice *inner, QObject *parent)
    : QIODevice(parent)
    , m_inner(inner)
{ }

void CountingDevice::resetCounts()
{
    m_readCalls = 0;
    m_bytesRead = 0;
}

bool CountingDevice::open(OpenMode mode)
{
    if (!m_inner->open(mode)) {
        setErrorString(m_inner->errorString());
        return false;
    }
    // The store asks for an unbuffered device; keeping that flag here means each of its reads reaches
    // readData() once instead of being served from a read-ahead buffer that would hide the real traffic.
    return QIODevice::open(mode);
}

void CountingDevice::close()
{
    QIODevice::close();
    m_inner->close();
}

bool CountingDevice::isSequential() const
{
    return m_inner->isSequential();
}

qint64 CountingDevice::size() const
{
    return m_inner->size();
}

bool CountingDevice::seek(qint64 pos)
{
    if (!m_inner->seek(pos)) {
        setErrorString(m_inner->errorString());
        return false;
    }
    return QIODevice::seek(pos);
}

qint64 CountingDevice::readData(char *data, qint64 maxSize)
{
    ++m_readCalls;
    const qint64 got = m_inner->read(data, maxSize);
    if (got > 0)
        m_bytesRead += got;
    return got;
}

qint64 CountingDevice::writeData(const char *data, qint64 maxSize)
{
    return m_inner->write(data, maxSize);
}
