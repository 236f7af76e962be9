#ifndef QORHWINFO_TOOL_VOTECOUNT_H
#define QORHWINFO_TOOL_VOTECOUNT_H

#include <QList>
#include <QString>
#include <QStringList>

/**
 * The unit serial vote as a person reads it: each candidate with the stores that named it, most votes
 * first and, among equal votes, by serial. The library orders tied candidates as its hash happens to
 * iterate, which changes from run to run; a report must not.
 */
class VoteCount
{
public:
    struct Candidate
    {
        QString serial;
        /** Keys of the stores that named it, in the order they voted. */
        QStringList voters;
        /** Another candidate has as many votes. */
        bool tied = false;
        bool wellFormed = false;
    };

    /** One vote of the store @p key for @p serial; a null and an empty serial are the same, as in the
     * library. */
    void cast(const QString &key, const QString &serial);

    QList<Candidate> candidates() const;
    /** The serial of the only candidate; a null QString when there are none or several. */
    QString agreedSerial() const;

private:
    QList<Candidate> m_candidates;
};

#endif
