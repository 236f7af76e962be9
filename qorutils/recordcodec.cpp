#include "recordcodec_p.h"

#include <QtCore/QString>

QByteArray RecordCodec::encode(const QVariant &)
{
    throw QString(QLatin1String("not implemented"));
}

bool RecordCodec::decode(const QByteArray &, QVariant *)
{
    return false;
}
