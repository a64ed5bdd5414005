#include "orders/WaybillNumbers.h"

#include <algorithm>

bool TEnteredNumbers::Has(const QString& order, const QString& number) const
{
    const auto entry = numberOf_.find(order);
    return entry != numberOf_.end() && *entry == number;
}

bool TEnteredNumbers::OtherOrderHas(const QString& order, const QString& number) const
{
    return std::any_of(numberOf_.keyValueBegin(), numberOf_.keyValueEnd(),
        [&](const auto& entry) { return entry.second == number && entry.first != order; });
}

void TEnteredNumbers::Enter(const QString& order, const QString& number)
{
    numberOf_.insert(order, number);
}
