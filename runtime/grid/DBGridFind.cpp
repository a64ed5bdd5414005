#include "runtime/grid/DBGridPrivate.h"
#include "runtime/grid/FindBar.h"
#include "runtime/ui/Application.h"

#include <QScrollBar>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRowsAroundFound = 2; // rows shown above and below a cell that was found

} // namespace

bool TDBGridEh::FindText(const QString& text, bool fromCurrent, bool backwards)
{
    const TClientDataSetEx* open = d_->OpenDataSet();
    if (!open || text.isEmpty() || open->IsEmpty() || SelectedIndex() < 0)
        return false;
    d_->lastFound = text;
    const int count = open->RecordCount();
    const int step = backwards ? -1 : 1;
    int row = fromCurrent ? d_->CurrentRow() + step : backwards ? count - 1 : 0;
    for (; row >= 0 && row < count; row += step) {
        if (!CellText(row, d_->currentColumn).contains(text, Qt::CaseInsensitive))
            continue;
        if (!d_->MoveTo(row, d_->currentColumn))
            return false;
        d_->SelectAfterMove({});
        d_->ShowFound(d_->CurrentRow(), d_->currentColumn);
        return true;
    }
    return false;
}

bool TDBGridEh::Private::IsFound(int viewRow, int column) const
{
    return found.row && column == found.column && OpenDataSet()->ViewBookmark(viewRow) == found.row;
}

void TDBGridEh::Private::ShowFound(int viewRow, int column)
{
    found = {OpenDataSet()->ViewBookmark(viewRow), column};
    ShowNeighbours(viewRow);
    q->viewport()->update();
}

// The rows around it, and the columns beside the current one.
void TDBGridEh::Private::ShowNeighbours(int viewRow)
{
    const int fitting = std::max(1, q->viewport()->height() / rowHeight);
    const int neighbours = std::min(kRowsAroundFound, (fitting - 1) / 2);
    QScrollBar& bar = *q->verticalScrollBar();
    if (viewRow - neighbours < bar.value())
        bar.setValue(viewRow - neighbours);
    else if (viewRow + neighbours >= bar.value() + fitting)
        bar.setValue(viewRow + neighbours + 1 - fitting);
    for (const int column :
        {NextShownColumn(currentColumn, 1), NextShownColumn(currentColumn, -1), currentColumn}) {
        if (column >= 0)
            q->scrollTo(model->index(viewRow, column));
    }
}

// Rows selected together stay so.
bool TDBGridEh::Private::GoToHit(int viewRow, int column)
{
    if (!MoveTo(viewRow, column))
        return false;
    if (selected.size() <= 1)
        SelectAfterMove({});
    ShowNeighbours(CurrentRow());
    q->viewport()->update();
    return true;
}

void TDBGridEh::Private::FindAgain(bool backwards)
{
    if (findBar)
        findBar->Step(backwards);
    else
        q->FindText(lastFound, true, backwards);
}

int TDBGridEh::Private::FindBarHeight() const
{
    return findBar ? findBar->sizeHint().height() : 0;
}
