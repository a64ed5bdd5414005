#pragma once

#include "company/CancelReasons.h"
#include "company/CandidateSites.h"
#include "company/Headquarters.h"
#include "company/OrderStatus.h"

// The order, a row of tab_zelmor_bill: what its codes mean.

using company::CancelReasons;
using company::CandidateLengthMessage;
using company::IsCandidate;
using company::kHeadquarters;
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
