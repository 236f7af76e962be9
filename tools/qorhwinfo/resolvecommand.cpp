#include "commands.h"

#include "exitcode.h"
#include "options.h"
#include "serialform.h"
#include "unitsurvey.h"
#include "writeplan.h"

namespace {

bool isCandidate(const UnitSurvey &survey, const QString &serial)
{
    for (const hmi::SerialVote::Candidate &candidate : survey.vote().candidates()) {
        if (candidate.serial == serial)
            return true;
    }
    return false;
}

QVariantMap recordMap(const hmi::HwInfoHelper::Serials &serials, QVariantMap map = QVariantMap())
{
    serials.writeTo(map);
    return map;
}

// A typo must not turn a healthy unit into another one: only a serial that a store already names is taken.
QString refusal(const UnitSurvey &survey, const QString &serial)
{
    QStringList candidates;
    for (const hmi::SerialVote::Candidate &candidate : survey.vote().candidates())
        candidates.append(SerialForm::display(candidate.serial));
    if (!isCandidate(survey, serial)) {
        return QString::fromLatin1(
                   "no store names %1 (the stores name: %2); give --force if the unit's label says "
                   "%1")
            .arg(serial,
                 candidates.isEmpty() ? QString::fromLatin1("none") : candidates.join(QLatin1String(", ")));
    }
    if (candidates.size() == 1)
        return QString::fromLatin1("the stores already agree on %1: there is nothing to resolve").arg(serial);
    return QString();
}

} // namespace

// Boards without a record keep what they hold: their own descriptor cannot be rebuilt from the others.
int Commands::resolve(const Options &options)
{
    const QString serial = options.arguments.first();
    const UnitSurvey survey;
    WritePlan plan(QLatin1String("resolve ") + serial, survey, options);
    if (!SerialForm::isWellFormed(serial)) {
        return plan.refuse(
            QString::fromLatin1("%1 is no unit serial: a unit serial is \"I\" and six digits, e.g. I123456")
                .arg(SerialForm::display(serial)),
            Malformed);
    }
    const QString refused = refusal(survey, serial);
    if (!refused.isEmpty() && !options.force)
        return plan.refuse(refused, Refused);

    for (const char *name : { "bf", "cb", "com" }) {
        const QString key = QLatin1String(name);
        const UnitSurvey::Store store = survey.store(key);
        if (!store.holdsRecord()) {
            plan.note(QString::fromLatin1(
                          "%1 (%2) holds no record (%3) and is left as it is: \"qorhwinfo check\" says how "
                          "to provision it")
                          .arg(store.label, key, store.stateText()));
            continue;
        }
        WritePlan::Step step;
        step.kind = WritePlan::RecordWrite;
        step.key = key;
        step.record = recordMap(survey.record(serial, store.map), store.map);
        if (store.map == step.record)
            continue;
        step.from = WritePlan::recordText(store.unit());
        step.fromSerial = store.unit();
        step.to = WritePlan::recordText(serial);
        step.toSerial = serial;
        plan.add(step);
    }
    const UnitSurvey::Store cache = survey.store(hmi::SerialVote::cacheStoreKey());
    WritePlan::Step step;
    step.kind = WritePlan::CacheRecordWrite;
    step.key = hmi::SerialVote::cacheStoreKey();
    step.record = recordMap(survey.record(serial, cache.map));
    if (!(cache.holdsRecord() && cache.map == step.record)) {
        step.from = cache.holdsRecord() ? WritePlan::recordText(cache.unit()) : cache.stateText();
        step.fromSerial = cache.unit();
        step.to = WritePlan::recordText(serial);
        step.toSerial = serial;
        plan.add(step);
    }
    return plan.execute();
}
