#include "framework/SelectedRows.h"

#include "module/data/ServerLink.h"
#include "runtime/ui/Application.h"

namespace {

class SortOff {
public:
    explicit SortOff(TClientDataSetEx& rows)
        : rows_(&rows)
        , index_(rows.IndexName())
    {
        if (!index_.isEmpty())
            rows.SetIndexName({});
    }
    ~SortOff()
    {
        if (index_.isEmpty() || !rows_)
            return;
        if (!rows_->IsEditing()) {
            SortAgain(*rows_, index_);
            return;
        }
        // Sorting would post the row, whose rules have just refused it.
        auto* waiting = new QObject(rows_);
        QObject::connect(
            rows_, &TClientDataSetEx::StateChanged, waiting,
            [rows = rows_.data(), index = index_, waiting] {
                if (rows->IsEditing())
                    return;
                waiting->deleteLater();
                SortAgain(*rows, index);
            },
            Qt::QueuedConnection);
    }
    SortOff(const SortOff&) = delete;
    SortOff& operator=(const SortOff&) = delete;

private:
    static void SortAgain(TClientDataSetEx& rows, const QString& index)
    {
        if (rows.Active() && rows.IndexName().isEmpty()) // else sorted otherwise meanwhile
            Guarded([&] { rows.SetIndexName(index); });
    }

    QPointer<TClientDataSetEx> rows_;
    QString index_;
};

void Walk(TClientDataSetEx& rows, const std::vector<TBookmark>& wanted,
    const std::function<bool(TClientDataSetEx& row)>& visit)
{
    const BusyCursor busy;
    const ControlsOff still(rows);
    const SortOff unsorted(rows);
    for (const TBookmark row : wanted) {
        if (rows.GotoBookmark(row) && !visit(rows))
            return;
    }
}

} // namespace

void WalkSelectedRows(TDBGridEh& grid, const std::function<bool(TClientDataSetEx& row)>& visit)
{
    Walk(*grid.DataSet(), grid.SelectedRows(), visit);
}

void WalkAllRows(TClientDataSetEx& rows, const std::function<bool(TClientDataSetEx& row)>& visit)
{
    std::vector<TBookmark> all(static_cast<size_t>(rows.RecordCount()));
    for (size_t i = 0; i < all.size(); ++i)
        all[i] = rows.ViewBookmark(static_cast<int>(i));
    Walk(rows, all, visit);
}
