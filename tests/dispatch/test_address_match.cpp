#include "demo/Addresses.h"
#include "demo/Regions.h"
#include "dispatch/AddressMatch.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace Qt::Literals::StringLiterals;

namespace {

const TKeywords kKeywords{{u"号"_s, u"弄"_s}, {u"路"_s, u"大道"_s, u"街"_s, u"巷"_s}, {u"镇"_s, u"乡"_s}};

struct CutCase {
    QString address;
    TKeywordPlaces places;
    TAddressPieces pieces;
};

const TDeliveryAddress kTo{u"广东省"_s, u"广州市"_s, u"天河区"_s, {}};
const QString kArea = u"select /*+index(a,)*/ a.SITE_NAME from TAB_AREA_DETAIL a where 1=1  and "
                      "(a.PROVICE='广东省' or a.PROVICE='广东') and (a.CITY='广州市' or a.CITY='广州')"
                      " and a.COUNTY = '天河区'"_s;

// The rules once more, one case after the other.
TAddressPieces CutAgain(const QString& address, const TKeywords& keywords)
{
    const auto place = [&](const QStringList& list) -> qsizetype {
        for (const QString& word : list) {
            for (qsizetype at = 1; at + word.size() - 1 <= address.size(); ++at) {
                if (address.mid(at - 1, word.size()) == word)
                    return at;
            }
        }
        return 0;
    };
    const auto copy = [&](qsizetype from, qsizetype count) {
        QString text;
        for (qsizetype at = from; at < from + count && at <= address.size(); ++at)
            text += address[at - 1];
        return text;
    };
    const qsizetype pn = place(keywords.number) - 1;
    const qsizetype pr = place(keywords.road);
    const qsizetype pt = place(keywords.town);
    TAddressPieces cut;
    bool decimal = false;
    const int number = (pn > 0 && pr > 0 ? copy(pr + 1, pn - pr)
            : pn > 0 && pt > 0           ? copy(pt + 1, pn - pt)
                                         : copy(1, pn))
                           .toInt(&decimal);
    if (pn > 0 && decimal)
        cut.number = number;
    if (pr > 0)
        cut.road = pt > 0 ? copy(pt + 1, pr - pt) : copy(1, pr);
    if (pt > 0)
        cut.town = copy(1, pt);
    return cut;
}

} // namespace

TEST(AddressMatch, CutsAtTheFirstCharacterOfTheKeywords)
{
    const CutCase cases[] = {
        {u"人民路12号"_s, {5, 3, 0}, {12, u"人民路"_s, {}}},
        {u"河东镇人民路12号3栋"_s, {8, 6, 3}, {12, u"人民路"_s, u"河东镇"_s}},
        {u"河东镇12号"_s, {5, 0, 3}, {12, {}, u"河东镇"_s}},
        {u"12号"_s, {2, 0, 0}, {12, {}, {}}},
        {u"河东镇人民路"_s, {0, 6, 3}, {-1, u"人民路"_s, u"河东镇"_s}},
        {u"人民路"_s, {0, 3, 0}, {-1, u"人民路"_s, {}}},
        {u"河东镇"_s, {0, 0, 3}, {-1, {}, u"河东镇"_s}},
        {u"阳光花园"_s, {}, {}},
        // The first of the list, not of the address.
        {u"幸福街人民路5号"_s, {7, 6, 0}, {5, u"幸福街人民路"_s, {}}},
        // The first place of a keyword; one in front of the road's leaves no number.
        {u"3号人民路5号"_s, {1, 5, 0}, {-1, u"3号人民路"_s, {}}},
        // A number keyword at the very beginning is none, and no other is looked for.
        {u"号5弄"_s, {0, 0, 0}, {-1, {}, {}}},
        // The rest of a longer keyword leads the next piece.
        {u"世纪大道7号"_s, {5, 3, 0}, {-1, u"世纪大"_s, {}}},
        {u"人民路甲号"_s, {4, 3, 0}, {-1, u"人民路"_s, {}}},
        {u"人民路12345678901234567890号"_s, {23, 3, 0}, {-1, u"人民路"_s, {}}},
        // A town behind the road.
        {u"人民路河东镇12号"_s, {8, 3, 6}, {-1, {}, u"人民路河东镇"_s}},
    };
    for (const CutCase& each : cases) {
        const TKeywordPlaces places = FindKeywords(each.address, kKeywords);
        EXPECT_EQ(std::tie(places.number, places.road, places.town),
            std::tie(each.places.number, each.places.road, each.places.town))
            << qUtf8Printable(each.address);
        const TAddressPieces cut = CutAddress(each.address, places);
        EXPECT_EQ(cut.number, each.pieces.number) << qUtf8Printable(each.address);
        EXPECT_EQ(cut.road, each.pieces.road) << qUtf8Printable(each.address);
        EXPECT_EQ(cut.town, each.pieces.town) << qUtf8Printable(each.address);
    }
    EXPECT_EQ(FindKeywords(u"人民路"_s, {{}, {QString(), u"路"_s}, {}}).road, 3) << "an empty one is none";
}

