#include "orders/BatchStatus.h"

#include "framework/SelectedRows.h"
#include "orders/record/OrderStamps.h"

#include <QScopeGuard>

void SetStatusOfSelected(TDBGridEh& grid, int status, const std::function<void(TClientDataSetEx&)>& change)
{
    const auto finish = qScopeGuard([&grid] {
        grid.ClearSelectedRows();
        grid.viewport()->update();
    });
    WalkSelectedRows(grid, [&](TClientDataSetEx& row) {
        if (StatusOf(row) == status)
            return true;
        row.Edit();
        row.FieldByName(u"STATUS").SetAsInteger(status);
        if (change)
            change(row);
        row.Post();
        return true;
    });
}
