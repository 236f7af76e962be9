#ifndef QORHWINFO_FUZZ_HOSTILEFRAMES_H
#define QORHWINFO_FUZZ_HOSTILEFRAMES_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

/**
 * Frames with a right CRC and hostile content, as a damaged or forged memory could hold them, generated
 * from a few rules: every item head outside the payload's CBOR profile, every longer spelling of an
 * integer, length, count or float, counts and lengths beyond the payload, deep nesting, text that is not
 * UTF-8, keys that are repeated, unsorted or no text, trailing bytes, wrong headers. Each is named, so
 * that it becomes a fuzzing seed of that name and a row of the store's test, and says what reading it
 * must give; the shortest spellings are among them as frames that load.
 */
class HostileFrames
{
public:
    enum Outcome {
        Rejected, ///< the frame is corrupted
        Loaded ///< the frame is good and its payload is read with memory bounded by its size
    };

    struct Entry
    {
        QString name;
        QByteArray bytes;
        Outcome outcome;
    };

    static QList<Entry> all();
};

#endif
