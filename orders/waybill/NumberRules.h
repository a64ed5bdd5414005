#pragma once

#include "orders/waybill/EnteredNumbers.h"

// What pickup and its correction ask of the waybill number of a row, each a rule of the before-post handler.

QString NumberOf(const TClientDataSetEx& cds); // as it stands in the row
[[noreturn]] void RefuseNumber(const QString& message);

// The host's rule for the company's numbers.
void RequireWaybillRule(const QString& number);
// No other order has the row's number: neither in the screen nor on the server.
void RequireUnusedNumber(const TClientDataSetEx& cds, const TEnteredNumbers& entered);
// `index` is the one that the screen's query names.
void RequireEnabledNumber(const QString& number, QStringView index = u"TAB_BILL_DEL_P");
