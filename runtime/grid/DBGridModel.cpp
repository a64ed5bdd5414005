#include "runtime/grid/DBGridPrivate.h"

#include <QColor>

TDBGridModel::TDBGridModel(TDBGridEh* grid)
    : QAbstractTableModel(grid)
    , grid_(grid)
{
}

TClientDataSetEx* TDBGridModel::OpenDataSet() const noexcept
{
    return grid_->d_->OpenDataSet();
}

int TDBGridModel::ViewRow(int modelRow) const noexcept
{
    if (insertedAt_ >= 0 && modelRow >= insertedAt_)
        return modelRow + 1;
    if (removedAt_ >= 0 && modelRow >= removedAt_)
        return modelRow == removedAt_ ? -1 : modelRow - 1;
    return modelRow;
}

bool TDBGridModel::Holds(const QModelIndex& index) const noexcept
{
    return index.isValid() && index.model() == this && index.row() < rows_
        && index.column() < grid_->ColumnCount();
}

int TDBGridModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : rows_;
}

int TDBGridModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : grid_->ColumnCount();
}

QVariant TDBGridModel::data(const QModelIndex& index, int role) const
{
    if (!Holds(index))
        return {};
    const TColumnEh& column = grid_->Column(index.column());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole: {
        const int row = ViewRow(index.row());
        const TClientDataSetEx* dataSet = OpenDataSet();
        if (!dataSet || row < 0 || row >= dataSet->RecordCount())
            return {};
        return grid_->CellText(row, index.column());
    }
    case Qt::TextAlignmentRole: {
        const auto horizontal = column.alignment == TAlignment::Right ? Qt::AlignRight
            : column.alignment == TAlignment::Center                  ? Qt::AlignHCenter
                                                                      : Qt::AlignLeft;
        return int(horizontal | Qt::AlignVCenter);
    }
    default:
        return {};
    }
}

bool TDBGridModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role != Qt::EditRole || !Holds(index))
        return false;
    auto& d = *grid_->d_;
    if (!d.Editable(index.column()) || !d.MoveTo(index.row(), index.column()))
        return false;
    return d.WriteCell(index.column(), d.StoredText(index.column(), value.toString()));
}

QVariant TDBGridModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || section < 0)
        return {};
    if (orientation == Qt::Horizontal)
        return section < grid_->ColumnCount() ? QVariant(grid_->Column(section).title) : QVariant();
    return section < rows_ ? QVariant(section + 1) : QVariant();
}

Qt::ItemFlags TDBGridModel::flags(const QModelIndex& index) const
{
    if (!Holds(index))
        return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    if (grid_->d_->Editable(index.column()))
        flags |= Qt::ItemIsEditable;
    return flags;
}

void TDBGridModel::Reset()
{
    beginResetModel();
    const TClientDataSetEx* dataSet = OpenDataSet();
    rows_ = dataSet ? dataSet->RecordCount() : 0;
    endResetModel();
}

void TDBGridModel::Insert(int viewRow)
{
    const TClientDataSetEx* dataSet = OpenDataSet();
    if (!dataSet || dataSet->RecordCount() != rows_ + 1 || viewRow < 0 || viewRow > rows_) {
        Reset();
        return;
    }
    insertedAt_ = viewRow;
    beginInsertRows({}, viewRow, viewRow);
    insertedAt_ = -1;
    ++rows_;
    endInsertRows();
}

void TDBGridModel::Remove(int viewRow)
{
    const TClientDataSetEx* dataSet = OpenDataSet();
    if (!dataSet || dataSet->RecordCount() != rows_ - 1 || viewRow < 0 || viewRow >= rows_) {
        Reset();
        return;
    }
    removedAt_ = viewRow;
    beginRemoveRows({}, viewRow, viewRow);
    removedAt_ = -1;
    --rows_;
    endRemoveRows();
}
