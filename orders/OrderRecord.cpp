#include "orders/OrderRecord.h"

#include "wire/Error.h"

#include <algorithm>
#include <array>
#include <string_view>

using namespace Qt::Literals::StringLiterals;

namespace {

enum class Shape { Text, Number, DateTime, Check, Reason, Goods, Payment };

struct OrderColumn {
    std::string_view field;
    const char16_t* caption;
    int width; // pixels at 96 dpi
    Shape shape = Shape::Text;
};

constexpr std::array kColumns = std::to_array<OrderColumn>({
    {"TX_LOGISTIC_ID", u"物流号", 150},
    {"LOGISTICPROVIDERID", u"下单合作商", 84},
    {"TRADE_NO", u"业务交易号", 120},
    {"BILL_CODE", u"运单编号", 108},
    {"FLAG", u"", 40},
    {"CREATE_DATE", u"订单时间", 140, Shape::DateTime},
    {"STATUS", u"状态", 78},
    {"CANCEL_DESC", u"撤消原因", 150, Shape::Reason},
    {"PREPARE_SITE", u"可接单网点", 210},
    {"REC_SITE", u"接单/揽件网点", 120},
    {"DUTY_SITE", u"责任网点", 120},
    {"REC_BILL_MAN", u"接单员工", 74},
    {"REC_GOODS_MAN", u"收件业务员", 84},
    {"REC_MAN", u"揽件员工", 74},
    {"ACCEPT_DATE", u"接单时间", 140, Shape::DateTime},
    {"REC_DATE", u"揽件时间", 140, Shape::DateTime},
    {"SEND_SITE", u"派件网点", 120},
    {"SEND_MAN", u"派件员工", 74},
    {"SEND_DATE", u"派件日期", 140, Shape::DateTime},
    {"DESTINATION", u"目的地", 120},
    {"PAY_TYPE", u"支付方式", 70, Shape::Payment},
    {"TOTAL_WEIGHT", u"重量", 64, Shape::Number},
    {"TOTAL_VOLUME", u"体积", 64, Shape::Number},
    {"FAVOURABLE_BILL", u"优惠券编号", 100},
    {"MESSAGE", u"短信内容", 200},
    {"BL_CANCEL", u"撤消", 44, Shape::Check},
    {"CANCEL_SITE", u"撤单网点", 120},
    {"CANCEL_MAN", u"撤单员工", 74},
    {"CANCEL_DATE", u"撤消时间", 140, Shape::DateTime},
    {"BL_DISPART", u"", 40},
    {"NAME", u"发货客户信息|姓名", 74},
    {"PROV", u"发货客户信息|省份", 70},
    {"CITY", u"发货客户信息|城市", 70},
    {"COUNTY", u"发货客户信息|区/县", 70},
    {"ADDRESS", u"发货客户信息|地址", 220},
    {"POST_CODE", u"发货客户信息|邮编", 60},
    {"PHONE", u"发货客户信息|固定电话", 100},
    {"MOBILE", u"发货客户信息|移动电话", 96},
    {"SEND_START_TIME", u"发货客户信息|约定取货时间始", 140, Shape::DateTime},
    {"SEND_END_TIME", u"发货客户信息|约定取货时间止", 140, Shape::DateTime},
    {"ITEM_NAME", u"商品信息|名称", 120},
    {"PIECE", u"商品信息|件数", 50, Shape::Number},
    {"SPECIAL", u"商品信息|类别", 120, Shape::Goods},
    {"REMARK", u"商品信息|描述", 150},
    {"INSURANCE_VALUE", u"", 60, Shape::Number},
    {"PACKAGE_OR_NOT", u"", 40},
    {"SEND_NAME", u"收货客户信息|姓名", 74},
    {"SEND_PROV", u"收货客户信息|省份", 70},
    {"SEND_CITY", u"收货客户信息|城市", 70},
    {"SEND_COUNTY", u"收货客户信息|区/县", 70},
    {"SEND_ADDRESS", u"收货客户信息|地址", 220},
    {"SEND_POST_CODE", u"收货客户信息|邮编", 60},
    {"SEND_PHONE", u"收货客户信息|固定电话", 100},
    {"SEND_MOBILE", u"收货客户信息|移动电话", 96},
    {"ITEMS_VALUE", u"代收货款", 76, Shape::Number},
    {"WMSADDRESS", u"出货仓库", 120},
    {"WMS_CODE", u"仓库编号", 80},
});

struct NamedStatus {
    int status;
    const char16_t* name;
};

constexpr std::array kStatuses = std::to_array<NamedStatus>({
    {kStatusCancelled, u"泽摩取消"},
    {kStatusWaiting, u"等待接单"},
    {kStatusAccepted, u"接单成功"},
    {kStatusRefused, u"接单失败"},
    {kStatusPickedUp, u"揽件成功"},
    {kStatusPickupFailed, u"揽件失败"},
    {kStatusInTransit, u"运输途中"},
    {kStatusDelivered, u"派件成功"},
    {kStatusDeliveryFailed, u"派件失败"},
});

const QStringList& KindsOfGoods()
{
    static const QStringList kinds{u"文件"_s, u"电子产品(包括家用电器)"_s, u"办公用品、服装鞋帽、箱包"_s,
        u"化妆品、美容产品"_s, u"珠宝、手表、眼镜、贵重饰品"_s, u"食品、保健药品"_s,
        u"工艺品(包括瓷器、茶具、烹饪用品)"_s, u"玩具、乐器"_s, u"其它"_s};
    return kinds;
}

void ApplyShape(TColumnEh& column, Shape shape)
{
    switch (shape) {
    case Shape::Text:
        break;
    case Shape::Number:
        column.alignment = TAlignment::Right;
        column.numericOnly = true;
        break;
    case Shape::DateTime:
        column.style = TColumnStyle::DateTime;
        break;
    case Shape::Check:
        column.style = TColumnStyle::CheckBox;
        column.alignment = TAlignment::Center;
        column.keyList = {u"1"_s, u"0"_s};
        break;
    case Shape::Reason:
        column.style = TColumnStyle::PickList;
        column.pickList = CancelReasons();
        break;
    case Shape::Goods:
        column.style = TColumnStyle::KeyPickList;
        column.pickList = KindsOfGoods();
        for (qsizetype kind = 0; kind < column.pickList.size(); ++kind)
            column.keyList.append(QString::number(kind));
        break;
    case Shape::Payment:
        column.style = TColumnStyle::KeyPickList;
        column.pickList = {u"现金"_s, u"到付"_s};
        column.keyList = {kPaidInCash.toString(), kPaidByConsignee.toString()};
        break;
    }
}

} // namespace

