#include "repairjournal.h"

#include "jsonvalue.h"
#include "statefiles.h"

#include <cstdlib>

namespace {

const char journalName[] = "repair.journal";
const qint64 maxJournalSize = 16 * 1024;

} // namespace

QString RepairJournal::path()
{
    return StateFiles::directory() + QLatin1Char('/') + QLatin1String(journalName);
}

RepairJournal::Entry RepairJournal::read(QString *error)
{
    Entry entry;
    QByteArray bytes;
    bool exists = false;
    QString readError;
    if (!StateFiles::read(journalName, maxJournalSize, &bytes, &exists, &readError)) {
        if (exists) {
            // Whatever stands there, a repair may not have finished: better said than hidden.
            entry.command = QLatin1String("(unreadable journal)");
        }
        if (error)
            *error = readError;
        return entry;
    }
    if (!exists)
        return entry;
    json_t *root = json_loadb(bytes.constData(), size_t(bytes.size()), 0, nullptr);
    entry.command = Json::textOf(root, "command");
    if (entry.command.isNull())
        entry.command = QLatin1String("(damaged journal)");
    entry.backup = Json::textOf(root, "backup");
    entry.time = Json::textOf(root, "time");
    json_t *stores = json_object_get(root, "stores");
    for (size_t i = 0; json_is_array(stores) && i < json_array_size(stores); ++i) {
        json_t *key = json_array_get(stores, i);
        if (json_is_string(key))
            entry.stores.append(QString::fromUtf8(json_string_value(key)));
    }
    json_decref(root);
    return entry;
}

bool RepairJournal::begin(const Entry &entry, QString *error)
{
    json_t *root = json_object();
    Json::set(root, "command", Json::text(entry.command));
    Json::set(root, "backup", Json::text(entry.backup));
    Json::set(root, "time", Json::text(entry.time));
    Json::set(root, "stores", Json::texts(entry.stores));
    char *text = json_dumps(root, JSON_INDENT(2));
    json_decref(root);
    const QByteArray bytes = QByteArray(text) + '\n';
    std::free(text);
    return StateFiles::replace(journalName, bytes, error);
}

bool RepairJournal::finish(QString *error)
{
    return StateFiles::remove(journalName, error);
}

QString RepairJournal::warningText(const Entry &entry)
{
    QString text = QString::fromLatin1("a repair did not finish: \"%1\"").arg(entry.command);
    if (!entry.time.isEmpty())
        text += QString::fromLatin1(", begun %1").arg(entry.time);
    text += QLatin1String(". Run it again to finish it");
    if (!entry.backup.isEmpty())
        text += QString::fromLatin1(", or \"qorhwinfo restore %1\" to put the unit back as it was")
                    .arg(entry.backup);
    return text + QLatin1Char('.');
}
