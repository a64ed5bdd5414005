#pragma once

#include "framework/DataView.h"

#include <QHash>
#include <QWidget>

class QLabel;

// Marks in a list the rows for which the server refused the last save, one that tolerates no refusal: by a
// colour, and with the reason of the current one in a line below the grid. Rows that were merely undone with
// them are not marked. Hidden while there are none.
class TRefusedRows : public QWidget {
    Q_OBJECT
public:
    // The view has its columns and its dataset. Rows are known by the key, which a refused row must have.
    TRefusedRows(TDataView& view, QStringView keyField);

private:
    void Read();
    void ShowReason();
    bool Holds(int viewRow) const;

    TClientDataSetEx* rows_;
    QString keyField_;
    QHash<QString, QString> reasons_; // by key
    QLabel* reason_;
};
