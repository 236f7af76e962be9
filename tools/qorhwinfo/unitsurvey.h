#ifndef QORHWINFO_TOOL_UNITSURVEY_H
#define QORHWINFO_TOOL_UNITSURVEY_H

#include "votecount.h"

#include <qorhwinfo/hwinfohelper.h>

#include <QList>
#include <QString>
#include <QVariantMap>

/**
 * Every store of the unit loaded through the library's store table, as discovery loads them, and the
 * vote counted from them, without discovery's cache write: what the reading and repairing commands
 * decide on. The hardware facts come from a helper that is constructed but never discovers.
 */
class UnitSurvey
{
public:
    typedef hmi::HwInfoHelper::EEPROM Eeprom;

    /** How a store's load ended, from the library's message. */
    enum State { HoldsRecord, NoRecord, Blank, Empty, Corrupted, Missing, Unreadable };

    struct Store
    {
        QString key;
        QString label;
        State state = NoRecord;
        /** The loaded map; empty when the load failed. */
        QVariantMap map;
        /** The library's message when the load failed. */
        QString failure;

        bool holdsRecord() const { return state == HoldsRecord; }
        /** The record's unit serial; meaningful only when it holds a record. */
        QString unit() const;
        bool loaded() const { return state == HoldsRecord || state == NoRecord; }
    };

    /** Loads every store now. With @p cacheVotes false, the serials cache file does not vote. */
    explicit UnitSurvey(bool cacheVotes = true);

    /** The stores by key: bf cb com file ut. */
    QList<Store> stores() const { return m_stores; }
    Store store(const QString &key) const;
    VoteCount votes() const { return m_votes; }

    /** The library's store of @p key, with its device, offset and room. */
    Eeprom eeprom(const QString &key) const { return m_helper.eeproms().value(key); }
    /** The device path behind a store, for people and manifests. */
    QString devicePath(const QString &key) const { return devicePathOf(eeprom(key).ioDev); }
    /** The path of a store's device: a file's name, or the carrier board memory's node. */
    static QString devicePathOf(QIODevice *device);

    /** The record discovery would write for @p unit: the board serials and the hardware facts. */
    hmi::HwInfoHelper::Serials record(const QString &unit) const;

    static bool isVoting(const QString &key);
    static QString stateText(State state);

private:
    hmi::HwInfoHelper m_helper;
    QList<Store> m_stores;
    VoteCount m_votes;
};

#endif
