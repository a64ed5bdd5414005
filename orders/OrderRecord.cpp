#include "orders/OrderRecord.h"

#include "company/Headquarters.h"
#include "company/Tables.h"
#include "wire/Error.h"

#include <algorithm>
#include <array>
#include <string_view>

using namespace Qt::Literals::StringLiterals;

namespace {

enum class Shape { Text, Number, DateTime, Check, Reason, Goods, Payment };

struct OrderColumn {
    std::string_view field;
    int width; // pixels at 96 dpi
    Shape shape = Shape::Text;
};

constexpr std::array kColumns = std::to_array<OrderColumn>({
    {"TX_LOGISTIC_ID", 150},
    {"LOGISTICPROVIDERID", 84},
    {"TRADE_NO", 120},
    {"BILL_CODE", 108},
    {"FLAG", 40},
    {"CREATE_DATE", 140, Shape::DateTime},
    {"STATUS", 78},
    {"CANCEL_DESC", 150, Shape::Reason},
    {"PREPARE_SITE", 210},
    {"REC_SITE", 120},
    {"DUTY_SITE", 120},
    {"REC_BILL_MAN", 74},
    {"REC_GOODS_MAN", 84},
    {"REC_MAN", 74},
    {"ACCEPT_DATE", 140, Shape::DateTime},
    {"REC_DATE", 140, Shape::DateTime},
    {"SEND_SITE", 120},
    {"SEND_MAN", 74},
    {"SEND_DATE", 140, Shape::DateTime},
    {"DESTINATION", 120},
    {"PAY_TYPE", 70, Shape::Payment},
    {"TOTAL_WEIGHT", 64, Shape::Number},
    {"TOTAL_VOLUME", 64, Shape::Number},
    {"FAVOURABLE_BILL", 100},
    {"MESSAGE", 200},
    {"BL_CANCEL", 44, Shape::Check},
    {"CANCEL_SITE", 120},
    {"CANCEL_MAN", 74},
    {"CANCEL_DATE", 140, Shape::DateTime},
    {"BL_DISPART", 40},
    {"NAME", 74},
    {"PROV", 70},
    {"CITY", 70},
    {"COUNTY", 70},
    {"ADDRESS", 220},
    {"POST_CODE", 60},
    {"PHONE", 100},
    {"MOBILE", 96},
    {"SEND_START_TIME", 140, Shape::DateTime},
    {"SEND_END_TIME", 140, Shape::DateTime},
    {"ITEM_NAME", 120},
    {"PIECE", 50, Shape::Number},
    {"SPECIAL", 120, Shape::Goods},
    {"REMARK", 150},
    {"INSURANCE_VALUE", 60, Shape::Number},
    {"PACKAGE_OR_NOT", 40},
    {"SEND_NAME", 74},
    {"SEND_PROV", 70},
    {"SEND_CITY", 70},
    {"SEND_COUNTY", 70},
    {"SEND_ADDRESS", 220},
    {"SEND_POST_CODE", 60},
    {"SEND_PHONE", 100},
    {"SEND_MOBILE", 96},
    {"ITEMS_VALUE", 76, Shape::Number},
    {"WMSADDRESS", 120},
    {"WMS_CODE", 80},
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
    return company::kHeadquarters.toString();
}

QString StatusName(int status)
{
    return company::StatusName(status, company::StatusUse::OrderQuery);
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
        column.title = company::OrderTable().Find(column.fieldName)->Title();
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
    column.nullText = StatusName(kStatusWaiting);
}
