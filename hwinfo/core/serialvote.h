#ifndef QORHWINFO_CORE_SERIALVOTE_H
#define QORHWINFO_CORE_SERIALVOTE_H

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace hmi {

/**
 * The vote on the unit serial: which stores vote, in which order they are counted, and the order of the
 * candidates. A null and an empty serial count as the same serial.
 */
class SerialVote
{
public:
    /** A voted serial with the stores that named it. */
    struct Candidate
    {
        Candidate()
            : tied(false)
        { }

        QString serial;
        /** Keys of the stores that named it, in the order they voted. */
        QStringList voters;
        /** Another candidate has as many votes. */
        bool tied;
    };

    /** "bf", "cb", "com" and "file", in the order their votes are cast; the mono-element board never votes.
     */
    static QStringList votingStoreKeys();
    static bool isVoting(const QString &storeKey);
    /** The key of the serials cache file's store, the one store that discovery writes. */
    static QString cacheStoreKey();

    /** One vote of the store @p storeKey for @p serial. */
    void cast(const QString &storeKey, const QString &serial);

    bool isEmpty() const { return m_counts.isEmpty(); }
    /**
     * The voted serials by descending votes, equal counts in the vote table's own iteration order: the
     * order the library reports in probableSerials().
     */
    QList<QString> probableSerials() const;
    /**
     * The candidates by descending votes and, among equal votes, by serial: an order that does not change
     * from run to run, for people and scripts.
     */
    QList<Candidate> candidates() const;
    /** The serial of the only candidate; a null QString when there are none or several. */
    QString agreedSerial() const;

private:
    QHash<QString, int> m_counts;
    QList<QPair<QString, QString> > m_ballots;
};

} // namespace hmi

#endif
