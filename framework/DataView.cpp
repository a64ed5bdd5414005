#include "framework/DataView.h"

#include "framework/CriteriaWords.h"
#include "framework/DataViewLayout.h"
#include "framework/ViewState.h"
#include "framework/export/frm_Export.h"
#include "framework/frm_Basic.h"
#include "framework/print/frm_Print.h"
#include "module/data/LayoutStorage.h"
#include "runtime/ui/ActionKeys.h"
#include "runtime/ui/Style.h"

#include <QAbstractButton>
#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QColor kFooterColor(0xDD, 0xDD, 0xFF);
constexpr QColor kEvenRowColor(0xDD, 0xDD, 0xFF);
constexpr QColor kOddRowColor(0xC4, 0xC4, 0xFF);
constexpr int kFooterRows = 2;
const QString kRowNumberTitle = u"序号"_s;
constexpr QPoint kRowNumberOffset(3, 2); // from the cell's upper left corner, in pixels

} // namespace

TDataView::TDataView(QWidget* parent, const QString& name)
    : QFrame(parent)
    , DataViewGrid(new TDBGridEh(this, u"DataViewGrid"_s))
    , DataViewPrint(new TPrintDBGridEh(DataViewGrid, u"DataViewPrint"_s))
    , DS(new TDataSource(this, u"DS"_s))
    , Panel1(new QLabel(u"在这里描述您下面的表的意义"_s, this))
    , FilterBar(new QFrame(this))
{
    setObjectName(name);
    Panel1->setObjectName(u"Panel1"_s);
    Panel1->setAlignment(Qt::AlignCenter);
    Panel1->hide();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(Panel1);
    layout->addWidget(FilterBar);
    layout->addWidget(DataViewGrid, 1);
    FilterBar->setObjectName(u"FilterBar"_s);
    FilterBar->hide();
    connect(DataViewGrid, &TDBGridEh::FiltersChanged, this, &TDataView::ShowFilters);
    connect(
        DataViewGrid->model(), &QAbstractItemModel::modelReset, this, [this] { ShowFilteredCount(); },
        Qt::QueuedConnection);
    setFocusProxy(DataViewGrid);

    DataViewGrid->setAccessibleName(u"列表"_s);
    DataViewGrid->AllowInsert = false;
    DataViewGrid->AllowDelete = false;
    DataViewGrid->SetFooterRowCount(kFooterRows);
    DataViewGrid->SetFooterColor(kFooterColor);
    DataViewGrid->SetSortLocal(true);
    DataViewGrid->SetSumListActive(true);
    DataViewGrid->SetRowNumberTitle(kRowNumberTitle);
    DataViewGrid->SetDataSource(DS);

    DataViewGrid->OnGetCellParams = [this](const TColumnEh& column, int viewRow, TCellParams& params) {
        DataViewGridGetCellParams(column, viewRow, params);
    };
    DataViewGrid->OnDrawColumnCell = [this](QPainter& painter, const QRect& rect, int column, int viewRow) {
        return DataViewGridDrawColumnCell(painter, rect, column, viewRow);
    };
    DataViewGrid->OnTitleBtnClick = [this](int column) { DataViewGridTitleBtnClick(column); };
    DataViewGrid->OnContextMenu = [this](QMenu& menu) { DataViewGridContextMenu(menu); };
    Tfrm_Export::AddAction(*DataViewGrid);
    Tfrm_Print::AddAction(*this);
    new TCriteriaWords(*this);
    DS->OnStateChange = [this] { DSStateChange(); };
}

TDataView::~TDataView()
{
    DS->OnStateChange = nullptr;
    if (LayoutStorage && !layoutSection_.isEmpty())
        WriteLayout(*DataViewGrid, *LayoutStorage, layoutSection_);
    // Both look at the grid, which empties itself as it goes, and at this view, which is none by then.
    delete findChild<TViewState*>(QString(), Qt::FindDirectChildrenOnly);
    delete findChild<TCriteriaWords*>(QString(), Qt::FindDirectChildrenOnly);
}

void TDataView::SetStriped(bool on)
{
    striped_ = on;
    DataViewGrid->viewport()->update();
}

void TDataView::Loaded()
{
    layoutSection_ = LayoutSection(*DataViewGrid);
    TViewState* state = nullptr;
    if (LayoutStorage) {
        ReadLayout(*DataViewGrid, *LayoutStorage, layoutSection_);
        state = new TViewState(this, *DataViewGrid, layoutSection_);
        state->RestoreColumns();
    }
    PrepareFooters();
    if (state)
        state->RestoreSorting();
    // Columns that the user makes visible later.
    connect(DataViewGrid, &TDBGridEh::ColumnsChanged, this, &TDataView::PrepareTitleButtons);
}

void TDataView::PrepareTitleButtons()
{
    for (int i = 0; i < DataViewGrid->ColumnCount(); ++i) {
        const TColumnEh& column = DataViewGrid->Column(i);
        if (column.visible && !column.titleButton)
            DataViewGrid->ModifyColumn(i, [](TColumnEh& changed) { changed.titleButton = true; });
    }
}

