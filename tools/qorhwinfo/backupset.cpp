#include "backupset.h"

#include "jsonvalue.h"
#include "storewriter.h"
#include "unitsurvey.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>

#include <cstdlib>

namespace {

const char manifestName[] = "manifest.json";

QString imageName(const QString &key)
{
    return key + QLatin1String(".img");
}

bool writeFile(const QString &path, const QByteArray &bytes, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size()
        || !file.flush()) {
        *error = QString::fromLatin1("could not write %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

} // namespace

BackupSet BackupSet::capture(const UnitSurvey &survey, const QStringList &keys)
{
    BackupSet set;
    for (const QString &key : keys) {
        Image image;
        image.key = key;
        image.label = survey.eeprom(key).name;
        image.device = survey.devicePath(key);
        image.offset = survey.eeprom(key).offset;
        if (StoreWriter::readImage(survey.eeprom(key), &image.bytes, &image.present, &image.error))
            image.sha1 = checksum(image.bytes);
        set.m_images.append(image);
    }
    return set;
}

bool BackupSet::isComplete() const
{
    for (const Image &image : m_images) {
        if (!image.error.isEmpty())
            return false;
    }
    return true;
}

QByteArray BackupSet::checksum(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex();
}

QString BackupSet::nextDirectory(const QString &root)
{
    for (int n = 1;; ++n) {
        const QString candidate = QDir(root).filePath(QString::number(n));
        if (!QFileInfo(candidate).exists())
            return candidate;
    }
}

bool BackupSet::save(const QString &directory, QString *error) const
{
    if (!QDir().mkpath(directory)) {
        *error = QString::fromLatin1("could not create the directory %1").arg(directory);
        return false;
    }
    const QDir dir(directory);
    json_t *manifest = Json::document();
    json_t *stores = json_array();
    Json::set(manifest, "stores", stores);
    bool ok = true;
    for (const Image &image : m_images) {
        if (!image.error.isEmpty())
            continue;
        json_t *entry = json_object();
        Json::set(entry, "key", Json::text(image.key));
        Json::set(entry, "label", Json::text(image.label));
        Json::set(entry, "device", Json::text(image.device));
        Json::set(entry, "offset", Json::number(image.offset));
        Json::set(entry, "present", Json::boolean(image.present));
        if (image.present) {
            Json::set(entry, "size", Json::number(image.bytes.size()));
            Json::set(entry, "sha1", Json::text(QString::fromLatin1(image.sha1)));
            Json::set(entry, "image", Json::text(imageName(image.key)));
            ok = ok && writeFile(dir.filePath(imageName(image.key)), image.bytes, error);
        }
        Json::append(stores, entry);
    }
    char *text = json_dumps(manifest, JSON_INDENT(2));
    json_decref(manifest);
    ok = ok && writeFile(dir.filePath(QLatin1String(manifestName)), QByteArray(text) + '\n', error);
    std::free(text);
    return ok;
}

BackupSet BackupSet::load(const QString &directory, QString *error)
{
    BackupSet set;
    const QDir dir(directory);
    const QString manifestPath = dir.filePath(QLatin1String(manifestName));
    json_error_t parseError;
    json_t *manifest = json_load_file(QFile::encodeName(manifestPath).constData(), 0, &parseError);
    json_t *stores = json_object_get(manifest, "stores");
    if (!manifest || !json_is_array(stores)) {
        *error = manifest
            ? QString::fromLatin1("%1 lists no stores").arg(manifestPath)
            : QString::fromLatin1("cannot read %1: %2").arg(manifestPath, QString::fromUtf8(parseError.text));
        json_decref(manifest);
        return set;
    }
    for (size_t i = 0; i < json_array_size(stores); ++i) {
        json_t *entry = json_array_get(stores, i);
        Image image;
        image.key = Json::textOf(entry, "key");
        image.label = Json::textOf(entry, "label");
        image.device = Json::textOf(entry, "device");
        image.offset = int(Json::numberOf(entry, "offset"));
        image.present = !json_is_false(json_object_get(entry, "present"));
        if (image.present) {
            image.sha1 = Json::textOf(entry, "sha1").toLatin1();
            QFile file(dir.filePath(Json::textOf(entry, "image")));
            if (!file.open(QIODevice::ReadOnly))
                image.error
                    = QString::fromLatin1("cannot read %1: %2").arg(file.fileName(), file.errorString());
            else
                image.bytes = file.readAll();
            if (image.error.isEmpty()
                && (checksum(image.bytes) != image.sha1
                    || image.bytes.size() != Json::numberOf(entry, "size")))
                image.error = QString::fromLatin1("the image %1 does not match its checksum in the manifest")
                                  .arg(file.fileName());
        }
        set.m_images.append(image);
    }
    json_decref(manifest);
    return set;
}
