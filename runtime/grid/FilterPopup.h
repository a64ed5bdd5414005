#pragma once

#include "runtime/grid/DBGrid.h"

#include <QFrame>

class QLabel;
class QLineEdit;
class QListWidget;

// What a title's funnel opens: the column's values with their rows, a search in them, bounds for dates and
// numbers. Gone when it is left; only "确定" changes anything.
class TFilterPopup : public QFrame {
public:
    TFilterPopup(TDBGridEh* grid, int column);

    void ShowBelow(const QRect& title); // on the screen

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    struct Item {
        QString text;
        wire::Value value; // one that is shown so
        int rows = 0;
        bool ticked = true;
    };
    void Read();
    bool IsFound(const Item& item) const;
    void Fill();
    void TickAll(bool on);
    void Apply();

    TDBGridEh* grid_;
    int column_;
    bool dates_ = false; // not numbers
    std::vector<Item> items_; // in the order shown
    QString wanted_; // the search's text
    QLineEdit* search_;
    QListWidget* list_;
    QLabel* more_;
    QLineEdit* from_ = nullptr;
    QLineEdit* to_ = nullptr;
};
