#pragma once

#include "runtime/Export.h"
#include "runtime/data/ExactSum.h"
#include "runtime/grid/DBGrid.h"

#include <QLabel>
#include <QTimer>

// What the cells of the rows selected together hold in the current column of the list with the focus: how
// many, and of numbers their sum and mean. Numbers of orders are texts and count only. Read once the
// selection rests, a few milliseconds at a time.
class RUNTIME_EXPORT TSelectionSum : public QLabel {
    Q_OBJECT
public:
    explicit TSelectionSum(QWidget* parent = nullptr);

private:
    void Follow(TDBGridEh* grid);
    void Later();
    void Begin();
    void Work();
    void Say();

    QPointer<TDBGridEh> grid_;
    QPointer<TClientDataSetEx> rows_;
    QTimer rest_;
    QTimer soon_;
    std::vector<TBookmark> selected_;
    size_t next_ = 0;
    int field_ = -1;
    bool numeric_ = false;
    ExactSum sum_;
    int values_ = 0;
};
