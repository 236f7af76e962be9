// Frame decoding of arbitrary bytes as they stand and sealed in a header with the right length and CRC: at
// most one verdict, no payload unless valid, "empty" only for no bytes, "blank" for an erased or zeroed
// header; a valid frame is read to its end, no further, and re-encodes to those bytes (the encoding is
// canonical).
#include "fuzzcheck.h"
#include "hostileframes.h"

#include <qorutils/romstorage.h>

#include <QtCore/QBuffer>

namespace {

void check(const QByteArray &bytes, const QByteArray &input)
{
    QBuffer device;
    device.setData(bytes);
    device.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    const ROMStorage read(device);
    const QByteArray header = bytes.left(ROMStorage::HeaderSize);

    expect(int(read.isValid()) + int(read.looksBlank()) + int(read.isEmpty()) <= 1, "two verdicts", input);
    expect(read.isEmpty() == bytes.isEmpty(), "an empty verdict on bytes", input);
    expect(!read.looksBlank() || header == QByteArray(12, '\xff') || header == QByteArray(12, '\0'),
           "a blank verdict on a written header", input);
    expect(read.isValid() || !read.payload().isValid(), "a rejected frame has a payload", input);
    // A payload that cannot be written again throws here, which ends the run as a finding too.
    expect(!read.isValid() || ROMStorage(read.payload()).frame() == read.bytesRead(),
           "an accepted frame re-encodes otherwise", input);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    // Not a copy: a read past the end of libFuzzer's exact-size buffer is seen by ASan.
    const QByteArray input = QByteArray::fromRawData(reinterpret_cast<const char *>(data), int(size));
    check(input, input);
    check(HostileFrames::frame(input), input);
    return 0;
}
