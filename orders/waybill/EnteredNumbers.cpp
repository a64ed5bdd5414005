#include "orders/waybill/EnteredNumbers.h"

#include <algorithm>

namespace {

constexpr QStringView kOrderField = u"TX_LOGISTIC_ID";
constexpr QStringView kNumberField = u"BILL_CODE";

// An order that the list does not show (filtered out) counts as it was entered.
bool GivenUp(const TClientDataSetEx& orders, const QString& order, const QString& number)
{
    const int orderField = orders.FieldIndex(kOrderField);
    const int numberField = orders.FieldIndex(kNumberField);
    for (int row = 0; row < orders.RecordCount(); ++row) {
        if (orders.ViewText(row, orderField) == order)
            return orders.ViewText(row, numberField) != number;
    }
    return false;
}

} // namespace

void TEnteredNumbers::Refill(const TClientDataSetEx& orders)
{
    Clear();
    const int orderField = orders.FieldIndex(kOrderField);
    const int numberField = orders.FieldIndex(kNumberField);
    for (int row = 0; row < orders.RecordCount(); ++row)
        Enter(orders.ViewText(row, orderField), orders.ViewText(row, numberField));
}

bool TEnteredNumbers::OtherOrderHas(
    const TClientDataSetEx& orders, const QString& order, const QString& number) const
{
    return std::any_of(numberOf_.keyValueBegin(), numberOf_.keyValueEnd(), [&](const auto& entry) {
        return entry.second == number && entry.first != order && !GivenUp(orders, entry.first, number);
    });
}
