// When orders are created, and how they become rows.
#include "demo/OrderFactory.h"

#include "company/Headquarters.h"

#include "wire/Error.h"

#include <algorithm>
#include <cmath>

namespace demo {
namespace {

using wire::DateTime;
using wire::Value;

constexpr qint64 kDay = 86'400;

struct Field {
    const char16_t* column;
    Value Order::*member;
};

constexpr Field kFields[] = {
    {u"TX_LOGISTIC_ID", &Order::logisticId},
    {u"LOGISTICPROVIDERID", &Order::provider},
    {u"TRADE_NO", &Order::tradeNo},
    {u"BILL_CODE", &Order::billCode},
    {u"CREATE_DATE", &Order::createDate},
    {u"STATUS", &Order::status},
    {u"BL_DISPART", &Order::dispart},
    {u"PREPARE_SITE", &Order::candidates},
    {u"REC_SITE", &Order::recSite},
    {u"DUTY_SITE", &Order::dutySite},
    {u"REC_BILL_MAN", &Order::recBillMan},
    {u"REC_BILL_CODE", &Order::recBillCode},
    {u"ACCEPT_DATE", &Order::acceptDate},
    {u"REC_GOODS_MAN", &Order::courier},
    {u"MESSAGE", &Order::message},
    {u"REC_MAN", &Order::recMan},
    {u"REC_DATE", &Order::recDate},
    {u"SEND_SITE", &Order::sendSite},
    {u"SEND_MAN", &Order::sendMan},
    {u"SEND_DATE", &Order::sendDate},
    {u"DESTINATION", &Order::destination},
    {u"BL_DEPUTE", &Order::depute},
    {u"NAME", &Order::name},
    {u"POST_CODE", &Order::postcode},
    {u"PHONE", &Order::phone},
    {u"MOBILE", &Order::mobile},
    {u"PROV", &Order::province},
    {u"CITY", &Order::city},
    {u"COUNTY", &Order::county},
    {u"ADDRESS", &Order::address},
    {u"COMPANYNAME", &Order::company},
    {u"SEND_START_TIME", &Order::pickupFrom},
    {u"SEND_END_TIME", &Order::pickupUntil},
    {u"SEND_NAME", &Order::toName},
    {u"SEND_POST_CODE", &Order::toPostcode},
    {u"SEND_PHONE", &Order::toPhone},
    {u"SEND_MOBILE", &Order::toMobile},
    {u"SEND_PROV", &Order::toProvince},
    {u"SEND_CITY", &Order::toCity},
    {u"SEND_COUNTY", &Order::toCounty},
    {u"SEND_ADDRESS", &Order::toAddress},
    {u"ITEM_NAME", &Order::itemName},
    {u"PIECE", &Order::pieces},
    {u"SPECIAL", &Order::category},
    {u"REMARK", &Order::remark},
    {u"TOTAL_WEIGHT", &Order::weight},
    {u"TOTAL_VOLUME", &Order::volume},
    {u"ITEMS_VALUE", &Order::itemsValue},
    {u"PAY_TYPE", &Order::payType},
    {u"FAVOURABLE_BILL", &Order::coupon},
    {u"WMS_CODE", &Order::warehouse},
    {u"WMSADDRESS", &Order::warehouseAddress},
    {u"FLAG", &Order::flag},
    {u"INSURANCE_VALUE", &Order::insuranceValue},
    {u"BL_INSURANCE", &Order::insured},
    {u"PACKAGE_OR_NOT", &Order::packaged},
    {u"CUSTOMER_ID", &Order::customer},
    {u"BUSINESS_NETWORK_NO", &Order::network},
    {u"ORDERSOURCE", &Order::orderSource},
    {u"SIGN_STATUS", &Order::signStatus},
    {u"WEIGHT_RATE", &Order::rate},
    {u"CREATER_SITE", &Order::createdSite},
    {u"CREATER_MAN", &Order::createdMan},
    {u"CREATER_CODE", &Order::createdCode},
    {u"BL_CANCEL", &Order::cancelled},
    {u"CANCEL_DESC", &Order::cancelReason},
    {u"CANCEL_SITE", &Order::cancelSite},
    {u"CANCEL_MAN", &Order::cancelMan},
    {u"CANCEL_DATE", &Order::cancelDate},
    {u"MODIFIER", &Order::modifier},
    {u"MODIFY_CODE", &Order::modifierCode},
    {u"MODIFY_SITE", &Order::modifierSite},
};

// The members of an order in the order of the table's columns.
std::vector<Value Order::*> MembersOf(const company::Table& table)
{
    std::vector<Value Order::*> members;
    for (const company::Column& column : table.columns) {
        const auto field = std::find_if(std::begin(kFields), std::end(kFields),
            [&](const Field& candidate) { return column.name == QStringView(candidate.column); });
        if (field == std::end(kFields))
            throw wire::Error(
                wire::ErrorKind::Usage, QStringLiteral("No demo data for the column ") + column.name);
        members.push_back(field->member);
    }
    return members;
}

// Days that the orders spread over: 20 for 5,000 orders, 60 for 100,000, 300 for 1,000,000 and more.
int DaysOf(qint64 orders)
{
    struct Point {
        double orders;
        double days;
    };
    static constexpr Point kPoints[] = {{5e3, 20}, {1e5, 60}, {1e6, 300}};
    const auto count = static_cast<double>(orders);
    if (count <= kPoints[0].orders)
        return static_cast<int>(kPoints[0].days);
    for (std::size_t i = 1; i < std::size(kPoints); ++i) {
        const Point& low = kPoints[i - 1];
        const Point& high = kPoints[i];
        if (count <= high.orders) {
            const double part = std::log(count / low.orders) / std::log(high.orders / low.orders);
            return static_cast<int>(std::lround(low.days * std::pow(high.days / low.days, part)));
        }
    }
    return 300;
}

// What the demo logins find waiting for them today.
std::vector<OrderPlan> PlansOfToday(qint64 orders)
{
    const Network& network = TheNetwork();
    const auto number = [&](QStringView name) { return network.byName.value(name.toString()); };
    const int first = number(u"安徽合肥一部");
    const int second = number(u"安徽合肥二部");
    std::vector<OrderPlan> plans;
    const auto add = [&](int count, const OrderPlan& plan) {
        plans.insert(plans.end(), static_cast<size_t>(count), plan);
    };
    add(28, {first, second, false}); // they race for these
    add(28, {second, first, false});
    add(16, {first, -1, false});
    add(16, {second, -1, false});
    add(75, {first, -1, true});
    add(75, {second, -1, true});
    for (const int site : {number(u"安徽合肥三部"), number(u"安徽宣城同行")}) {
        add(45, {site, -1, false});
        add(65, {site, -1, true});
    }
    // Which headquarters may refuse, being a candidate itself.
    const int headquarters = number(company::kHeadquarters);
    add(12, {first, headquarters, false});
    add(12, {number(u"安徽合肥三部"), headquarters, false});
    // Few orders in all: the same mixture, thinned out.
    const auto most = static_cast<size_t>(orders / 4);
    if (plans.size() > most) {
        std::vector<OrderPlan> thinned;
        for (std::size_t i = 0; i < most; ++i)
            thinned.push_back(plans[i * plans.size() / most]);
        plans = std::move(thinned);
    }
    return plans;
}

// The second of the day at which an order comes: few at night, most by day.
qint64 SecondOfDay(Random& random)
{
    if (random.Chance(60))
        return random.Below(kDay);
    // The sum of two even spreads from 8 to 15 o'clock and on gathers around half past two.
    const qint64 morning = 8 * 3'600 + random.Below(7 * 3'600);
    return morning + random.Below(6 * 3'600 + 1'800);
}

struct Coming {
    qint64 created;
    OrderPlan plan;
    bool operator<(const Coming& other) const { return created < other.created; }
};

class Calendar {
public:
    Calendar(const GeneratorOptions& options, Random& random)
        : now_(options.now.seconds)
        , midnight_(now_ - ((now_ % kDay) + kDay) % kDay)
        , days_(DaysOf(options.orders))
        , random_(random)
        , plans_(PlansOfToday(options.orders))
    {
        // Some days are busier than others; today is the busiest.
        std::vector<qint64> shares;
        qint64 total = 0;
        for (int day = 0; day < days_; ++day) {
            total += day == days_ - 1 ? 160 : random_.Between(85, 115);
            shares.push_back(total);
        }
        const qint64 free = options.orders - static_cast<qint64>(plans_.size());
        qint64 given = 0;
        for (const qint64 share : shares) {
            const qint64 until = free * share / std::max<qint64>(total, 1);
            counts_.push_back(until - given);
            given = until;
        }
    }
    int Days() const { return days_; }
    DateTime DayAt(int day) const { return DateTime{midnight_ - (days_ - 1 - day) * kDay}; }

