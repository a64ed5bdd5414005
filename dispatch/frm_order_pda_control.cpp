#include "dispatch/frm_order_pda_control.h"

#include "company/OrderStatus.h"
#include "framework/LabelledControls.h"
#include "framework/Lookups.h"
#include "framework/Questions.h"
#include "framework/ScreenHandlers.h"
#include "module/data/HostBridge.h"
#include "module/data/MessageBoxes.h"
#include "orders/record/LoginSite.h"
#include "orders/record/OrderStamps.h"

using namespace Qt::Literals::StringLiterals;

namespace {

bool HasStatusOf(const TClientDataSetEx& row, std::initializer_list<int> statuses)
{
    return std::ranges::find(statuses, StatusOf(row)) != statuses.end();
}

bool MayBeOffered(const TClientDataSetEx& row)
{
    return !HasText(row, u"PREPARE_SITE") && !HasText(row, u"BILL_CODE")
        && !HasStatusOf(row, {company::kStatusCancelled, company::kStatusAccepted});
}

bool MayGetDriver(const TClientDataSetEx& row)
{
    return !HasText(row, u"BILL_CODE")
        && !HasStatusOf(
            row, {company::kStatusCancelled, company::kStatusPickedUp, company::kStatusPickupFailed});
}

bool MayBeCancelled(const TClientDataSetEx& row)
{
    return !HasText(row, u"REC_BILL_MAN")
        && !HasStatusOf(row,
            {company::kStatusCancelled, company::kStatusPickedUp, company::kStatusPickupFailed,
                company::kStatusDispatched, company::kStatusSentDown})
        && (IsAtHeadquarters() || TextOf(row, u"CREATER_SITE") == LoginSite());
}

} // namespace

Tfrm_order_pda_control::Tfrm_order_pda_control(QObject* owner)
    : Tfrm_order_pda_control(owner, {.status = company::kStatusWaiting},
        {.site = u"接单网点"_s,
            .offer = u"批量分派机构"_s,
            .driverQuestion = u"是否进行批量修改接单司机?"_s,
            .cancelPrompt = u"请输入取消订单的原因                "_s})
{
}

Tfrm_order_pda_control::Tfrm_order_pda_control(
    QObject* owner, const TDispatchFilter::TOptions& filter, TWords words)
    : Tfrm_DispatchOrders(owner, filter)
    , words_(std::move(words))
{
}

void Tfrm_order_pda_control::AddActions(QHBoxLayout& row, QWidget* panel)
{
    AddGivingActions(row, panel);
    btn_Fail = NewButton(panel, u"btn_Fail"_s, u"接单失败"_s);
    OnClick(btn_Fail, this, &Tfrm_order_pda_control::btn_FailClick);
    row.addWidget(btn_Fail);
}

void Tfrm_order_pda_control::AddGivingActions(QHBoxLayout& row, QWidget* panel)
{
    SITE_NAME = new TDBLookupComboboxEh(panel, u"SITE_NAME"_s);
    PrepareLookup(*SITE_NAME, SiteLookup(dsSites));
    btn_Select = NewButton(panel, u"btn_Select"_s, words_.offer);
    EMP_NAME = new TDBPageLookup_Employee(panel, u"EMP_NAME"_s);
    EMP_NAME->ListDataSet().setObjectName(u"CDS_EMP_CAR"_s);
    EMP_NAME->setPlaceholderText(u"编号、姓名或电话"_s);
    EMP_NAME->OnChange = EMP_NAME->OnUpdateData = [this] { ShowDriver(); };
    driver_ = new QLabel(panel);
    Button1 = NewButton(panel, u"Button1"_s, u"批量分派司机"_s);
    btn_CANEL = NewButton(panel, u"btn_CANEL"_s, u"订单取消"_s);
    OnClick(btn_Select, this, &Tfrm_order_pda_control::btn_SelectClick);
    OnClick(Button1, this, &Tfrm_order_pda_control::Button1Click);
    OnClick(btn_CANEL, this, &Tfrm_order_pda_control::btn_CANELClick);

    AddControl(row, words_.site, SITE_NAME, 26);
    row.addWidget(btn_Select);
    row.addSpacing(12);
    AddControl(row, u"接单司机"_s, EMP_NAME, 26);
    row.addWidget(driver_);
    row.addWidget(Button1);
    row.addSpacing(12);
    row.addWidget(btn_CANEL);
}

// A name alone may be anybody's.
void Tfrm_order_pda_control::ShowDriver()
{
    driver_->setText(
        EMP_NAME->HasTaken() ? EMP_NAME->Taken(u"OWNER_SITE") + u' ' + EMP_NAME->KeyValue() : QString());
}

