#include "identitycheck.h"

#include "unitsurvey.h"

namespace {

struct FieldInfo
{
    const char *key;
    const char *recordedAs; // "the record names the ..."
    const char *actualAs; // "this unit's ... is"
};

const FieldInfo fields[] = {
    { "mac", "MAC address", "MAC address" },
    { "com", "COM serial", "COM module" },
    { "fpgaUid", "FPGA id", "FPGA id" },
    { "cb", "carrier board serial", "carrier board" },
    { "bf", "beamformer board serial", "beamformer board" },
};

QString recordOwner(const QString &key)
{
    if (key == QLatin1String("com"))
        return QLatin1String("the COM module's record");
    if (key == QLatin1String("cb"))
        return QLatin1String("the carrier board's record");
    if (key == QLatin1String("bf"))
        return QLatin1String("the beamformer board's record");
    if (key == QLatin1String("ut"))
        return QLatin1String("the mono-element board's record");
    return QLatin1String("the serials cache file's record");
}

QString actualValue(const IdentityCheck::Hardware &hardware, const QString &field)
{
    if (field == QLatin1String("mac"))
        return hardware.mac;
    if (field == QLatin1String("com"))
        return hardware.comSerial;
    if (field == QLatin1String("fpgaUid"))
        return hardware.fpgaUid;
    const uint serial = field == QLatin1String("cb") ? hardware.cbSerial : hardware.bfSerial;
    return serial == 0 ? QString() : QString::number(serial);
}

} // namespace

IdentityCheck::Hardware IdentityCheck::hardwareOf(const UnitSurvey &survey)
{
    Hardware hardware;
    hardware.mac = survey.mac();
    hardware.comSerial = survey.comSerial();
    hardware.fpgaUid = survey.fpgaUid();
    hardware.cbSerial = survey.boardSerial(QLatin1String("cb"));
    hardware.bfSerial = survey.boardSerial(QLatin1String("bf"));
    return hardware;
}

// A fact the hardware does not give (no FPGA, a board that cannot be read) cannot be compared.
QList<IdentityCheck::Mismatch> IdentityCheck::compare(const QString &key, const QVariantMap &record,
                                                      const Hardware &hardware)
{
    QList<Mismatch> mismatches;
    for (const FieldInfo &info : fields) {
        const QString field = QLatin1String(info.key);
        const QString actual = actualValue(hardware, field);
        if (actual.isEmpty() || !record.contains(field))
            continue;
        const QString recorded = record.value(field).toString();
        if (recorded == actual)
            continue;
        Mismatch mismatch;
        mismatch.store = key;
        mismatch.field = field;
        mismatch.recorded = recorded;
        mismatch.actual = actual;
        mismatch.sentence = QString::fromLatin1("%1 names the %2 %3; this unit's %4 is %5")
                                .arg(recordOwner(key), QLatin1String(info.recordedAs),
                                     recorded.isEmpty() ? QString::fromLatin1("\"\"") : recorded,
                                     QLatin1String(info.actualAs), actual);
        mismatches.append(mismatch);
    }
    return mismatches;
}

QList<IdentityCheck::Mismatch> IdentityCheck::check(const UnitSurvey &survey)
{
    const Hardware hardware = hardwareOf(survey);
    QList<Mismatch> mismatches;
    for (const UnitSurvey::Store &store : survey.stores()) {
        if (store.holdsRecord())
            mismatches += compare(store.key, store.map, hardware);
    }
    return mismatches;
}
