#include "company/CandidateSites.h"

#include <gtest/gtest.h>

using namespace company;
using namespace Qt::Literals::StringLiterals;

TEST(CandidateSites, ASiteIsFoundOnlyBetweenItsSemicolons)
{
    EXPECT_TRUE(IsCandidate(u";A;B;"_s, u"A"_s));
    EXPECT_TRUE(IsCandidate(u";A;B;"_s, u"B"_s));
    EXPECT_FALSE(IsCandidate(u";AB;C;"_s, u"A"_s));
    EXPECT_FALSE(IsCandidate(u"A;B"_s, u"A"_s));
    EXPECT_FALSE(IsCandidate(QString(), u"A"_s));
}

TEST(CandidateSites, TransferPutsTheNewSiteInThePlaceOfTheOwnOne)
{
    struct Case {
        const char* what;
        QString list, own, target, expected;
    };
    const Case cases[] = {
        {"own site first", u";S;B;"_s, u"S"_s, u"N"_s, u";B;N;"_s},
        {"own site alone", u";S;"_s, u"S"_s, u"N"_s, u";N;"_s},
        {"own site listed twice", u";S;B;S;"_s, u"S"_s, u"N"_s, u";B;N;"_s},
        {"new site already listed", u";S;N;"_s, u"S"_s, u"N"_s, u";S;N;"_s},
        {"headquarters replaces the last", u";A;B;"_s, u"快运本部"_s, u"N"_s, u";A;N;"_s},
        {"headquarters replaces the only one", u";A;"_s, u"快运本部"_s, u"N"_s, u";N;"_s},
        {"headquarters, already listed", u";A;N;"_s, u"快运本部"_s, u"N"_s, u";A;N;"_s},
        {"own name inside another", u";SX;"_s, u"S"_s, u"N"_s, u";N;"_s},
        {"no list to change", u""_s, u"S"_s, u"N"_s, u""_s},
    };
    for (const Case& c : cases)
        EXPECT_EQ(TransferCandidate(c.list, c.own, c.target), c.expected) << c.what;
}

TEST(CandidateSites, TwoHundredCharactersAreTheMost)
{
    EXPECT_TRUE(CandidateLengthMessage(200).isEmpty());
    EXPECT_EQ(CandidateLengthMessage(201),
        u"详细：转单以后\"可接单网点\"长度为\"201\"，超过\"200\"个字符的最大长度！"_s);
}
