#include "romstorage.h"

#include "romstorage_p.h"

#include "frameheader.h"
#include "recordcodec_p.h"

#include <QtCore/QFile>
#include <QtCore/QIODevice>
#include <QtCore/QString>

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace {

bool isFilledWith(const QByteArray &bytes, char fill)
{
    for (int i = 0; i < bytes.size(); ++i) {
        if (bytes.at(i) != fill)
            return false;
    }
    return true;
}

/**
 * Reads up to @p size bytes, going on after short reads, which slow memories and pipes deliver, and
 * stopping at the end of the data or at an error, whose text goes to @p error.
 */
qint64 readUpTo(QIODevice &dev, char *data, qint64 size, QString *error)
{
    qint64 done = 0;
    while (done < size) {
        const qint64 got = dev.read(data + done, size - done);
        if (got < 0) {
            *error = dev.errorString();
            if (error->isEmpty())
                *error = QLatin1String("read error");
        }
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

    bytes.resize(FrameHeader::Size);
    bytes.resize(int(readUpTo(dev, bytes.data(), FrameHeader::Size, &error)));
    // A chip that stops answering is no empty memory, whatever it delivered before.
    if (!error.isEmpty())
        return;
    if (bytes.isEmpty()) {
        verdict = Empty;
        return;
    }
    const FrameHeader header(bytes);
    if (!header.isComplete())
        return;
    if (isFilledWith(bytes, '\xff') || isFilledWith(bytes, '\0')) {
        verdict = Blank;
        return;
    }
    if (!header.isFormat(ROMStorage::FormatVersion))
        return;

    const int payloadSize = header.payloadLength();
    bytes.resize(FrameHeader::Size + payloadSize);
    const qint64 got = readUpTo(dev, bytes.data() + FrameHeader::Size, payloadSize, &error);
    if (got != payloadSize) {
        bytes.resize(FrameHeader::Size + int(got));
        return;
    }
    if (header.computedCrc(bytes) != header.storedCrc())
        return;
    if (!RecordCodec::decode(bytes.constData() + FrameHeader::Size, payloadSize, &payload))
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

QString ROMStorage::errorString() const
{
    return d->error;
}

QByteArray ROMStorage::bytesRead() const
{
    return d->bytes;
}

QByteArray ROMStorage::frame() const
{
    QByteArray payload;
    payload.reserve(128); // a typical record fits, so encoding rarely reallocates
    RecordCodec::appendTo(&payload, d->payload);
    return FrameHeader::build(FormatVersion, payload) + payload;
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
