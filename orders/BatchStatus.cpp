#include "orders/BatchStatus.h"

#include "module/data/ServerLink.h"
#include "orders/Rules.h"
#include "runtime/ui/Application.h"

#include <QScopeGuard>

void SetStatusOfSelected(TDBGridEh& grid, int status, const std::function<void(TClientDataSetEx&)>& change)
{
    TClientDataSetEx& cds = *grid.DataSet();
    const auto finish = qScopeGuard([&grid] {
        grid.ClearSelectedRows();
        grid.viewport()->update();
    });
    const BusyCursor busy;
    const ControlsOff suspended(cds);
    for (const TBookmark row : grid.SelectedRows()) {
        if (!cds.GotoBookmark(row) || StatusOf(cds) == status)
            continue;
        cds.Edit();
        cds.FieldByName(u"STATUS").SetAsInteger(status);
        if (change)
            change(cds);
        cds.Post();
    }
}
