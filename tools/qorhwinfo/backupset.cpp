#include "backupset.h"

#include "jsonvalue.h"
#include "storewriter.h"
#include "unitsurvey.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char manifestName[] = "manifest.json";
const qint64 maxManifestSize = 64 * 1024;
const int setsKept = 20;
const qint64 rootBound = 1024 * 1024;

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

QByteArray imageName(const QString &key)
{
    return key.toLatin1() + ".img";
}

/** A file descriptor closed with its owner. */
class Fd
{
public:
    explicit Fd(int fd = -1)
        : m_fd(fd)
    { }
    ~Fd()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    int get() const { return m_fd; }

private:
    Q_DISABLE_COPY(Fd)
    int m_fd;
};

int openDirectory(const QString &path)
{
    return ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

bool writeNewFile(int directory, const QString &path, const QByteArray &name, const QByteArray &bytes,
                  QString *error)
{
    const Fd file(
        ::openat(directory, name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    qint64 done = 0;
    while (file.get() >= 0 && done < bytes.size()) {
        const ssize_t got = ::write(file.get(), bytes.constData() + done, size_t(bytes.size() - done));
        if (got <= 0 && errno != EINTR)
            break;
        done += qMax<ssize_t>(got, 0);
    }
    if (file.get() < 0 || done != bytes.size() || ::fsync(file.get()) != 0) {
        *error = QString::fromLatin1("could not write %1/%2: %3")
                     .arg(path, QString::fromLatin1(name), systemError());
        return false;
    }
    return true;
}

// A regular file of at most @p maxSize bytes below @p directory, never through a link, never blocking.
bool readFileAt(int directory, const QByteArray &name, qint64 maxSize, QByteArray *bytes, QString *error)
{
    const Fd file(::openat(directory, name.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat info;
    if (file.get() < 0 || ::fstat(file.get(), &info) != 0) {
        *error = QString::fromLatin1("cannot read %1: %2").arg(QString::fromLatin1(name), systemError());
        return false;
    }
    if (!S_ISREG(info.st_mode)) {
        *error = QString::fromLatin1("%1 is no regular file").arg(QString::fromLatin1(name));
        return false;
    }
    if (info.st_size > maxSize) {
        *error
            = QString::fromLatin1("%1 holds more than %2 bytes").arg(QString::fromLatin1(name)).arg(maxSize);
        return false;
    }
    bytes->resize(int(info.st_size));
    qint64 done = 0;
    while (done < bytes->size()) {
        const ssize_t got = ::read(file.get(), bytes->data() + done, size_t(bytes->size() - done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += got;
    }
    if (done != bytes->size()) {
        *error = QString::fromLatin1("cannot read %1 whole").arg(QString::fromLatin1(name));
        return false;
    }
    return true;
}

bool isSetName(const QByteArray &name)
{
    if (name.isEmpty() || name.size() > 9)
        return false;
    for (char c : name) {
        if (c < '0' || c > '9')
            return false;
    }
    return true;
}

// The numbered sets under a root, oldest (lowest number) first.
QList<int> setNumbers(int root)
{
    QList<int> numbers;
    const int copy = ::dup(root);
    DIR *listing = copy >= 0 ? ::fdopendir(copy) : nullptr;
    if (!listing) {
        if (copy >= 0)
            ::close(copy);
        return numbers;
    }
    while (const struct dirent *entry = ::readdir(listing)) {
        if (isSetName(QByteArray(entry->d_name)))
            numbers.append(QByteArray(entry->d_name).toInt());
    }
    ::closedir(listing);
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

bool isKnownMember(const char *name, const char *const *known)
{
    for (; *known; ++known) {
        if (std::strcmp(name, *known) == 0)
            return true;
    }
    return false;
}

bool checkMembers(json_t *object, const char *const *known, const QString &where, QString *error)
{
    const char *name;
    json_t *value;
    json_object_foreach(object, name, value)
    {
        (void)value;
        if (!isKnownMember(name, known)) {
            *error = QString::fromLatin1("%1 has a member the tool does not write: %2")
                         .arg(where, QString::fromUtf8(name));
            return false;
        }
    }
    return true;
}

// A text member: absent, null or a string; anything else is a fault.
bool textMember(json_t *object, const char *name, QString *text, QString *error)
{
    json_t *member = json_object_get(object, name);
    if (member && !json_is_string(member) && !json_is_null(member)) {
        *error = QString::fromLatin1("the manifest's %1 is no text").arg(QLatin1String(name));
        return false;
    }
    *text = json_is_string(member)
        ? QString::fromUtf8(json_string_value(member), int(json_string_length(member)))
        : QString();
    return true;
}

const BackupSet::Place *placeOf(const QList<BackupSet::Place> &places, const QString &key)
{
    for (const BackupSet::Place &place : places) {
        if (place.key == key)
            return &place;
    }
    return nullptr;
}

bool isSha1(const QString &text)
{
    if (text.size() != 40)
        return false;
    for (const QChar c : text) {
        if (!((c >= QLatin1Char('0') && c <= QLatin1Char('9'))
              || (c >= QLatin1Char('a') && c <= QLatin1Char('f'))))
            return false;
    }
    return true;
}

bool parseEntry(json_t *entry, const QList<BackupSet::Place> &places, QSet<QString> *seen,
                BackupSet::Image *image, QString *error)
{
    static const char *const known[]
        = { "key", "label", "device", "offset", "present", "size", "sha1", "image", nullptr };
    if (!json_is_object(entry)) {
        *error = QLatin1String("the manifest lists a store that is no object");
        return false;
    }
    json_t *key = json_object_get(entry, "key");
    image->key = json_is_string(key) ? QString::fromUtf8(json_string_value(key)) : QString();
    const BackupSet::Place *place = placeOf(places, image->key);
    if (!place) {
        *error = QLatin1String("the manifest names a store that this unit does not have");
        return false;
    }
    const QString where = QString::fromLatin1("the manifest's entry for %1").arg(image->key);
    if (seen->contains(image->key)) {
        *error = QString::fromLatin1("the manifest names %1 twice").arg(image->key);
        return false;
    }
    seen->insert(image->key);
    if (!checkMembers(entry, known, where, error))
        return false;
    json_t *device = json_object_get(entry, "device");
    json_t *offset = json_object_get(entry, "offset");
    json_t *present = json_object_get(entry, "present");
    image->device = json_is_string(device) ? QString::fromUtf8(json_string_value(device)) : QString();
    if (image->device != place->device || !json_is_integer(offset)
        || json_integer_value(offset) != place->offset) {
        *error = QString::fromLatin1("%1 does not name %2 at %3, where this unit keeps that store")
                     .arg(where, place->device)
                     .arg(place->offset);
        return false;
    }
    image->offset = place->offset;
    if (!json_is_boolean(present)) {
        *error = where + QLatin1String(" does not say whether the store was present");
        return false;
    }
    image->present = json_is_true(present);
    json_t *label = json_object_get(entry, "label");
    image->label = json_is_string(label) ? QString::fromUtf8(json_string_value(label)) : image->key;
    if (!image->present) {
        if (image->key != QLatin1String("file")) {
            *error
                = QString::fromLatin1("%1 says the store was absent: only the cache file may be").arg(where);
            return false;
        }
        return true;
    }
    json_t *size = json_object_get(entry, "size");
    json_t *sha1 = json_object_get(entry, "sha1");
    json_t *name = json_object_get(entry, "image");
    if (!json_is_integer(size) || json_integer_value(size) < 0 || json_integer_value(size) > place->room) {
        *error = QString::fromLatin1("%1 gives no size within the store's %2 bytes of room")
                     .arg(where)
                     .arg(place->room);
        return false;
    }
    image->size = json_integer_value(size);
    image->sha1 = json_is_string(sha1) ? QByteArray(json_string_value(sha1)) : QByteArray();
    if (!isSha1(QString::fromLatin1(image->sha1))) {
        *error = where + QLatin1String(" gives no SHA-1");
        return false;
    }
    if (!json_is_string(name) || QByteArray(json_string_value(name)) != imageName(image->key)) {
        *error = QString::fromLatin1("%1 names an image other than %2")
                     .arg(where, QString::fromLatin1(imageName(image->key)));
        return false;
    }
    return true;
}

} // namespace

int BackupSet::maxSets()
{
    return setsKept;
}

qint64 BackupSet::maxRootSize()
{
    return rootBound;
}

QList<BackupSet::Place> BackupSet::placesOf(const UnitSurvey &survey)
{
    return placesOf(survey.table());
}

QList<BackupSet::Place> BackupSet::placesOf(const QHash<QString, hmi::HwInfoHelper::EEPROM> &table)
{
    QStringList keys = table.keys();
    std::sort(keys.begin(), keys.end());
    QList<Place> places;
    for (const QString &key : keys) {
        Place place;
        place.key = key;
        place.device = UnitSurvey::devicePathOf(table.value(key).ioDev);
        place.offset = table.value(key).offset;
        place.room = StoreWriter::roomOf(table.value(key));
        places.append(place);
    }
    return places;
}

BackupSet BackupSet::capture(const UnitSurvey &survey, const QStringList &keys, const QString &commandLine)
{
    BackupSet set;
    set.m_identity.serial = survey.vote().agreedSerial();
    set.m_identity.mac = survey.mac();
    set.m_identity.comSerial = survey.comSerial();
    set.m_identity.fpgaUid = survey.fpgaUid();
    set.m_time = QDateTime::currentDateTime().toUTC().toString(QLatin1String("yyyy-MM-ddTHH:mm:ssZ"));
    set.m_command = commandLine;
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

bool BackupSet::writeInto(int directory, const QString &path, QString *error) const
{
    json_t *manifest = Json::document();
    json_t *unit = json_object();
    Json::set(unit, "serial", Json::text(m_identity.serial));
    Json::set(unit, "mac", Json::text(m_identity.mac));
    Json::set(unit, "comSerial", Json::text(m_identity.comSerial));
    Json::set(unit, "fpgaUid", Json::text(m_identity.fpgaUid));
    Json::set(manifest, "unit", unit);
    Json::set(manifest, "time", Json::text(m_time));
    Json::set(manifest, "command", Json::text(m_command));
    json_t *stores = json_array();
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
            Json::set(entry, "image", Json::text(QString::fromLatin1(imageName(image.key))));
            ok = ok && writeNewFile(directory, path, imageName(image.key), image.bytes, error);
        }
        Json::append(stores, entry);
    }
    Json::set(manifest, "stores", stores);
    char *text = json_dumps(manifest, JSON_INDENT(2));
    json_decref(manifest);
    ok = ok && writeNewFile(directory, path, manifestName, QByteArray(text) + '\n', error);
    std::free(text);
    if (ok && ::fsync(directory) != 0) {
        *error = QString::fromLatin1("could not sync the backup: %1").arg(systemError());
        return false;
    }
    return ok;
}

bool BackupSet::saveNew(const QString &directory, QString *error) const
{
    if (::mkdir(QFile::encodeName(directory).constData(), 0700) != 0) {
        *error = QString::fromLatin1("could not create the directory %1: %2").arg(directory, systemError());
        return false;
    }
    const Fd set(openDirectory(directory));
    const Fd parent(openDirectory(QFileInfo(directory).absolutePath()));
    if (set.get() < 0) {
        *error = QString::fromLatin1("could not open the directory %1: %2").arg(directory, systemError());
        return false;
    }
    return writeInto(set.get(), directory, error) && (parent.get() < 0 || ::fsync(parent.get()) == 0);
}

bool BackupSet::saveInto(const QString &root, QString *saved, QString *error,
                         const QString &protectedSet) const
{
    // The root and its parent are both opened without following a link: the parent may lie in a directory
    // that others can write (/var/local is the group staff's).
    const QFileInfo info(root);
    const Fd parent(openDirectory(info.absolutePath()));
    if (parent.get() < 0) {
        *error = QString::fromLatin1("the directory %1 is missing, a link or no directory")
                     .arg(info.absolutePath());
        return false;
    }
    const QByteArray name = QFile::encodeName(info.fileName());
    ::mkdirat(parent.get(), name.constData(), 0700);
    const Fd rootFd(
        ::openat(parent.get(), name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (rootFd.get() < 0) {
        *error = errno == ELOOP || errno == ENOTDIR
            ? QString::fromLatin1("%1 is a link or no directory: the tool keeps no backup there").arg(root)
            : QString::fromLatin1("could not open %1: %2").arg(root, systemError());
        return false;
    }
    const QList<int> numbers = setNumbers(rootFd.get());
    int number = numbers.isEmpty() ? 1 : numbers.last() + 1;
    while (::mkdirat(rootFd.get(), QByteArray::number(number).constData(), 0700) != 0) {
        if (errno != EEXIST) {
            *error = QString::fromLatin1("could not create a backup set in %1: %2").arg(root, systemError());
            return false;
        }
        ++number;
    }
    const Fd set(::openat(rootFd.get(), QByteArray::number(number).constData(),
                          O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    *saved = root + QLatin1Char('/') + QString::number(number);
    if (set.get() < 0 || !writeInto(set.get(), *saved, error) || ::fsync(rootFd.get()) != 0) {
        if (error->isEmpty())
            *error = QString::fromLatin1("could not write the backup set %1: %2").arg(*saved, systemError());
        return false;
    }
    prune(root, protectedSet);
    return true;
}

bool BackupSet::parseManifest(const QByteArray &manifest, const QList<Place> &places, BackupSet *set,
                              QString *error)
{
    static const char *const known[] = { "version", "unit", "time", "command", "stores", nullptr };
    static const char *const unitKnown[] = { "serial", "mac", "comSerial", "fpgaUid", nullptr };
    json_error_t parseError;
    json_t *root
        = json_loadb(manifest.constData(), size_t(manifest.size()), JSON_REJECT_DUPLICATES, &parseError);
    bool ok = json_is_object(root);
    if (!ok)
        *error = QString::fromLatin1("the manifest is no JSON object: %1")
                     .arg(QString::fromUtf8(parseError.text));
    ok = ok && checkMembers(root, known, QLatin1String("the manifest"), error);
    json_t *unit = json_object_get(root, "unit");
    if (ok && unit && !json_is_object(unit)) {
        *error = QLatin1String("the manifest's unit is no object");
        ok = false;
    }
    ok = ok && (!unit || checkMembers(unit, unitKnown, QLatin1String("the manifest's unit"), error));
    ok = ok && textMember(unit, "serial", &set->m_identity.serial, error)
        && textMember(unit, "mac", &set->m_identity.mac, error)
        && textMember(unit, "comSerial", &set->m_identity.comSerial, error)
        && textMember(unit, "fpgaUid", &set->m_identity.fpgaUid, error)
        && textMember(root, "time", &set->m_time, error)
        && textMember(root, "command", &set->m_command, error);
    json_t *stores = json_object_get(root, "stores");
    if (ok && (!json_is_array(stores) || json_array_size(stores) > size_t(places.size()))) {
        *error = QLatin1String("the manifest lists no stores, or more than the unit has");
        ok = false;
    }
    QSet<QString> seen;
    for (size_t i = 0; ok && i < json_array_size(stores); ++i) {
        Image image;
        ok = parseEntry(json_array_get(stores, i), places, &seen, &image, error);
        if (ok)
            set->m_images.append(image);
    }
    json_decref(root);
    return ok;
}

BackupSet BackupSet::load(const QString &directory, const QList<Place> &places, QString *error)
{
    BackupSet set;
    const Fd dir(openDirectory(directory));
    if (dir.get() < 0) {
        *error = QString::fromLatin1("cannot open the backup %1: %2").arg(directory, systemError());
        return BackupSet();
    }
    QByteArray manifest;
    QString fault;
    if (!readFileAt(dir.get(), manifestName, maxManifestSize, &manifest, &fault)
        || !parseManifest(manifest, places, &set, &fault)) {
        *error = QString::fromLatin1("the backup %1 cannot be used: %2").arg(directory, fault);
        return BackupSet();
    }
    for (Image &image : set.m_images) {
        if (!image.present)
            continue;
        if (!readFileAt(dir.get(), imageName(image.key), image.size, &image.bytes, &fault)) {
            *error = QString::fromLatin1("the backup %1 cannot be used: %2").arg(directory, fault);
            return BackupSet();
        }
        if (image.bytes.size() != image.size || checksum(image.bytes) != image.sha1) {
            *error = QString::fromLatin1(
                         "the backup %1 cannot be used: the image %2 does not match its checksum in "
                         "the manifest")
                         .arg(directory, QString::fromLatin1(imageName(image.key)));
            return BackupSet();
        }
    }
    return set;
}

QList<BackupSet::Listing> BackupSet::list(const QString &root)
{
    QList<Listing> sets;
    const Fd rootFd(openDirectory(root));
    if (rootFd.get() < 0)
        return sets;
    for (int number : setNumbers(rootFd.get())) {
        Listing listing;
        listing.directory = root + QLatin1Char('/') + QString::number(number);
        const Fd set(::openat(rootFd.get(), QByteArray::number(number).constData(),
                              O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        QByteArray manifest;
        if (set.get() < 0
            || !readFileAt(set.get(), manifestName, maxManifestSize, &manifest, &listing.error)) {
            if (listing.error.isEmpty())
                listing.error = systemError();
        } else {
            json_t *document = json_loadb(manifest.constData(), size_t(manifest.size()), 0, nullptr);
            json_t *unit = json_object_get(document, "unit");
            listing.unit = Json::textOf(unit, "serial");
            listing.time = Json::textOf(document, "time");
            listing.command = Json::textOf(document, "command");
            json_decref(document);
        }
        sets.append(listing);
    }
    return sets;
}

namespace {

// A set's size, or -1 when it holds anything the tool does not write there.
qint64 sizeOfOwnSet(int set)
{
    static const char *const names[]
        = { "manifest.json", "com.img", "cb.img", "bf.img", "ut.img", "file.img", nullptr };
    const int copy = ::dup(set);
    DIR *listing = copy >= 0 ? ::fdopendir(copy) : nullptr;
    if (!listing) {
        if (copy >= 0)
            ::close(copy);
        return -1;
    }
    qint64 total = 0;
    while (const struct dirent *entry = ::readdir(listing)) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
            continue;
        struct stat info;
        if (!isKnownMember(entry->d_name, names)
            || ::fstatat(set, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(info.st_mode)) {
            total = -1;
            break;
        }
        total += info.st_size;
    }
    ::closedir(listing);
    return total;
}

void removeOwnSet(int root, int number)
{
    static const char *const names[]
        = { "manifest.json", "com.img", "cb.img", "bf.img", "ut.img", "file.img" };
    const QByteArray name = QByteArray::number(number);
    const Fd set(::openat(root, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (set.get() < 0)
        return;
    for (const char *file : names)
        ::unlinkat(set.get(), file, 0);
    ::unlinkat(root, name.constData(), AT_REMOVEDIR);
}

} // namespace

void BackupSet::prune(const QString &root, const QString &protectedSet)
{
    const Fd rootFd(openDirectory(root));
    if (rootFd.get() < 0)
        return;
    const QList<int> numbers = setNumbers(rootFd.get());
    QList<qint64> sizes;
    qint64 total = 0;
    for (int number : numbers) {
        const Fd set(::openat(rootFd.get(), QByteArray::number(number).constData(),
                              O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        sizes.append(set.get() < 0 ? -1 : sizeOfOwnSet(set.get()));
        total += qMax<qint64>(sizes.last(), 0);
    }
    int kept = numbers.size();
    for (int i = 0; i + 1 < numbers.size() && (kept > setsKept || total > rootBound); ++i) {
        const QString directory = root + QLatin1Char('/') + QString::number(numbers.at(i));
        if (sizes.at(i) < 0
            || QFileInfo(directory).absoluteFilePath() == QFileInfo(protectedSet).absoluteFilePath())
            continue;
        removeOwnSet(rootFd.get(), numbers.at(i));
        total -= sizes.at(i);
        --kept;
    }
    ::fsync(rootFd.get());
}
