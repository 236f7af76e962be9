#ifndef QORHWINFO_HWINFOHELPER_P_H
#define QORHWINFO_HWINFOHELPER_P_H

#include "hwinfohelper.h"

#include "discovery.h"

namespace hmi {

/**
 * The helper's state. Not exported: in-tree tests include this header to put in-memory devices behind
 * the stores of a real helper.
 */
class HwInfoHelperPrivate
{
public:
    static HwInfoHelperPrivate *get(HwInfoHelper *q) { return q->d; }
    static void emitStepCount(HwInfoHelper *q, int stepCount)
    {
        Q_EMIT q->progressStepCountChanged(stepCount);
    }
    static void emitStep(HwInfoHelper *q, int step) { Q_EMIT q->progressCurStepChanged(step); }

    /** Hands a discovery's progress to the helper's signals. */
    class ProgressSignals : public Discovery::Observer
    {
    public:
        explicit ProgressSignals(HwInfoHelper *helper)
            : m_helper(helper)
        { }
        void stepCountChanged(int stepCount) QORHWINFO_OVERRIDE { emitStepCount(m_helper, stepCount); }
        void stepReached(int step) QORHWINFO_OVERRIDE { emitStep(m_helper, step); }

    private:
        HwInfoHelper *m_helper;
    };

    QHash<QString, HwInfoHelper::EEPROM> eeproms;
    HwInfoHelper::StatusFlags status;
    QList<QString> probableSerials;
    HwInfoHelper::Serials serials;
};

} // namespace hmi

#endif
