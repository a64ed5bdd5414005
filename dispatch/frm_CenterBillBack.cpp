#include "dispatch/frm_CenterBillBack.h"

#include "dispatch/RevocationCriteria.h"
#include "dispatch/RevocationRules.h"
#include "framework/LabelledControls.h"
#include "framework/RefusedRows.h"
#include "framework/ScreenHandlers.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// What is worked on stands beside the number that stays in sight.
constexpr TSearchColumn kColumns[] = {
    {.use = {.field = u"CANCEL_DESC", .editable = true}, .after = u"TX_LOGISTIC_ID"},
    {.use = {.field = u"STATUS"}, .after = u"TX_LOGISTIC_ID"},
    {.use = {.field = u"TOTAL_WEIGHT", .summed = true}, .after = u"BILL_CODE"},
};

} // namespace

Tfrm_CenterBillBack::Tfrm_CenterBillBack(QObject* owner)
    : Tfrm_OrderSearch(owner,
        {.windowTitle = u"揽件时间范围(31天以内)"_s,
            .criteria = RevocationCriteria(),
            .numbers = {.maxLines = 999},
            .columns = OrderSearchColumns(kColumns, company::StatusUse::Centre),
            .readOnly = false})
    , cds_Temp(new TClientDataSetEx(this, u"cds_Temp"_s))
{
    cds->BeforeInsert = cds->BeforeDelete = [] { Abort(); };
    cds->BeforePost = [this] { cdsBeforePost(); };
}

void Tfrm_CenterBillBack::CreateControls()
{
    Tfrm_OrderSearch::CreateControls();
    Button2 = NewButton(this, u"Button2"_s, u"保存"_s);
    Button2->hide();
    OnClick(Button2, this, &Tfrm_CenterBillBack::Button2Click);
    new TRefusedRows(*DataView1, u"TX_LOGISTIC_ID");
}

void Tfrm_CenterBillBack::FormShow()
{
    Tfrm_OrderSearch::FormShow();
    SetSaveButton(Button2);
}

// The two lists have each had its own order always.
QString Tfrm_CenterBillBack::NumbersQuery(const QString& numbers) const
{
    return Panel2->ByOrderNumber() ? OrdersByNumber(numbers, u"REC_DATE"_s)
                                   : OrdersByWaybill(numbers, u"CREATE_DATE"_s);
}

void Tfrm_CenterBillBack::cdsBeforePost()
{
    CheckRow([this] { CheckRevocation(*cds, *cds_Temp); });
}

void Tfrm_CenterBillBack::Button2Click()
{
    SaveOrders({.maxErrors = 0, .after = TAfterSave::Merge, .nothingCaption = u"数据保存"_s});
}
