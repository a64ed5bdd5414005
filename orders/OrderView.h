#pragma once

#include "framework/DataView.h"
#include "framework/frm_Basic.h"
#include "orders/OrderItems.h"

#include <initializer_list>

// The list of orders over the list of their goods, as every order screen sets them out.

// Sets up a view over orders: row numbers, the columns, the first of them frozen. A click on a row shows its
// goods.
void PrepareOrdersView(Tfrm_Basic* screen, TDataView& view, std::vector<TColumnEh> columns,
    TClientDataSetEx* orders, TOrderItems* items);
// The panels in rows at the top, below them the lists, which share the room.
void LayOutScreen(
    QWidget* screen, std::initializer_list<QWidget*> panels, TDataView* orders, TDataView* items);
