#include "checkcommand.h"

#include "commandline.h"
#include "exitcode.h"
#include "jsonvalue.h"
#include "serialform.h"

#include <QTextStream>

namespace {

QString votesText(int votes)
{
    return votes == 1 ? QString::fromLatin1("1 vote") : QString::fromLatin1("%1 votes").arg(votes);
}

QString padded(const QString &text, int width)
{
    return text.leftJustified(width, QLatin1Char(' '));
}

} // namespace

CheckCommand::CheckCommand(const UnitSurvey &survey)
    : m_survey(survey)
{
    for (const UnitSurvey::Store &store : survey.stores())
        checkStore(store);
    checkVote();
}

int CheckCommand::run(const CommandLine &options)
{
    const UnitSurvey survey;
    const CheckCommand check(survey);
    if (options.json())
        check.printJson();
    else
        check.printText();
    return check.exitCode();
}

int CheckCommand::exitCode() const
{
    int code = Success;
    for (const Finding &finding : m_findings)
        code = qMax(code, int(finding.malformed ? Malformed : Problem));
    return code;
}

// The serial a person most likely wants: the best well-formed candidate.
QString CheckCommand::suggestedSerial() const
{
    for (const VoteCount::Candidate &candidate : m_survey.votes().candidates()) {
        if (candidate.wellFormed)
            return candidate.serial;
    }
    return QLatin1String("SERIAL");
}

void CheckCommand::add(const QString &store, const QString &problem, const QString &fix, bool malformed)
{
    Finding finding;
    finding.store = store;
    finding.problem = problem;
    finding.fix = fix;
    finding.malformed = malformed;
    m_findings.append(finding);
}

void CheckCommand::checkStore(const UnitSurvey::Store &store)
{
    const bool cache = store.key == QLatin1String("file");
    const bool board = !cache && store.key != QLatin1String("com");
    const QString serial = suggestedSerial();
    const QString provision
        = QString::fromLatin1("qorhwinfo inspect %1 shows what it holds; a replaced board: "
                              "qorhwinfo provision %1 --unit %2%3")
              .arg(store.key, serial, board ? QLatin1String(" --serial N") : QString());
    if (store.holdsRecord() && !SerialForm::isWellFormed(store.unit())) {
        const QString fix = UnitSurvey::isVoting(store.key)
            ? QString::fromLatin1("qorhwinfo resolve %1 (with the unit's real serial)").arg(serial)
            : QString::fromLatin1("qorhwinfo provision %1 --unit %2").arg(store.key, serial);
        add(store.key,
            QString::fromLatin1("%1 names the malformed unit serial %2 (not \"I\" and six digits)")
                .arg(store.label, SerialForm::display(store.unit())),
            fix, true);
    }
    if (cache) {
        if (store.state == UnitSurvey::Missing)
            m_notes.append(QLatin1String("no serials cache file yet: the next discovery writes it"));
        else if (!store.loaded())
            add(store.key, store.failure,
                QLatin1String(
                    "qorhwinfo cache write, or qorhwinfo cache clear and let the next discovery write it"));
        return;
    }
    if (!store.loaded())
        add(store.key, store.failure, provision);
    else if (store.state == UnitSurvey::NoRecord && UnitSurvey::isVoting(store.key))
        add(store.key, QString::fromLatin1("%1 holds no identity record").arg(store.label), provision);
}

void CheckCommand::checkVote()
{
    const QList<VoteCount::Candidate> candidates = m_survey.votes().candidates();
    if (candidates.isEmpty()) {
        add(QString(), QLatin1String("no store names a unit serial"),
            QLatin1String("qorhwinfo provision STORE --unit SERIAL for the board stores"));
    } else if (candidates.size() > 1) {
        const bool tied = candidates.at(0).tied;
        add(QString(),
            QString::fromLatin1("the stores disagree: they name %1 different serials%2")
                .arg(candidates.size())
                .arg(tied ? QLatin1String(", tied for the most votes") : QString()),
            QString::fromLatin1("qorhwinfo resolve %1 (with the unit's real serial)").arg(suggestedSerial()));
    }
}

