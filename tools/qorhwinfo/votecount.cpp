#include "votecount.h"

#include "serialform.h"

#include <algorithm>

void VoteCount::cast(const QString &key, const QString &serial)
{
    for (Candidate &candidate : m_candidates) {
        if (candidate.serial == serial) {
            candidate.voters.append(key);
            return;
        }
    }
    Candidate candidate;
    candidate.serial = serial;
    candidate.voters.append(key);
    candidate.wellFormed = SerialForm::isWellFormed(serial);
    m_candidates.append(candidate);
}

QList<VoteCount::Candidate> VoteCount::candidates() const
{
    QList<Candidate> sorted = m_candidates;
    std::sort(sorted.begin(), sorted.end(), [](const Candidate &a, const Candidate &b) {
        if (a.voters.size() != b.voters.size())
            return a.voters.size() > b.voters.size();
        return a.serial < b.serial;
    });
    for (int i = 0; i < sorted.size(); ++i) {
        const int votes = sorted.at(i).voters.size();
        sorted[i].tied = (i > 0 && sorted.at(i - 1).voters.size() == votes)
            || (i + 1 < sorted.size() && sorted.at(i + 1).voters.size() == votes);
    }
    return sorted;
}

QString VoteCount::agreedSerial() const
{
    return m_candidates.size() == 1 ? m_candidates.first().serial : QString();
}
