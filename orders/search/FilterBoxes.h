#pragma once

#include "company/OrderStatus.h"
#include "runtime/controls/DBControls.h"

#include <QString>

#include <initializer_list>

// What the search panels over orders share: filter boxes that begin with "全部", which asks nothing.

QString AnyValue();
// The text of a filter box, empty where it asks nothing.
QString FilterText(const TDBComboBoxEh& box);
// The key behind the text, empty where the box asks nothing.
QString FilterKey(const TDBComboBoxEh& box);

// Statuses by name, the codes behind them; a list to choose from, not to type into.
void OfferStatusFilter(TDBComboBoxEh& box, company::StatusUse use, std::initializer_list<int> statuses);
// The same with every status but those of the handhelds.
void OfferSearchStatuses(TDBComboBoxEh& box, company::StatusUse use);
void OfferReasonFilter(TDBComboBoxEh& box);
void OfferProvinceFilter(TDBComboBoxEh& box, const QStringList& provinces);

// The sources of orders, as the boxes offer them.
QStringList OrderSources();
// The provinces that orders come from.
QString OrderProvincesQuery();
