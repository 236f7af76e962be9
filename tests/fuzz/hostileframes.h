#ifndef QORHWINFO_FUZZ_HOSTILEFRAMES_H
#define QORHWINFO_FUZZ_HOSTILEFRAMES_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QPair>
#include <QtCore/QStringList>

// Frames with a right CRC whose payload or header a reader must reject, as a damaged or forged memory could
// hold them, from a few rules over the CBOR profile of docs/record-format.md; named seeds and test rows.
namespace HostileFrames {
/** A frame around @p payload (at most 65535 bytes) behind @p start: magic, version and flags. */
QByteArray frame(const QByteArray &payload, const QByteArray &start = QByteArray("QROM\x02\x00", 6));
QList<QPair<QString, QByteArray> > all();
} // namespace HostileFrames

#endif
