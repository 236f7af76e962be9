#include "commands.h"

#include "exitcode.h"
#include "options.h"
#include "serialform.h"
#include "unitsurvey.h"
#include "writeplan.h"

#include <qorutils/devicedescriptor.h>

namespace {

// Provisioning may change a board's own serial while the unit serial stays: the plan shows both.
QString recordWithBoardSerial(const QString &key, const QString &unit, const QVariantMap &map)
{
    const QString record = WritePlan::recordText(unit);
    if (key == QLatin1String("com"))
        return record;
    const uint serial = hmi::DeviceDescriptor(map).serial();
    return record
        + QString::fromLatin1(", board serial %1")
              .arg(serial == 0 ? QString::fromLatin1("not known") : QString::number(serial));
}

} // namespace

int Commands::provision(const Options &options)
{
    const QString key = options.arguments.first();
    const QString unit = options.unit;
    const UnitSurvey survey;
    WritePlan plan(QLatin1String("provision ") + key, survey, options);
    if (!SerialForm::isWellFormed(unit)) {
        return plan.refuse(
            QString::fromLatin1("%1 is no unit serial: a unit serial is \"I\" and six digits, e.g. I123456")
                .arg(SerialForm::display(unit)),
            Malformed);
    }
    const UnitSurvey::Store store = survey.store(key);
    if (store.unreadable()) {
        return plan.refuse(store.problemText()
                               + QLatin1String(": check that the board is fitted and connected"),
                           StoreUnusable);
    }
    const bool namesAnotherUnit
        = store.holdsRecord() && SerialForm::isWellFormed(store.unit()) && store.unit() != unit;
    if (namesAnotherUnit && !options.force) {
        return plan.refuse(
            QString::fromLatin1("the %1 holds the record of %2, another unit: give --force to overwrite it")
                .arg(store.label, store.unit()),
            Refused);
    }

    // What a board keeps beside the record (its own serial, calibration, ...) stays.
    QVariantMap map = store.loaded() ? store.map : QVariantMap();
    if (options.hasBoardSerial)
        map.insert(QLatin1String("serial"), options.boardSerial);
    hmi::HwInfoHelper::Serials serials = survey.record(unit, map);
    if (options.hasBoardSerial && key == QLatin1String("cb"))
        serials.cb = options.boardSerial;
    if (options.hasBoardSerial && key == QLatin1String("bf"))
        serials.bf = options.boardSerial;
    if (key != QLatin1String("com") && !map.contains(QLatin1String("serial")))
        plan.note(QString::fromLatin1("the %1's own serial is not known: give --serial N to record it")
                      .arg(store.label));

    WritePlan::Step step;
    step.kind = WritePlan::RecordWrite;
    step.key = key;
    step.from = store.holdsRecord() ? recordWithBoardSerial(key, store.unit(), store.map) : store.stateText();
    step.fromSerial = store.unit();
    serials.writeTo(map);
    step.record = map;
    step.to = recordWithBoardSerial(key, unit, map);
    step.toSerial = unit;
    if (store.loaded() && store.map == step.record)
        return plan.execute();
    plan.add(step);
    return plan.execute();
}