QString HeadquartersSite()
{
    return u"快运本部"_s;
}

QString StatusName(int status)
{
    const auto found = std::ranges::find(kStatuses, status, &NamedStatus::status);
    return found == kStatuses.end() ? QString::number(status) : QString::fromUtf16(found->name);
}

const QStringList& CancelReasons()
{
    static const QStringList reasons{u"揽收地超服务范围"_s, u"虚假揽收地址"_s, u"虚假取件电话"_s,
        u"揽收预约时间超范围,无法协商"_s, u"派送地超服务范围"_s, u"虚假派送地址"_s, u"禁运品"_s,
        u"用户取消投递"_s, u"超规格"_s, u"其它错误"_s};
    return reasons;
}

std::vector<TColumnEh> OrderColumns(std::span<const OrderColumnUse> uses)
{
    std::vector<TColumnEh> columns;
    columns.reserve(uses.size());
    for (const OrderColumnUse& use : uses) {
        const auto found = std::ranges::find(kColumns, std::string_view(use.field), &OrderColumn::field);
        if (found == kColumns.end()) {
            throw wire::Error(
                wire::ErrorKind::Usage, u"订单没有字段\"%1\"！"_s.arg(QLatin1StringView(use.field)));
        }
        TColumnEh column;
        column.fieldName = QString::fromLatin1(use.field);
        column.title = QString::fromUtf16(found->caption);
        column.width = found->width;
        column.visible = use.visible;
        column.readOnly = !use.editable;
        ApplyShape(column, found->shape);
        if (use.summed)
            column.footers = {{}, {TFooterValueType::Sum, {}, TAlignment::Right}};
        columns.push_back(std::move(column));
    }
    return columns;
}

void OfferStatuses(TColumnEh& column, std::initializer_list<int> statuses)
{
    column.style = TColumnStyle::KeyPickList;
    column.pickList.clear();
    column.keyList.clear();
    for (const int status : statuses) {
        column.pickList.append(StatusName(status));
        column.keyList.append(QString::number(status));
    }
}
