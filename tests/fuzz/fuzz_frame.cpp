// Frame decoding on arbitrary bytes. Every input is read twice: as it stands, which exercises the header
// checks, and sealed in a header with the right length and CRC, which carries it past the check value into
// the payload decoder. An accepted frame must re-encode to exactly the bytes that were read (the encoding
// is canonical) and read back to the same payload.
#include "fuzzcheck.h"
#include "rawframe.h"

#include <qorutils/romstorage.h>

#include <QtCore/QBuffer>
#include <QtCore/QString>

namespace {

bool isFilledWith(const QByteArray &bytes, char fill)
{
    for (int i = 0; i < bytes.size(); ++i) {
        if (bytes.at(i) != fill)
            return false;
    }
    return true;
}

int verdictCount(const ROMStorage &read)
{
    return int(read.isValid()) + int(read.looksBlank()) + int(read.isEmpty());
}

void checkRejected(const ROMStorage &read, const QByteArray &input)
{
    FuzzCheck::expect(!read.payload().isValid(), "a rejected frame yields a payload", input);
    FuzzCheck::expect(read.isEmpty() == input.isEmpty(), "empty verdict without an empty input", input);
    if (read.looksBlank()) {
        const QByteArray header = input.left(ROMStorage::HeaderSize);
        FuzzCheck::expect(header.size() == ROMStorage::HeaderSize
                              && (isFilledWith(header, '\xff') || isFilledWith(header, '\0')),
                          "blank verdict on a written header", input);
    }
}

QByteArray reencoded(const ROMStorage &read, const QByteArray &input)
{
    try {
        return ROMStorage(read.payload()).frame();
    } catch (const QString &message) {
        FuzzCheck::expect(
            false, qPrintable(QLatin1String("an accepted payload does not re-encode: ") + message), input);
    }
    return QByteArray();
}

void checkAccepted(const ROMStorage &read, qint64 consumed, const QByteArray &input)
{
    const QByteArray frame = reencoded(read, input);
    FuzzCheck::expect(consumed == frame.size(), "reading went beyond or fell short of the frame", input);
    FuzzCheck::expect(input.startsWith(frame), "an accepted frame re-encodes to other bytes", input);

    QBuffer again;
    again.setData(frame);
    again.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    const ROMStorage reread(again);
    FuzzCheck::expect(reread.isValid(), "a re-encoded frame is refused", input);
    // Compared as frames: a NaN inside is no QVariant equal to itself.
    FuzzCheck::expect(reencoded(reread, input) == frame, "a re-encoded frame reads to another payload",
                      input);
}

void checkFrame(const QByteArray &input)
{
    QBuffer device;
    device.setData(input);
    device.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    const ROMStorage read(device);

    FuzzCheck::expect(verdictCount(read) <= 1, "more than one verdict", input);
    if (read.isValid())
        checkAccepted(read, device.pos(), input);
    else
        checkRejected(read, input);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    FuzzCheck::silenceQtMessages();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray input = FuzzCheck::bytes(data, size);
    checkFrame(input);
    checkFrame(RawFrame::around(input));
    return 0;
}
