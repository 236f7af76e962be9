#include "repaircommands.h"

#include "backupset.h"
#include "commandline.h"
#include "exitcode.h"
#include "jsonvalue.h"
#include "serialform.h"
#include "storewriter.h"
#include "unitsurvey.h"
#include "writeplan.h"

#include <QTextStream>

#include <cstdio>

namespace {

const char cacheKey[] = "file";

void printError(const QString &text)
{
    std::fprintf(stderr, "qorhwinfo: %s\n", text.toLocal8Bit().constData());
}

QVariantMap recordMap(const hmi::HwInfoHelper::Serials &serials, QVariantMap map = QVariantMap())
{
    serials.writeTo(map);
    return map;
}

} // namespace

QString RepairCommands::recordText(const QString &unit)
{
    return QLatin1String("record of ") + SerialForm::display(unit);
}

QString RepairCommands::contentText(const UnitSurvey &survey, const QString &key)
{
    const UnitSurvey::Store store = survey.store(key);
    return store.holdsRecord() ? recordText(store.unit()) : UnitSurvey::stateText(store.state);
}

int RepairCommands::malformedSerial(const CommandLine &options, const QString &command, const QString &serial)
{
    const UnitSurvey survey;
    WritePlan plan(command, survey);
    return plan.refuse(
        options,
        QString::fromLatin1("%1 is no unit serial: a unit serial is \"I\" and six digits, e.g. I123456")
            .arg(SerialForm::display(serial)),
        Malformed);
}

// The cache is rewritten because it is suspect, so its own vote does not count: the boards decide.
int RepairCommands::cache(const CommandLine &options)
{
    const UnitSurvey survey(false);
    const QString key = QLatin1String(cacheKey);
    const UnitSurvey::Store cache = survey.store(key);
    WritePlan plan(QLatin1String("cache ") + options.arguments().first(), survey);
    WritePlan::Step step;
    step.key = key;
    step.from = contentText(survey, key);
    if (options.arguments().first() == QLatin1String("clear")) {
        if (cache.state == UnitSurvey::Missing)
            return plan.execute(options);
        step.kind = WritePlan::CacheRemoval;
        step.to = QLatin1String("missing");
        plan.add(step);
        return plan.execute(options);
    }

    const VoteCount votes = survey.votes();
    if (votes.candidates().size() != 1) {
        return plan.refuse(
            options,
            votes.candidates().isEmpty()
                ? QLatin1String("no board store names a unit serial: provision the boards first")
                : QLatin1String("the board stores disagree: \"qorhwinfo resolve SERIAL\" rewrites them "
                                "and the cache file"),
            Problem);
    }
    const QString serial = votes.agreedSerial();
    if (!SerialForm::isWellFormed(serial)) {
        return plan.refuse(
            options,
            QString::fromLatin1("the board stores agree on the malformed serial %1: \"qorhwinfo resolve "
                                "SERIAL\" rewrites them with the unit's real serial")
                .arg(SerialForm::display(serial)),
            Malformed);
    }
    step.kind = WritePlan::CacheRecordWrite;
    step.record = recordMap(survey.record(serial));
    step.to = recordText(serial);
    if (cache.holdsRecord() && cache.map == step.record)
        return plan.execute(options);
    plan.add(step);
    return plan.execute(options);
}

int RepairCommands::provision(const CommandLine &options)
{
    const QString key = options.arguments().first();
    const QString unit = options.unit();
    const QString command = QLatin1String("provision ") + key;
    if (!SerialForm::isWellFormed(unit))
        return malformedSerial(options, command, unit);

    const UnitSurvey survey;
    WritePlan plan(command, survey);
    const UnitSurvey::Store store = survey.store(key);
    const bool namesAnotherUnit
        = store.holdsRecord() && SerialForm::isWellFormed(store.unit()) && store.unit() != unit;
    if (namesAnotherUnit && !options.force()) {
        return plan.refuse(
            options,
            QString::fromLatin1("the %1 holds the record of %2, another unit: give --force to overwrite it")
                .arg(store.label, store.unit()),
            Refused);
    }

    // What a board keeps beside the record (its own serial, calibration, ...) stays.
    QVariantMap map = store.loaded() ? store.map : QVariantMap();
    if (options.hasBoardSerial())
        map.insert(QLatin1String("serial"), options.boardSerial());
    hmi::HwInfoHelper::Serials serials = survey.record(unit);
    if (options.hasBoardSerial() && key == QLatin1String("cb"))
        serials.cb = options.boardSerial();
    if (options.hasBoardSerial() && key == QLatin1String("bf"))
        serials.bf = options.boardSerial();
    if (key != QLatin1String("com") && !map.contains(QLatin1String("serial")))
        plan.note(QString::fromLatin1("the %1's own serial is not known: give --serial N to record it")
                      .arg(store.label));

    WritePlan::Step step;
    step.kind = WritePlan::RecordWrite;
    step.key = key;
    step.from = contentText(survey, key);
    step.to = recordText(unit);
    step.record = recordMap(serials, map);
    if (store.loaded() && store.map == step.record)
        return plan.execute(options);
    plan.add(step);
    return plan.execute(options);
}