void CheckCommand::printText() const
{
    QTextStream out(stdout);
    const QList<VoteCount::Candidate> candidates = m_survey.votes().candidates();
    out << padded(QLatin1String("Unit serial"), 17);
    if (candidates.size() == 1) {
        const VoteCount::Candidate &agreed = candidates.first();
        out << SerialForm::display(agreed.serial) << "  (" << votesText(agreed.voters.size()) << ": "
            << agreed.voters.join(QLatin1String(", ")) << ")" << (agreed.wellFormed ? "" : "  MALFORMED")
            << '\n';
    } else if (candidates.isEmpty()) {
        out << "none: no store names one\n";
    } else {
        out << "none: the stores disagree\n";
    }
    out << "\nStores\n";
    for (const UnitSurvey::Store &store : m_survey.stores()) {
        QString line
            = padded(store.key, 6) + padded(store.label, 21) + padded(UnitSurvey::stateText(store.state), 11);
        if (store.holdsRecord())
            line += SerialForm::display(store.unit())
                + QLatin1String(SerialForm::isWellFormed(store.unit()) ? "" : "  MALFORMED");
        if (!UnitSurvey::isVoting(store.key))
            line += QLatin1String("(does not vote)");
        out << "  " << line.trimmed() << '\n';
    }
    if (candidates.size() > 1) {
        out << "\nCandidates, most votes first, tied ones by serial\n";
        for (const VoteCount::Candidate &candidate : candidates) {
            out << "  " << padded(SerialForm::display(candidate.serial), 10)
                << votesText(candidate.voters.size()) << ": " << candidate.voters.join(QLatin1String(", "))
                << (candidate.tied ? "  (tied)" : "") << '\n';
        }
    }
    for (const QString &note : m_notes)
        out << "\nNote: " << note << '\n';
    if (m_findings.isEmpty()) {
        out << "\nNo problem found.\n";
        return;
    }
    out << "\nFindings\n";
    int number = 0;
    for (const Finding &finding : m_findings) {
        out << "  " << ++number << ". " << (finding.malformed ? "MALFORMED: " : "") << finding.problem
            << '\n';
        out << "     Fix: " << finding.fix << '\n';
    }
}

void CheckCommand::printJson() const
{
    json_t *root = Json::document();
    const VoteCount votes = m_survey.votes();
    Json::set(root, "unitSerial", Json::text(votes.agreedSerial()));
    Json::set(root, "candidates", Json::candidates(votes.candidates()));
    json_t *stores = json_object();
    for (const UnitSurvey::Store &store : m_survey.stores()) {
        json_t *entry = json_object();
        Json::set(entry, "label", Json::text(store.label));
        Json::set(entry, "state", Json::text(UnitSurvey::stateText(store.state)));
        Json::set(entry, "unit", store.holdsRecord() ? Json::text(store.unit()) : json_null());
        Json::set(entry, "wellFormed",
                  store.holdsRecord() ? Json::boolean(SerialForm::isWellFormed(store.unit())) : json_null());
        Json::set(entry, "votes", Json::boolean(UnitSurvey::isVoting(store.key)));
        Json::set(entry, "error", Json::text(store.failure));
        Json::set(stores, store.key.toLatin1().constData(), entry);
    }
    Json::set(root, "stores", stores);
    json_t *findings = json_array();
    for (const Finding &finding : m_findings) {
        json_t *entry = json_object();
        Json::set(entry, "store", finding.store.isEmpty() ? json_null() : Json::text(finding.store));
        Json::set(entry, "problem", Json::text(finding.problem));
        Json::set(entry, "fix", Json::text(finding.fix));
        Json::set(entry, "malformed", Json::boolean(finding.malformed));
        Json::append(findings, entry);
    }
    Json::set(root, "findings", findings);
    Json::set(root, "notes", Json::texts(m_notes));
    Json::print(root);
}
