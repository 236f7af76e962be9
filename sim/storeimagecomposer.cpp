#include "storeimagecomposer.h"

#include <qorutils/romstorage.h>

namespace {

char erasedByte(const StoreImage &image)
{
    return image.kind == StoreImage::Blank00 ? char(0x00) : char(0xff);
}

} // namespace

QByteArray StoreImageComposer::compose(const StoreLayout &layout, const StoreImage &image)
{
    Q_ASSERT(image.kind != StoreImage::Missing && image.kind != StoreImage::Unreadable);
    if (image.kind == StoreImage::Empty)
        return QByteArray();
    const char erased = erasedByte(image);
    QByteArray bytes = freshMemory(layout, erased);
    const QByteArray record = content(layout, image);
    const qint64 end = layout.recordOffset() + record.size();
    if (bytes.size() < end)
        bytes.resize(int(end));
    bytes.replace(int(layout.recordOffset()), record.size(), record);
    if (image.size >= 0 && image.size < bytes.size())
        bytes.truncate(int(image.size));
    else if (image.size > bytes.size())
        bytes.append(QByteArray(int(image.size) - bytes.size(), erased));
    return bytes;
}

QByteArray StoreImageComposer::freshMemory(const StoreLayout &layout, char erased)
{
    QByteArray bytes(int(layout.defaultSize()), erased);
    // Factory data that the identity record must never touch; a recognisable pattern shows when it does.
    for (int i = 0; i < layout.recordOffset(); ++i)
        bytes[i] = char(i);
    return bytes;
}

QByteArray StoreImageComposer::content(const StoreLayout &layout, const StoreImage &image)
{
    const int blankSize = layout.isFile() ? BlankFileSize : int(layout.defaultSize() - layout.recordOffset());
    switch (image.kind) {
    case StoreImage::Record:
        return frame(image.record);
    case StoreImage::Corrupt:
        return corruptedFrame(image.record);
    case StoreImage::Raw:
        return image.raw;
    case StoreImage::BlankFF:
    case StoreImage::Blank00:
        return QByteArray(blankSize, erasedByte(image));
    case StoreImage::Empty:
    case StoreImage::Missing:
    case StoreImage::Unreadable:
    case StoreImage::Device:
        break;
    }
    return QByteArray();
}

QByteArray StoreImageComposer::frame(const QVariantMap &record)
{
    return ROMStorage(QVariant(record)).frame();
}

QByteArray StoreImageComposer::corruptedFrame(const QVariantMap &record)
{
    QByteArray bytes = frame(record);
    // Damage the payload, not the header, so that the frame still looks like a record at first sight.
    const int payloadSize = bytes.size() - ROMStorage::HeaderSize;
    const int victim = payloadSize > 0 ? ROMStorage::HeaderSize + payloadSize / 2 : bytes.size() - 1;
    bytes[victim] = char(bytes.at(victim) ^ 0xff);
    return bytes;
}
