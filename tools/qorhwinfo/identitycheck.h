#ifndef QORHWINFO_TOOL_IDENTITYCHECK_H
#define QORHWINFO_TOOL_IDENTITYCHECK_H

#include <QList>
#include <QString>
#include <QVariantMap>

class UnitSurvey;

/**
 * Whether the identity records name this unit's own hardware: field by field, each record's MAC address,
 * COM serial, FPGA id and board serials against what the hardware says. A board moved from another unit,
 * a replaced COM module or a backup of another unit shows here even when every store names the same
 * unit serial.
 */
class IdentityCheck
{
public:
    /** What this unit's hardware says; a null text or 0 where it cannot tell. */
    struct Hardware
    {
        QString mac;
        QString comSerial;
        QString fpgaUid;
        uint cbSerial = 0;
        uint bfSerial = 0;
    };

    struct Mismatch
    {
        QString store; ///< the key of the store whose record it is
        QString field; ///< the record key: "mac", "com", "fpgaUid", "cb" or "bf"
        QString recorded;
        QString actual;
        /** "the COM module's record names the COM serial X; this unit's COM module is Y" */
        QString sentence;
    };

    static Hardware hardwareOf(const UnitSurvey &survey);
    /** The fields of the record that the store @p key holds which name other hardware than @p hardware. */
    static QList<Mismatch> compare(const QString &key, const QVariantMap &record, const Hardware &hardware);
    /** Every record of the unit against its hardware. */
    static QList<Mismatch> check(const UnitSurvey &survey);
};

#endif
