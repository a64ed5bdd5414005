#pragma once

#include "company/OrderStatus.h"
#include "demo/Generator.h"

#include <QString>

#include <optional>
#include <vector>

namespace demo {

enum class Source { Manual, Zelmor, Ruixun, Lovikat, Yunbotong };

// A row of tab_zelmor_bill.
struct Order {
    wire::Value logisticId, provider, tradeNo, billCode, createDate, status, dispart;
    wire::Value candidates, recSite, dutySite, recBillMan, recBillCode, acceptDate, courier, message;
    wire::Value recMan, recDate, sendSite, sendMan, sendDate, destination, depute;
    wire::Value name, postcode, phone, mobile, province, city, county, address, company, pickupFrom,
        pickupUntil;
    wire::Value toName, toPostcode, toPhone, toMobile, toProvince, toCity, toCounty, toAddress;
    wire::Value itemName, pieces, category, remark, weight, volume, itemsValue, payType, coupon;
    wire::Value warehouse, warehouseAddress, flag, insuranceValue, insured, packaged;
    wire::Value customer, network, orderSource, signStatus, rate;
    wire::Value createdSite, createdMan, createdCode;
    wire::Value cancelled, cancelReason, cancelSite, cancelMan, cancelDate;
    wire::Value modifier, modifierCode, modifierSite;
};

// What the tables that follow the orders need to know of one.
struct OrderTrace {
    QString logisticId;
    QString billCode;
    QString registerSite; // of its waybill; empty: no waybill was entered
    QString registerMan;
    quint64 seed = 0; // of its items and of the small matters of its messages
    qint64 created = 0; // moments in seconds; 0: has not happened
    qint64 accepted = 0;
    qint64 pickedUp = 0;
    qint64 delivered = 0;
    qint64 cancelled = 0;
    Source source = Source::Manual;
    int status = company::kStatusWaiting;
    bool collects = false; // cash on delivery
};

struct Item {
    const QString* name = nullptr;
    int pieces = 0;
    const QString* remark = nullptr; // null: none
};

struct ItemList {
    int count = 0; // 1 to 4
    int category = 0; // key of the SPECIAL pick list
    Item items[4];
    int Pieces() const;
};

// The goods lines of the order with that seed.
ItemList ItemsOf(quint64 seed);

// Writes tab_zelmor_bill, and what follows from it: items, waybills, tracking messages, waybill stock,
// coupons.
void WriteOrders(const GeneratorOptions& options, company::RowSink& sink);

void WriteItems(const std::vector<OrderTrace>& traces, company::RowSink& sink);
void WriteWaybills(const std::vector<OrderTrace>& traces, company::RowSink& sink);
void WriteInstructions(
    const std::vector<OrderTrace>& traces, const wire::DateTime& now, company::RowSink& sink);

} // namespace demo
