#ifndef QORHWINFO_TOOL_CHECKCOMMAND_H
#define QORHWINFO_TOOL_CHECKCOMMAND_H

#include "unitsurvey.h"

#include <QList>
#include <QString>

class CommandLine;

/**
 * "qorhwinfo check": every store loaded as discovery loads it, and what is wrong with them, each finding
 * with the command that repairs it. Writes nothing.
 */
class CheckCommand
{
public:
    struct Finding
    {
        QString store; ///< the store's key; empty for the unit as a whole
        QString problem;
        QString fix;
        bool malformed = false;
    };

    explicit CheckCommand(const UnitSurvey &survey);

    QList<Finding> findings() const { return m_findings; }
    int exitCode() const;

    static int run(const CommandLine &options);

private:
    void checkStore(const UnitSurvey::Store &store);
    void checkVote();
    void add(const QString &store, const QString &problem, const QString &fix, bool malformed = false);
    QString suggestedSerial() const;

    void printText() const;
    void printJson() const;

    const UnitSurvey &m_survey;
    QList<Finding> m_findings;
    QStringList m_notes;
};

#endif
