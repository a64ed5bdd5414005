#pragma once

#include "framework/NumberListInput.h"
#include "orders/search/DateWindow.h"
#include "orders/search/OrderSearch.h"

// The search panel that a table of criteria describes: pasted numbers, a date window by the time of the order
// or of its pickup, and the boxes of the table. It scrolls where its place is too small. Asks the server
// nothing itself, except for pages of employees.
class TOrderSearchPanel : public QWidget {
    Q_OBJECT
public:
    TOrderSearchPanel(QWidget* parent, const QString& name, const QString& windowTitle,
        const TPasteRule& numbers, std::span<const TCriterion> table);

    TDateWindow& Window() noexcept { return *window_; }
    // The box of a criterion, by the column that it filters.
    QWidget* Box(QStringView column) const;
    void SetText(QStringView column, const QString& text);
    void OfferProvinces(const QStringList& provinces);

    // Numbers are pasted, and which they are.
    bool ByOrderNumber() const { return numbers_->FirstWay(); }
    bool ByWaybill() const { return numbers_->SecondWay(); }
    // The quoted list; empty, the user having been told why, when there is none.
    QString NumberList() { return numbers_->List(); }
    // What every box says.
    TOrderCriteria Criteria() const;

private:
    QWidget* CreateTimePanel(QWidget* content, const QString& windowTitle);
    QWidget* CreateFilterPanel(QWidget* content);
    QWidget* NewBox(const TCriterion& criterion, QWidget* panel);
    static void DBLookupComboboxEh2Exit(TDBLookupComboboxEh& box); // of every lookup

    std::span<const TCriterion> table_;
    TNumberListInput* numbers_;
    TDateWindow* window_ = nullptr;
    QHash<QString, QWidget*> boxes_; // by column
};
