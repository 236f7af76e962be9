#ifndef QORHWINFO_TOOL_STOREWRITER_H
#define QORHWINFO_TOOL_STOREWRITER_H

#include <qorhwinfo/hwinfohelper.h>

#include <QByteArray>
#include <QString>
#include <QVariantMap>

/**
 * The tool's reads and writes of a store's raw bytes, each write read back before it counts as done.
 *
 * Nothing is followed that the tool did not make: a store's file or device is opened without following a
 * link, must be a regular file or a character device (a FIFO or a directory is refused without blocking),
 * and is never read or written past its room or maxImageSize(), whatever size it claims.
 *
 * A memory is written in place, frame header first, so a write that fails or is cut part-way leaves a
 * frame whose CRC no longer matches: corrupted, never another valid identity. The cache file is never
 * written in place: a new file with an unpredictable name beside it is written, synced and renamed over it,
 * so it is the old or the new one. Every function returns false with @p error set when something failed.
 */
namespace StoreWriter {

/** The most bytes of a store's region that the tool reads or writes: no store's record needs more. */
qint64 maxImageSize();
/** The room of a store's region: its own room, at most maxImageSize(). */
qint64 roomOf(const hmi::HwInfoHelper::EEPROM &store);
/** Whether the store is the serials cache file, which the tool replaces instead of writing in place. */
bool isCacheFile(const hmi::HwInfoHelper::EEPROM &store);

/**
 * The bytes of a store's region: a memory from the record offset to its end, the whole cache file.
 * @p present is false for a cache file that does not exist.
 */
bool readImage(const hmi::HwInfoHelper::EEPROM &store, QByteArray *image, bool *present, QString *error);
/** Writes @p image at the record offset of a memory, within its room, and reads it back. */
bool writeImage(const hmi::HwInfoHelper::EEPROM &store, const QByteArray &image, QString *error);
/** Writes @p record framed at the record offset of a memory, then loads it back through the library. */
bool writeRecord(const hmi::HwInfoHelper::EEPROM &store, const QVariantMap &record, QString *error);

/** Replaces the cache file by one holding @p bytes, rw-rw-r-- as discovery creates it. */
bool replaceCache(const QByteArray &bytes, QString *error);
/** Writes @p record as the cache file and loads it back through the library. */
bool writeCacheRecord(const hmi::HwInfoHelper::EEPROM &store, const QVariantMap &record, QString *error);
bool removeCache(QString *error);

} // namespace StoreWriter

#endif
