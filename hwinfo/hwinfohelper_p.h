#ifndef QORHWINFO_HWINFOHELPER_P_H
#define QORHWINFO_HWINFOHELPER_P_H

#include "hwinfohelper.h"

namespace hmi {

/**
 * The helper's state. Not exported: in-tree tests include this header to put in-memory devices behind
 * the stores of a real helper.
 */
class HwInfoHelperPrivate
{
public:
    static HwInfoHelperPrivate *get(HwInfoHelper *q) { return q->d; }

    QHash<QString, HwInfoHelper::EEPROM> eeproms;
    HwInfoHelper::StatusFlags status;
    QList<QString> probableSerials;
    HwInfoHelper::Serials serials;
};

} // namespace hmi

#endif
