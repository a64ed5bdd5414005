// What becomes of an order: offered, accepted, picked up, delivered, or cancelled on the way.
#include "demo/OrderFactory.h"

#include "company/CancelReasons.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace demo {
namespace {

using wire::DateTime;
using wire::Value;

constexpr int kFreshDays = 5; // until then an order may still be waiting for its next step
constexpr int kClerks = 2; // of a branch; its other employees collect and deliver

// The dearest coupon that a parcel of this weight in kilograms takes.
int CouponKind(double weight)
{
    return weight <= 80 ? 1 : weight <= 150 ? 2 : weight < 300 ? 3 : 4;
}

} // namespace

const Employee& OrderFactory::EmployeeOf(const Site& site, qint64 from, qint64 count)
{
    return network_.employees[static_cast<size_t>(site.firstEmployee + from + random_.Below(count))];
}

const Employee& OrderFactory::Clerk()
{
    return EmployeeOf(*site_, 0, kClerks);
}

const Employee& OrderFactory::Collector()
{
    return EmployeeOf(*site_, kClerks, site_->employeeCount - kClerks);
}

void OrderFactory::Stamp(Order& order, const Employee& employee)
{
    order.modifier = employee.name;
    order.modifierCode = employee.code;
    order.modifierSite = network_.sites[static_cast<size_t>(employee.site)].name;
}

void OrderFactory::LiveAsPlanned(const OrderPlan& plan, OrderTrace& trace)
{
    distributed_ = created_ + std::min<qint64>(120, (now_ - created_) / 3);
    if (!plan.accepted)
        return;
    trace.status = company::kStatusAccepted;
    trace.accepted = distributed_ + std::min<qint64>(Minutes(2, 45), (now_ - distributed_) / 2);
}

void OrderFactory::LiveOnMarketplace(OrderTrace& trace)
{
    const bool fresh = !IsOlderThan(kFreshDays);
    const qint64 distributed = created_ + (random_.Chance(80) ? Minutes(60, 360) : Minutes(1, 30));
    if (distributed > now_ || random_.Chance(fresh ? 12 : 1))
        return;
    distributed_ = distributed;
    if (random_.Chance(30)) {
        const qint64 cancelled = distributed + Minutes(5, 240);
        if (cancelled <= now_) {
            trace.status = company::kStatusCancelled;
            trace.cancelled = cancelled;
        }
        return;
    }
    const qint64 accepted = distributed + (random_.Chance(200) ? Minutes(40, 300) : Minutes(2, 26));
    if (accepted > now_ || random_.Chance(fresh ? 40 : 5))
        return;
    trace.accepted = accepted;
    if (random_.Chance(40)) {
        trace.status = company::kStatusRefused;
        trace.cancelled = accepted;
        return;
    }
    trace.status = company::kStatusAccepted;
    Collect(random_.Chance(fresh ? 30 : 5), trace);
}

