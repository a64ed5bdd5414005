#pragma once

#include "runtime/data/DataSource.h"

#include <QLabel>

// The current order in three lines: its numbers, from whom, to whom.
class TOrderSummary : public QLabel {
    Q_OBJECT
public:
    TOrderSummary(QWidget* parent, TDataSource* order);

private:
    void ShowOrder();

    TDataSource* order_;
};