TEST(AddressMatch, AsksForTheAreaOfThePieces)
{
    const struct {
        TAddressPieces pieces;
        QString conditions;
    } cases[] = {
        {{}, {}},
        {{12, u"人民路"_s, {}},
            u" and a.ROAD_NAME like '%人民路%' and a.STARTNO <= 12 and a.ENDNO >= 12 and a.BL_NO in (0,2) "_s},
        {{7, u"人民路"_s, u"河东镇"_s},
            u" and a.TOWN = '河东镇' and a.ROAD_NAME = '人民路' and a.STARTNO <= 7 and a.ENDNO >= 7 and "
            "a.BL_NO in (0,1) "_s},
        {{0, {}, u"o'镇"_s},
            u" and a.TOWN = 'o''镇' and a.STARTNO <= 0 and a.ENDNO >= 0 and a.BL_NO in (0,2) "_s},
        {{-1, u"o'路"_s, {}}, u" and a.ROAD_NAME like '%o''路%'"_s},
    };
    for (const auto& each : cases)
        EXPECT_EQ(AreaQuery(kTo, each.pieces), kArea + each.conditions + u" and rownum=1 "_s);
    EXPECT_EQ(AreaQuery({}, {}),
        u"select /*+index(a,)*/ a.SITE_NAME from TAB_AREA_DETAIL a where 1=1  and (a.PROVICE='' or "
        "a.PROVICE='') and (a.CITY='' or a.CITY='') and a.COUNTY = '' and rownum=1 "_s);
}

TEST(AddressMatch, AsksFourTimesAndOfABlankAddressNothing)
{
    QStringList asked;
    const auto lookUp = [&asked](const QString& sqlText) {
        asked += sqlText;
        const QString answers[] = {u"号"_s, u"街, 路"_s, u"\"镇\",乡"_s, u"天河一部"_s};
        return answers[asked.size() - 1];
    };
    TDeliveryAddress to = kTo;
    to.address = u" 　"_s;
    EXPECT_EQ(FindDeliverySite(to, lookUp), QString());
    EXPECT_TRUE(asked.isEmpty());
    to.address = u"河东镇人民路12号"_s;
    EXPECT_EQ(FindDeliverySite(to, lookUp), u"天河一部"_s);
    const QString level =
        u"select /*+index(a,)*/ a.KEYWORD from TAB_QRYKEY  a where a.LEVELNO=(select max(b.LEVELNO)%1 from "
        "TAB_QRYKEY b)"_s;
    EXPECT_EQ(asked,
        QStringList({level.arg(QString()), level.arg(u"-1"_s), level.arg(u"-2"_s),
            kArea
                + u" and a.TOWN = '河东镇' and a.ROAD_NAME = '人民路' and a.STARTNO <= 12 and a.ENDNO >= 12 "
                  "and a.BL_NO in (0,2)  and rownum=1 "_s}));
    EXPECT_EQ(FindDeliverySite(to, [](const QString&) { return QString(); }), QString())
        << "an empty keyword table";
}

TEST(AddressMatch, ASecondReadingOfTheRulesCutsTheDemoAddressesAlike)
{
    demo::Random random(7);
    const auto& cities = demo::AllRegions().cities;
    int numbered = 0;
    for (size_t i = 0; i < 5'000; ++i) {
        const size_t city = i % cities.size();
        const QString address = demo::StreetAddress(
            static_cast<int>(city), static_cast<int>(i % cities[city].counties.size()), random);
        const TAddressPieces once = CutAddress(address, FindKeywords(address, kKeywords));
        ASSERT_EQ(AreaQuery(kTo, once), AreaQuery(kTo, CutAgain(address, kKeywords)))
            << qUtf8Printable(address);
        numbered += once.number > 0 && !once.road.isEmpty() ? 1 : 0;
    }
    EXPECT_GT(numbered, 1'000) << "the addresses are worth it";
}
