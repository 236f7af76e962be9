#ifndef QORHWINFO_FUZZ_HOSTILEFRAMES_H
#define QORHWINFO_FUZZ_HOSTILEFRAMES_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

/**
 * Frames with a right CRC and hostile content, as a damaged or forged memory could hold them: length
 * fields at their maximum, deep nesting, unknown tags, text that is not UTF-8, repeated keys, non-minimal
 * varints, trailing bytes. Each is named, so that it becomes a fuzzing seed of that name and a row of the
 * store's test, and says what reading it must give.
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