void TDataView::PrepareFooters()
{
    for (int i = 0; i < DataViewGrid->ColumnCount(); ++i) {
        const TColumnEh& column = DataViewGrid->Column(i);
        if (!column.visible || column.fieldName.isEmpty())
            continue;
        DataViewGrid->ModifyColumn(i, [](TColumnEh& changed) {
            changed.footers = {{TFooterValueType::StaticText, u"记录数"_s, TAlignment::Center},
                {TFooterValueType::Count, {}, TAlignment::Center}};
        });
        break;
    }
    PrepareTitleButtons();
}

void TDataView::DataViewGridGetCellParams(const TColumnEh&, int viewRow, TCellParams& params)
{
    if (striped_)
        params.background = (viewRow + 1) % 2 == 0 ? kEvenRowColor : kOddRowColor;
}

bool TDataView::DataViewGridDrawColumnCell(QPainter& painter, const QRect& rect, int column, int viewRow)
{
    const TClientDataSetEx* dataSet = DataViewGrid->DataSet();
    if (DataViewGrid->Column(column).title != kRowNumberTitle || !DataViewGrid->SumListActive() || !dataSet
        || dataSet->IsEmpty() || viewRow < 0)
        return false;
    const QPoint origin = rect.topLeft() + kRowNumberOffset;
    painter.drawText(
        QRect(origin, rect.bottomRight()), Qt::AlignLeft | Qt::AlignTop, QString::number(viewRow + 1));
    return true;
}

void TDataView::DataViewGridTitleBtnClick(int)
{
    DataViewGrid->ClearSelectedRows();
}

void TDataView::DataViewGridContextMenu(QMenu& menu)
{
    QWidget* widget = parentWidget();
    while (widget && !qobject_cast<Tfrm_Basic*>(widget))
        widget = widget->parentWidget();
    const auto* screen = static_cast<Tfrm_Basic*>(widget);
    if (!screen || screen->DataView() != this)
        return;
    menu.addSeparator();
    menu.addActions(screen->actions());
    for (const auto& [button, text, key] : {std::tuple(screen->QueryButton(), u"查询(&Q)\t"_s, kQueryKey),
             std::tuple(screen->SaveButton(), u"保存(&S)\t"_s, kSaveKey)}) {
        if (button)
            menu.addAction(
                    text + QString::fromUtf16(key), button, [button = button] { PressButton(*button); })
                ->setEnabled(
                    button->isEnabled() && (button != screen->SaveButton() || screen->isWindowModified()));
    }
}

// A chip for each filter, which ends it, and one for all.
void TDataView::ShowFilters()
{
    qDeleteAll(FilterBar->findChildren<QWidget*>(Qt::FindDirectChildrenOnly));
    delete FilterBar->layout();
    auto* row = new QHBoxLayout(FilterBar);
    row->setContentsMargins(4, 2, 4, 2);
    const auto chip = [&](const QString& text, const QString& hint, const std::function<void()>& run) {
        auto* button = new QToolButton(FilterBar);
        button->setText(FilterBar->fontMetrics().elidedText(text, Qt::ElideRight, Scaled(*this, 260)));
        button->setToolTip(hint);
        // The chip goes with what it stands for.
        connect(button, &QToolButton::clicked, this, run, Qt::QueuedConnection);
        row->addWidget(button);
    };
    const std::vector<TDBGridEh::Filter>& filters = DataViewGrid->Filters();
    for (const TDBGridEh::Filter& filter : filters) {
        const int column = DataViewGrid->ColumnIndex(filter.field);
        const QString title = column < 0 ? filter.field : DataViewGrid->Column(column).title;
        chip(u"%1：%2  ✕"_s.arg(QString(title).replace(u'|', u" · "_s), filter.Words()), u"点击取消此筛选"_s,
            [this, field = filter.field] {
                DataViewGrid->SetFilter({field, {}, {}, {}});
            });
    }
    if (filters.size() > 1)
        chip(u"清除全部"_s, {}, [this] { DataViewGrid->ClearFilters(); });
    auto* count = new QLabel(FilterBar);
    count->setObjectName(u"FilteredCount"_s);
    row->addWidget(count);
    row->addStretch(1);
    FilterBar->setVisible(!filters.empty());
    ShowFilteredCount();
}

void TDataView::ShowFilteredCount()
{
    auto* count = FilterBar->findChild<QLabel*>(u"FilteredCount"_s);
    const TClientDataSetEx* rows = DataViewGrid->DataSet();
    if (count && rows && !FilterBar->isHidden())
        count->setText(u"显示%1行，共%2行"_s.arg(rows->RecordCount()).arg(rows->UnnarrowedCount()));
}

void TDataView::DSStateChange()
{
    TClientDataSetEx* dataSet = DS->DataSet();
    const TDataSetState state = dataSet ? dataSet->State() : TDataSetState::Inactive;
    const bool editing = state == TDataSetState::Edit || state == TDataSetState::Insert;
    // Sorting would carry the row being edited away from under its editor.
    if (DataViewGrid->SortLocal() == editing)
        DataViewGrid->SetSortLocal(!editing);
    if (editing || !dataSet || !dataSet->ControlsDisabled())
        return;
    // Switched off by a walk over the rows that is still under way, they are that walk's to switch on again;
    // still off once it has returned, they were left behind.
    QMetaObject::invokeMethod(
        this,
        [this] {
            TClientDataSetEx* current = DS->DataSet();
            while (current && current->ControlsDisabled() && current->State() != TDataSetState::Edit
                && current->State() != TDataSetState::Insert)
                current->EnableControls();
        },
        Qt::QueuedConnection);
}
