#pragma once

#include "runtime/data/TextNumbers.h"
#include "runtime/grid/FilterCondition.h"

#include <QFrame>
#include <QTimer>

class QBoxLayout;
class QLabel;
class QLineEdit;
class QListWidget;

// What a title's funnel opens: the column's values with their rows, a search in them, bounds for dates and
// numbers. Very many values are read a few milliseconds at a time, so that the window never stands still.
// Gone when it is left; only "确定" changes anything.
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
    void AddBounds(QBoxLayout& layout);
    void AddButtons(QBoxLayout& layout);
    void ShowPresent();
    void Connect();
    bool Read();
    void ReadOn();
    void Add(const TClientDataSetEx::ValueCount& count);
    void Sort();
    bool IsFound(const Item& item) const;
    void Fill();
    void TickAll(bool on);
    void Apply();
    bool BoundsReadable();

    TDBGridEh* grid_;
    QString field_;
    bool dates_ = false; // not numbers
    std::vector<Item> items_; // in the order shown
    struct Reading {
        TDBGridEh::Private::FilterTexts texts;
        QStringList shown; // the choice there is; none: all
        std::vector<TClientDataSetEx::ValueCount> counts;
        qsizetype shownRead = 0;
        size_t countsRead = 0;
        TextNumbers numbers{}; // of the choice, then of the other items
        quint32 chosen = 0; // of them
        std::vector<qsizetype> itemOf{}; // by number, -1: none
    };
    std::unique_ptr<Reading> reading_; // while the values are read
    // Of very many numbers and moments, each with its item: nothing has to be found out again of them.
    std::vector<std::pair<wire::Value, size_t>> values_;
    bool applying_ = false; // once they are
    QTimer soon_;
    QString wanted_; // the search's text
    QLineEdit* search_;
    QListWidget* list_;
    QLabel* more_;
    QLineEdit* from_ = nullptr;
    QLineEdit* to_ = nullptr;
};
