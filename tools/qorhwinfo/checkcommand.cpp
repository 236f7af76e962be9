#include "commands.h"

#include "exitcode.h"
#include "identitycheck.h"
#include "jsonvalue.h"
#include "metricsfile.h"
#include "options.h"
#include "repairjournal.h"
#include "reporttext.h"
#include "serialform.h"
#include "statefiles.h"
#include "terminaltext.h"
#include "unitsurvey.h"

#include <QDir>
#include <QFile>
#include <QTextStream>

#include <cstdio>
#include <unistd.h>

namespace {

/** A problem, with the command that repairs it as printed, or the words that say why no command can. */
struct Finding
{
    QString store; ///< the store's key; empty for the unit as a whole
    QString problem;
    QString fix; ///< a command that works as printed; empty when none can
    QString advice; ///< what to do beside or instead of the command
    bool malformed = false;
};

class Check
{
public:
    explicit Check(const UnitSurvey &survey);

    QList<Finding> findings;
    QStringList notes;
    QList<IdentityCheck::Mismatch> mismatches;
    RepairJournal::Entry unfinished;

    int exitCode() const;

private:
    void checkRepair();
    void checkVote();
    void checkStore(const UnitSurvey::Store &store);
    void checkCache(const UnitSurvey::Store &store);
    void checkHardware();
    void add(const QString &store, const QString &problem, const QString &fix,
             const QString &advice = QString(), bool malformed = false);
    QString provisionCommand(const QString &key) const;
    QString agreedSerial() const;
    QString cacheFix() const;

