#include "dispatch/AddressMatch.h"

#include "module/data/DelimitedText.h"
#include "module/data/SqlText.h"

#include <QStringBuilder>

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

// A text between its quotes.
QString Inside(const QString& text)
{
    return text.contains(u'\'') ? QuotedStr(text).sliced(1).chopped(1) : text;
}

QString InsideWithoutLast(const QString& text)
{
    return Inside(text.left(text.size() - 1));
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

// The builder measures all parts before it copies them: one is asked for each order of a list.
QString AreaQuery(const TDeliveryAddress& to, const TAddressPieces& pieces)
{
    QString town;
    if (!pieces.town.isEmpty())
        town = u" and a.TOWN = '" % Inside(pieces.town) % u'\'';
    QString road;
    if (!pieces.road.isEmpty() && pieces.town.isEmpty())
        road = u" and a.ROAD_NAME like '%" % Inside(pieces.road) % u"%'";
    else if (!pieces.road.isEmpty())
        road = u" and a.ROAD_NAME = '" % Inside(pieces.road) % u'\'';
    QString houses;
    if (pieces.number > -1) {
        const QString number = QString::number(pieces.number);
        houses = u" and a.STARTNO <= " % number % u" and a.ENDNO >= " % number
            % (pieces.number % 2 == 0 ? u" and a.BL_NO in (0,2) " : u" and a.BL_NO in (0,1) ");
    }
    return u"select /*+index(a,)*/ a.SITE_NAME from TAB_AREA_DETAIL a where 1=1  and (a.PROVICE='"
        % Inside(to.province) % u"' or a.PROVICE='" % InsideWithoutLast(to.province) % u"') and (a.CITY='"
        % Inside(to.city) % u"' or a.CITY='" % InsideWithoutLast(to.city) % u"') and a.COUNTY = '"
        % Inside(to.county) % u'\'' % town % road % houses % u" and rownum=1 ";
}

namespace {

// Asked for anew with every order, and hardly ever another than the one before.
const QStringList& Words(TKeywordLevel level, const QString& list)
{
    struct Split {
        QString list;
        QStringList words;
    };
    static thread_local std::array<Split, 3> last;
    Split& split = last[size_t(level)];
    if (split.list != list)
        split = {list, SplitDelimited(list)};
    return split.words;
}

} // namespace

QString FindDeliverySite(const TDeliveryAddress& to, const TLookUp& lookUp)
{
    if (to.address.trimmed().isEmpty())
        return {};
    const auto keywords = [&](TKeywordLevel level) { return Words(level, lookUp(KeywordsQuery(level))); };
    const TKeywords known{
        .number = keywords(TKeywordLevel::Number),
        .road = keywords(TKeywordLevel::Road),
        .town = keywords(TKeywordLevel::Town),
    };
    return lookUp(AreaQuery(to, CutAddress(to.address, FindKeywords(to.address, known))));
}
