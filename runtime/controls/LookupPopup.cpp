#include "runtime/controls/LookupPopup.h"

#include "runtime/controls/LookupCompletion.h"
#include "runtime/ui/ListStyle.h"
#include "runtime/ui/Style.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QScrollBar>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kRowsMeasured = 50;

} // namespace

class TLookupPopup::Model : public QAbstractTableModel {
public:
    using QAbstractTableModel::QAbstractTableModel;

    void Fill(const TLookupParams& params, std::vector<int> rows)
    {
        beginResetModel();
        rows_ = std::move(rows);
        list_ = params.listSource ? params.listSource->DataSet() : nullptr;
        columns_ = params.columns;
        if (columns_.empty())
            columns_.push_back({params.listField.isEmpty() ? params.keyField : params.listField, {}, 160});
        fields_.clear();
        for (const TLookupColumn& column : columns_)
            fields_.push_back(list_ ? list_->FieldIndex(column.field) : -1);
        endResetModel();
    }

    int rowCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : int(rows_.size());
    }
    int columnCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : int(columns_.size());
    }
    QVariant data(const QModelIndex& index, int role) const override
    {
        if (!index.isValid() || role != Qt::DisplayRole || !list_ || !list_->Active())
            return {};
        const int row = rows_[size_t(index.row())];
        const int field = fields_[size_t(index.column())];
        return field >= 0 && row < list_->RecordCount() ? list_->ViewText(row, field) : QVariant();
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
            return {};
        return columns_[size_t(section)].title;
    }

    int Row(int index) const { return index >= 0 && index < int(rows_.size()) ? rows_[size_t(index)] : -1; }
    int IndexOf(int row) const
    {
        const auto found = std::find(rows_.begin(), rows_.end(), row);
        return found != rows_.end() ? int(found - rows_.begin()) : -1;
    }
    const std::vector<TLookupColumn>& Columns() const { return columns_; }

private:
    std::vector<int> rows_;
    QPointer<TClientDataSetEx> list_;
    std::vector<TLookupColumn> columns_;
    std::vector<int> fields_;
};

TLookupPopup::TLookupPopup(QWidget* edit)
    : QFrame(edit, Qt::ToolTip | Qt::FramelessWindowHint)
    , edit_(edit)
    , model_(new Model(this))
    , table_(new QTableView(this))
{
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::NoFocus);
    setFrameShape(QFrame::Box);
    setFrameShadow(QFrame::Plain);
    setPalette(QApplication::palette());
    setBackgroundRole(QPalette::Base);
    auto* box = new QVBoxLayout(this);
    box->setContentsMargins(1, 1, 1, 1);
    box->addWidget(table_);
    table_->setModel(model_);
    table_->setFrameShape(QFrame::NoFrame);
    table_->setFocusPolicy(Qt::NoFocus);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setShowGrid(false);
    table_->setAlternatingRowColors(true);
    table_->setWordWrap(false);
    table_->verticalHeader()->hide();
    table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table_->verticalHeader()->setMinimumSectionSize(8);
    table_->horizontalHeader()->setHighlightSections(false);
    table_->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    table_->horizontalHeader()->setStretchLastSection(true);
    connect(table_, &QTableView::clicked, this, [this] {
        chosen_ = true;
        if (OnDone)
            OnDone(true);
    });
}

TLookupPopup::~TLookupPopup()
{
    qApp->removeEventFilter(this);
}

void TLookupPopup::ShowRows(const TLookupParams& params, const QString& typed, int current)
{
    params_ = params;
    chosen_ = false;
    setFont(ListFont());
    Narrow(typed);
    const bool titled = std::any_of(model_->Columns().begin(), model_->Columns().end(),
        [](const TLookupColumn& column) { return !column.title.isEmpty(); });
    table_->horizontalHeader()->setVisible(titled);
    int width = Scaled(*this, 4) + table_->verticalScrollBar()->sizeHint().width();
    for (int i = 0; i < model_->columnCount(); ++i) {
        const TLookupColumn& column = model_->Columns()[size_t(i)];
        const int titleWidth = fontMetrics().horizontalAdvance(column.title) + Scaled(*this, 16);
        // Wider than described where its texts are, within reason.
        int textWidth = 0;
        for (int row = 0; row < std::min(model_->rowCount(), kRowsMeasured); ++row)
            textWidth = std::max(textWidth,
                fontMetrics().horizontalAdvance(model_->index(row, i).data().toString()) + Scaled(*this, 12));
        const int described = ShownWidth(*this, column.width);
        table_->setColumnWidth(i, std::max(std::clamp(textWidth, described, 2 * described), titleWidth));
        width += table_->columnWidth(i);
    }
    const int rowHeight = ListRowHeight(*this);
    table_->verticalHeader()->setDefaultSectionSize(rowHeight);
    const int rows = std::clamp(model_->rowCount(), 3, 12);
    const int height = rows * rowHeight + (titled ? table_->horizontalHeader()->sizeHint().height() : 0) + 6;
    PlacePopup(*this, *edit_, QSize(std::max(width, edit_->width()), height));
    qApp->installEventFilter(this);
    show();
    const int index = current < 0 ? -1 : model_->IndexOf(current);
    if (index >= 0)
        table_->selectRow(index);
}

void TLookupPopup::Narrow(const QString& typed)
{
    TLookupMatches matches = MatchingLookupRows(params_, typed);
    matched_ = !matches.rows.empty();
    if (!matched_)
        matches = MatchingLookupRows(params_, {});
    model_->Fill(params_, std::move(matches.rows));
    chosen_ = false;
    // Only a beginning suggests its row: Enter leaves any other text as typed until a row is gone to.
    if (matched_ && !typed.isEmpty() && matches.beginning > 0)
        table_->selectRow(0);
    else
        table_->clearSelection();
}

int TLookupPopup::CurrentRow() const
{
    const QModelIndexList selected = table_->selectionModel()->selectedRows();
    return selected.isEmpty() ? -1 : model_->Row(selected.front().row());
}

bool TLookupPopup::HandleKey(QKeyEvent* event)
{
    const QModelIndexList selected = table_->selectionModel()->selectedRows();
    const int last = model_->rowCount() - 1;
    const int page = std::max(1, table_->viewport()->height() / std::max(1, table_->rowHeight(0)) - 1);
    int row = selected.isEmpty() ? -1 : selected.front().row();
    switch (event->key()) {
    case Qt::Key_Up:
        if (event->modifiers() & Qt::AltModifier) {
            OnDone(false);
            return true;
        }
        row = std::max(0, row - 1);
        break;
    case Qt::Key_Down:
        row = std::min(last, row + 1);
        break;
    case Qt::Key_PageUp:
        row = std::max(0, row - page);
        break;
    case Qt::Key_PageDown:
        row = std::min(last, row + page);
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        OnDone(row >= 0);
        return true;
    case Qt::Key_Escape:
    case Qt::Key_F4:
        OnDone(false);
        return true;
    default:
        return false;
    }
    if (row >= 0 && row <= last) {
        table_->selectRow(row);
        chosen_ = true;
    }
    return true;
}

bool TLookupPopup::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress && watched->isWidgetType()) {
        auto* widget = static_cast<QWidget*>(watched);
        if (widget != edit_ && !edit_->isAncestorOf(widget) && !isAncestorOf(widget) && widget != this
            && OnDone)
            OnDone(false);
    }
    return false;
}

void TLookupPopup::hideEvent(QHideEvent* event)
{
    qApp->removeEventFilter(this);
    QFrame::hideEvent(event);
}
