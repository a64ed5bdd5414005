#pragma once

#include "framework/DataView.h"

#include <QScrollArea>
#include <QTabWidget>

#include <initializer_list>

// The list of orders over the list of their goods, as every order screen sets them out.

// Sets up a view over orders: row numbers, the columns, the first `frozen` of them kept in sight.
void PrepareOrdersView(
    TDataView& view, std::vector<TColumnEh> columns, TClientDataSetEx* orders, int frozen = 1);
// A main list is never lower than four rows: a window that is too small scrolls.
void KeepRowsInSight(TDataView& view);
// The panels in rows at the top, giving way where the window is low; below them the orders and what belongs
// to the current one, which share the room.
void LayOutScreen(QWidget* screen, std::initializer_list<QWidget*> panels, TDataView* orders, QWidget* below,
    int belowPercent = 20);
// A page with room for one widget.
QWidget* AddPage(QTabWidget& pages, const QString& name, const QString& caption);
// Shows as much of the content as there is room for; the rest is scrolled to.
QScrollArea* InScrollArea(QWidget* content, QWidget* parent);
// The same around an empty widget. What is large is made where it stays: each change of a parent styles all
// that is below it anew.
QScrollArea* NewScrollArea(QWidget* parent);
