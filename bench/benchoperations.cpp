#include "benchoperations.h"

#include "recordcodec_p.h"

#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/romstorage.h>

#include <QVariantMap>

#include <zlib.h>

#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace BenchOperations {

namespace {

const char cachePath[] = "/var/local/qorhwinfo/serial.cache";
const int maxFrameSize = ROMStorage::HeaderSize + ROMStorage::MaxPayloadSize;

int readCacheFile(char *buffer, int size)
{
    const int fd = ::open(cachePath, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return -1;
    const ssize_t got = ::read(fd, buffer, size_t(size));
    ::close(fd);
    return int(got);
}

quint32 readLe32(const char *p)
{
    const uchar *b = reinterpret_cast<const uchar *>(p);
    return quint32(b[0]) | (quint32(b[1]) << 8) | (quint32(b[2]) << 16) | (quint32(b[3]) << 24);
}

// The same checks the library makes, without a QIODevice in between.
bool checkFrame(const char *frame, int size, int *payloadSize)
{
    if (size < ROMStorage::HeaderSize || memcmp(frame, "QROM", 4) != 0
        || frame[4] != ROMStorage::FormatVersion || frame[5] != 0)
        return false;
    *payloadSize = uchar(frame[6]) | (uchar(frame[7]) << 8);
    if (size < ROMStorage::HeaderSize + *payloadSize)
        return false;
    uLong crc = crc32(0L, Z_NULL, 0);
    crc = crc32(crc, reinterpret_cast<const Bytef *>(frame), 8);
    crc = crc32(crc, reinterpret_cast<const Bytef *>(frame + ROMStorage::HeaderSize), uInt(*payloadSize));
    return quint32(crc) == readLe32(frame + 8);
}

void dropMessage(QtMsgType, const QMessageLogContext &, const QString &) { }

} // namespace

QString librarySerial()
{
    return hmi::HwInfoHelper::quickNonValidatedSerial();
}

int posixRead()
{
    char buffer[maxFrameSize];
    return readCacheFile(buffer, sizeof(buffer));
}

int posixReadChecked()
{
    char buffer[maxFrameSize];
    const int size = readCacheFile(buffer, sizeof(buffer));
    int payloadSize = 0;
    return checkFrame(buffer, size, &payloadSize) ? payloadSize : -1;
}

QString posixReadDecoded()
{
    char buffer[maxFrameSize];
    const int size = readCacheFile(buffer, sizeof(buffer));
    int payloadSize = 0;
    if (!checkFrame(buffer, size, &payloadSize))
        return QString();
    QVariant payload;
    if (!RecordCodec::decode(buffer + ROMStorage::HeaderSize, payloadSize, &payload))
        return QString();
    return payload.toMap().value(QStringLiteral("unit")).toString();
}

bool ensureCacheWritten()
{
    if (::access(cachePath, R_OK) == 0)
        return true;
    hmi::HwInfoHelper helper;
    helper.discover();
    return ::access(cachePath, R_OK) == 0;
}

void removeCache()
{
    ::unlink(cachePath);
}

void silenceLog()
{
    qInstallMessageHandler(dropMessage);
}

} // namespace BenchOperations
