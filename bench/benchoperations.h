#ifndef QORBENCH_BENCHOPERATIONS_H
#define QORBENCH_BENCHOPERATIONS_H

#include <QtCore/QString>

/**
 * The operations whose cost is compared: the library's quick read of the serials cache file, and the
 * least a program could do to get the same answer with plain POSIX calls. All of them use the real path,
 * so they run inside a sandboxed unit.
 */
namespace BenchOperations {

/** hmi::HwInfoHelper::quickNonValidatedSerial(). */
QString librarySerial();
/** open/read/close of the cache file into a stack buffer; the number of bytes read, -1 on failure. */
int posixRead();
/**
 * posixRead() plus the frame checks (header and CRC-32) without decoding the payload: the least any
 * reader that rejects a damaged file has to do. The payload size, -1 on failure.
 */
int posixReadChecked();
/** posixRead() plus checking and decoding the frame; the record's unit serial, null on failure. */
QString posixReadDecoded();

/** Lets a discovery write the cache file when it is missing, so that the quick reads have one to read. */
bool ensureCacheWritten();
/** Deletes the cache file, so that the next discovery writes it again. */
void removeCache();

/**
 * Drops the library's log messages. The library still builds them, which is its cost; printing them is
 * the application's, and would also interleave with the figures.
 */
void silenceLog();

} // namespace BenchOperations

#endif
