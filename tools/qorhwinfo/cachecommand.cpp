#include "commands.h"

#include "exitcode.h"
#include "options.h"
#include "serialform.h"
#include "unitsurvey.h"
#include "writeplan.h"

namespace {

QVariantMap recordMap(const hmi::HwInfoHelper::Serials &serials)
{
    QVariantMap map;
    serials.writeTo(map);
    return map;
}

QString contentText(const UnitSurvey::Store &store)
{
    return store.holdsRecord() ? WritePlan::recordText(store.unit()) : store.stateText();
}

} // namespace

// The cache is rewritten because it is suspect, so its own vote does not count: the boards decide.
int Commands::cache(const Options &options)
{
    const UnitSurvey survey(false);
    const QString key = hmi::SerialVote::cacheStoreKey();
    const UnitSurvey::Store cache = survey.store(key);
    const QString action = options.arguments.first();
    WritePlan plan(QLatin1String("cache ") + action, survey, options);
    WritePlan::Step step;
    step.key = key;
    step.from = contentText(cache);
    step.fromSerial = cache.unit();
    if (action == QLatin1String("clear")) {
        if (cache.content == hmi::StoreLoad::Missing)
            return plan.execute();
        step.kind = WritePlan::CacheRemoval;
        step.to = QLatin1String("missing");
        plan.add(step);
        return plan.execute();
    }

    const hmi::SerialVote &votes = survey.vote();
    if (votes.candidates().size() != 1) {
        return plan.refuse(
            votes.isEmpty()
                ? QLatin1String("no board store names a unit serial: provision the boards first")
                : QLatin1String("the board stores disagree: \"qorhwinfo check\" says how to resolve "
                                "it, which rewrites the cache file too"),
            Problem);
    }
    const QString serial = votes.agreedSerial();
    if (!SerialForm::isWellFormed(serial)) {
        return plan.refuse(
            QString::fromLatin1("the board stores agree on the malformed serial %1: \"qorhwinfo check\" "
                                "says how to repair them")
                .arg(SerialForm::display(serial)),
            Malformed);
    }
    step.kind = WritePlan::CacheRecordWrite;
    step.record = recordMap(survey.record(serial));
    step.to = WritePlan::recordText(serial);
    step.toSerial = serial;
    if (cache.holdsRecord() && cache.map == step.record)
        return plan.execute();
    plan.add(step);
    return plan.execute();
}
