// Backup manifests of any bytes, as from a USB stick, through the tool's validation: it must never crash or
// take what the unit cannot hold, and what it accepts names only this unit's stores, each once, at their own
// places, with images of their own names within their rooms.
#include "fuzzcheck.h"

#include "backupset.h"

#include <QtCore/QSet>

namespace {

// The real unit's places, from the library's store table; nothing is read.
QList<BackupSet::Place> unitPlaces()
{
    QObject owner;
    return BackupSet::placesOf(hmi::HwInfoHelper::eepromsInit(&owner));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    static const QList<BackupSet::Place> places = unitPlaces();
    const QByteArray input = QByteArray::fromRawData(reinterpret_cast<const char *>(data), int(size));
    BackupSet set;
    QString error;
    const bool accepted = BackupSet::parseManifest(input, places, &set, &error);
    expect(accepted == error.isEmpty(), "a verdict without its reason", input);
    if (!accepted)
        return 0;
    QSet<QString> keys;
    for (const BackupSet::Image &image : set.images()) {
        const BackupSet::Place *place = nullptr;
        for (const BackupSet::Place &candidate : places) {
            if (candidate.key == image.key)
                place = &candidate;
        }
        expect(place != nullptr, "a store of another unit", input);
        expect(!keys.contains(image.key), "a store twice", input);
        keys.insert(image.key);
        expect(image.device == place->device && image.offset == place->offset, "a store at another place",
               input);
        expect(image.present || image.key == QLatin1String("file"), "a board to be removed", input);
        expect(!image.present || (image.size >= 0 && image.size <= place->room), "an image beyond the room",
               input);
    }
    return 0;
}
