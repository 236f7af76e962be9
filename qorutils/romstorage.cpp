#include "romstorage.h"

#include "romstorage_p.h"

#include "recordcodec_p.h"

#include <QtCore/QFile>
#include <QtCore/QIODevice>
#include <QtCore/QString>

#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace {

const char Magic[] = { 'Q', 'R', 'O', 'M' };
enum HeaderField { MagicOffset = 0, VersionOffset = 4, FlagsOffset = 5, LengthOffset = 6, CrcOffset = 8 };

quint16 readLe16(const char *p)
{
    const uchar *b = reinterpret_cast<const uchar *>(p);
    return quint16(b[0] | (b[1] << 8));
}

quint32 readLe32(const char *p)
{
    const uchar *b = reinterpret_cast<const uchar *>(p);
    return quint32(b[0]) | (quint32(b[1]) << 8) | (quint32(b[2]) << 16) | (quint32(b[3]) << 24);
}

void writeLe16(char *p, quint16 n)
{
    p[0] = char(n & 0xff);
    p[1] = char(n >> 8);
}

void writeLe32(char *p, quint32 n)
{
    for (int i = 0; i < 4; ++i)
        p[i] = char((n >> (8 * i)) & 0xff);
}

/** The check covers the header up to the CRC itself, so a damaged length or flag is caught too. */
quint32 frameCrc(const char *header, const char *payload, int payloadSize)
{
    uLong crc = crc32(0L, Z_NULL, 0);
    crc = crc32(crc, reinterpret_cast<const Bytef *>(header), CrcOffset);
    crc = crc32(crc, reinterpret_cast<const Bytef *>(payload), uInt(payloadSize));
    return quint32(crc);
}

bool hasKnownHeader(const char *header)
{
    return memcmp(header + MagicOffset, Magic, sizeof(Magic)) == 0
        && uchar(header[VersionOffset]) == ROMStorage::FormatVersion && header[FlagsOffset] == 0;
}

bool isFilledWith(const char *bytes, int size, char fill)
{
    for (int i = 0; i < size; ++i) {
        if (bytes[i] != fill)
            return false;
    }
    return true;
}

/**
 * Reads up to @p size bytes, going on after short reads, which slow memories and pipes deliver, and
 * stopping at the end of the data or at an error.
 */
qint64 readUpTo(QIODevice &dev, char *data, qint64 size)
{
    qint64 done = 0;
    while (done < size) {
        const qint64 got = dev.read(data + done, size - done);
        if (got <= 0)
            break;
        done += got;
    }
    return done;
}

/** Qt buffers file writes, and the kernel buffers them again: a cache must survive a power cut. */
void syncToStorage(QFile &file)
{
    if (!file.flush()) {
        throw QString(QLatin1String("could not write record to %1: %2"))
            .arg(file.fileName(), file.errorString());
    }
    int result;
    do {
        result = ::fsync(file.handle());
    } while (result != 0 && errno == EINTR);
    // Pipes and character devices have nothing to sync and say so with EINVAL.
    if (result != 0 && errno != EINVAL) {
        const int error = errno;
        throw QString(QLatin1String("could not sync record to %1: %2"))
            .arg(file.fileName(), QString::fromLocal8Bit(strerror(error)));
    }
}

} // namespace

void ROMStoragePrivate::readFrom(QIODevice &dev)
{
    if (!dev.isReadable()) {
        verdict = Empty;
        return;
    }

    char header[ROMStorage::HeaderSize];
    const qint64 headerSize = readUpTo(dev, header, sizeof(header));
    if (headerSize == 0) {
        verdict = Empty;
        return;
    }
    if (headerSize < qint64(sizeof(header)))
        return;
    if (isFilledWith(header, sizeof(header), '\xff') || isFilledWith(header, sizeof(header), '\0')) {
        verdict = Blank;
        return;
    }
    if (!hasKnownHeader(header))
        return;

    const int payloadSize = readLe16(header + LengthOffset);
    QByteArray bytes;
    bytes.resize(payloadSize);
    if (readUpTo(dev, bytes.data(), payloadSize) != payloadSize)
        return;
    if (frameCrc(header, bytes.constData(), payloadSize) != readLe32(header + CrcOffset))
        return;
    if (!RecordCodec::decode(bytes, &payload))
        return;
    verdict = Valid;
}

ROMStorage::ROMStorage(QIODevice &dev)
    : d(new ROMStoragePrivate(ROMStoragePrivate::Corrupted))
{
    // A device may throw from read(); no destructor runs for a constructor that throws.
    try {
        d->readFrom(dev);
    } catch (...) {
        delete d;
        throw;
    }
}

ROMStorage::ROMStorage(const QVariant &payload)
    : d(new ROMStoragePrivate(ROMStoragePrivate::Built, payload))
{ }

ROMStorage::~ROMStorage()
{
    delete d;
}

bool ROMStorage::isValid() const
{
    return d->verdict == ROMStoragePrivate::Valid;
}

bool ROMStorage::looksBlank() const
{
    return d->verdict == ROMStoragePrivate::Blank;
}

bool ROMStorage::isEmpty() const
{
    return d->verdict == ROMStoragePrivate::Empty;
}

QVariant ROMStorage::payload() const
{
    return d->payload;
}

QByteArray ROMStorage::frame() const
{
    QByteArray out;
    out.reserve(HeaderSize + 128); // a typical record fits, so encoding rarely reallocates
    out.resize(HeaderSize);
    RecordCodec::appendTo(&out, d->payload);

    const int payloadSize = out.size() - HeaderSize;
    char *header = out.data();
    memcpy(header + MagicOffset, Magic, sizeof(Magic));
    header[VersionOffset] = char(FormatVersion);
    header[FlagsOffset] = 0;
    writeLe16(header + LengthOffset, quint16(payloadSize));
    writeLe32(header + CrcOffset, frameCrc(header, header + HeaderSize, payloadSize));
    return out;
}

int ROMStorage::saveTo(QIODevice &dev, int maxSize) const
{
    const QByteArray bytes = frame();
    if (bytes.size() > maxSize) {
        throw QString(QLatin1String("record needs %1 bytes but only %2 fit"))
            .arg(bytes.size())
            .arg(qMax(maxSize, 0));
    }
    if (dev.write(bytes) != bytes.size())
        throw QString(QLatin1String("could not write record: %1")).arg(dev.errorString());
    if (QFile *file = qobject_cast<QFile *>(&dev))
        syncToStorage(*file);
    return bytes.size();
}
