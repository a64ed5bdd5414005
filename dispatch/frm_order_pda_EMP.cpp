#include "dispatch/frm_order_pda_EMP.h"

#include "company/OrderStatus.h"
#include "dispatch/Couriers.h"
#include "module/data/DataSetRows.h"
#include "module/data/MessageBoxes.h"
#include "orders/record/LoginSite.h"
#include "orders/record/OrderColumns.h"
#include "orders/record/OrderStamps.h"
#include "runtime/controls/DBControls.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array kOffered = {company::kStatusAccepted, company::kStatusRefused};

} // namespace

Tfrm_order_pda_EMP::Tfrm_order_pda_EMP(QObject* owner)
    : Tfrm_DispatchOrders(owner, {.status = company::kStatusAccepted, .entrusted = false, .gaps = false})
{
    connect(cds, &TClientDataSetEx::FieldChanged, this, [this](int field) {
        if (field == cds->FieldIndex(u"REC_BILL_MAN"))
            DriverChanged();
    });
}

void Tfrm_order_pda_EMP::CreateControls()
{
    Tfrm_DispatchOrders::CreateControls();
    DataView1->DataViewGrid->OnColExit = [this](int column) { return DataView1DataViewGridColExit(column); };
    DataView1->DataViewGrid->OnLookupUpdateData = [this](const TColumnEh&, const TDBLookupComboboxEh& box) {
        takenName_ = box.KeyValue();
        takenCode_ = box.ListText(u"EMPLOYEE_CODE");
    };
}

void Tfrm_order_pda_EMP::PrepareColumns(std::vector<TColumnEh>& columns)
{
    OfferStatuses(columns, company::StatusUse::Dispatch, kOffered);
    ChooseFrom(columns, u"REC_BILL_MAN", CourierLookup(dsCouriers));
    for (const QStringView field : {u"STATUS", u"REC_BILL_MAN", u"CANCEL_DESC"})
        ColumnOf(columns, field).readOnly = false;
}

QString Tfrm_order_pda_EMP::SiteCondition() const
{
    return IsAtHeadquarters() ? QString() : OfferedToOneOf(*CDS_SITE_TMP);
}

void Tfrm_order_pda_EMP::CDS_ORDER_PDABeforeEdit()
{
    if (!HasText(*cds, u"PREPARE_SITE"))
        throw TRuleViolation{u"详细：该订单未分派给网点，不能分派给司机！"_s, {}, TMessageIcon::Information};
    if (HasText(*cds, u"REC_BILL_MAN") && StatusOf(*cds) != company::kStatusRejected)
        throw TRuleViolation{
            u"详细：该运单已分派给司机，未拒收情况下，不能进行再次分派！"_s, {}, TMessageIcon::Information};
}

void Tfrm_order_pda_EMP::CDS_ORDER_PDABeforePost()
{
    if (StatusOf(*cds) == company::kStatusRefused) {
        for (const QStringView field :
            {u"PREPARE_SITE", u"REC_SITE", u"REC_BILL_MAN", u"REC_BILL_CODE", u"ACCEPT_DATE"})
            ClearField(*cds, field);
        cds->FieldByName(u"BL_DISPART").SetAsInteger(0);
    } else if (HasText(*cds, u"REC_BILL_MAN")) {
        cds->FieldByName(u"STATUS").SetAsInteger(company::kStatusDispatched);
    }
}

// The order goes to the terminal that the code names: it may not stay another driver's. Of namesakes the one
// taken from the list is meant.
void Tfrm_order_pda_EMP::DriverChanged()
{
    const QString name = TextOf(*cds, u"REC_BILL_MAN");
    const QStringList names = ColumnTexts(*cds_loginsiteowner_employee, u"EMPLOYEE_NAME");
    QString code;
    if (name == std::exchange(takenName_, {}))
        code = takenCode_;
    else if (names.count(name) == 1)
        code = ColumnTexts(*cds_loginsiteowner_employee, u"EMPLOYEE_CODE").at(names.indexOf(name));
    SetText(*cds, u"REC_BILL_CODE", code);
}

bool Tfrm_order_pda_EMP::DataView1DataViewGridColExit(int column)
{
    const bool reasonMissing =
        DataView1->DataViewGrid->Column(column).fieldName.compare(u"CANCEL_DESC"_s, Qt::CaseInsensitive) == 0
        && HasOrders() && StatusOf(*cds) == company::kStatusRefused && !HasText(*cds, u"CANCEL_DESC");
    if (reasonMissing) {
        ShowInformation(u"详细：接单失败请输入撤消原因！"_s, Caption());
        DataView1->DataViewGrid->SelectField(u"CANCEL_DESC");
    }
    return !reasonMissing;
}

void Tfrm_order_pda_EMP::btn_FailClick()
{
    RefuseOrders(u"请输入接单失败的描述"_s);
}
