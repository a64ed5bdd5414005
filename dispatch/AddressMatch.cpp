#include "dispatch/AddressMatch.h"

#include "module/data/DelimitedText.h"
#include "module/data/SqlText.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// `count` characters from the one at `from`, which counts from 1.
QString Piece(const QString& text, qsizetype from, qsizetype count)
{
    return count > 0 ? text.mid(from - 1, count) : QString();
}

// Where the first keyword of the list that occurs at all begins; 0: none does.
qsizetype FirstPlace(const QString& address, const QStringList& keywords)
{
    for (const QString& keyword : keywords) {
        const qsizetype at = keyword.isEmpty() ? -1 : address.indexOf(keyword);
        if (at >= 0)
            return at + 1;
    }
    return 0;
}

int HouseNumber(const QString& text)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber ? number : -1;
}

QString WithOrWithoutLast(const QString& column, const QString& region)
{
    return u" and (a."_s + column + u'=' + QuotedStr(region) + u" or a."_s + column + u'='
        + QuotedStr(region.left(region.size() - 1)) + u')';
}

} // namespace

TKeywordPlaces FindKeywords(const QString& address, const TKeywords& keywords)
{
    return {
        .number = std::max<qsizetype>(FirstPlace(address, keywords.number) - 1, 0),
        .road = FirstPlace(address, keywords.road),
        .town = FirstPlace(address, keywords.town),
    };
}

TAddressPieces CutAddress(const QString& address, const TKeywordPlaces& places)
{
    TAddressPieces pieces;
    if (places.number > 0) {
        const qsizetype before = places.road > 0 ? places.road : places.town;
        pieces.number = HouseNumber(Piece(address, before + 1, places.number - before));
    }
    if (places.town > 0)
        pieces.town = Piece(address, 1, places.town);
    if (places.road > 0)
        pieces.road = Piece(address, places.town + 1, places.road - places.town);
    return pieces;
}

QString KeywordsQuery(TKeywordLevel level)
{
    const QString below = level == TKeywordLevel::Number ? QString() : u'-' + QString::number(int(level));
    return u"select /*+index(a,)*/ a.KEYWORD from TAB_QRYKEY  a where a.LEVELNO=(select max(b.LEVELNO)"_s
        + below + u" from TAB_QRYKEY b)"_s;
}

QString AreaQuery(const TDeliveryAddress& to, const TAddressPieces& pieces)
{
    QString sql = u"select /*+index(a,)*/ a.SITE_NAME from TAB_AREA_DETAIL a where 1=1 "_s
        + WithOrWithoutLast(u"PROVICE"_s, to.province) + WithOrWithoutLast(u"CITY"_s, to.city)
        + u" and a.COUNTY = "_s + QuotedStr(to.county);
    if (!pieces.town.isEmpty())
        sql += u" and a.TOWN = "_s + QuotedStr(pieces.town);
    if (!pieces.road.isEmpty()) {
        sql += pieces.town.isEmpty() ? u" and a.ROAD_NAME like "_s + QuotedStr(u'%' + pieces.road + u'%')
                                     : u" and a.ROAD_NAME = "_s + QuotedStr(pieces.road);
    }
    if (pieces.number > -1) {
        const QString number = QString::number(pieces.number);
        sql += u" and a.STARTNO <= "_s + number + u" and a.ENDNO >= "_s + number;
        sql += pieces.number % 2 == 0 ? u" and a.BL_NO in (0,2) "_s : u" and a.BL_NO in (0,1) "_s;
    }
    return sql + u" and rownum=1 "_s;
}

QString FindDeliverySite(const TDeliveryAddress& to, const TLookUp& lookUp)
{
    if (to.address.trimmed().isEmpty())
        return {};
    const auto keywords = [&](TKeywordLevel level) { return SplitDelimited(lookUp(KeywordsQuery(level))); };
    const TKeywords known{
        .number = keywords(TKeywordLevel::Number),
        .road = keywords(TKeywordLevel::Road),
        .town = keywords(TKeywordLevel::Town),
    };
    return lookUp(AreaQuery(to, CutAddress(to.address, FindKeywords(to.address, known))));
}
