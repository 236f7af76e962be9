#include "romstorage.h"

#include <QtCore/QIODevice>
#include <QtCore/QString>

class ROMStoragePrivate
{
public:
    QVariant payload;
};

ROMStorage::ROMStorage(QIODevice &)
    : d(new ROMStoragePrivate)
{ }

ROMStorage::ROMStorage(const QVariant &payload)
    : d(new ROMStoragePrivate)
{
    d->payload = payload;
}

ROMStorage::~ROMStorage()
{
    delete d;
}

bool ROMStorage::isValid() const
{
    return false;
}
bool ROMStorage::looksBlank() const
{
    return false;
}
bool ROMStorage::isEmpty() const
{
    return true;
}
QVariant ROMStorage::payload() const
{
    return d->payload;
}
QByteArray ROMStorage::frame() const
{
    throw QString(QLatin1String("not implemented"));
}
int ROMStorage::saveTo(QIODevice &, int) const
{
    throw QString(QLatin1String("not implemented"));
}
