#pragma once

#include <QStringView>

namespace company {

// The site that sees every order.
inline constexpr QStringView kHeadquarters = u"快运本部";
// The type of a site that dispatches for those under its finance centre.
inline constexpr QStringView kCentreType = u"中心";

} // namespace company
