#include "writeplan.h"

#include "backupset.h"
#include "exitcode.h"
#include "jsonvalue.h"
#include "repairjournal.h"
#include "serialform.h"
#include "signalhold.h"
#include "storewriter.h"
#include "terminaltext.h"
#include "unitsurvey.h"
#include "writehistory.h"

#include <QDateTime>
#include <QFileInfo>
#include <QTextStream>

#include <cstdio>
#include <unistd.h>

namespace {

const char *const outcomeNames[] = { "nothing to do", "planned", "done", "refused", "failed", "interrupted" };

QString utcNow()
{
    return QDateTime::currentDateTime().toUTC().toString(QLatin1String("yyyy-MM-ddTHH:mm:ssZ"));
}

bool isYes(const char *answer)
{
    const QString text = QString::fromLocal8Bit(answer).trimmed();
    return text == QLatin1String("y") || text == QLatin1String("yes");
}

} // namespace

WritePlan::WritePlan(const QString &command, const UnitSurvey &survey, const Options &options)
    : m_command(command)
    , m_survey(survey)
    , m_options(options)
    , m_done(0)
    , m_failed(-1)
{ }

QString WritePlan::recordText(const QString &unit)
{
    if (unit.isNull())
        return QLatin1String("record without a unit serial");
    return QLatin1String("record of ") + SerialForm::display(unit);
}

int WritePlan::execute()
{
    if (m_steps.isEmpty())
        return report(NothingToDo, QString());
    if (m_options.dryRun)
        return report(Planned, QString());
    QString refusal;
    if (!confirm(&refusal))
        return report(RefusedOutcome, refusal);

    QString error;
    if (!backUp(&error))
        return report(Failed, error + QLatin1String("; nothing was written"));
    RepairJournal::Entry journal;
    journal.command = m_options.commandLine;
    journal.backup = m_backupDirectory;
    journal.time = utcNow();
    for (const Step &step : m_steps)
        journal.stores.append(step.key);
    if (!RepairJournal::begin(journal, &error))
        return report(
            Failed,
            QString::fromLatin1("cannot write the repair journal: %1; nothing was written").arg(error));

    // A signal stops the sequence between two stores, never inside one.
    const SignalHold hold;
    for (int i = 0; i < m_steps.size(); ++i) {
        if (!run(i, &error)) {
            m_failed = i;
            record(Failed);
            return report(Failed, error);
        }
        ++m_done;
        if (m_done < m_steps.size() && hold.interrupted()) {
            m_interruption = QLatin1String(hold.signalName());
            record(Interrupted);
            return report(Interrupted, QString());
        }
    }
    if (!RepairJournal::finish(&error))
        m_warning = QString::fromLatin1("the repair journal could not be removed: %1").arg(error);
    record(Done);
    return report(Done, QString());
}

int WritePlan::refuse(const QString &reason, int exitCode)
{
    report(RefusedOutcome, reason);
    return exitCode;
}

bool WritePlan::backUp(QString *error)
{
    QStringList keys;
    for (const Step &step : m_steps)
        keys.append(step.key);
    const BackupSet backup = BackupSet::capture(m_survey, keys, m_options.commandLine);
    for (const BackupSet::Image &image : backup.images()) {
        if (!image.error.isEmpty()) {
            *error
                = QString::fromLatin1("cannot read the %1 to back it up: %2").arg(image.label, image.error);
            return false;
        }
        m_oldChecksums.append(QString::fromLatin1(image.sha1));
    }
    // The cache's directory is the system's: a backup beside it never creates it.
    const QFileInfo root(m_options.backupRoot);
    if (!root.isDir() && !QFileInfo(root.absolutePath()).isDir()) {
        *error = QString::fromLatin1(
                     "cannot save the backup: the directory %1 is missing; the system provides it: run "
                     "\"systemd-tmpfiles --create\" or reinstall the package")
                     .arg(root.absolutePath());
        return false;
    }
    // An unfinished repair's set is the one that undoes it: no pruning may take it.
    if (!backup.saveInto(m_options.backupRoot, &m_backupDirectory, error, RepairJournal::read().backup)) {
        m_backupDirectory.clear();
        *error = QString::fromLatin1("cannot save the backup: %1 (choose another place with --backup-dir)")
                     .arg(*error);
        return false;
    }
    return true;
}

