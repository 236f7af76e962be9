#include "fakedevice.h"

#include <cstring>
#include <sys/stat.h>

FakeDevice::FakeDevice(const QByteArray &content, Faults initialFaults)
    : faults(initialFaults)
    , m_content(content)
{ }

int FakeDevice::writeOpens() const
{
    int count = 0;
    for (const Open &open : m_opens)
        count += (open.mode & WriteOnly) ? 1 : 0;
    return count;
}

bool FakeDevice::open(OpenMode mode)
{
    const bool forWriting = mode & WriteOnly;
    m_opens.append(Open { mode, creationMask() });
    if (faults & (forWriting ? WriteOpenFails : ReadOpenFails)) {
        setErrorString(QStringLiteral("no such file"));
        return false;
    }
    return QIODevice::open(mode);
}

void FakeDevice::close()
{
    QIODevice::close();
    setErrorString(QStringLiteral("device closed"));
}

bool FakeDevice::seek(qint64 pos)
{
    if (faults & SeekFails) {
        setErrorString(QStringLiteral("seek refused"));
        return false;
    }
    return QIODevice::seek(pos);
}

mode_t FakeDevice::creationMask()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}

qint64 FakeDevice::readData(char *data, qint64 maxSize)
{
    ++m_readCalls;
    if (readRoom == 0) {
        setErrorString(QStringLiteral("Connection timed out"));
        return -1;
    }
    qint64 size = qMin(maxSize, m_content.size() - pos());
    if (readRoom > 0)
        size = qMin(size, readRoom);
    if (readChunk > 0)
        size = qMin(size, readChunk);
    if (size <= 0)
        return 0;
    memcpy(data, m_content.constData() + pos(), size_t(size));
    m_bytesDelivered += size;
    if (readRoom > 0)
        readRoom -= size;
    return size;
}

qint64 FakeDevice::writeData(const char *data, qint64 maxSize)
{
    if (writeRoom == 0) {
        setErrorString(QStringLiteral("no room left on the test device"));
        return -1;
    }
    qint64 size = maxSize;
    if (writeRoom > 0) {
        size = qMin(size, writeRoom);
        writeRoom -= size;
        if (size < maxSize)
            setErrorString(QStringLiteral("the test device took only part"));
    }
    const int at = int(pos());
    if (at + size > m_content.size())
        m_content.resize(int(at + size));
    memcpy(m_content.data() + at, data, size_t(size));
    return size;
}