    const UnitSurvey &m_survey;
    QList<hmi::SerialVote::Candidate> m_candidates;
};

Check::Check(const UnitSurvey &survey)
    : m_survey(survey)
    , m_candidates(survey.vote().candidates())
{
    checkRepair();
    checkVote();
    for (const UnitSurvey::Store &store : survey.stores())
        checkStore(store);
    checkHardware();
}

int Check::exitCode() const
{
    int code = Success;
    for (const Finding &finding : findings)
        code = qMax(code, int(finding.malformed ? Malformed : Problem));
    return code;
}

void Check::add(const QString &store, const QString &problem, const QString &fix, const QString &advice,
                bool malformed)
{
    Finding finding;
    finding.store = store;
    finding.problem = problem;
    finding.fix = fix;
    finding.advice = advice;
    finding.malformed = malformed;
    findings.append(finding);
}

// The serial the voting stores agree on, when it is a real one.
QString Check::agreedSerial() const
{
    const QString serial = m_survey.vote().agreedSerial();
    return SerialForm::isWellFormed(serial) ? serial : QString();
}

// The part of the unit that a record field identifies: replacing one part changes only its own fields.
QString partOf(const QString &field)
{
    return field == QLatin1String("com") ? QString::fromLatin1("mac") : field;
}

// Every record naming other hardware in more than one part of the unit is no replaced part but another
// unit's identity (a backup of another unit, or the boards of another unit), which no single store's repair
// should make this unit's.
bool isAnotherUnit(const UnitSurvey &survey, const QList<IdentityCheck::Mismatch> &mismatches)
{
    QStringList stores;
    QStringList parts;
    for (const IdentityCheck::Mismatch &mismatch : mismatches) {
        if (!stores.contains(mismatch.store))
            stores.append(mismatch.store);
        if (!parts.contains(partOf(mismatch.field)))
            parts.append(partOf(mismatch.field));
    }
    int records = 0;
    for (const UnitSurvey::Store &store : survey.stores())
        records += store.holdsRecord() ? 1 : 0;
    return stores.size() == records && records > 1 && parts.size() > 1;
}

// Root may write the cache's directory unless its file system is read-only.
bool cacheWritable()
{
    return ::geteuid() != 0 || ::access(QFile::encodeName(StateFiles::directory()).constData(), W_OK) == 0;
}

// "cache write" takes the serial that the boards agree on; without one, clearing lets discovery write it
// later.
QString Check::cacheFix() const
{
    const UnitSurvey boards(false);
    return SerialForm::isWellFormed(boards.vote().agreedSerial())
        ? QString::fromLatin1("qorhwinfo cache write")
        : QString::fromLatin1("qorhwinfo cache clear");
}

QString Check::provisionCommand(const QString &key) const
{
    QString command = QString::fromLatin1("qorhwinfo provision %1 --unit %2").arg(key, agreedSerial());
    const uint ownSerial = m_survey.boardSerial(key);
    if (key != QLatin1String("com") && ownSerial != 0)
        command += QString::fromLatin1(" --serial %1").arg(ownSerial);
    return command;
}

void Check::checkRepair()
{
    unfinished = RepairJournal::read();
    if (!unfinished.exists())
        return;
    const QString undo = unfinished.backup.isEmpty()
        ? QString()
        : QString::fromLatin1("or \"qorhwinfo restore %1\" puts the unit back as it was before it")
              .arg(unfinished.backup);
    add(QString(),
        QString::fromLatin1("a repair did not finish: \"%1\", begun %2")
            .arg(unfinished.command, unfinished.time),
        unfinished.command.startsWith(QLatin1String("qorhwinfo ")) ? unfinished.command : QString(), undo);
}

void Check::checkVote()
{
    if (m_candidates.isEmpty()) {
        add(QString(), QLatin1String("no store names a unit serial"), QString(),
            QLatin1String("no automatic repair: take the unit serial from the unit's label, then \"qorhwinfo "
                          "provision com --unit SERIAL\" and the same for cb and bf"));
        return;
    }
    if (m_candidates.size() == 1)
        return;
    QStringList serials;
    QString best;
    for (const hmi::SerialVote::Candidate &candidate : m_candidates) {
        serials.append(SerialForm::display(candidate.serial));
        if (best.isNull() && SerialForm::isWellFormed(candidate.serial))
            best = candidate.serial;
    }
    const QString problem
        = QString::fromLatin1("the stores disagree: they name %1 different serials (%2)%3")
              .arg(m_candidates.size())
              .arg(serials.join(QLatin1String(", ")))
              .arg(m_candidates.first().tied ? QLatin1String(", tied for the most votes") : QString());
    if (m_candidates.first().tied || best.isNull()) {
        add(QString(), problem, QString(),
            QLatin1String(
                "the votes cannot tell which is right: take the unit serial from the unit's label, then "
                "\"qorhwinfo resolve SERIAL\""));
        return;
    }
    add(QString(), problem, QLatin1String("qorhwinfo resolve ") + best,
        QLatin1String("check it against the unit's label first"));
}

void Check::checkStore(const UnitSurvey::Store &store)
{
    if (store.key == hmi::SerialVote::cacheStoreKey()) {
        checkCache(store);
        return;
    }
    const bool voting = hmi::SerialVote::isVoting(store.key);
    if (store.holdsRecord() && !SerialForm::isWellFormed(store.unit())) {
        const QString problem
            = QString::fromLatin1("the %1 names the malformed unit serial %2 (not \"I\" and six digits)")
                  .arg(store.label, SerialForm::display(store.unit()));
        if (!voting)
            add(store.key, problem, agreedSerial().isNull() ? QString() : provisionCommand(store.key),
                QString(), true);
        else if (m_candidates.size() < 2)
            add(store.key, problem, QString(),
                QLatin1String("no store names a well-formed serial: take it from the unit's label, then "
                              "\"qorhwinfo resolve SERIAL --force\""),
                true);
        else
            add(store.key, problem, QString(), QLatin1String("resolving the disagreement above rewrites it"),
                true);
        return;
    }
    if (store.unreadable()) {
        add(store.key, store.problemText(), QString(),
            QLatin1String(
                "its memory does not answer: check that the board is fitted and connected, or replace "
                "it; nothing can be written to it from here"));
        return;
    }
    const bool needsRecord = voting ? !store.holdsRecord() : !store.loaded();
    if (!needsRecord)
        return;
    if (!agreedSerial().isNull())
        add(store.key, store.problemText(), provisionCommand(store.key));
    else if (m_candidates.size() > 1)
        add(store.key, store.problemText(), QString(),
            QLatin1String("resolve the disagreement first, then provision it"));
    else
        add(store.key, store.problemText(), QString(),
            QString::fromLatin1(
                "take the unit serial from the unit's label, then \"qorhwinfo provision %1 --unit "
                "SERIAL\"")
                .arg(store.key));
}

void Check::checkCache(const UnitSurvey::Store &store)
{
    if (!QDir(StateFiles::directory()).exists()) {
        add(store.key, QString::fromLatin1("the directory %1 is missing").arg(StateFiles::directory()),
            QString(),
            QLatin1String(
                "the system provides it: run \"systemd-tmpfiles --create\" as root, or reinstall the "
                "package"));
        return;
    }
    if (store.content == hmi::StoreLoad::Missing) {
        notes.append(QLatin1String("no serials cache file yet: the next discovery writes it"));
        return;
    }
    if (store.holdsRecord() && SerialForm::isWellFormed(store.unit()))
        return;
    const QString problem = store.holdsRecord()
        ? QString::fromLatin1("the %1 names the malformed unit serial %2")
              .arg(store.label, SerialForm::display(store.unit()))
        : store.problemText();
    if (!cacheWritable()) {
        add(store.key, problem, QString(),
            QString::fromLatin1(
                "the directory %1 cannot be written (a read-only file system?): make it writable for "
                "root, then \"%2\"")
                .arg(StateFiles::directory(), cacheFix()),
            store.holdsRecord());
        return;
    }
    add(store.key, problem, cacheFix(), QString(), store.holdsRecord());
}

void Check::checkHardware()
{
    mismatches = IdentityCheck::check(m_survey);
    if (mismatches.isEmpty())
        return;
    if (isAnotherUnit(m_survey, mismatches)) {
        add(QString(),
            QLatin1String("every record names other hardware than this unit's: they belong to another unit"),
            QString(),
            QLatin1String(
                "restore a backup of this unit (\"qorhwinfo backup list\"), or take the unit serial from "
                "the unit's label and \"qorhwinfo resolve SERIAL --force\""));
        for (const IdentityCheck::Mismatch &mismatch : mismatches)
            notes.append(mismatch.sentence);
        return;
    }
    for (const IdentityCheck::Mismatch &mismatch : mismatches) {
        const UnitSurvey::Store store = m_survey.store(mismatch.store);
        QString fix;
        if (mismatch.store == hmi::SerialVote::cacheStoreKey())
            fix = cacheFix();
        else if (!agreedSerial().isNull())
            fix = provisionCommand(mismatch.store);
        add(mismatch.store, mismatch.sentence, fix,
            fix.isEmpty()
                ? QLatin1String("resolve the disagreement first: it rewrites the record with this unit's "
                                "hardware")
                : QString());
    }
}

void printText(const UnitSurvey &survey, const Check &check)
{
    QTextStream out(stdout);
    const QList<hmi::SerialVote::Candidate> candidates = survey.vote().candidates();
    out << ReportText::padded(QLatin1String("Unit serial"), 17);
    if (candidates.size() == 1) {
        const hmi::SerialVote::Candidate &agreed = candidates.first();
        out << SerialForm::display(agreed.serial) << "  (" << ReportText::votes(agreed.voters.size()) << ": "
            << agreed.voters.join(QLatin1String(", ")) << ")"
            << (SerialForm::isWellFormed(agreed.serial) ? "" : "  MALFORMED") << '\n';
    } else {
        out << (candidates.isEmpty() ? "none: no store names one\n" : "none: the stores disagree\n");
    }
    out << "\nStores\n";
    for (const UnitSurvey::Store &store : survey.stores()) {
        QString line = ReportText::padded(store.key, 6) + ReportText::padded(store.label, 21)
            + ReportText::padded(store.stateText(), 15);
        if (store.holdsRecord())
            line += SerialForm::display(store.unit())
                + QLatin1String(SerialForm::isWellFormed(store.unit()) ? "" : "  MALFORMED");
        if (!hmi::SerialVote::isVoting(store.key))
            line += QLatin1String("(does not vote)");
        out << "  " << line.trimmed() << '\n';
    }
    if (candidates.size() > 1) {
        out << "\nCandidates, most votes first, tied ones by serial\n";
        for (const hmi::SerialVote::Candidate &candidate : candidates) {
            out << "  " << SerialForm::display(candidate.serial).leftJustified(10, QLatin1Char(' '))
                << ReportText::votes(candidate.voters.size()) << ": "
                << candidate.voters.join(QLatin1String(", ")) << (candidate.tied ? "  (tied)" : "") << '\n';
        }
    }
    for (const QString &note : check.notes)
        out << "\nNote: " << TerminalText::escaped(note) << '\n';
    if (check.findings.isEmpty()) {
        out << "\nNo problem found.\n";
        return;
    }
    out << "\nFindings\n";
    int number = 0;
    for (const Finding &finding : check.findings) {
        out << "  " << ++number << ". " << (finding.malformed ? "MALFORMED: " : "")
            << TerminalText::escaped(finding.problem) << '\n';
        if (!finding.fix.isEmpty())
            out << "     Fix: " << TerminalText::escaped(finding.fix) << '\n';
        if (!finding.advice.isEmpty())
            out << "     " << (finding.fix.isEmpty() ? "No command can repair it here: " : "Note: ")
                << TerminalText::escaped(finding.advice) << '\n';
    }
}

void printJson(const UnitSurvey &survey, const Check &check)
{
    json_t *root = Json::document();
    const hmi::SerialVote &vote = survey.vote();
    Json::set(root, "unitSerial", Json::text(vote.agreedSerial()));
    Json::set(root, "candidates", Json::candidates(vote.candidates()));
    json_t *stores = json_object();
    for (const UnitSurvey::Store &store : survey.stores()) {
        json_t *entry = json_object();
        Json::set(entry, "label", Json::text(store.label));
        Json::set(entry, "state", Json::text(store.stateText()));
        Json::set(entry, "unit", store.holdsRecord() ? Json::text(store.unit()) : json_null());
        Json::set(entry, "wellFormed",
                  store.holdsRecord() ? Json::boolean(SerialForm::isWellFormed(store.unit())) : json_null());
        Json::set(entry, "votes", Json::boolean(hmi::SerialVote::isVoting(store.key)));
        Json::set(entry, "error", store.deviceError.isEmpty() ? json_null() : Json::text(store.deviceError));
        Json::set(stores, store.key, entry);
    }
    Json::set(root, "stores", stores);
    Json::set(root, "otherHardware", Json::mismatches(check.mismatches));
    Json::set(root, "unfinishedRepair", Json::unfinishedRepair(check.unfinished));
    json_t *findings = json_array();
    for (const Finding &finding : check.findings) {
        json_t *entry = json_object();
        Json::set(entry, "store", finding.store.isEmpty() ? json_null() : Json::text(finding.store));
        Json::set(entry, "problem", Json::text(finding.problem));
        Json::set(entry, "fix", finding.fix.isEmpty() ? json_null() : Json::text(finding.fix));
        Json::set(entry, "advice", finding.advice.isEmpty() ? json_null() : Json::text(finding.advice));
        Json::set(entry, "malformed", Json::boolean(finding.malformed));
        Json::append(findings, entry);
    }
    Json::set(root, "findings", findings);
    Json::set(root, "notes", Json::texts(check.notes));
    Json::set(root, "exitCode", Json::number(check.exitCode()));
    Json::print(root);
}

MetricsFile::Unit metricsOf(const UnitSurvey &survey, const Check &check)
{
    MetricsFile::Unit unit;
    unit.serial = survey.vote().agreedSerial();
    unit.mac = survey.mac();
    unit.comSerial = survey.comSerial();
    unit.fpgaUid = survey.fpgaUid();
    unit.cbSerial = survey.boardSerial(QLatin1String("cb"));
    unit.bfSerial = survey.boardSerial(QLatin1String("bf"));
    for (const UnitSurvey::Store &store : survey.stores()) {
        MetricsFile::Store entry;
        entry.key = store.key;
        entry.verdict = store.stateText();
        entry.holdsRecord = store.holdsRecord();
        // As discovery marks them: a blank COM memory or a missing cache file is no error.
        entry.error = !store.loaded()
            && (store.key == QLatin1String("bf") || store.key == QLatin1String("cb")
                || store.key == QLatin1String("ut"));
        unit.stores.append(entry);
    }
    unit.candidates = survey.vote().candidates().size();
    unit.otherHardware = check.mismatches.size();
    unit.problems = check.findings.size();
    unit.unfinishedRepair = check.unfinished.exists();
    return unit;
}

} // namespace

int Commands::check(const Options &options)
{
    const UnitSurvey survey;
    const Check check(survey);
    if (options.json)
        printJson(survey, check);
    else
        printText(survey, check);
    if (!options.metricsFile.isEmpty()) {
        QString error;
        if (!MetricsFile::write(options.metricsFile, metricsOf(survey, check), &error)) {
            TerminalText::printError(error);
            return qMax(check.exitCode(), int(WriteFailed));
        }
    }
    return check.exitCode();
}
