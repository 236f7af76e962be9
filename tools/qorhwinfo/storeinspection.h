#ifndef QORHWINFO_TOOL_STOREINSPECTION_H
#define QORHWINFO_TOOL_STOREINSPECTION_H

#include "identitycheck.h"

#include <storeload.h>

#include <qorhwinfo/hwinfohelper.h>

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariantMap>

#include <jansson.h>

class QTextStream;

/**
 * What one store's memory holds, read the way the library reads it but kept in full for a person: the
 * frame's bytes and header, the verdict with its reason, the device's own error, the record compared with
 * the unit's hardware, and what a frame whose only fault is its CRC still decodes to. Reads; never writes.
 */
struct StoreInspection
{
    /** Reads the store @p key now. */
    static StoreInspection read(const QString &key, const hmi::HwInfoHelper::EEPROM &store,
                                const IdentityCheck::Hardware &hardware);

    /** Success, Problem, Malformed or StoreUnusable, as the exit status of "inspect" counts it. */
    int exitCode() const;
    /** The inspection for people, every text from the store escaped; @p hex adds a dump of the frame. */
    void printText(QTextStream &out, bool hex) const;
    /** The inspection for scripts; the caller owns it. */
    json_t *json(bool hex) const;

    QString key;
    hmi::HwInfoHelper::EEPROM store;
    QString devicePath;
    hmi::StoreLoad::Content content = hmi::StoreLoad::OpenFailed;
    QString deviceError;
    QByteArray bytes;
    QVariantMap record;
    /** The record was decoded from a frame whose CRC does not match: nothing vouches for it. */
    bool unverified = false;
    QList<IdentityCheck::Mismatch> mismatches;
};

#endif
