#ifndef QORUTILS_ROMSTORAGE_P_H
#define QORUTILS_ROMSTORAGE_P_H

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVariant>

class QIODevice;

/** What was found on a device, or the payload of a frame to be written. */
class ROMStoragePrivate
{
public:
    enum Verdict { Built, Empty, Blank, Corrupted, Valid };

    explicit ROMStoragePrivate(Verdict initial, const QVariant &value = QVariant())
        : verdict(initial)
        , payload(value)
    { }

    void readFrom(QIODevice &dev);

    Verdict verdict;
    QVariant payload;
    QByteArray bytes;
    QString error;
};

#endif
