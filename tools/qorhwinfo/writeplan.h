#ifndef QORHWINFO_TOOL_WRITEPLAN_H
#define QORHWINFO_TOOL_WRITEPLAN_H

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

class CommandLine;
class UnitSurvey;

/**
 * The writes of one repairing command, carried out the same way whichever command planned them: shown
 * first, confirmed (on a terminal, or by --yes), the images they replace backed up, written one by one
 * and each read back; the first failure stops the rest and says where the backup is.
 */
class WritePlan
{
public:
    enum Kind { RecordWrite, CacheRecordWrite, CacheRemoval, ImageWrite };

    struct Step
    {
        Kind kind = RecordWrite;
        QString key;
        /** What the store holds now and what it will hold, for people. */
        QString from;
        QString to;
        QVariantMap record;
        QByteArray image;
    };

    WritePlan(const QString &command, const UnitSurvey &survey);

    void add(const Step &step) { m_steps.append(step); }
    /** A remark shown with the plan, e.g. a store left alone and why. */
    void note(const QString &text) { m_notes.append(text); }
    bool isEmpty() const { return m_steps.isEmpty(); }

    /** Confirms, backs up, writes, verifies and reports; the exit status. */
    int execute(const CommandLine &options);
    /** Reports that the command refused before planning anything; the exit status @p exitCode. */
    int refuse(const CommandLine &options, const QString &reason, int exitCode);

private:
    enum Outcome { NothingToDo, Done, RefusedOutcome, Failed };

    bool confirm(const CommandLine &options, QString *refusal) const;
    bool backUp(const QString &root, QString *error);
    bool run(int index, QString *error);
    int report(const CommandLine &options, Outcome outcome, const QString &message) const;
    void printText(Outcome outcome, const QString &message) const;
    void printJson(Outcome outcome, const QString &message) const;
    QString deviceText(const QString &key) const;

    QString m_command;
    const UnitSurvey &m_survey;
    QList<Step> m_steps;
    QStringList m_notes;
    QString m_backupDirectory;
    int m_done;
    int m_failed;
};

#endif
