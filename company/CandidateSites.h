#pragma once

#include <QString>

// The list of sites that may accept an order, as PREPARE_SITE holds it: every name between semicolons, single
// semicolons between names (";A;B;"). Searches take the enclosing semicolons along, so a site never matches
// inside another's name.
namespace company {

inline constexpr int kMaxCandidateText = 200; // characters of the whole text

bool IsCandidate(const QString& list, const QString& site);

// The list after `ownSite` hands the order on to `newSite`: the own entry gives way to the new one; where the
// own site is no candidate (headquarters moving an order), the last candidate does. The same text where the
// new site is a candidate already. Lengths are not checked here.
QString TransferCandidate(const QString& list, const QString& ownSite, const QString& newSite);

// What the user is told of a list that would grow to `length` characters; empty when it may.
QString CandidateLengthMessage(int length);

// The only site of the list; empty for none or several.
QStringView SoleCandidate(QStringView list);

// Some site of the list satisfies the predicate, which takes its name.
template <typename Predicate> bool AnyCandidate(QStringView list, Predicate&& predicate)
{
    qsizetype begin = list.indexOf(u';') + 1;
    if (begin == 0)
        return false;
    for (qsizetype end = list.indexOf(u';', begin); end >= 0; end = list.indexOf(u';', begin)) {
        if (predicate(list.sliced(begin, end - begin)))
            return true;
        begin = end + 1;
    }
    return false;
}

} // namespace company
