#include "countingdevice.h"

#include <cstring>

CountingDevice::CountingDevice(const QByteArray &content, QObject *parent)
    : QIODevice(parent)
    , m_content(content)
{ }

qint64 CountingDevice::readData(char *data, qint64 maxSize)
{
    ++m_readCalls;
    qint64 size = qMin(maxSize, m_content.size() - pos());
    if (m_readChunk > 0)
        size = qMin(size, m_readChunk);
    if (size <= 0)
        return 0;
    memcpy(data, m_content.constData() + pos(), size_t(size));
    m_bytesDelivered += size;
    return size;
}

qint64 CountingDevice::writeData(const char *data, qint64 maxSize)
{
    if (m_writeRoom == 0) {
        setErrorString(QStringLiteral("no room left on the test device"));
        return -1;
    }
    qint64 size = maxSize;
    if (m_writeRoom > 0 && size > m_writeRoom) {
        size = m_writeRoom;
        setErrorString(QStringLiteral("the test device took only part"));
    }
    if (m_writeRoom > 0)
        m_writeRoom -= size;
    const int at = int(pos());
    if (at + size > m_content.size())
        m_content.resize(int(at + size));
    memcpy(m_content.data() + at, data, size_t(size));
    return size;
}
