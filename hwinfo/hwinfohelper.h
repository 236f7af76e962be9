#ifndef QORHWINFO_HWINFOHELPER_H
#define QORHWINFO_HWINFOHELPER_H

#include <qorhwinfo/qorhwinfo_export.h>
#include <qorutils/devicedescriptor.h>

#include <QtCore/QFlags>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMetaEnum>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVariantMap>

class QIODevice;

namespace hmi {

class HwInfoHelperPrivate;

/**
 * Tells the instrument who it is.
 *
 * The unit's identity record lives in five stores: the EEPROMs of the COM module, the beamformer board
 * and the mono-element board, the carrier board's memory behind its PIC, and a cache file. discover()
 * reads them all, lets four of them vote on the unit serial, adopts it when exactly one candidate results
 * and repairs the cache file. quickNonValidatedSerial() answers from the cache file alone.
 */
class QORHWINFO_EXPORT HwInfoHelper : public QObject
{
    Q_OBJECT
    Q_ENUMS(StatusFlag)

public:
    enum StatusFlag { OK = 0, ERROR = 8 };
    Q_DECLARE_FLAGS(StatusFlags, StatusFlag)

    /** The identity record of a unit, and its map form under the keys "unit", "cb", "bf", "fpgaUid", "com",
     * "mac". */
    class QORHWINFO_EXPORT Serials
    {
    public:
        Serials();
        Serials(const QString &unit, uint cb, uint bf, const QString &fpgaUid, const QString &com,
                const QString &mac);
        /** Reads a record from its map form; absent or unconvertible entries give null strings and 0. */
        Serials(const QVariantMap &map);

        /** Inserts or replaces the six record entries of @p map and leaves every other entry alone. */
        void writeTo(QVariantMap &map) const;

        QString unit;
        uint cb;
        uint bf;
        QString fpgaUid;
        QString com;
        QString mac;
    };

    /** One identity store: a framed record at @c offset of @c ioDev, which the store does not own. */
    class QORHWINFO_EXPORT EEPROM
    {
    public:
        /** The store that a lookup of an unknown key yields: no device, status ERROR. */
        EEPROM();
        EEPROM(const QString &name, QIODevice *ioDev, int offset, int maxSize);

        /** Reads the record into @c descriptor. @throws QString saying what was wrong. */
        void load();
        /** Writes @c descriptor to the device; failures to open or seek are logged. */
        void save() const;

        QString name;
        QIODevice *ioDev;
        int offset;
        int maxSize;
        hmi::DeviceDescriptor descriptor;
        StatusFlags status;
    };

    HwInfoHelper();
    ~HwInfoHelper() QORHWINFO_OVERRIDE;

    QString mac() const;
    QString comSerial() const;
    QString fpgaUid() const;
    uint cbSerial() const;
    uint bfSerial() const;
    const QHash<QString, EEPROM> &eeproms() const;

    StatusFlags status() const;
    StatusFlags status(const QString &name) const;
    StatusFlags globalStatus() const;
    static QMetaEnum statusMetaEnum();
    /**
     * The unit serial that the last discover() adopted; a null QString when it found no candidate or
     * several. @throws StatusFlags when the unit-level status is not OK.
     */
    QString unitSerial() const;
    QList<QString> probableSerials() const;

    void discover();

    static QHash<QString, EEPROM> eepromsInit(QObject *parent);
    static QString quickNonValidatedSerial();

Q_SIGNALS:
    void progressStepCountChanged(int stepCount);
    void progressCurStepChanged(int curStep);

private:
    Q_DISABLE_COPY(HwInfoHelper)
    friend class HwInfoHelperPrivate;
    HwInfoHelperPrivate *d;
};

} // namespace hmi

Q_DECLARE_OPERATORS_FOR_FLAGS(hmi::HwInfoHelper::StatusFlags)

#endif
