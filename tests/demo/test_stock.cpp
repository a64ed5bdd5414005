#include "tests/demo/Tables.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// The check digit over the digits given, written down a second time on purpose.
int CheckDigit(QStringView digits, const std::vector<int>& weights)
{
    int sum = 0;
    for (std::size_t i = 0; i < weights.size(); ++i)
        sum += digits[static_cast<qsizetype>(i)].digitValue() * weights[i];
    switch (sum % 11) {
    case 0:
        return 5;
    case 1:
        return 0;
    case 10:
        return 1;
    default:
        return 11 - sum % 11;
    }
}

bool IsGoodWaybill(const QString& code)
{
    const int last = code.back().digitValue();
    if (code.size() == 8)
        return last == CheckDigit(code, {7, 4, 2, 5, 3, 6, 8});
    return code.size() == 12 && last == CheckDigit(QStringView(code).mid(2), {7, 4, 2, 5, 3, 6, 8, 2, 9});
}

struct Range {
    QString start, end;
};

std::map<QString, std::vector<Range>> Ranges()
{
    std::map<QString, std::vector<Range>> ranges;
    ForEach(SmallTable(u"TAB_BILL_PROVIDE"_s), [&](const Row& row) {
        EXPECT_EQ(row.Text(u"START_NO").size(), row.Text(u"END_NO").size());
        EXPECT_LE(row.Text(u"START_NO"), row.Text(u"END_NO"));
        ranges[row.Text(u"USE_SITE")].push_back({row.Text(u"START_NO"), row.Text(u"END_NO")});
    });
    return ranges;
}

} // namespace

TEST(Stock, WaybillsCarryTheirCheckDigitAndAreUsedOnce)
{
    const std::set<QString> disabled = Texts(SmallTable(u"tab_bill_del"_s), u"BILL_CODE");
    std::set<QString> used;
    std::map<qsizetype, int> lengths;
    ForEach(SmallTable(u"tab_zelmor_bill"_s), [&](const Row& row) {
        const QString code = row.Text(u"BILL_CODE");
        if (code.isEmpty())
            return;
        EXPECT_TRUE(IsGoodWaybill(code)) << qUtf8Printable(code);
        EXPECT_TRUE(used.insert(code).second) << qUtf8Printable(code);
        EXPECT_EQ(disabled.count(code), 0U) << qUtf8Printable(code);
        ++lengths[code.size()];
    });
    EXPECT_GT(lengths[8], 50);
    EXPECT_GT(lengths[12], 1'000);
    for (const QString& code : disabled)
        EXPECT_TRUE(IsGoodWaybill(code)) << qUtf8Printable(code);
}

TEST(Stock, NumbersWereIssuedToWhoeverAnswersForThem)
{
    struct Owner {
        QString center;
        bool owns;
        bool partner;
    };
    std::map<QString, Owner> sites;
    ForEach(SmallTable(u"tab_site"_s), [&](const Row& row) {
        sites[row.Text(u"SITE_NAME")] = {row.Text(u"SUPERIOR_FINANCE_CENTER"),
            row.Integer(u"BL_MATERIAL") == 1, row.Text(u"TYPE") == u"同行"_s};
    });
    const std::map<QString, std::vector<Range>> ranges = Ranges();
    std::map<QString, int> checked;
    ForEach(SmallTable(u"tab_zelmor_bill"_s), [&](const Row& row) {
        if (!row.Has(u"BILL_CODE") || !row.Has(u"REC_SITE"))
            return;
        const Owner& owner = sites[row.Text(u"REC_SITE")];
        if (owner.partner || (!owner.owns && owner.center.isEmpty())) {
            ++checked[u"nobody"_s];
            return;
        }
        const QString holder = owner.owns ? row.Text(u"REC_SITE") : owner.center;
        ++checked[!owner.owns ? u"centre"_s : owner.center.isEmpty() ? u"alone"_s : u"own"_s];
        const QString base = row.Text(u"BILL_CODE").chopped(1);
        const auto held = ranges.find(holder);
        ASSERT_NE(held, ranges.end()) << qUtf8Printable(holder);
        EXPECT_TRUE(std::any_of(held->second.begin(), held->second.end(), [&](const Range& range) {
            return range.start.size() == base.size() && range.start <= base && range.end >= base;
        })) << qUtf8Printable(holder + u" "_s + base);
    });
    for (const QString& kind : {u"nobody"_s, u"centre"_s, u"alone"_s, u"own"_s})
        EXPECT_GT(checked[kind], 50) << qUtf8Printable(kind);
}

TEST(Stock, EveryKindOfCouponIsThere)
{
    const qint64 now = TestNow().seconds;
    std::map<QString, std::map<QString, int>> kinds;
    ForEach(SmallTable(u"tab_favourable_bill"_s), [&](const Row& row) {
        const QString number = row.Text(u"FAVOURABLE_BILL");
        ASSERT_EQ(number.size(), 11);
        EXPECT_EQ(number.back().digitValue(), CheckDigit(QStringView(number).mid(3), {7, 4, 2, 5, 3, 6, 8}));
        const QString state = row.Integer(u"BL_USE") == 1 ? u"used"_s
            : row.Moment(u"USE_START_DATE") >= now        ? u"early"_s
            : row.Moment(u"USE_END_DATE") <= now          ? u"late"_s
                                                          : u"valid"_s;
        ++kinds[row.Text(u"BILL_VALUE")][state];
    });
    for (const QString& value : {u"5元"_s, u"10元"_s, u"20元"_s, u"50元"_s, u"100元"_s}) {
        for (const QString& state : {u"used"_s, u"early"_s, u"late"_s, u"valid"_s})
            EXPECT_GT(kinds[value][state], 0) << qUtf8Printable(value + u" "_s + state);
    }
}
