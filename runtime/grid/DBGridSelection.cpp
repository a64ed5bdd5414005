#include "runtime/grid/DBGridPrivate.h"

#include <algorithm>

std::vector<TBookmark> TDBGridEh::SelectedRows() const
{
    const TClientDataSetEx* open = d_->OpenDataSet();
    std::vector<std::pair<int, TBookmark>> rows;
    if (open) {
        rows.reserve(d_->selected.size());
        for (const TBookmark bookmark : d_->selected) {
            const int row = open->ViewRowOf(bookmark);
            if (row >= 0)
                rows.emplace_back(row, bookmark);
        }
    }
    std::sort(rows.begin(), rows.end());
    std::vector<TBookmark> bookmarks;
    bookmarks.reserve(rows.size());
    for (const auto& [row, bookmark] : rows)
        bookmarks.push_back(bookmark);
    return bookmarks;
}

void TDBGridEh::SelectRows(const std::vector<TBookmark>& rows)
{
    d_->selected = {rows.begin(), rows.end()};
    d_->anchor = rows.empty() ? 0 : rows.back();
    viewport()->update();
    d_->indicator->viewport()->update();
    Q_EMIT SelectionChanged();
}

void TDBGridEh::ClearSelectedRows()
{
    SelectRows({});
}

bool TDBGridEh::IsRowSelected(TBookmark row) const
{
    return d_->selected.contains(row);
}

void TDBGridEh::selectAll()
{
    const TClientDataSetEx* open = d_->OpenDataSet();
    if (!open)
        return;
    std::vector<TBookmark> rows(size_t(open->RecordCount()));
    for (size_t i = 0; i < rows.size(); ++i)
        rows[i] = open->ViewBookmark(int(i));
    SelectRows(rows);
}

void TDBGridEh::Private::SelectOnly(int viewRow)
{
    q->SelectRows({OpenDataSet()->ViewBookmark(viewRow)});
}

void TDBGridEh::Private::SelectToggle(int viewRow)
{
    const TBookmark bookmark = OpenDataSet()->ViewBookmark(viewRow);
    if (selected.erase(bookmark) == 0)
        selected.insert(bookmark);
    anchor = bookmark;
    UpdateRow(viewRow);
    Q_EMIT q->SelectionChanged();
}

// Everything between the row where the selection began and this one.
void TDBGridEh::Private::SelectTo(int viewRow)
{
    const TClientDataSetEx& open = *OpenDataSet();
    const int began = anchor ? open.ViewRowOf(anchor) : -1;
    const int from = began >= 0 ? began : viewRow;
    const TBookmark keep = open.ViewBookmark(from);
    selected.clear();
    for (int row = std::min(from, viewRow); row <= std::max(from, viewRow); ++row)
        selected.insert(open.ViewBookmark(row));
    anchor = keep;
    q->viewport()->update();
    indicator->viewport()->update();
    Q_EMIT q->SelectionChanged();
}

// A row that the user goes to by key is selected as one that is clicked.
void TDBGridEh::Private::SelectAfterMove(Qt::KeyboardModifiers modifiers)
{
    const int row = CurrentRow();
    if (row < 0)
        return;
    if (modifiers & Qt::ShiftModifier)
        SelectTo(row);
    else
        SelectOnly(row);
}
