#ifndef QORHWINFO_SERIALCACHEPATH_P_H
#define QORHWINFO_SERIALCACHEPATH_P_H

#include <QtCore/QString>

namespace hmi {

/** "/var/local/qorhwinfo/serial.cache": where discovery keeps the last adopted identity record. */
extern const QString serialCachePath;

} // namespace hmi

#endif
