#pragma once

#include "demo/Customers.h"
#include "demo/Network.h"
#include "demo/Orders.h"
#include "demo/Random.h"
#include "demo/Regions.h"
#include "demo/Stock.h"

#include <array>

namespace demo {

// What is asked of an order; an order of which nothing is asked goes its own way.
struct OrderPlan {
    int site = -1; // a candidate; -1: any
    int rival = -1; // another candidate
    bool accepted = false; // by the site; otherwise it still waits
};

// Makes orders one after another. What has happened to an order by now follows from its age.
class OrderFactory {
public:
    OrderFactory(const wire::DateTime& now, quint64 seed, WaybillStock& stock, CouponStock& coupons);

    // Numbers count from 1 on every day.
    void StartDay(const wire::DateTime& day);
    // The order created at `created` (seconds). The members' places are used again from order to order.
    void Make(qint64 created, const OrderPlan& plan, Order& order, OrderTrace& trace);

private:
    // Steps of an order's life, in the order in which they are taken.
    void Name(Order& order, OrderTrace& trace);
    void FillShipper(Order& order);
    void FillConsignee(Order& order);
    void FillGoods(Order& order, OrderTrace& trace);
    void FillExtras(Order& order, const OrderTrace& trace);
    void LiveAsPlanned(const OrderPlan& plan, OrderTrace& trace);
    void LiveOnMarketplace(OrderTrace& trace);
    void LiveByHand(OrderTrace& trace);
    void Collect(bool stays, OrderTrace& trace);
    void FillOffer(const OrderPlan& plan, Order& order, const OrderTrace& trace);
    void FillAcceptance(Order& order, const OrderTrace& trace);
    void FillPickup(Order& order, OrderTrace& trace);
    void FillDelivery(Order& order, const OrderTrace& trace);
    void FillCancellation(Order& order, const OrderTrace& trace);
    void Stamp(Order& order, const Employee& employee);

    qint64 Minutes(qint64 least, qint64 most) { return random_.Between(least * 60, most * 60); }
    bool IsOlderThan(int days) const { return now_ - created_ > days * 86'400LL; }
    const Employee& Clerk(); // of the order's site
    const Employee& Collector();
    const Employee& EmployeeOf(const Site& site, qint64 from, qint64 count);

    struct Offers { // PREPARE_SITE texts that list a site
        QString alone;
        std::vector<QString> several;
        QString longest;
    };
    void PreparePools();
    void PrepareOffers();
    QString Offer(int site, int count, std::size_t step) const;

    const Regions& regions_ = AllRegions();
    const Network& network_ = TheNetwork();
    const std::vector<Customer>& customers_ = TheCustomers();
    const qint64 now_;
    Random random_;
    WaybillStock& stock_;
    CouponStock& coupons_;

    std::vector<int> branchPool_; // positions in Network::branches, as often as their share of orders
    std::vector<int> cityPool_;
    std::vector<QString> people_;
    std::vector<QString> mobiles_;
    std::vector<std::vector<QString>> landlines_; // by city
    std::vector<QString> warehouses_; // by city
    std::vector<QString> warehouseAddresses_;
    std::vector<Offers> offers_; // by site

    std::array<QString, 5> numberHeads_; // by source
    std::array<int, 5> serials_{};

    // The order being made.
    qint64 created_ = 0;
    qint64 distributed_ = 0;
    bool unknownStatus_ = false;
    bool driver_ = false;
    int branch_ = 0; // position in Network::branches
    const Site* site_ = nullptr;
    int toCity_ = 0;
    double weight_ = 0;
    bool freightCollect_ = false;
};

} // namespace demo