QString Tfrm_order_pda_control::SiteCondition() const
{
    return ControlMode == 1 && IsAtHeadquarters() ? QString() : MadeAtOrOfferedTo(*CDS_SITE_TMP, LoginSite());
}

QString Tfrm_order_pda_control::TargetSite(const QString& missing)
{
    if (!HasSelection())
        return {};
    const QString site = SITE_NAME->Text();
    if (site.isEmpty()) {
        ShowInformation(missing, Caption());
        SITE_NAME->setFocus();
    }
    return site;
}

void Tfrm_order_pda_control::btn_SelectClick()
{
    const QString site = TargetSite(u"详细：请输入可接单网点！"_s);
    if (site.isEmpty())
        return;
    RunBatch({.question = u"是否进行批量修改可接单网点?"_s,
        .takes = MayBeOffered,
        .change = [&site](TClientDataSetEx& row) {
            SetText(row, u"PREPARE_SITE", u';' + site + u';');
            for (const QStringView field : {u"CANCEL_DESC", u"REC_SITE", u"ACCEPT_DATE"})
                ClearField(row, field);
            row.FieldByName(u"BL_DISPART").SetAsInteger(1);
            row.FieldByName(u"STATUS").SetAsInteger(company::kStatusAccepted);
        }});
}

bool Tfrm_order_pda_control::AskWhy(const TClientDataSetEx& row, QString& reason, bool& asking)
{
    if (!HasText(row, u"REC_BILL_MAN"))
        return true;
    if (!asking)
        return false;
    ShowNotice(
        u"订单%1现在的接单司机是%2。"_s.arg(TextOf(row, u"TX_LOGISTIC_ID"), TextOf(row, u"REC_BILL_MAN")));
    const QString answer =
        Application->InputBox(u"重新分派司机"_s, u"请输入重新分派的原因               "_s, {}, &asking);
    if (!answer.isEmpty())
        reason = answer;
    return !answer.isEmpty();
}

void Tfrm_order_pda_control::Button1Click()
{
    if (!HasSelection())
        return;
    if (!EMP_NAME->HasTaken()) {
        ShowInformation(u"详细：请输入可接单司机！"_s, Caption());
        EMP_NAME->setFocus();
        return;
    }
    const QString site = EMP_NAME->Taken(u"OWNER_SITE");
    QString reason; // orders without a driver before take that of an earlier one
    bool asking = true;
    RunBatch({.question = words_.driverQuestion,
        .takes = MayGetDriver,
        .confirm = [&](const TClientDataSetEx& row) { return AskWhy(row, reason, asking); },
        .change =
            [&](TClientDataSetEx& row) {
                SetText(row, u"REC_SITE", site);
                SetText(row, u"REC_BILL_MAN", EMP_NAME->Taken(u"EMPLOYEE_NAME"));
                SetText(row, u"REC_BILL_CODE", EMP_NAME->KeyValue());
                row.FieldByName(u"ACCEPT_DATE").SetAsDateTime(ServerDateTime());
                SetText(row, u"PREPARE_SITE", u';' + site + u';');
                SetText(row, u"CANCEL_DESC", reason);
                row.FieldByName(u"STATUS").SetAsInteger(company::kStatusDispatched);
                row.FieldByName(u"BL_DISPART").SetAsInteger(1);
            }});
}

void Tfrm_order_pda_control::btn_CANELClick()
{
    if (!HasSelection())
        return;
    QString reason;
    RunBatch({.question = u"是否进行批量取消订单?"_s,
        .prepare =
            [&] {
                reason = AskReason(u"取消订单"_s, words_.cancelPrompt);
                return !reason.isEmpty();
            },
        .takes = MayBeCancelled,
        .change =
            [&reason](TClientDataSetEx& row) {
                row.FieldByName(u"STATUS").SetAsInteger(company::kStatusCancelled);
                SetText(row, u"CANCEL_DESC", reason);
                SetText(row, u"CANCEL_MAN", GlobalValue(u"user"_s));
                SetText(row, u"CANCEL_SITE", LoginSite());
            }});
}

void Tfrm_order_pda_control::btn_FailClick()
{
    RefuseOrders(u"请输入接单失败的描述                    "_s);
}

void Tfrm_order_pda_control::CDS_ORDER_PDABeforePost()
{
    if (StatusOf(*cds) == company::kStatusCancelled)
        cds->FieldByName(u"BL_DISPART").SetAsInteger(1);
    else if (!HasText(*cds, u"PREPARE_SITE"))
        cds->FieldByName(u"BL_DISPART").SetAsInteger(0);
}
