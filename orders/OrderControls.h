#pragma once

#include "framework/frm_Basic.h"
#include "orders/Items.h"
#include "runtime/ui/DBControls.h"

#include <QBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

class QAction;

// What the order screens lay out alike: labelled filter controls, lookups of sites and employees, the orders'
// list over the goods' list.

// A label that leads to the control and names it for screen readers; "&" marks its key.
QLabel* LabelFor(QWidget* control, const QString& text, QWidget* parent);
// Puts label and control at the end of the row, the control at most so many characters wide (0: as wide as it
// likes). Returns the label.
QLabel* AddControl(QBoxLayout& row, const QString& label, QWidget* control, int characters = 0);
// Two date editors, preset to the whole of today.
void AddDateRange(QBoxLayout& row, TDBDateTimeEditEh* from, const QString& fromLabel, TDBDateTimeEditEh* to,
    const QString& toLabel);
QPushButton* NewButton(QWidget* parent, const QString& name, const QString& caption);
// A button that runs the action and is named after it, with "Button" behind.
QToolButton* NewActionButton(QWidget* parent, QAction* action);

// Chosen by name from a list of sites or employees; their codes may be typed as well.
TLookupParams SiteLookup(TDataSource* sites);
TLookupParams EmployeeLookup(TDataSource* employees);
// Makes the box choose from the list; what was typed is completed when the box is left.
void PrepareLookup(TDBLookupComboboxEh& box, const TLookupParams& lookup);

// Sets up a view over orders: row numbers, the columns, the first of them frozen. A click on a row shows its
// goods.
void PrepareOrdersView(Tfrm_Basic* screen, TDataView& view, std::vector<TColumnEh> columns,
    TClientDataSetEx* orders, TOrderItems* items);
// The panels in rows at the top, below them the lists, which share the room.
void LayOutScreen(
    QWidget* screen, std::initializer_list<QWidget*> panels, TDataView* orders, TDataView* items);
