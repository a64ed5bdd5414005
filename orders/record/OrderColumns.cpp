#include "orders/record/OrderColumns.h"

#include "company/CancelReasons.h"
#include "company/PayType.h"
#include "company/Tables.h"
#include "wire/Error.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

enum class Kind { Plain, Amount, Check, Reason, Goods, Payment };

struct ColumnLook {
    QStringView field;
    int width; // pixels at 96 dpi
    Kind kind = Kind::Plain;
    QStringView title{}; // of what a query joins to the order
};

constexpr int kSiteWidth = 120;
constexpr int kPersonWidth = 74;
constexpr int kTimeWidth = 140;
constexpr int kRegionWidth = 70;
constexpr int kFlagWidth = 40;

constexpr std::array kLooks = std::to_array<ColumnLook>({
    {u"TX_LOGISTIC_ID", 150},
    {u"LOGISTICPROVIDERID", 84},
    {u"TRADE_NO", 120},
    {u"BILL_CODE", 108},
    {u"FLAG", kFlagWidth},
    {u"CREATE_DATE", kTimeWidth},
    {u"STATUS", 78},
    {u"CANCEL_DESC", 150, Kind::Reason},
    {u"PREPARE_SITE", 210},
    {u"REC_SITE", kSiteWidth},
    {u"DUTY_SITE", kSiteWidth},
    {u"REC_BILL_MAN", kPersonWidth},
    {u"REC_BILL_CODE", kPersonWidth},
    {u"REC_GOODS_MAN", 84},
    {u"REC_MAN", kPersonWidth},
    {u"ACCEPT_DATE", kTimeWidth},
    {u"REC_DATE", kTimeWidth},
    {u"SEND_SITE", kSiteWidth},
    {u"SEND_MAN", kPersonWidth},
    {u"SEND_DATE", kTimeWidth},
    {u"DESTINATION", kSiteWidth},
    {u"PAY_TYPE", 70, Kind::Payment},
    {u"TOTAL_WEIGHT", 64, Kind::Amount},
    {u"TOTAL_VOLUME", 64, Kind::Amount},
    {u"FAVOURABLE_BILL", 100},
    {u"MESSAGE", 200},
    {u"BL_DEPUTE", 66, Kind::Check},
    {u"BL_CANCEL", 44, Kind::Check},
    {u"CANCEL_SITE", kSiteWidth},
    {u"CANCEL_MAN", kPersonWidth},
    {u"CANCEL_DATE", kTimeWidth},
    {u"CREATER_SITE", kSiteWidth},
    {u"CREATER_MAN", kPersonWidth},
    {u"CREATER_CODE", 84},
    {u"BL_DISPART", kFlagWidth},
    {u"CUSTOMER_ID", 84},
    {u"BUSINESS_NETWORK_NO", 96},
    {u"ORDERSOURCE", 84},
    {u"NAME", kPersonWidth},
    {u"COMPANYNAME", 150},
    {u"PROV", kRegionWidth},
    {u"CITY", kRegionWidth},
    {u"COUNTY", kRegionWidth},
    {u"ADDRESS", 220},
    {u"POST_CODE", 60},
    {u"PHONE", 100},
    {u"MOBILE", 96},
    {u"SEND_START_TIME", kTimeWidth},
    {u"SEND_END_TIME", kTimeWidth},
    {u"ITEM_NAME", 120},
    {u"PIECE", 50, Kind::Amount},
    {u"SPECIAL", 120, Kind::Goods},
    {u"REMARK", 150},
    {u"INSURANCE_VALUE", 60, Kind::Amount},
    {u"BL_INSURANCE", 66, Kind::Check},
    {u"PACKAGE_OR_NOT", kFlagWidth},
    {u"SEND_NAME", kPersonWidth},
    {u"SEND_PROV", kRegionWidth},
    {u"SEND_CITY", kRegionWidth},
    {u"SEND_COUNTY", kRegionWidth},
    {u"SEND_ADDRESS", 220},
    {u"SEND_POST_CODE", 60},
    {u"SEND_PHONE", 100},
    {u"SEND_MOBILE", 96},
    {u"ITEMS_VALUE", 76, Kind::Amount},
    {u"WMSADDRESS", kSiteWidth},
    {u"WMS_CODE", 80},
    {u"SIGN_STATUS", 70, Kind::Plain, u"签收状态"},
    {u"WEIGHT_RATE", 70, Kind::Amount, u"网上单价"},
    {u"ONLINE_PRICE1", 76, Kind::Amount, u"网上价格"},
    {u"BL_ORDER_STATUS1", 66, Kind::Check, u"开单状态"},
});

