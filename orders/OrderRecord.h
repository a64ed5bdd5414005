#pragma once

#include "company/CancelReasons.h"
#include "company/CandidateSites.h"
#include "company/OrderStatus.h"
#include "runtime/ui/DBGrid.h"

#include <QString>

#include <span>

// The order, a row of tab_zelmor_bill: what its codes mean and how its columns look in every screen.

using company::CancelReasons;
using company::CandidateLengthMessage;
using company::IsCandidate;
using company::kStatusAccepted;
using company::kStatusCancelled;
using company::kStatusDelivered;
using company::kStatusDeliveryFailed;
using company::kStatusInTransit;
using company::kStatusPickedUp;
using company::kStatusPickupFailed;
using company::kStatusRefused;
using company::kStatusWaiting;
using company::TransferCandidate;

// Who pays the freight, PAY_TYPE.
inline constexpr QStringView kPaidInCash = u"0";
inline constexpr QStringView kPaidByConsignee = u"1";

// The site that sees every order.
QString HeadquartersSite();

// In the screens over all orders.
QString StatusName(int status);

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
