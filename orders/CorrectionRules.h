#pragma once

#include "orders/waybill/EnteredNumbers.h"

// The rules of pickup correction: an order that was picked up gets another waybill number.

// The number that is meant: of 14 characters in these series the first 12, any other whole.
QString CorrectionNumber(const QString& trimmed);
// The first of its numbers to be issued to the site that picked up, counted without check digits.
QString CorrectionIssuedQuery(const QString& number, const QString& recSite);

// The before-post handler. `numbers` are those of the orders in the list.
void CheckCorrection(TClientDataSetEx& cds, const TEnteredNumbers& numbers);
