#ifndef QORHWINFO_TOOL_WRITEPLAN_H
#define QORHWINFO_TOOL_WRITEPLAN_H

#include "options.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

class UnitSurvey;

/**
 * The writes of one repairing command, carried out the same way whichever command planned them: the whole
 * plan shown first and confirmed (on a terminal, or by --yes), or only shown (--dry-run); the images they
 * replace backed up; a journal written; the stores written one by one, each read back, with the stop
 * signals held until a store is complete; the journal removed and the history appended. The first failure
 * stops the rest and says where the backup is.
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
        /** The unit serials before and after, for the history. */
        QString fromSerial;
        QString toSerial;
        QVariantMap record;
        QByteArray image;
    };

    WritePlan(const QString &command, const UnitSurvey &survey, const Options &options);

    void add(const Step &step) { m_steps.append(step); }
    /** A remark shown with the plan, e.g. a store left alone and why. */
    void note(const QString &text) { m_notes.append(text); }
    bool isEmpty() const { return m_steps.isEmpty(); }

    /** Shows, confirms, backs up, journals, writes, verifies, records and reports; the exit status. */
    int execute();
    /** Reports that the command refused before writing anything; the exit status @p exitCode. */
    int refuse(const QString &reason, int exitCode);

    /** "record of I123456", or what a record without a well-formed serial is. */
    static QString recordText(const QString &unit);

private:
    enum Outcome { NothingToDo, Planned, Done, RefusedOutcome, Failed, Interrupted };

    bool confirm(QString *refusal) const;
    bool backUp(QString *error);
    bool run(int index, QString *error);
    void record(Outcome outcome);
    int report(Outcome outcome, const QString &message) const;
    void printPlan(Outcome outcome) const;
    void printText(Outcome outcome, const QString &message) const;
    void printJson(Outcome outcome, const QString &message) const;
    QString deviceText(const QString &key) const;
    QString stepLine(int index, Outcome outcome) const;

    QString m_command;
    const UnitSurvey &m_survey;
    const Options &m_options;
    QList<Step> m_steps;
    QStringList m_notes;
    QString m_backupDirectory;
    QStringList m_oldChecksums;
    QString m_interruption;
    QString m_warning;
    int m_done;
    int m_failed;
};

#endif