constexpr std::array kNamedStatuses = {company::kStatusCancelled, company::kStatusWaiting,
    company::kStatusAccepted, company::kStatusRefused, company::kStatusPickedUp, company::kStatusPickupFailed,
    company::kStatusInTransit, company::kStatusDelivered, company::kStatusDeliveryFailed,
    company::kStatusDispatched, company::kStatusRejected, company::kStatusSentDown};

const QStringList& KindsOfGoods()
{
    static const QStringList kinds{u"文件"_s, u"电子产品(包括家用电器)"_s, u"办公用品、服装鞋帽、箱包"_s,
        u"化妆品、美容产品"_s, u"珠宝、手表、眼镜、贵重饰品"_s, u"食品、保健药品"_s,
        u"工艺品(包括瓷器、茶具、烹饪用品)"_s, u"玩具、乐器"_s, u"其它"_s};
    return kinds;
}

void ApplyKind(TColumnEh& column, Kind kind)
{
    switch (kind) {
    case Kind::Plain:
        break;
    case Kind::Amount:
        column.alignment = TAlignment::Right;
        column.numericOnly = true;
        break;
    case Kind::Check:
        column.style = TColumnStyle::CheckBox;
        column.alignment = TAlignment::Center;
        column.keyList = {u"1"_s, u"0"_s};
        break;
    case Kind::Reason:
        column.style = TColumnStyle::PickList;
        column.pickList = company::CancelReasons();
        break;
    case Kind::Goods:
        column.style = TColumnStyle::KeyPickList;
        column.pickList = KindsOfGoods();
        for (qsizetype key = 0; key < column.pickList.size(); ++key)
            column.keyList.append(QString::number(key));
        break;
    case Kind::Payment:
        column.style = TColumnStyle::KeyPickList;
        column.pickList = {u"现金"_s, u"到付"_s};
        column.keyList = {company::kPaidInCash.toString(), company::kPaidByConsignee.toString()};
        break;
    }
}

[[noreturn]] void RaiseNoField(QStringView field)
{
    throw wire::Error(wire::ErrorKind::Usage, u"订单没有字段\"%1\"！"_s.arg(field));
}

TColumnEh OrderColumn(const OrderColumnUse& use)
{
    const auto look = std::ranges::find(kLooks, use.field, &ColumnLook::field);
    if (look == kLooks.end())
        RaiseNoField(use.field);
    const company::Column* stored = company::OrderTable().Find(use.field);
    TColumnEh column;
    column.fieldName = use.field.toString();
    column.width = look->width;
    column.visible = use.visible;
    column.readOnly = !use.editable;
    column.nullText = use.nullText.toString();
    if (!use.title.isEmpty())
        column.title = use.title.toString();
    else
        column.title = look->title.isEmpty() && stored ? stored->Title() : look->title.toString();
    if (stored && stored->type == wire::ColumnType::DateTime)
        column.style = TColumnStyle::DateTime;
    ApplyKind(column, look->kind);
    if (use.summed)
        column.footers = SumFooters(use.sumWord.toString());
    return column;
}

} // namespace

std::vector<TColumnEh> OrderColumns(std::span<const OrderColumnUse> uses)
{
    std::vector<TColumnEh> columns;
    columns.reserve(uses.size());
    for (const OrderColumnUse& use : uses)
        columns.push_back(OrderColumn(use));
    return columns;
}

TColumnEh& ColumnOf(std::vector<TColumnEh>& columns, QStringView field)
{
    const auto found = std::ranges::find_if(columns, [field](const TColumnEh& column) {
        return field.compare(column.fieldName, Qt::CaseInsensitive) == 0;
    });
    if (found == columns.end())
        RaiseNoField(field);
    return *found;
}

void OfferStatuses(std::vector<TColumnEh>& columns, company::StatusUse use, std::span<const int> statuses)
{
    TColumnEh& column = ColumnOf(columns, u"STATUS");
    column.style = TColumnStyle::KeyPickList;
    for (const int status : statuses) {
        column.pickList.append(company::StatusName(status, use));
        column.keyList.append(QString::number(status));
    }
    for (const int status : kNamedStatuses)
        column.namedKeys.insert(QString::number(status), company::StatusName(status, use));
    if (company::NullIsWaiting(use))
        column.nullText = company::StatusName(company::kStatusWaiting, use);
}

void ChooseFrom(std::vector<TColumnEh>& columns, QStringView field, TLookupParams lookup)
{
    TColumnEh& column = ColumnOf(columns, field);
    column.style = TColumnStyle::Lookup;
    column.lookup = std::move(lookup);
}
