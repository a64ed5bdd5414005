#pragma once

#include "runtime/data/DataSource.h"

#include <QWidget>

class QPushButton;

// A strip of buttons for screens whose rows are added by hand, live as the dataset's state
// allows. What a handler of the dataset refuses stays undone.
class TRecordButtons : public QWidget {
    Q_OBJECT
public:
    TRecordButtons(QWidget* parent, const QString& name);
    void SetDataSource(TDataSource* source);
    // Off at first: most screens edit in the list itself, and keep the rows that the server has.
    void SetOfferEdit(bool on);

    QPushButton* AddButton; // 增加: posts the row in edit, then begins a new one
    QPushButton* EditButton; // 修改: the current row, for controls that wait for it
    QPushButton* DiscardButton; // 放弃: what was not saved of the current row; an added row goes

private:
    void Attach(TClientDataSetEx* dataSet);
    void ShowState();
    void Discard();

    QPointer<TDataSource> source_;
    QPointer<TClientDataSetEx> dataSet_;
};
