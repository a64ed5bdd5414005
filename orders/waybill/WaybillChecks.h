#pragma once

#include <QString>

#include <string_view>

// Waybill numbers as the screens check them: their check digit, the company's rule, the ranges issued to
// sites, the orders that have them and the numbers withdrawn.

// The check digit of a waybill number of 8 or 12 characters, counted without surrounding blanks; numbers of
// any other length pass. Raises wire::Error (Data) where a digit is needed and another character stands.
bool CheckANBillCode(const QString& code);

// Whether the character after the digits at `first` is their check digit: the weighted sum (one weight a
// digit) modulo 11, with the odd results for 0, 1 and 10 that the printed numbers carry. Raises wire::Error
// (Data) where a digit is needed and another character stands.
bool CheckDigitFits(const QString& code, qsizetype first, std::string_view weights);

// Whether the number lies in a range issued to one of the sites: whole, or by its first 11 (shorter numbers:
// 7) characters. `siteList` is a ready-made list of quoted site names. Raises wire::Error.
bool WaybillIssued(const QString& code, const QString& siteList);
QString WaybillIssuedQuery(const QString& code, const QString& siteList);

// Whether the number matches the pattern; tells the user when it does not.
bool CheckWaybillFormat(const QString& code, const QString& pattern);

// Whether the number matches. Raises wire::Error for a pattern that cannot be used.
bool MatchesPattern(const QString& number, const QString& pattern);
// The same with the host's rule "MainBill".
bool FitsWaybillRule(const QString& number);
// The number as stock counts it.
QString WithoutCheckDigit(const QString& number);

QString WaybillUsedQuery(const QString& number);
// `index` is the one that the screen's query names.
QString WaybillDisabledQuery(const QString& number, QStringView index = u"TAB_BILL_DEL_P");
// Whether any order on the server has the number; whether it was withdrawn; whether a query about one gives
// any row. Raise wire::Error.
bool WaybillUsed(const QString& number);
bool WaybillDisabled(const QString& number, QStringView index = u"TAB_BILL_DEL_P");
bool WaybillFound(const QString& sqlText);