bool WritePlan::confirm(QString *refusal) const
{
    if (m_options.yes)
        return true;
    if (::isatty(STDIN_FILENO) != 1) {
        *refusal = QLatin1String("not confirmed: the standard input is no terminal; give --yes to write");
        return false;
    }
    printPlan(Planned);
    std::fprintf(stderr, "Write %d store%s? Only \"y\" or \"yes\" writes. [y/N] ", int(m_steps.size()),
                 m_steps.size() == 1 ? "" : "s");
    std::fflush(stderr);
    char answer[64] = { 0 };
    if (!std::fgets(answer, sizeof answer, stdin) || !isYes(answer)) {
        *refusal = QLatin1String("not confirmed");
        return false;
    }
    return true;
}

bool WritePlan::run(int index, QString *error)
{
    const Step &step = m_steps.at(index);
    const UnitSurvey::Eeprom store = m_survey.eeprom(step.key);
    switch (step.kind) {
    case RecordWrite:
        return StoreWriter::writeRecord(store, step.record, error);
    case CacheRecordWrite:
        return StoreWriter::writeCacheRecord(store, step.record, error);
    case CacheRemoval:
        return StoreWriter::removeCache(error);
    case ImageWrite:
        break;
    }
    return StoreWriter::isCacheFile(store) ? StoreWriter::replaceCache(step.image, error)
                                           : StoreWriter::writeImage(store, step.image, error);
}

// The history says per store what it held before and after, by serial and by the image's checksum.
void WritePlan::record(Outcome outcome)
{
    WriteHistory::Entry entry;
    entry.time = utcNow();
    entry.user = WriteHistory::currentUser();
    entry.command = m_options.commandLine;
    entry.result = QLatin1String(outcomeNames[outcome]);
    entry.backup = m_backupDirectory;
    for (int i = 0; i < m_done; ++i) {
        const Step &step = m_steps.at(i);
        WriteHistory::Change change;
        change.store = step.key;
        change.fromSerial = step.fromSerial;
        change.toSerial = step.toSerial;
        change.fromSha1 = m_oldChecksums.value(i);
        QByteArray image;
        bool present = false;
        QString ignored;
        if (StoreWriter::readImage(m_survey.eeprom(step.key), &image, &present, &ignored) && present)
            change.toSha1 = QString::fromLatin1(BackupSet::checksum(image));
        entry.changes.append(change);
    }
    QString error;
    if (!WriteHistory::append(entry, &error))
        m_warning += (m_warning.isEmpty() ? QString() : QLatin1String("; "))
            + QString::fromLatin1("the history could not be written: %1").arg(error);
}

QString WritePlan::deviceText(const QString &key) const
{
    return QString::fromLatin1("%1 at %2").arg(m_survey.devicePath(key)).arg(m_survey.eeprom(key).offset);
}

QString WritePlan::stepLine(int index, Outcome outcome) const
{
    const Step &step = m_steps.at(index);
    QString state;
    if (index < m_done)
        state = QLatin1String(", read back and verified");
    else if (index == m_failed)
        state = QLatin1String(": FAILED");
    else if ((outcome == Failed || outcome == Interrupted) && m_done > 0)
        state = QLatin1String(": not written");
    return QString::fromLatin1("  %1%2%3\n        %4\n")
        .arg(step.key.leftJustified(6, QLatin1Char(' ')),
             m_survey.eeprom(step.key).name.leftJustified(21, QLatin1Char(' ')),
             TerminalText::escaped(step.from + QLatin1String(" -> ") + step.to) + state,
             deviceText(step.key));
}

