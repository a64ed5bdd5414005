#pragma once

#include "framework/DataView.h"
#include "runtime/controls/DBControls.h"

#include <QWidget>

#include <span>

class QLabel;

// Where a field's box stands in its block; its label goes before it.
struct TDetailField {
    QStringView caption;
    QStringView field;
    int row;
    int column;
    int span = 1; // boxes wide
};

struct TDetailBlock {
    QString caption;
    std::span<const TDetailField> fields;
};

std::span<const TDetailField> OrderNumberFields();
TDetailBlock SenderBlock();
TDetailBlock ReceiverBlock();
TDetailBlock ReceiverBlockWithoutTime(); // without the time of the order

// The details of the current order: field by field, its goods, and (where the screen has one) its tracking
// trail. Nothing can be edited here. It scrolls where its place is too small.
class TOrderDetails : public QWidget {
    Q_OBJECT
public:
    struct TOptions {
        TClientDataSetEx* items = nullptr;
        QString itemsView = QStringLiteral("DataView2"); // its name
        QString itemsCaption{}; // of the frame around the goods; empty: none
        TClientDataSetEx* trail = nullptr; // none: no trail
        QString trailView = QStringLiteral("DataView3");
        std::span<const TDetailField> numbers = OrderNumberFields();
        std::vector<TDetailBlock> blocks = {SenderBlock(), ReceiverBlock()};
    };

    TOrderDetails(QWidget* parent, TDataSource* order, const TOptions& options);

    // Whose trail was read; the trail says so, and that it is not the current order's where that holds.
    void SetTrailOrder(const QString& orderNumber);

private:
    QWidget* CreateFields(QWidget* content, const TOptions& options);
    QWidget* CreateLists(QWidget* content, const TOptions& options);
    QWidget* CreateItems(QWidget* lists, const TOptions& options);
    QWidget* CreateTrail(QWidget* lists, const TOptions& options);
    void ShowTrailOrder();

    TDataSource* order_;
    TClientDataSetEx* trail_ = nullptr;
    QLabel* trailOrder_ = nullptr;
    QString trailNumber_;
};