    // The orders of a day, the oldest first.
    std::vector<Coming> OrdersOf(int day)
    {
        const bool today = day == days_ - 1;
        const qint64 midnight = DayAt(day).seconds;
        std::vector<Coming> orders;
        if (today) {
            for (const OrderPlan& plan : plans_)
                orders.push_back({midnight + random_.Below(now_ - midnight + 1), plan});
        }
        for (qint64 i = 0; i < counts_[static_cast<size_t>(day)]; ++i) {
            const qint64 second = today ? random_.Below(now_ - midnight + 1) : SecondOfDay(random_);
            orders.push_back({midnight + second, {}});
        }
        std::stable_sort(orders.begin(), orders.end());
        return orders;
    }

private:
    qint64 now_;
    qint64 midnight_;
    int days_;
    Random& random_;
    std::vector<OrderPlan> plans_;
    std::vector<qint64> counts_;
};

} // namespace

void WriteOrders(const GeneratorOptions& options, company::RowSink& sink)
{
    WaybillStock stock(TheNetwork());
    CouponStock coupons;
    Random random(options.seed);
    Calendar calendar(options, random);
    OrderFactory factory(options.now, random.Next(), stock, coupons);
    const auto tell = [&](const QString& stage, int percent) {
        if (options.onProgress)
            options.onProgress(stage, percent);
    };

    const company::Table& table = *company::FindTable(u"tab_zelmor_bill");
    const std::vector<Value Order::*> members = MembersOf(table);
    std::vector<OrderTrace> traces;
    traces.reserve(static_cast<size_t>(options.orders));
    std::vector<Value> row(members.size());
    Order order;
    sink.BeginTable(table);
    for (int day = 0; day < calendar.Days(); ++day) {
        tell(QStringLiteral("订单"), 10 + 60 * day / calendar.Days());
        factory.StartDay(calendar.DayAt(day));
        for (const Coming& coming : calendar.OrdersOf(day)) {
            factory.Make(coming.created, coming.plan, order, traces.emplace_back());
            for (std::size_t i = 0; i < members.size(); ++i)
                row[i] = std::move(order.*members[i]);
            sink.Row(row);
        }
    }
    sink.EndTable();

    tell(QStringLiteral("商品"), 70);
    WriteItems(traces, sink);
    tell(QStringLiteral("运单"), 80);
    WriteWaybills(traces, sink);
    tell(QStringLiteral("跟踪信息"), 85);
    WriteInstructions(traces, options.now, sink);
    tell(QStringLiteral("面单和优惠券"), 97);
    stock.Write(options.now, sink);
    coupons.Write(options.now, sink);
}

} // namespace demo