// Boards without a record keep what they hold: their own descriptor cannot be rebuilt from the others.
int RepairCommands::resolve(const CommandLine &options)
{
    const QString serial = options.arguments().first();
    if (!SerialForm::isWellFormed(serial))
        return malformedSerial(options, QLatin1String("resolve"), serial);

    const UnitSurvey survey;
    WritePlan plan(QLatin1String("resolve"), survey);
    for (const char *name : { "bf", "cb", "com" }) {
        const QString key = QLatin1String(name);
        const UnitSurvey::Store store = survey.store(key);
        if (!store.holdsRecord()) {
            plan.note(QString::fromLatin1(
                          "%1 (%2) holds no record (%3) and is left as it is: \"qorhwinfo provision "
                          "%2 --unit %4\" writes one")
                          .arg(store.label, key, UnitSurvey::stateText(store.state), serial));
            continue;
        }
        if (store.unit() == serial)
            continue;
        WritePlan::Step step;
        step.kind = WritePlan::RecordWrite;
        step.key = key;
        step.from = contentText(survey, key);
        step.to = recordText(serial);
        step.record = recordMap(survey.record(serial), store.map);
        plan.add(step);
    }
    const UnitSurvey::Store cache = survey.store(QLatin1String(cacheKey));
    WritePlan::Step step;
    step.kind = WritePlan::CacheRecordWrite;
    step.key = QLatin1String(cacheKey);
    step.from = contentText(survey, step.key);
    step.to = recordText(serial);
    step.record = recordMap(survey.record(serial));
    if (!(cache.holdsRecord() && cache.unit() == serial))
        plan.add(step);
    return plan.execute(options);
}

int RepairCommands::backup(const CommandLine &options)
{
    const QString directory = options.arguments().first();
    const UnitSurvey survey;
    QStringList keys;
    for (const UnitSurvey::Store &store : survey.stores())
        keys.append(store.key);
    const BackupSet set = BackupSet::capture(survey, keys);
    QString error;
    const bool saved = set.save(directory, &error);

    if (options.json()) {
        json_t *root = Json::document();
        Json::set(root, "directory", Json::text(directory));
        json_t *stores = json_object();
        for (const BackupSet::Image &image : set.images()) {
            json_t *entry = json_object();
            Json::set(entry, "device", Json::text(image.device));
            Json::set(entry, "offset", Json::number(image.offset));
            Json::set(entry, "present", Json::boolean(image.present));
            Json::set(entry, "size", Json::number(image.bytes.size()));
            Json::set(entry, "sha1",
                      image.error.isEmpty() && image.present ? Json::text(QString::fromLatin1(image.sha1))
                                                             : json_null());
            Json::set(entry, "error", image.error.isEmpty() ? json_null() : Json::text(image.error));
            Json::set(stores, image.key.toLatin1().constData(), entry);
        }
        Json::set(root, "stores", stores);
        Json::set(root, "error", saved ? json_null() : Json::text(error));
        Json::print(root);
    } else {
        QTextStream out(stdout);
        out << "Backup in " << directory << '\n';
        for (const BackupSet::Image &image : set.images()) {
            out << "  " << image.key.leftJustified(6, QLatin1Char(' '))
                << image.label.leftJustified(21, QLatin1Char(' '));
            if (!image.error.isEmpty())
                out << "NOT SAVED: " << image.error << '\n';
            else if (!image.present)
                out << "absent (restore removes it)\n";
            else
                out << image.bytes.size() << " bytes at " << image.offset << " of " << image.device
                    << ", SHA-1 " << image.sha1 << '\n';
        }
    }
    if (!saved) {
        printError(QString::fromLatin1("backup failed: %1").arg(error));
        return WriteFailed;
    }
    return set.isComplete() ? int(Success) : int(StoreUnusable);
}

int RepairCommands::restore(const CommandLine &options)
{
    const QString directory = options.arguments().first();
    const UnitSurvey survey;
    WritePlan plan(QLatin1String("restore"), survey);
    QString error;
    const BackupSet set = BackupSet::load(directory, &error);
    if (!error.isEmpty())
        return plan.refuse(options, error, StoreUnusable);
    for (const BackupSet::Image &image : set.images()) {
        if (!image.error.isEmpty())
            return plan.refuse(options, image.error + QLatin1String("; nothing was written"), WriteFailed);
        if (survey.devicePath(image.key) != image.device || survey.eeprom(image.key).offset != image.offset) {
            return plan.refuse(
                options,
                QString::fromLatin1("the image of %1 was taken from %2 at %3, which is not where this "
                                    "unit keeps that store; nothing was written")
                    .arg(image.key, image.device)
                    .arg(image.offset),
                StoreUnusable);
        }
        WritePlan::Step step;
        step.key = image.key;
        step.from = contentText(survey, image.key);
        if (!image.present) {
            if (survey.store(image.key).state == UnitSurvey::Missing)
                continue;
            step.kind = WritePlan::CacheRemoval;
            step.to = QLatin1String("missing");
        } else {
            QByteArray current;
            bool present = false;
            QString readError;
            if (StoreWriter::readImage(survey.eeprom(image.key), &current, &present, &readError) && present
                && current == image.bytes)
                continue;
            step.kind = WritePlan::ImageWrite;
            step.image = image.bytes;
            step.to = QString::fromLatin1("the saved image (%1 bytes)").arg(image.bytes.size());
        }
        plan.add(step);
    }
    return plan.execute(options);
}
