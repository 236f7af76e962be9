#include "writehistory.h"

#include "jsonvalue.h"
#include "statefiles.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace {

const char historyName[] = "history";
const qint64 historyBound = 256 * 1024;

QByteArray line(const WriteHistory::Entry &entry)
{
    json_t *root = json_object();
    Json::set(root, "time", Json::text(entry.time));
    Json::set(root, "user", Json::text(entry.user));
    Json::set(root, "command", Json::text(entry.command));
    Json::set(root, "result", Json::text(entry.result));
    Json::set(root, "backup", Json::text(entry.backup));
    json_t *changes = json_array();
    for (const WriteHistory::Change &change : entry.changes) {
        json_t *item = json_object();
        Json::set(item, "store", Json::text(change.store));
        Json::set(item, "fromSerial", Json::text(change.fromSerial));
        Json::set(item, "toSerial", Json::text(change.toSerial));
        Json::set(item, "fromSha1", Json::text(change.fromSha1));
        Json::set(item, "toSha1", Json::text(change.toSha1));
        Json::append(changes, item);
    }
    Json::set(root, "changes", changes);
    char *text = json_dumps(root, JSON_COMPACT);
    json_decref(root);
    const QByteArray bytes = QByteArray(text) + '\n';
    std::free(text);
    return bytes;
}

WriteHistory::Entry entryOf(json_t *root)
{
    WriteHistory::Entry entry;
    entry.time = Json::textOf(root, "time");
    entry.user = Json::textOf(root, "user");
    entry.command = Json::textOf(root, "command");
    entry.result = Json::textOf(root, "result");
    entry.backup = Json::textOf(root, "backup");
    json_t *changes = json_object_get(root, "changes");
    for (size_t i = 0; json_is_array(changes) && i < json_array_size(changes); ++i) {
        json_t *item = json_array_get(changes, i);
        WriteHistory::Change change;
        change.store = Json::textOf(item, "store");
        change.fromSerial = Json::textOf(item, "fromSerial");
        change.toSerial = Json::textOf(item, "toSerial");
        change.fromSha1 = Json::textOf(item, "fromSha1");
        change.toSha1 = Json::textOf(item, "toSha1");
        entry.changes.append(change);
    }
    return entry;
}

} // namespace

qint64 WriteHistory::maxSize()
{
    return historyBound;
}

QString WriteHistory::currentUser()
{
    const uid_t uid = ::getuid();
    if (const struct passwd *account = ::getpwuid(uid))
        return QString::fromLocal8Bit(account->pw_name);
    return QString::number(uid);
}

bool WriteHistory::append(const Entry &entry, QString *error)
{
    QByteArray bytes;
    bool exists = false;
    // A damaged or planted history must not stop a repair's record: it starts afresh.
    QString ignored;
    if (!StateFiles::read(historyName, historyBound, &bytes, &exists, &ignored))
        bytes.clear();
    bytes += line(entry);
    while (bytes.size() > historyBound) {
        const int end = bytes.indexOf('\n');
        bytes.remove(0, end < 0 ? bytes.size() : end + 1);
    }
    return StateFiles::replace(historyName, bytes, error);
}

QList<WriteHistory::Entry> WriteHistory::read(QString *error)
{
    QList<Entry> entries;
    QByteArray bytes;
    bool exists = false;
    if (!StateFiles::read(historyName, historyBound, &bytes, &exists, error))
        return entries;
    for (const QByteArray &text : bytes.split('\n')) {
        json_t *root = json_loadb(text.constData(), size_t(text.size()), 0, nullptr);
        if (json_is_object(root))
            entries.append(entryOf(root));
        json_decref(root);
    }
    return entries;
}
