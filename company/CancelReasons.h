#pragma once

#include <QStringList>

namespace company {

// The ten reasons for which an order is refused or cancelled, in the order of every list.
const QStringList& CancelReasons();

} // namespace company
