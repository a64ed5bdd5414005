#pragma once

#include "framework/DataView.h"
#include "runtime/ui/DBControls.h"

#include <QWidget>

// The details page of the query screens: the current order field by field, its goods, and (where the screen
// has one) its tracking trail. Nothing can be edited here.
class TOrderDetails : public QWidget {
    Q_OBJECT
public:
    TOrderDetails(
        QWidget* parent, TDataSource* order, TClientDataSetEx* items, TClientDataSetEx* trail = nullptr);

private:
    QWidget* CreateFields(TDataSource* order);
    QWidget* CreateTrail(TClientDataSetEx* trail);
};