// Orders entered at a site are sent to a driver's terminal, or offered to another site.
void OrderFactory::LiveByHand(OrderTrace& trace)
{
    const bool fresh = !IsOlderThan(kFreshDays);
    const qint64 distributed = created_ + Minutes(3, 120);
    unknownStatus_ = random_.Chance(20);
    if (unknownStatus_ || distributed > now_ || random_.Chance(fresh ? 120 : 2))
        return;
    if (random_.Chance(40)) {
        trace.status = company::kStatusCancelled;
        trace.cancelled = distributed;
        return;
    }
    distributed_ = distributed;
    if (random_.Chance(fresh ? 150 : 5)) {
        trace.status = company::kStatusAccepted; // offered to one site, which has to find the driver
        return;
    }
    driver_ = true;
    trace.accepted = distributed;
    const auto roll = random_.Below(fresh ? 100 : 3'000);
    if (roll < 5) {
        trace.status = company::kStatusRefused;
        trace.cancelled = distributed;
        return;
    }
    if (roll < 55) {
        trace.status = roll < 30 ? company::kStatusDispatched
            : roll < 45          ? company::kStatusSentDown
                                 : company::kStatusRejected;
        return;
    }
    trace.status = company::kStatusSentDown;
    Collect(false, trace);
}

// From here on both ways are the same; `stays`: nobody has come for the goods.
void OrderFactory::Collect(bool stays, OrderTrace& trace)
{
    const qint64 pickedUp = trace.accepted + (random_.Chance(300) ? Minutes(121, 1'200) : Minutes(15, 115));
    if (stays || pickedUp > now_)
        return;
    trace.pickedUp = pickedUp;
    if (random_.Chance(40)) {
        trace.status = company::kStatusPickupFailed;
        trace.cancelled = pickedUp;
        return;
    }
    trace.status = company::kStatusPickedUp;
    if (pickedUp + Minutes(180, 600) > now_ || random_.Chance(20))
        return;
    trace.status = company::kStatusInTransit;
    const qint64 delivered = pickedUp + Minutes(20 * 60, 96 * 60);
    if (delivered > now_)
        return;
    trace.delivered = delivered;
    trace.status = random_.Chance(50) ? company::kStatusDeliveryFailed : company::kStatusDelivered;
}

void OrderFactory::FillOffer(const OrderPlan& plan, Order& order, const OrderTrace& trace)
{
    const bool byHand = trace.source == Source::Manual;
    if (!unknownStatus_)
        order.status = qint64{trace.status};
    const bool withdrawn = byHand && trace.status == company::kStatusRefused;
    const bool offered = distributed_ != 0 && !withdrawn;
    order.dispart = qint64{!byHand || offered || trace.status == company::kStatusCancelled ? 1 : 0};
    order.depute = qint64{0};
    if (!offered)
        return;
    const Offers& offers = offers_[static_cast<size_t>(network_.branches[static_cast<size_t>(branch_)])];
    if (plan.rival >= 0) {
        const QString& rival = network_.sites[static_cast<size_t>(plan.rival)].name;
        order.candidates = offers.alone + rival + u';';
        return;
    }
    const auto roll = random_.Below(100);
    if (byHand || roll < 50)
        order.candidates = offers.alone;
    else
        order.candidates = roll < 98 ? random_.Pick(offers.several) : offers.longest;
    if (byHand)
        order.depute = qint64{random_.Chance(80) ? 1 : 0};
    else if (roll < 50) // nobody else may take it
        order.dutySite = site_->name;
}

void OrderFactory::FillAcceptance(Order& order, const OrderTrace& trace)
{
    const bool byHand = trace.source == Source::Manual;
    if (byHand) {
        const Employee& courier = Collector();
        order.courier = courier.name;
        order.message = courier.code; // the terminal knows its courier by the code
    }
    if (trace.accepted == 0 || (byHand && trace.status == company::kStatusRefused))
        return;
    order.recSite = site_->name;
    order.acceptDate = DateTime{trace.accepted};
    if (driver_) {
        const Employee& driver = Collector();
        order.recBillMan = driver.name;
        order.recBillCode = driver.code;
        Stamp(order, driver);
        return;
    }
    const Employee& clerk = Clerk();
    order.dutySite = site_->name;
    order.recBillMan = clerk.name;
    Stamp(order, clerk);
    if (trace.status != company::kStatusRefused && random_.Chance(600)) {
        const Employee& courier = Collector();
        order.courier = courier.name;
        order.message = courier.message;
    }
}

void OrderFactory::FillPickup(Order& order, OrderTrace& trace)
{
    if (trace.pickedUp == 0) {
        // Now and then a site enters the waybill of an order that it never accepted.
        if (trace.status == company::kStatusWaiting && trace.source == Source::Zelmor && IsOlderThan(1)
            && random_.Chance(150)) {
            trace.billCode = stock_.Take(network_.branches[static_cast<size_t>(branch_)]);
            trace.registerSite = site_->name;
            trace.registerMan = Clerk().name;
            order.billCode = trace.billCode;
        }
        return;
    }
    const Employee& collector = Collector();
    trace.billCode = stock_.Take(network_.branches[static_cast<size_t>(branch_)]);
    order.billCode = trace.billCode;
    order.recMan = collector.name;
    order.recDate = DateTime{trace.pickedUp};
    Stamp(order, collector);
    if (trace.status == company::kStatusPickupFailed)
        return;
    if (!freightCollect_ && weight_ >= 30 && random_.Chance(60))
        order.coupon = coupons_.TakeUsed(CouponKind(weight_));
    if (trace.pickedUp + 60 <= now_ && random_.Chance(900)) {
        trace.registerSite = site_->name;
        trace.registerMan = Clerk().name;
    }
}

void OrderFactory::FillDelivery(Order& order, const OrderTrace& trace)
{
    const bool arrived = trace.delivered != 0;
    // Undelivered orders have a delivery site once the distribution desk has matched their address.
    if (!arrived && (distributed_ == 0 || !random_.Chance(400)))
        return;
    const std::vector<int>& branches = network_.cityBranches[static_cast<size_t>(toCity_)];
    const Site& site = network_.sites[static_cast<size_t>(random_.Pick(branches))];
    order.sendSite = site.name;
    if (!arrived)
        return;
    order.sendMan = EmployeeOf(site, kClerks, site.employeeCount - kClerks).name;
    order.sendDate = DateTime{trace.delivered};
    order.signStatus = trace.status == company::kStatusDelivered ? u"已签收"_s : u"拒签"_s;
}

void OrderFactory::FillCancellation(Order& order, const OrderTrace& trace)
{
    order.cancelled = qint64{trace.cancelled != 0 ? 1 : 0};
    if (trace.cancelled == 0)
        return;
    const Employee& clerk = Clerk();
    order.cancelReason = trace.status == company::kStatusCancelled ? u"用户取消投递"_s
                                                                   : random_.Pick(company::CancelReasons());
    order.cancelSite = site_->name;
    order.cancelMan = clerk.name;
    order.cancelDate = DateTime{trace.cancelled};
    Stamp(order, clerk);
}

} // namespace demo
