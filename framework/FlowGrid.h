#pragma once

#include <QLayout>

#include <vector>

class QLabel;

// Boxes with their labels in columns, those of one column below one another; in fewer columns where the
// window is too narrow for all of them.
class TFlowGrid : public QLayout {
    Q_OBJECT
public:
    // Without margins; at most so many boxes in a line. No label takes less room than `leastLabel`, so that
    // several such grids stand below one another.
    TFlowGrid(QWidget* panel, int columns, int leastLabel = 0);
    ~TFlowGrid() override;
    // In the order in which they stand; a box may take the room of several.
    void AddBox(QLabel* label, QWidget* box, int span = 1);

    void addItem(QLayoutItem* item) override;
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    int count() const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    Qt::Orientations expandingDirections() const override { return Qt::Horizontal; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    int minimumHeightForWidth(int width) const override { return heightForWidth(width); }
    void setGeometry(const QRect& room) override;

private:
    struct TPair {
        QLayoutItem* label;
        QLayoutItem* box;
        int span;
    };
    struct TPlace {
        int line, column, span;
    };
    // What the labels and the boxes of each column need at least.
    struct TWidths {
        std::vector<int> labels, boxes;
        int Sum() const;
    };
    int LineHeight() const;
    std::vector<TPlace> Places(int columns) const;
    TWidths Least(int columns) const;
    int ColumnsIn(int width) const;

    int columns_;
    int leastLabel_;
    std::vector<TPair> pairs_;
    std::vector<QLayoutItem*> items_; // of the pairs
};
