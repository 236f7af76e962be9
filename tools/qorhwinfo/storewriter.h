#ifndef QORHWINFO_TOOL_STOREWRITER_H
#define QORHWINFO_TOOL_STOREWRITER_H

#include <qorhwinfo/hwinfohelper.h>

#include <QByteArray>
#include <QString>
#include <QVariantMap>

/**
 * The tool's writes to the stores, each read back before it counts as done.
 *
 * A memory is written in place, frame header first, so a write that fails or is cut part-way leaves a
 * frame whose CRC no longer matches: corrupted, never another valid identity. A file is never written in
 * place: a new file beside it is written, synced and renamed over it, so it is the old or the new one.
 * Every function returns false with @p error set when something failed.
 */
namespace StoreWriter {

/** The bytes of a store's region: a memory from the record offset to its end or its room, a whole file. */
bool readImage(const hmi::HwInfoHelper::EEPROM &store, QByteArray *image, bool *present, QString *error);
/** Writes @p image at the record offset of a memory and reads it back. */
bool writeImage(const hmi::HwInfoHelper::EEPROM &store, const QByteArray &image, QString *error);
/** Writes @p record framed at the record offset of a memory, then loads it back through the library. */
bool writeRecord(const hmi::HwInfoHelper::EEPROM &store, const QVariantMap &record, QString *error);

/** Replaces the file @p path by one holding @p bytes, created rw-rw-r-- as discovery creates the cache. */
bool replaceFile(const QString &path, const QByteArray &bytes, QString *error);
/** Writes @p record as the cache file at @p path and loads it back through the library. */
bool writeCacheRecord(const hmi::HwInfoHelper::EEPROM &store, const QString &path, const QVariantMap &record,
                      QString *error);
bool removeFile(const QString &path, QString *error);

} // namespace StoreWriter

#endif
