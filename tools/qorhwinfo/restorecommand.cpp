#include "commands.h"

#include "backupset.h"
#include "exitcode.h"
#include "options.h"
#include "storewriter.h"
#include "unitsurvey.h"
#include "writeplan.h"

#include <QBuffer>

namespace {

// The unit serial a saved image holds, for the history: read as the store would read it.
QString serialOf(const QByteArray &image)
{
    QByteArray bytes = image;
    QBuffer buffer(&bytes);
    try {
        return hmi::StoreLoad(hmi::HwInfoHelper::EEPROM(QString(), &buffer, 0, bytes.size())).unitSerial();
    } catch (...) {
        return QString();
    }
}

QString contentText(const UnitSurvey::Store &store)
{
    return store.holdsRecord() ? WritePlan::recordText(store.unit()) : store.stateText();
}

// Images of another unit would make this one name that unit: a mix-up of USB sticks, not a repair.
QString otherHardware(const BackupSet::Identity &saved, const UnitSurvey &survey)
{
    QStringList differences;
    if (!saved.mac.isEmpty() && !survey.mac().isEmpty() && saved.mac != survey.mac())
        differences.append(
            QString::fromLatin1("the MAC address %1 (this unit: %2)").arg(saved.mac, survey.mac()));
    if (!saved.comSerial.isEmpty() && !survey.comSerial().isEmpty() && saved.comSerial != survey.comSerial())
        differences.append(QString::fromLatin1("the COM serial %1 (this unit: %2)")
                               .arg(saved.comSerial, survey.comSerial()));
    if (!saved.fpgaUid.isEmpty() && !survey.fpgaUid().isEmpty() && saved.fpgaUid != survey.fpgaUid())
        differences.append(
            QString::fromLatin1("the FPGA id %1 (this unit: %2)").arg(saved.fpgaUid, survey.fpgaUid()));
    return differences.join(QLatin1String(", "));
}

} // namespace

int Commands::restore(const Options &options)
{
    const QString directory = options.arguments.first();
    const UnitSurvey survey;
    WritePlan plan(QLatin1String("restore"), survey, options);
    QString error;
    const BackupSet set = BackupSet::load(directory, BackupSet::placesOf(survey), &error);
    if (!error.isEmpty())
        return plan.refuse(error + QLatin1String("; nothing was written"), StoreUnusable);
    const QString other = otherHardware(set.identity(), survey);
    if (!other.isEmpty() && !options.force) {
        return plan.refuse(
            QString::fromLatin1("the backup was taken from other hardware: it names %1; give --force "
                                "to write it all the same")
                .arg(other),
            Refused);
    }
    for (const BackupSet::Image &image : set.images()) {
        if (!image.error.isEmpty())
            return plan.refuse(image.error + QLatin1String("; nothing was written"), StoreUnusable);
        const UnitSurvey::Store store = survey.store(image.key);
        WritePlan::Step step;
        step.key = image.key;
        step.from = contentText(store);
        step.fromSerial = store.unit();
        if (!image.present) {
            if (store.content == hmi::StoreLoad::Missing)
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
            step.toSerial = serialOf(image.bytes);
            step.to = QString::fromLatin1("the saved image (%1 bytes)").arg(image.bytes.size());
        }
        plan.add(step);
    }
    return plan.execute();
}
