#include "orders/record/OrderBatch.h"

#include "framework/Questions.h"
#include "framework/RowFields.h"
#include "framework/SelectedRows.h"
#include "framework/frm_Progress.h"
#include "module/data/MessageBoxes.h"
#include "runtime/ui/Application.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRowsAStep = 200;

// False where a rule refuses the edit.
bool BeginsEdit(TClientDataSetEx& row)
{
    try {
        row.Edit();
        return true;
    } catch (const EAbort&) {
        return false;
    }
}

bool ChangesRow(TClientDataSetEx& row, const TOrderBatch& batch)
{
    if (!batch.takes(row) || !BeginsEdit(row))
        return false;
    if (batch.confirm && !batch.confirm(row)) {
        row.Cancel();
        return false;
    }
    batch.change(row);
    row.Post();
    return true;
}

} // namespace

std::optional<TBatchCounts> RunOrderBatch(TDBGridEh& grid, const TOrderBatch& batch)
{
    TClientDataSetEx* orders = grid.DataSet();
    if (!orders || !orders->Active() || orders->IsEmpty())
        return std::nullopt;
    const int selected = static_cast<int>(grid.SelectedRows().size());
    if (selected == 0 || !AskYesNo(batch.question) || (batch.prepare && !batch.prepare()))
        return std::nullopt;

    TBatchCounts counts;
    QString firstOrder;
    {
        Tfrm_Progress progress(Application, batch.caption);
        progress.AllowCancel();
        progress.Start(u"准备批量修改."_s, selected);
        WalkSelectedRows(grid, [&](TClientDataSetEx& row) {
            if (firstOrder.isEmpty())
                firstOrder = TextOf(row, u"TX_LOGISTIC_ID");
            ++(ChangesRow(row, batch) ? counts.changed : counts.unchanged);
            const int done = counts.changed + counts.unchanged;
            if (done % kRowsAStep == 0 && done < selected)
                progress.Step(u"正在修改."_s, done);
            return !progress.Cancelled();
        });
        progress.Finish(u"修改完毕."_s);
    }
    orders->Locate(u"BILL_CODE"_s, {firstOrder});
    if (batch.beforeSummary)
        batch.beforeSummary();
    ShowInformation(
        u"详细：批量修改完毕！%1条数据修改成功，%2条数据未改变！"_s.arg(counts.changed).arg(counts.unchanged)
            + batch.summaryEnd,
        batch.caption);
    return counts;
}
