#include "dispatch/EntryRules.h"

#include "company/OrderStatus.h"
#include "module/data/PerlRegEx.h"
#include "runtime/data/Collation.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRemarkBytes = 60; // 30 Chinese characters
const QString kNotTaken = u"空"_s;

void RefuseIf(bool wrong, QStringView field, const QString& message)
{
    if (wrong)
        throw TRuleViolation{message, field.toString()};
}

void Require(const TClientDataSetEx& order, QStringView field, const QString& message)
{
    RefuseIf(!HasText(order, field), field, message);
}

// An empty one counts as 0.
void RefuseNegative(const TClientDataSetEx& order, QStringView field, const QString& message)
{
    RefuseIf(order.FieldByName(field).AsFloat() < 0, field, message);
}

bool Matches(const QString& pattern, const QString& text)
{
    TPerlRegEx& rule = SharedRegEx();
    rule.SetRegEx(pattern);
    rule.SetSubject(text);
    return rule.Match();
}

void CheckAppointment(TClientDataSetEx& order, const TEntryCheck& check)
{
    TField& time = order.FieldByName(u"SEND_START_TIME");
    const bool asked = !time.IsNull() && time.AsDateTime() != check.givenTime;
    RefuseIf(asked && time.AsDateTime() < check.now, u"SEND_START_TIME",
        u"详细：预约时间不能小于当前系统时间！"_s);
    if (asked)
        return;
    time.SetAsDateTime(check.now);
    check.givenTime = check.now;
}

} // namespace

void BeginOrder(
    TClientDataSetEx& order, const QString& number, wire::DateTime now, const TEnteringClerk& clerk)
{
    SetText(order, u"TX_LOGISTIC_ID", number);
    order.FieldByName(u"CREATE_DATE").SetAsDateTime(now);
    SetText(order, u"CREATER_SITE", clerk.site);
    SetText(order, u"CREATER_MAN", clerk.employeeName);
    SetText(order, u"CREATER_CODE", clerk.employeeCode);
    order.FieldByName(u"STATUS").SetAsInteger(company::kStatusWaiting);
    order.FieldByName(u"BL_CANCEL").SetAsInteger(0);
    order.FieldByName(u"BL_DISPART").SetAsInteger(0); // its own site dispatches it
}

void CheckNewOrder(TClientDataSetEx& order, const TEntryCheck& check)
{
    Require(order, u"REC_GOODS_MAN", u"详细：业务员不能为空！"_s);
    RefuseNegative(order, u"TOTAL_WEIGHT", u"详细：货物重量不能小于0！"_s);
    CheckAppointment(order, check);
    Require(order, u"PHONE", u"详细：发货人电话不能为空！"_s);
    RefuseIf(!Matches(check.phonePattern, TextOf(order, u"PHONE")), u"PHONE",
        u"详细：发货人电话输入有错，请检查！"_s);
    Require(order, u"NAME", u"详细：发货人姓名不能为空！"_s);
    Require(order, u"PROV", u"详细：发货省份必须填写请输入！"_s);
    RefuseNegative(order, u"TOTAL_VOLUME", u"详细：体积不能小于0！"_s);
    RefuseNegative(order, u"PIECE", u"详细：件数不能小于0！"_s);
    Require(order, u"CITY", u"详细：发货城市必须填写请输入！"_s);
    Require(order, u"COUNTY", u"详细：发货区（县）必须填写请输入！"_s);
    Require(order, u"ADDRESS", u"详细：发货详细地址必须填写请输入！"_s);
    Require(order, u"SEND_PROV", u"详细：收货省份必须填写请输入！"_s);
    Require(order, u"SEND_CITY", u"详细：收货城市必须填写请输入！"_s);
    Require(order, u"SEND_COUNTY", u"详细：收货区（县）必须填写请输入！"_s);
    if (!HasText(order, u"SEND_ADDRESS"))
        SetText(order, u"SEND_ADDRESS", kNotTaken);
    RefuseIf(CodePage936Length(TextOf(order, u"REMARK")) > kRemarkBytes, u"REMARK",
        u"详细：备注信息不能大于30个汉字！"_s);
    SetText(order, u"SEND_NAME", kNotTaken);
}
