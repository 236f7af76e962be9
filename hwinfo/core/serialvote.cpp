#include "serialvote.h"

#include <algorithm>

namespace hmi {

namespace {

const char *const votingKeys[] = { "bf", "cb", "com", "file" };
const int votingKeyCount = 4;

bool byVotesThenSerial(const SerialVote::Candidate &a, const SerialVote::Candidate &b)
{
    if (a.voters.size() != b.voters.size())
        return a.voters.size() > b.voters.size();
    return a.serial < b.serial;
}

} // namespace

QStringList SerialVote::votingStoreKeys()
{
    QStringList keys;
    for (int i = 0; i < votingKeyCount; ++i)
        keys.append(QLatin1String(votingKeys[i]));
    return keys;
}

bool SerialVote::isVoting(const QString &storeKey)
{
    for (int i = 0; i < votingKeyCount; ++i) {
        if (storeKey == QLatin1String(votingKeys[i]))
            return true;
    }
    return false;
}

QString SerialVote::cacheStoreKey()
{
    return QLatin1String("file");
}

void SerialVote::cast(const QString &storeKey, const QString &serial)
{
    ++m_counts[serial];
    m_ballots.append(qMakePair(storeKey, serial));
}

QList<QString> SerialVote::probableSerials() const
{
    QHash<QString, int> counts = m_counts;
    QList<QString> serials;
    while (!counts.isEmpty()) {
        QString best;
        int bestCount = 0;
        for (QHash<QString, int>::const_iterator it = counts.constBegin(); it != counts.constEnd(); ++it) {
            if (it.value() > bestCount) {
                best = it.key();
                bestCount = it.value();
            }
        }
        counts.remove(best);
        serials.append(best);
    }
    return serials;
}

QList<SerialVote::Candidate> SerialVote::candidates() const
{
    QList<Candidate> candidates;
    for (int i = 0; i < m_ballots.size(); ++i) {
        const QString &serial = m_ballots.at(i).second;
        int at = 0;
        while (at < candidates.size() && candidates.at(at).serial != serial)
            ++at;
        if (at == candidates.size()) {
            candidates.append(Candidate());
            candidates.last().serial = serial;
        }
        candidates[at].voters.append(m_ballots.at(i).first);
    }
    std::stable_sort(candidates.begin(), candidates.end(), byVotesThenSerial);
    for (int i = 0; i + 1 < candidates.size(); ++i) {
        if (candidates.at(i).voters.size() == candidates.at(i + 1).voters.size())
            candidates[i].tied = candidates[i + 1].tied = true;
    }
    return candidates;
}

QString SerialVote::agreedSerial() const
{
    return m_counts.size() == 1 ? m_counts.constBegin().key() : QString();
}

} // namespace hmi
