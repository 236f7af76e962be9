#ifndef QORSIMUNIT_STOREIMAGECOMPOSER_H
#define QORSIMUNIT_STOREIMAGECOMPOSER_H

#include "storelayout.h"
#include "unitdescription.h"

#include <QByteArray>

/**
 * The bytes of one store's memory or file: the erased memory around the record, the COM module's
 * factory area before it, and the record, blank pattern or raw bytes at the record offset.
 */
class StoreImageComposer
{
public:
    /** @throws QString when the record cannot be framed. Not for Missing and Unreadable images. */
    static QByteArray compose(const StoreLayout &layout, const StoreImage &image);

    /** How much of a blank cache file "blank-ff" or "blank-00" writes when no size is given. */
    static const int BlankFileSize = 64;

private:
    static QByteArray freshMemory(const StoreLayout &layout, char erased);
    static QByteArray content(const StoreLayout &layout, const StoreImage &image);
    static QByteArray frame(const QVariantMap &record);
    static QByteArray corruptedFrame(const QVariantMap &record);
};

#endif
