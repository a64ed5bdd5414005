#include "orders/waybill/WaybillStock.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kScan = u"详细：此面单没有发放，不能进行扫描！"_s;
const QString kPickupScan = u"详细：此面单没有发放，不能进行收件扫描！"_s;

} // namespace

TEST(WaybillStock, AnswersForANumberByTheKindOfSite)
{
    struct Case {
        const char* kind;
        TStockSite site;
        std::optional<TIssueCheck> expected;
    };
    const TStockSite owner{u"一中心"_s, u"财务中心"_s, 1, u"甲,乙"_s, {}};
    const TStockSite poor{u"二中心"_s, u"财务中心"_s, 0, u"甲"_s, {}};
    const auto find = [&](const QString& name) -> std::optional<TStockSite> {
        for (const TStockSite& site : {owner, poor}) {
            if (site.name == name)
                return site;
        }
        return std::nullopt;
    };
    const Case cases[] = {
        {"partner", {u"站"_s, u"同行"_s, 0, {}, u"一中心"_s}, {}},
        {"partner with stock", {u"站"_s, u"同行"_s, 1, {}, {}}, TIssueCheck{u"1234567"_s, u"'站'"_s, kScan}},
        {"own stock", {u"站"_s, u"网点"_s, 1, u"甲,乙"_s, u"一中心"_s},
            TIssueCheck{u"12345678"_s, u"'站','甲','乙'"_s, kPickupScan}},
        {"finance centre's stock", {u"站"_s, u"网点"_s, 0, u"丙"_s, u"一中心"_s},
            TIssueCheck{u"1234567"_s, u"'一中心','甲','乙'"_s, kScan}},
        {"finance centre without stock", {u"站"_s, u"网点"_s, 0, {}, u"二中心"_s}, {}},
        {"finance centre unknown", {u"站"_s, u"网点"_s, 2, {}, u"三中心"_s}, {}},
        {"alone with stock", {u"O'站"_s, u"网点"_s, 1, u"甲"_s, {}},
            TIssueCheck{u"1234567"_s, u"'O''站','甲'"_s, kScan}},
        {"alone without stock", {u"站"_s, u"网点"_s, 0, {}, {}}, {}},
    };
    for (const Case& tried : cases) {
        SCOPED_TRACE(tried.kind);
        const auto check = IssueCheckFor(u" 12345678 "_s, tried.site, find);
        ASSERT_EQ(check.has_value(), tried.expected.has_value());
        if (!check)
            continue;
        EXPECT_EQ(check->number, tried.expected->number);
        EXPECT_EQ(check->siteList, tried.expected->siteList);
        EXPECT_EQ(check->failure, tried.expected->failure);
    }
}
