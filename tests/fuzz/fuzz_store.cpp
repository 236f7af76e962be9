// A store's load() over a memory of arbitrary bytes, the first of which is the record's offset: it takes
// exactly the frame's payload as the record map, or throws the message of the frame's verdict and empties
// the map; the device ends closed and unchanged.
#include "fuzzcheck.h"

#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/romstorage.h>

#include <QtCore/QBuffer>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), int(size));
    const int offset = input.isEmpty() ? 0 : uchar(input.at(0));
    QBuffer device;
    device.setData(input.mid(1));
    hmi::HwInfoHelper::EEPROM store(QStringLiteral("Store"), &device, offset, 0x7fffffff);
    store.descriptor.insert(QStringLiteral("unit"), QStringLiteral("I999999"));
    QString thrown;
    try {
        store.load();
    } catch (const QString &message) {
        thrown = message;
    }

    QBuffer memory;
    memory.setData(input.mid(1));
    memory.open(QIODevice::ReadOnly);
    const bool sought = memory.seek(offset);
    const ROMStorage frame(memory);
    const bool valid = sought && frame.isValid();
    const char *const reason = valid ? ""
        : !sought                    ? ": could not seek io device to specified offset("
        : frame.looksBlank()         ? ": is blank"
        : frame.isEmpty()            ? ": empty file"
                                     : ": corrupted";
    expect(thrown.startsWith(QLatin1String("Store") + QLatin1String(reason)) != valid, "message", input);
    expect(!device.isOpen() && device.data() == input.mid(1), "the device is left open or changed", input);
    // Compared as frames, which show every type and bit, and in which a NaN equals itself.
    expect(ROMStorage(QVariantMap(store.descriptor)).frame()
               == ROMStorage(valid ? frame.payload().toMap() : QVariantMap()).frame(),
           "the record is not the frame's payload", input);
    return 0;
}
