#ifndef QORHWINFO_TOOL_EXITCODE_H
#define QORHWINFO_TOOL_EXITCODE_H

/**
 * The exit status of every command, one scheme for the whole tool. Where several apply, the highest
 * number that a command can give wins, except that Usage ends a run before anything else happens.
 * The reading commands say what an application would see: UnitError where its unitSerial() throws,
 * NoUnitSerial where it gets a null serial, Malformed where a store names a serial that is not "I"
 * followed by six digits.
 */
enum ExitCode {
    Success = 0, ///< done; the unit serial is established and well-formed; nothing wrong was found
    Problem = 1, ///< no unit serial (no candidate, or several), or a store problem was found
    Usage = 2, ///< bad command line
    UnitError = 3, ///< unit-level status ERROR: the cache file could not be written, unitSerial() throws
    Malformed = 4, ///< a serial that is not "I" and six digits, in a store or on the command line
    StoreUnusable = 5, ///< a store cannot be opened or read, or does not match the backup
    WriteFailed = 6, ///< a write, a backup or a verification failed
    Refused = 7 ///< not confirmed, or refused to overwrite another unit's record
};

#endif
