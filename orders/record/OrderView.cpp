#include "orders/record/OrderView.h"

#include "framework/FilterPane.h"
#include "runtime/ui/Style.h"

#include <QSplitter>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kLeastHeight = 196; // of a list: its titles, its totals and four rows

} // namespace

void PrepareOrdersView(TDataView& view, std::vector<TColumnEh> columns, TClientDataSetEx* orders, int frozen)
{
    columns.insert(columns.begin(), {.title = u"序号"_s, .width = 46, .readOnly = true});
    TDBGridEh* grid = view.DataViewGrid;
    grid->SetColumns(std::move(columns));
    grid->SetFrozenCols(frozen + 1);
    KeepRowsInSight(view);
    view.DS->SetDataSet(orders);
    view.Loaded();
}

void KeepRowsInSight(TDataView& view)
{
    view.DataViewGrid->setMinimumHeight(Scaled(view, kLeastHeight));
}

void LayOutScreen(QWidget* screen, std::initializer_list<QWidget*> panels, TDataView* orders, QWidget* below,
    int belowPercent)
{
    auto* lists = new TBelowFilters<QSplitter>(Qt::Vertical, screen);
    lists->addWidget(orders);
    lists->addWidget(below);
    lists->setStretchFactor(0, 100 - belowPercent);
    lists->setStretchFactor(1, belowPercent);
    lists->setChildrenCollapsible(false);

    auto* layout = new QVBoxLayout(screen);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(new TFilterPane(screen, panels));
    layout->addWidget(lists, 1);
}

QWidget* AddPage(QTabWidget& pages, const QString& name, const QString& caption)
{
    auto* page = new QWidget(&pages);
    page->setObjectName(name);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    pages.addTab(page, caption);
    return page;
}

QScrollArea* InScrollArea(QWidget* content, QWidget* parent)
{
    auto* area = new QScrollArea(parent);
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidget(content);
    return area;
}

QScrollArea* NewScrollArea(QWidget* parent)
{
    return InScrollArea(new QWidget, parent);
}
