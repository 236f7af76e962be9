// A store's load() over a memory of arbitrary bytes. The first input byte is the record's offset in the
// memory and the rest is the memory. Whatever it holds, load() either fills the record map with the frame's
// payload or throws one of the store's own messages with the map empty, and leaves the device closed. A
// record that loads survives a save and a load unchanged.
#include "fuzzcheck.h"

#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/romstorage.h>

#include <QtCore/QBuffer>

namespace {

typedef hmi::HwInfoHelper::EEPROM Store;

const int unlimited = 0x7fffffff;

QString label()
{
    return QStringLiteral("Fuzzed Store");
}

bool isDocumentedFailure(const QString &message, int offset)
{
    const QString name = label();
    return message == name + QStringLiteral(": is blank") || message == name + QStringLiteral(": empty file")
        || message == name + QStringLiteral(": corrupted")
        || message.startsWith(
            name + QStringLiteral(": could not seek io device to specified offset(%1): ").arg(offset));
}

QVariantMap payloadAt(const QByteArray &memory, int offset)
{
    QBuffer device;
    device.setData(memory);
    device.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    device.seek(offset);
    return ROMStorage(device).payload().toMap();
}

/** Compared as frames, which show every type and bit, and in which a NaN equals itself. */
bool sameRecord(const QVariantMap &a, const QVariantMap &b)
{
    return ROMStorage(QVariant(a)).frame() == ROMStorage(QVariant(b)).frame();
}

void checkSaveAndReload(const QVariantMap &record, const QByteArray &input)
{
    QBuffer device;
    Store store(label(), &device, 0, unlimited);
    store.descriptor = record;
    store.save();
    store.load();
    FuzzCheck::expect(sameRecord(store.descriptor, record), "a loaded record does not survive a save", input);
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
    const int offset = input.isEmpty() ? 0 : uchar(input.at(0));
    const QByteArray memory = input.mid(1);

    QBuffer device;
    device.setData(memory);
    Store store(label(), &device, offset, unlimited);
    store.descriptor.insert(QStringLiteral("unit"), QStringLiteral("I999999"));
    try {
        store.load();
    } catch (const QString &message) {
        FuzzCheck::expect(isDocumentedFailure(message, offset), qPrintable(message), input);
        FuzzCheck::expect(store.descriptor.isEmpty(), "a failed load leaves a record behind", input);
        FuzzCheck::expect(!device.isOpen(), "a failed load leaves the device open", input);
        return 0;
    }
    FuzzCheck::expect(!device.isOpen(), "a load leaves the device open", input);
    FuzzCheck::expect(sameRecord(store.descriptor, payloadAt(memory, offset)),
                      "the record is not the frame's payload", input);
    FuzzCheck::expect(device.data() == memory, "loading changed the memory", input);
    checkSaveAndReload(store.descriptor, input);
    return 0;
}
