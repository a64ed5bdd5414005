#pragma once

#include <QStringView>

// Who pays the freight: PAY_TYPE of an order.
namespace company {

inline constexpr QStringView kPaidInCash = u"0";
inline constexpr QStringView kPaidByConsignee = u"1";

} // namespace company
