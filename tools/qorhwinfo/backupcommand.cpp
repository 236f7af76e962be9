#include "commands.h"

#include "backupset.h"
#include "exitcode.h"
#include "jsonvalue.h"
#include "options.h"
#include "repairjournal.h"
#include "reporttext.h"
#include "terminaltext.h"
#include "unitsurvey.h"

#include <QFileInfo>
#include <QTextStream>

#include <cstdio>

namespace {

void printJson(const QString &directory, const BackupSet &set, bool saved, const QString &error)
{
    json_t *root = Json::document();
    Json::set(root, "directory", Json::text(directory));
    json_t *stores = json_object();
    for (const BackupSet::Image &image : set.images()) {
        json_t *entry = json_object();
        const bool imageSaved = saved && image.error.isEmpty();
        Json::set(entry, "device", Json::text(image.device));
        Json::set(entry, "offset", Json::number(image.offset));
        Json::set(entry, "present", Json::boolean(image.present));
        Json::set(entry, "size", Json::number(image.bytes.size()));
        Json::set(entry, "sha1",
                  imageSaved && image.present ? Json::text(QString::fromLatin1(image.sha1)) : json_null());
        Json::set(entry, "saved", Json::boolean(imageSaved));
        Json::set(entry, "error", image.error.isEmpty() ? json_null() : Json::text(image.error));
        Json::set(stores, image.key, entry);
    }
    Json::set(root, "stores", stores);
    Json::set(root, "error", saved ? json_null() : Json::text(error));
    Json::print(root);
}

enum Outcome { Saved, NotSaved, Planned };

// A line says "saved" only once the whole set is on disk.
void printText(const QString &directory, const BackupSet &set, Outcome outcome)
{
    QTextStream out(stdout);
    const char *const headings[] = { "Backup in ", "No backup in ", "Plan: a backup in " };
    out << headings[outcome] << TerminalText::escaped(directory) << '\n';
    for (const BackupSet::Image &image : set.images()) {
        out << "  " << ReportText::padded(image.key, 6) << ReportText::padded(image.label, 21);
        if (!image.error.isEmpty())
            out << "NOT SAVED: " << TerminalText::escaped(image.error) << '\n';
        else if (outcome == NotSaved)
            out << "NOT SAVED\n";
        else if (!image.present)
            out << (outcome == Saved ? "saved" : "to save") << " as absent (restore removes it)\n";
        else
            out << (outcome == Saved ? "saved, " : "to save, ") << image.bytes.size() << " bytes at "
                << image.offset << " of " << TerminalText::escaped(image.device) << ", SHA-1 " << image.sha1
                << '\n';
    }
}

int list(const Options &options)
{
    const QList<BackupSet::Listing> sets = BackupSet::list(options.backupRoot);
    if (options.json) {
        json_t *root = Json::document();
        json_t *entries = json_array();
        for (const BackupSet::Listing &set : sets) {
            json_t *entry = json_object();
            Json::set(entry, "directory", Json::text(set.directory));
            Json::set(entry, "unit", Json::text(set.unit));
            Json::set(entry, "time", Json::text(set.time));
            Json::set(entry, "command", Json::text(set.command));
            Json::set(entry, "error", set.error.isEmpty() ? json_null() : Json::text(set.error));
            Json::append(entries, entry);
        }
        Json::set(root, "sets", entries);
        Json::print(root);
        return Success;
    }
    QTextStream out(stdout);
    if (sets.isEmpty())
        out << "No backup sets in " << TerminalText::escaped(options.backupRoot) << ".\n";
    for (const BackupSet::Listing &set : sets) {
        out << TerminalText::escaped(set.directory) << '\n';
        if (!set.error.isEmpty()) {
            out << "  cannot be read: " << TerminalText::escaped(set.error) << '\n';
            continue;
        }
        out << "  unit     "
            << (set.unit.isNull() ? QString::fromLatin1("no serial the stores agreed on")
                                  : ReportText::fact(set.unit))
            << "\n  time     " << ReportText::fact(set.time) << "\n  command  "
            << ReportText::fact(set.command) << '\n';
    }
    return Success;
}

} // namespace

int Commands::backup(const Options &options)
{
    if (!options.arguments.isEmpty() && options.arguments.first() == QLatin1String("list"))
        return list(options);
    const QString directory = options.arguments.isEmpty() ? QString() : options.arguments.first();
    if (!directory.isEmpty() && (QFileInfo(directory).exists() || QFileInfo(directory).isSymLink())) {
        TerminalText::printError(
            QString::fromLatin1("%1 exists already: a backup never changes an existing file; give a new "
                                "directory, or none for a new set in %2")
                .arg(directory, options.backupRoot));
        return Refused;
    }
    const UnitSurvey survey;
    QStringList keys;
    for (const UnitSurvey::Store &store : survey.stores())
        keys.append(store.key);
    const BackupSet set = BackupSet::capture(survey, keys, options.commandLine);
    if (options.dryRun) {
        printText(directory.isEmpty() ? options.backupRoot : directory, set, Planned);
        QTextStream(stdout) << "Dry run: nothing was written.\n";
        return set.isComplete() ? int(Success) : int(StoreUnusable);
    }
    QString error;
    QString savedAs = directory;
    const bool saved = directory.isEmpty()
        ? set.saveInto(options.backupRoot, &savedAs, &error, RepairJournal::read().backup)
        : set.saveNew(directory, &error);
    if (options.json)
        printJson(savedAs, set, saved, error);
    else
        printText(savedAs.isEmpty() ? options.backupRoot : savedAs, set, saved ? Saved : NotSaved);
    if (!saved) {
        TerminalText::printError(QString::fromLatin1("backup failed: %1").arg(error));
        return WriteFailed;
    }
    return set.isComplete() ? int(Success) : int(StoreUnusable);
}
