#ifndef QORHWINFO_TOOL_UNITSURVEY_H
#define QORHWINFO_TOOL_UNITSURVEY_H

#include <serialvote.h>
#include <storeload.h>

#include <qorhwinfo/hwinfohelper.h>

#include <QList>
#include <QScopedPointer>
#include <QString>
#include <QVariantMap>

/**
 * Every store of the unit read as discovery reads it, the vote counted from them and the unit's hardware
 * facts, without discovery's cache write: what the reading and repairing commands decide on.
 */
class UnitSurvey
{
public:
    typedef hmi::HwInfoHelper::EEPROM Eeprom;

    struct Store
    {
        QString key;
        QString label;
        hmi::StoreLoad::Content content = hmi::StoreLoad::OpenFailed;
        /** The loaded map; empty when the load failed. */
        QVariantMap map;
        /** The device's error, or what the device threw. */
        QString deviceError;

        bool holdsRecord() const { return content == hmi::StoreLoad::Record; }
        bool loaded() const
        {
            return content == hmi::StoreLoad::Record || content == hmi::StoreLoad::NoRecord;
        }
        bool unreadable() const;
        /** The record's unit serial; a null QString when it holds none. */
        QString unit() const;
        /** What the store holds, in a technician's words: "record", "blank", "cannot be read", ... */
        QString stateText() const;
        /** Why the store holds no record, as a sentence that names it; empty when it holds one. */
        QString problemText() const;
    };

    /** Reads every store now. With @p cacheVotes false, the serials cache file does not vote. */
    explicit UnitSurvey(bool cacheVotes = true);
    ~UnitSurvey();

    /** The stores by key: bf cb com file ut. */
    QList<Store> stores() const { return m_stores; }
    Store store(const QString &key) const;
    const hmi::SerialVote &vote() const { return m_vote; }

    /** The library's store of @p key, with its device, offset and room. */
    Eeprom eeprom(const QString &key) const { return m_table.value(key); }
    QHash<QString, Eeprom> table() const { return m_table; }
    QString devicePath(const QString &key) const { return devicePathOf(eeprom(key).ioDev); }
    static QString devicePathOf(QIODevice *device);

    QString mac() const { return m_mac; }
    QString comSerial() const { return m_comSerial; }
    QString fpgaUid() const { return m_fpgaUid; }
    /** The board serial of the carrier (cb) or beamformer (bf) board's descriptor; 0 when not known. */
    uint boardSerial(const QString &key) const;

    /**
     * The record for @p unit with the board serials and the hardware facts, as discovery writes it; a fact
     * that cannot be read now (a board that does not answer, no FPGA) keeps its value in @p existing.
     */
    hmi::HwInfoHelper::Serials record(const QString &unit, const QVariantMap &existing = QVariantMap()) const;

private:
    Q_DISABLE_COPY(UnitSurvey)

    QObject m_deviceOwner;
    QHash<QString, Eeprom> m_table;
    QList<Store> m_stores;
    hmi::SerialVote m_vote;
    QString m_mac;
    QString m_comSerial;
    QString m_fpgaUid;
};

#endif
