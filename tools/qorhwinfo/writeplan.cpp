#include "writeplan.h"

#include "backupset.h"
#include "commandline.h"
#include "exitcode.h"
#include "jsonvalue.h"
#include "storewriter.h"
#include "unitsurvey.h"

#include <QTextStream>

#include <cstdio>
#include <unistd.h>

namespace {

const char *outcomeNames[] = { "nothing to do", "done", "refused", "failed" };

QString stepLine(const QString &key, const QString &label, const QString &text)
{
    return QString::fromLatin1("  %1%2%3\n")
        .arg(key.leftJustified(6, QLatin1Char(' ')), label.leftJustified(21, QLatin1Char(' ')), text);
}

} // namespace

WritePlan::WritePlan(const QString &command, const UnitSurvey &survey)
    : m_command(command)
    , m_survey(survey)
    , m_done(0)
    , m_failed(-1)
{ }

int WritePlan::execute(const CommandLine &options)
{
    if (m_steps.isEmpty())
        return report(options, NothingToDo, QString());
    QString refusal;
    if (!confirm(options, &refusal))
        return report(options, RefusedOutcome, refusal);

    QString error;
    if (!backUp(options.backupRoot(), &error))
        return report(options, Failed, error + QLatin1String("; nothing was written"));
    for (int i = 0; i < m_steps.size(); ++i) {
        if (!run(i, &error)) {
            m_failed = i;
            return report(options, Failed, error);
        }
        ++m_done;
    }
    return report(options, Done, QString());
}

int WritePlan::refuse(const CommandLine &options, const QString &reason, int exitCode)
{
    report(options, RefusedOutcome, reason);
    return exitCode;
}

bool WritePlan::backUp(const QString &root, QString *error)
{
    QStringList keys;
    for (const Step &step : m_steps)
        keys.append(step.key);
    const BackupSet backup = BackupSet::capture(m_survey, keys);
    for (const BackupSet::Image &image : backup.images()) {
        if (!image.error.isEmpty()) {
            *error = QString::fromLatin1("cannot read %1 to back it up: %2").arg(image.label, image.error);
            return false;
        }
    }
    const QString directory = BackupSet::nextDirectory(root);
    if (!backup.save(directory, error)) {
        *error = QString::fromLatin1("cannot save the backup: %1 (choose another place with --backup-dir)")
                     .arg(*error);
        return false;
    }
    m_backupDirectory = directory;
    return true;
}

bool WritePlan::confirm(const CommandLine &options, QString *refusal) const
{
    if (options.yes())
        return true;
    if (::isatty(STDIN_FILENO) != 1) {
        *refusal = QLatin1String("not confirmed: the standard input is no terminal; give --yes to write");
        return false;
    }
    QTextStream out(stdout);
    for (const Step &step : m_steps)
        out << stepLine(step.key, m_survey.eeprom(step.key).name,
                        step.from + QLatin1String(" -> ") + step.to);
    out.flush();
    std::fprintf(stderr, "Write %d store%s? [y/N] ", int(m_steps.size()), m_steps.size() == 1 ? "" : "s");
    std::fflush(stderr);
    char answer[16] = { 0 };
    if (!std::fgets(answer, sizeof answer, stdin) || (answer[0] != 'y' && answer[0] != 'Y')) {
        *refusal = QLatin1String("not confirmed");
        return false;
    }
    return true;
}

bool WritePlan::run(int index, QString *error)
{
    const Step &step = m_steps.at(index);
    const UnitSurvey::Eeprom store = m_survey.eeprom(step.key);
    const QString path = m_survey.devicePath(step.key);
    switch (step.kind) {
    case RecordWrite:
        return StoreWriter::writeRecord(store, step.record, error);
    case CacheRecordWrite:
        return StoreWriter::writeCacheRecord(store, path, step.record, error);
    case CacheRemoval:
        return StoreWriter::removeFile(path, error);
    case ImageWrite:
        break;
    }
    return step.key == QLatin1String("file") ? StoreWriter::replaceFile(path, step.image, error)
                                             : StoreWriter::writeImage(store, step.image, error);
}

QString WritePlan::deviceText(const QString &key) const
{
    return QString::fromLatin1("%1 at %2").arg(m_survey.devicePath(key)).arg(m_survey.eeprom(key).offset);
}

int WritePlan::report(const CommandLine &options, Outcome outcome, const QString &message) const
{
    if (options.json())
        printJson(outcome, message);
    else
        printText(outcome, message);
    switch (outcome) {
    case NothingToDo:
    case Done:
        return Success;
    case RefusedOutcome:
        return Refused;
    case Failed:
        break;
    }
    return WriteFailed;
}

void WritePlan::printText(Outcome outcome, const QString &message) const
{
    QTextStream out(stdout);
    for (const QString &note : m_notes)
        out << "Note: " << note << '\n';
    if (outcome == NothingToDo) {
        out << m_command << ": nothing to write.\n";
        return;
    }
    if (!m_steps.isEmpty())
        out << (outcome == Done ? "Written\n" : "Plan\n");
    for (int i = 0; i < m_steps.size(); ++i) {
        const Step &step = m_steps.at(i);
        QString state;
        if (i < m_done)
            state = QLatin1String(", read back and verified");
        else if (i == m_failed)
            state = QLatin1String(": FAILED");
        else if (outcome == Failed && m_done > 0)
            state = QLatin1String(": not written");
        out << stepLine(step.key, m_survey.eeprom(step.key).name,
                        step.from + QLatin1String(" -> ") + step.to + state);
        out << "        " << deviceText(step.key) << '\n';
    }
    if (!m_backupDirectory.isEmpty())
        out << "Backup of the replaced images: " << m_backupDirectory << '\n';
    if (outcome == Done) {
        out << "Done. \"qorhwinfo discover\" shows the result.\n";
        return;
    }
    out.flush();
    if (outcome == RefusedOutcome) {
        std::fprintf(stderr, "qorhwinfo: %s: refused: %s\n", qPrintable(m_command), qPrintable(message));
        return;
    }
    QString advice;
    if (m_failed >= 0) {
        advice = QLatin1String(
            "\nThe store holds the old record, the new one, or a frame that reads as corrupted; never "
            "another identity.");
    }
    if (!m_backupDirectory.isEmpty())
        advice += QString::fromLatin1("\nThe old images are in %1: \"qorhwinfo restore %1\" puts them back.")
                      .arg(m_backupDirectory);
    std::fprintf(stderr, "qorhwinfo: %s failed: %s%s\n", qPrintable(m_command), qPrintable(message),
                 qPrintable(advice));
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
    Json::set(root, "backup", Json::text(m_backupDirectory.isEmpty() ? QString() : m_backupDirectory));
    Json::set(root, "notes", Json::texts(m_notes));
    Json::print(root);
}
