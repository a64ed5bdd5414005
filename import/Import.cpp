#include "import/Import.h"

#include "import/frm_Import.h"
#include "runtime/data/ClientDataSet.h"
#include "runtime/grid/DBGrid.h"
#include "runtime/ui/Application.h"

#include <QVariant>

using namespace Qt::Literals::StringLiterals;

namespace {

QWidget* ScreenOf(QWidget& grid)
{
    QWidget* widget = &grid;
    while (widget && !widget->property("SaveButton").isValid())
        widget = widget->parentWidget();
    return widget;
}

} // namespace

void ImportIntoGrid(TDBGridEh& grid, int firstRow, int firstColumn)
{
    const TClientDataSetEx* rows = grid.DataSet();
    if (!rows || !rows->Active())
        return;
    QWidget* screen = ScreenOf(grid);
    // Every save takes along whatever is there.
    if (rows->HasUnsavedEdits()) {
        const auto* form = qobject_cast<TForm*>(screen);
        Application->MessageBox(u"详细：请先保存或者放弃正在录入的订单，然后再导入！"_s,
            form ? form->Caption() : QString(), TMessageIcon::Warning);
        return;
    }
    auto* save = screen ? screen->property("SaveButton").value<QAbstractButton*>() : nullptr;
    (new Tfrm_Import(Application, grid, save, firstRow, firstColumn))->ShowModal();
}
