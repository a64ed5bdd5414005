#pragma once

#include "runtime/data/ClientDataSet.h"

#include <QStringList>

// What a known customer brings into an order.

// Copies the current row of a list of customers into the order in edit.
void FillShipper(TClientDataSetEx& order, const TClientDataSetEx& customers);
// Takes away what only a customer's row can vouch for; the street stays.
void ClearShipper(TClientDataSetEx& order);

// The payment words of TAB_PAY_MODE that the form opens with: all but the monthly account.
QStringList PayChoices(const QStringList& modes);
// For a caller who is no known customer.
QStringList PayChoicesWithoutCustomer();
// From a customer's own words, ";现付;到付;". The first is empty.
QStringList PayChoicesOfCustomer(const QString& balanceMode);
