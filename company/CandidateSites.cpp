#include "company/CandidateSites.h"

using namespace Qt::Literals::StringLiterals;

namespace company {
namespace {

QString Enclosed(const QString& site)
{
    return u';' + site + u';';
}

} // namespace

bool IsCandidate(const QString& list, const QString& site)
{
    return list.contains(Enclosed(site));
}

QString TransferCandidate(const QString& list, const QString& ownSite, const QString& newSite)
{
    if (IsCandidate(list, newSite))
        return list;
    if (IsCandidate(list, ownSite)) {
        QString result = list;
        return result.replace(Enclosed(ownSite), u";"_s) + newSite + u';';
    }
    const qsizetype last = list.lastIndexOf(u';');
    const qsizetype secondLast = last > 0 ? list.lastIndexOf(u';', last - 1) : -1;
    if (secondLast < 0)
        return list;
    return list.left(secondLast) + u';' + list.mid(last + 1) + newSite + u';';
}

QString CandidateLengthMessage(int length)
{
    if (length <= kMaxCandidateText)
        return {};
    return u"详细：转单以后\"可接单网点\"长度为\"%1\"，超过\"200\"个字符的最大长度！"_s.arg(length);
}

QStringView SoleCandidate(QStringView list)
{
    if (list.size() < 3 || list.front() != u';' || list.back() != u';')
        return {};
    const QStringView site = list.sliced(1, list.size() - 2);
    return site.contains(u';') ? QStringView() : site;
}

} // namespace company
