#ifndef QORHWINFO_CORE_STORESAVE_H
#define QORHWINFO_CORE_STORESAVE_H

#include <qorhwinfo/hwinfohelper.h>

#include <QtCore/QString>

namespace hmi {

/**
 * One write of a store's record map, exactly as the store's save() writes it, with its outcome kept:
 * save() logs a device that cannot be opened or sought and returns as if it had written, discovery counts
 * such a save as done, and the tool must still be able to say that the cache file was not written.
 */
class StoreSave
{
public:
    enum Outcome {
        Written, ///< the frame was handed to the device
        OpenFailed, ///< the device could not be opened for writing
        SeekFailed ///< the device could not be sought to the record's offset
    };

    /**
     * Opens the store's device WriteOnly, seeks to its offset and writes the framed map. Exceptions of
     * the framing (a QString when the write fails) pass through, with the device closed.
     */
    explicit StoreSave(const HwInfoHelper::EEPROM &store);

    Outcome outcome() const { return m_outcome; }
    /** The device's error string, taken before the device was closed; empty when it was written. */
    QString deviceError() const { return m_deviceError; }

    /** Logs an open or seek failure at QtCriticalMsg, as save() does, for the store labelled @p label. */
    void logFailure(const QString &label) const;

private:
    Outcome m_outcome;
    QString m_deviceError;
};

} // namespace hmi

#endif
