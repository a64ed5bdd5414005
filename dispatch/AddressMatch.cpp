#include "dispatch/AddressMatch.h"

#include "module/data/DelimitedText.h"
#include "module/data/SqlText.h"

#include <array>

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

constexpr qsizetype kAreaQueryLength = 480; // room for most, so that a text grows in place

void AddQuoted(QString& sql, QStringView text)
{
    if (text.contains(u'\''))
        sql += QuotedStr(text.toString());
    else
        sql.append(u'\'').append(text).append(u'\'');
}

void AddWithOrWithoutLast(QString& sql, QStringView column, QStringView region)
{
    sql.append(u" and (a.").append(column).append(u'=');
    AddQuoted(sql, region);
    sql.append(u" or a.").append(column).append(u'=');
    AddQuoted(sql, region.left(region.size() - 1));
    sql.append(u')');
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
    const auto text = [](const QString& below) {
        return u"select /*+index(a,)*/ a.KEYWORD from TAB_QRYKEY  a where a.LEVELNO=(select max(b.LEVELNO)"_s
            + below + u" from TAB_QRYKEY b)"_s;
    };
    static const std::array texts{text({}), text(u"-1"_s), text(u"-2"_s)};
    return texts[size_t(level)];
}

QString AreaQuery(const TDeliveryAddress& to, const TAddressPieces& pieces)
{
    QString sql;
    sql.reserve(kAreaQueryLength);
    sql += u"select /*+index(a,)*/ a.SITE_NAME from TAB_AREA_DETAIL a where 1=1 ";
    AddWithOrWithoutLast(sql, u"PROVICE", to.province);
    AddWithOrWithoutLast(sql, u"CITY", to.city);
    sql += u" and a.COUNTY = ";
    AddQuoted(sql, to.county);
    if (!pieces.town.isEmpty()) {
        sql += u" and a.TOWN = ";
        AddQuoted(sql, pieces.town);
    }
    if (!pieces.road.isEmpty() && pieces.town.isEmpty()) {
        sql += u" and a.ROAD_NAME like ";
        AddQuoted(sql, u'%' + pieces.road + u'%');
    } else if (!pieces.road.isEmpty()) {
        sql += u" and a.ROAD_NAME = ";
        AddQuoted(sql, pieces.road);
    }
    if (pieces.number > -1) {
        const QString number = QString::number(pieces.number);
        sql.append(u" and a.STARTNO <= ").append(number).append(u" and a.ENDNO >= ").append(number);
        sql += pieces.number % 2 == 0 ? u" and a.BL_NO in (0,2) " : u" and a.BL_NO in (0,1) ";
    }
    sql += u" and rownum=1 ";
    return sql;
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
