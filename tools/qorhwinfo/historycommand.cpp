#include "commands.h"

#include "exitcode.h"
#include "jsonvalue.h"
#include "options.h"
#include "reporttext.h"
#include "terminaltext.h"
#include "writehistory.h"

#include <QTextStream>

#include <cstdio>

namespace {

QString serialText(const QString &serial)
{
    return serial.isNull() ? QString::fromLatin1("no record") : TerminalText::escaped(serial);
}

} // namespace

int Commands::history(const Options &options)
{
    QString error;
    const QList<WriteHistory::Entry> entries = WriteHistory::read(&error);
    if (!error.isEmpty()) {
        TerminalText::printError(error);
        return StoreUnusable;
    }
    if (options.json) {
        json_t *root = Json::document();
        json_t *list = json_array();
        for (const WriteHistory::Entry &entry : entries) {
            json_t *item = json_object();
            Json::set(item, "time", Json::text(entry.time));
            Json::set(item, "user", Json::text(entry.user));
            Json::set(item, "command", Json::text(entry.command));
            Json::set(item, "result", Json::text(entry.result));
            Json::set(item, "backup", Json::text(entry.backup));
            json_t *changes = json_array();
            for (const WriteHistory::Change &change : entry.changes) {
                json_t *store = json_object();
                Json::set(store, "store", Json::text(change.store));
                Json::set(store, "fromSerial", Json::text(change.fromSerial));
                Json::set(store, "toSerial", Json::text(change.toSerial));
                Json::set(store, "fromSha1", Json::text(change.fromSha1));
                Json::set(store, "toSha1", Json::text(change.toSha1));
                Json::append(changes, store);
            }
            Json::set(item, "changes", changes);
            Json::append(list, item);
        }
        Json::set(root, "history", list);
        Json::print(root);
        return Success;
    }
    QTextStream out(stdout);
    if (entries.isEmpty())
        out << "No writes recorded.\n";
    for (const WriteHistory::Entry &entry : entries) {
        out << ReportText::fact(entry.time) << "  " << ReportText::fact(entry.user) << "  "
            << ReportText::fact(entry.command) << "  (" << ReportText::fact(entry.result) << ")\n";
        if (!entry.backup.isEmpty())
            out << "  backup " << TerminalText::escaped(entry.backup) << '\n';
        for (const WriteHistory::Change &change : entry.changes) {
            out << "  " << ReportText::padded(change.store, 6) << serialText(change.fromSerial) << " -> "
                << serialText(change.toSerial) << "  SHA-1 " << TerminalText::escaped(change.fromSha1)
                << " -> " << TerminalText::escaped(change.toSha1) << '\n';
        }
    }
    return Success;
}