int WritePlan::report(Outcome outcome, const QString &message) const
{
    if (m_options.json)
        printJson(outcome, message);
    else
        printText(outcome, message);
    if (!m_warning.isEmpty())
        TerminalText::printError(QLatin1String("warning: ") + m_warning);
    switch (outcome) {
    case NothingToDo:
    case Planned:
    case Done:
        return Success;
    case RefusedOutcome:
        return Refused;
    case Failed:
    case Interrupted:
        break;
    }
    return WriteFailed;
}

void WritePlan::printPlan(Outcome outcome) const
{
    QTextStream out(stdout);
    out << (outcome == Done ? "Written" : "Plan") << ": " << TerminalText::escaped(m_command) << '\n';
    for (int i = 0; i < m_steps.size(); ++i)
        out << stepLine(i, outcome);
    for (const QString &note : m_notes)
        out << "Note: " << TerminalText::escaped(note) << '\n';
}

void WritePlan::printText(Outcome outcome, const QString &message) const
{
    if (outcome == NothingToDo) {
        QTextStream out(stdout);
        for (const QString &note : m_notes)
            out << "Note: " << TerminalText::escaped(note) << '\n';
        out << TerminalText::escaped(m_command) << ": nothing to write.\n";
        return;
    }
    // A technician who answered the prompt has seen the plan already.
    if (!m_steps.isEmpty() && (outcome != RefusedOutcome || m_options.yes || ::isatty(STDIN_FILENO) != 1))
        printPlan(outcome);
    QTextStream out(stdout);
    if (!m_backupDirectory.isEmpty())
        out << "Backup of the replaced images: " << TerminalText::escaped(m_backupDirectory) << '\n';
    if (outcome == Planned) {
        out << "Dry run: nothing was written.\n";
        return;
    }
    if (outcome == Done) {
        out << "Done. \"qorhwinfo check\" shows the result.\n";
        return;
    }
    out.flush();
    if (outcome == RefusedOutcome) {
        TerminalText::printError(QString::fromLatin1("%1: refused: %2").arg(m_command, message));
        return;
    }
    QString text = outcome == Interrupted ? QString::fromLatin1("%1: stopped by %2 after %3 of %4 writes")
                                                .arg(m_command, m_interruption)
                                                .arg(m_done)
                                                .arg(m_steps.size())
                                          : QString::fromLatin1("%1 failed: %2").arg(m_command, message);
    if (m_failed >= 0)
        text += QLatin1String(
            "\nThe store holds the old record, the new one, or a frame that reads as corrupted; "
            "never another identity.");
    if (m_done > 0 || m_failed >= 0) {
        text += QString::fromLatin1(
                    "\nThe repair did not finish: run \"%1\" again to finish it, or \"qorhwinfo "
                    "restore %2\" to put the unit back as it was.")
                    .arg(m_options.commandLine, m_backupDirectory);
    }
    TerminalText::printError(text);
}

void WritePlan::printJson(Outcome outcome, const QString &message) const
{
    json_t *root = Json::document();
    Json::set(root, "command", Json::text(m_command));
    Json::set(root, "result", json_string(outcomeNames[outcome]));
    Json::set(root, "message", Json::text(message.isEmpty() ? QString() : message));
    json_t *writes = json_array();
    for (int i = 0; i < m_steps.size(); ++i) {
        const Step &step = m_steps.at(i);
        json_t *entry = json_object();
        Json::set(entry, "store", Json::text(step.key));
        Json::set(entry, "device", Json::text(m_survey.devicePath(step.key)));
        Json::set(entry, "offset", Json::number(m_survey.eeprom(step.key).offset));
        Json::set(entry, "from", Json::text(step.from));
        Json::set(entry, "to", Json::text(step.to));
        Json::set(entry, "written", Json::boolean(i < m_done));
        Json::set(entry, "failed", Json::boolean(i == m_failed));
        Json::append(writes, entry);
    }
    Json::set(root, "writes", writes);
    Json::set(root, "dryRun", Json::boolean(m_options.dryRun));
    Json::set(root, "backup", Json::text(m_backupDirectory.isEmpty() ? QString() : m_backupDirectory));
    Json::set(root, "notes", Json::texts(m_notes));
    Json::print(root);
}
