#include "framework/RefusedRows.h"

#include "framework/LabelledControls.h"
#include "module/data/DataSetRows.h"
#include "runtime/ui/ListStyle.h"

#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

TRefusedRows::TRefusedRows(TDataView& view, QStringView keyFields, const QString& legend)
    : QWidget(&view)
    , rows_(view.DS->DataSet())
    , keyFields_(keyFields.toString())
    , reason_(new QLabel(this))
{
    setObjectName(u"RefusedRows"_s);
    reason_->setObjectName(u"RefusedReason"_s);
    reason_->setWordWrap(true);
    auto* lines = new QVBoxLayout(this);
    lines->setContentsMargins(0, 0, 0, 3);
    lines->setSpacing(0);
    QWidget* line = NewLegend(this, ListStyle().refused, legend);
    lines->addWidget(line);
    connect(&TListStyles::Instance(), &TListStyles::Changed, line, [patch = line->findChild<QFrame*>()] {
        QPalette palette = patch->palette();
        palette.setColor(QPalette::Window, ListStyle().refused);
        patch->setPalette(palette);
    });
    lines->addWidget(reason_);
    reason_->setContentsMargins(8, 0, 8, 0);
    view.layout()->addWidget(this);
    hide();

    view.DataViewGrid->OnGetCellParams = [this, before = std::move(view.DataViewGrid->OnGetCellParams)](
                                             const TColumnEh& column, int viewRow, TCellParams& params) {
        if (before)
            before(column, viewRow, params);
        if (Holds(viewRow))
            params.background = ListStyle().refused;
    };
    connect(rows_, &TClientDataSetEx::DataReset, this, &TRefusedRows::Read);
    connect(rows_, &TClientDataSetEx::CursorMoved, this, &TRefusedRows::ShowReason);
    connect(rows_, &TClientDataSetEx::RowChanged, this, [this] {
        if (!reasons_.isEmpty())
            Read(); // what was undone is refused no more
    });
}

void TRefusedRows::Read()
{
    reasons_.clear();
    if (rows_->Active() && rows_->ChangeCount() > 0) {
        TClientDataSetEx refused;
        refused.CopyDelta(*rows_, true);
        const int reason = refused.FieldIndex(u"ERROR_MESSAGE");
        for (int row = 0; row < refused.RecordCount(); ++row) {
            if (!refused.ViewIsNull(row, reason))
                reasons_.insert(KeyTexts(refused, row, keyFields_), refused.ViewText(row, reason));
        }
    }
    setVisible(!reasons_.isEmpty());
    ShowReason();
}

void TRefusedRows::ShowReason()
{
    if (reasons_.isEmpty())
        return;
    const int row = rows_->RecNo() - 1;
    const QString reason = Holds(row) ? reasons_.value(KeyTexts(*rows_, row, keyFields_)) : QString();
    reason_->setText(u"当前行："_s + reason);
    reason_->setVisible(!reason.isEmpty());
}

bool TRefusedRows::Holds(int viewRow) const
{
    return !reasons_.isEmpty() && viewRow >= 0 && viewRow < rows_->RecordCount()
        && rows_->ViewStatus(viewRow) != TRowStatus::Unmodified
        && reasons_.contains(KeyTexts(*rows_, viewRow, keyFields_));
}
