#pragma once

#include "framework/DataView.h"

#include <QHash>
#include <QWidget>

class QLabel;

// Marks in a list the rows for which the server refused the last save: by a colour, and with the reason of
// the current one in a line below the grid. Rows that were merely undone with them are not marked. Hidden
// while there are none.
class TRefusedRows : public QWidget {
    Q_OBJECT
public:
    // The view has its columns and its dataset. Rows are known by the key (fields separated by ";"), which a
    // refused row must have. The legend says what became of the other rows: as it stands, of a save that
    // tolerates no refusal.
    TRefusedRows(TDataView& view, QStringView keyFields,
        const QString& legend = QStringLiteral("服务器拒绝了底色标出的行，全部修改都没有保存。"));

private:
    void Read();
    void ShowReason();
    bool Holds(int viewRow) const;

    TClientDataSetEx* rows_;
    QString keyFields_;
    QHash<QStringList, QString> reasons_; // by key
    QLabel* reason_;
};
