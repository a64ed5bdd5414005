#pragma once

#include "runtime/ui/DBGrid.h"

#include <QString>
#include <QStringList>

#include <span>

// The order, a row of tab_zelmor_bill: what its codes mean and how its columns look in every screen.

inline constexpr int kStatusCancelled = -1; // by the order's source, a centre or dispatch
inline constexpr int kStatusWaiting = 0; // for a site to accept; null means the same to the sites
inline constexpr int kStatusAccepted = 1;
inline constexpr int kStatusRefused = 2; // needs a reason
inline constexpr int kStatusPickedUp = 3; // waybill number bound
inline constexpr int kStatusPickupFailed = 4;
inline constexpr int kStatusInTransit = 5;
inline constexpr int kStatusDelivered = 6;
inline constexpr int kStatusDeliveryFailed = 7;

// Who pays the freight, PAY_TYPE.
inline constexpr QStringView kPaidInCash = u"0";
inline constexpr QStringView kPaidByConsignee = u"1";

// The site that sees every order.
QString HeadquartersSite();

// The name of a status in the order screens; its number for a code that they do not know.
QString StatusName(int status);
// The ten reasons for which an order is refused or cancelled, in the order of every list.
const QStringList& CancelReasons();

// How one screen shows a column of the order.
struct OrderColumnUse {
    const char* field;
    bool visible = true;
    bool editable = false;
    bool summed = false; // in the footer
};

// Grid columns for these fields, with caption, width, alignment and the lists of values that every screen
// shares (check boxes, reasons, kinds of goods, payment). A screen adds what is its own. Raises wire::Error
// (Usage) for a field that the order does not have.
std::vector<TColumnEh> OrderColumns(std::span<const OrderColumnUse> uses);

// Offers these statuses by name in a status column; an order without one is shown as waiting.
void OfferStatuses(TColumnEh& column, std::initializer_list<int> statuses);
