#ifndef QORBENCH_REFERENCERECORD_H
#define QORBENCH_REFERENCERECORD_H

#include <QtCore/QByteArray>
#include <QtCore/QVariantMap>

/** The identity record that every figure is measured with: unit I123456 as it leaves production. */
namespace ReferenceRecord {

QVariantMap map();
/** The record framed as the library writes it. */
QByteArray frame();
/** A memory of @p size bytes, erased to 0xFF, that holds @p frame at @p offset. */
QByteArray memoryImage(const QByteArray &frame, int offset, int size);

} // namespace ReferenceRecord

#endif
