#include "dispatch/frm_DispatchOrders.h"

#include "dispatch/Couriers.h"
#include "framework/FlowRow.h"
#include "framework/LabelledControls.h"
#include "framework/Questions.h"
#include "framework/RefusedRows.h"
#include "framework/ScreenHandlers.h"
#include "module/data/DataSetRows.h"
#include "module/data/HostBridge.h"
#include "module/data/ServerLink.h"
#include "module/data/dm_BasicData.h"
#include "orders/record/LoginSite.h"
#include "orders/record/OrderColumns.h"
#include "orders/record/OrderView.h"

#include <QScopeGuard>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array kNamedHere = {company::kStatusCancelled, company::kStatusWaiting,
    company::kStatusAccepted, company::kStatusRefused, company::kStatusPickedUp, company::kStatusPickupFailed,
    company::kStatusDelivered, company::kStatusDispatched, company::kStatusRejected,
    company::kStatusSentDown};

constexpr OrderColumnUse kColumns[] = {
    {.field = u"TX_LOGISTIC_ID", .title = u"订单编号"},
    {.field = u"STATUS", .title = u"订单状态"},
    {u"CREATE_DATE"},
    {u"CREATER_SITE"},
    {.field = u"PREPARE_SITE", .title = u"可接单网点"},
    {.field = u"REC_SITE", .title = u"接单|接单网点"},
    {.field = u"REC_BILL_MAN", .title = u"接单|接单司机"},
    {.field = u"REC_BILL_CODE", .title = u"接单|司机编号"},
    {.field = u"ACCEPT_DATE", .title = u"接单|接单时间"},
    {.field = u"REC_GOODS_MAN", .title = u"业务员"},
    {u"CANCEL_DESC"},
    {u"BL_DEPUTE"},
    {u"PAY_TYPE"},
    {u"NAME"},
    {u"PHONE"},
    {u"MOBILE"},
    {u"PROV"},
    {u"CITY"},
    {u"COUNTY"},
    {u"ADDRESS"},
    {u"COMPANYNAME"},
    {u"SEND_START_TIME"},
    {u"ITEM_NAME"},
    {.field = u"PIECE", .summed = true, .sumWord = u"总件数"},
    {u"TOTAL_WEIGHT"},
    {u"TOTAL_VOLUME"},
    {u"REMARK"},
    {u"SEND_NAME"},
    {u"SEND_PHONE"},
    {u"SEND_PROV"},
    {u"SEND_CITY"},
    {u"SEND_COUNTY"},
    {u"SEND_ADDRESS"},
    {u"BILL_CODE"},
    {u"CREATER_MAN"},
    {.field = u"ORDERSOURCE", .title = u"订单来源"},
    {u"LOGISTICPROVIDERID"},
    {u"CANCEL_SITE"},
    {u"CANCEL_MAN"},
};

} // namespace

Tfrm_DispatchOrders::Tfrm_DispatchOrders(QObject* owner, const TDispatchFilter::TOptions& filter)
    : Tfrm_OrderList(owner, u"CDS_ORDER_PDA"_s)
    , CDS_SITE_TMP(new TClientDataSetEx(this, u"CDS_SITE_TMP"_s))
    , cds_loginsiteowner_employee(new TClientDataSetEx(this, u"cds_loginsiteowner_employee"_s))
    , dsSites(new TDataSource(this, u"dsSites"_s))
    , dsCouriers(new TDataSource(this, u"dsCouriers"_s))
    , ControlMode(IsAtCentre() ? 2 : 1)
    , RootSite(DispatchRoot())
    , options_(filter)
{
    dsSites->SetDataSet(CDS_SITE_TMP);
    dsCouriers->SetDataSet(cds_loginsiteowner_employee);
    cds->BeforeInsert = cds->BeforeDelete = [] { Abort(); };
    cds->BeforeEdit = [this] { CheckRowOnce([this] { CDS_ORDER_PDABeforeEdit(); }); };
    cds->BeforePost = [this] {
        CheckRowOnce([this] {
            CDS_ORDER_PDABeforePost();
            StampModifier(*cds, run_ ? run_->modifier : PresentModifier());
        });
    };
}

void Tfrm_DispatchOrders::CreateControls()
{
    filter_ = new TDispatchFilter(this, dsCouriers, dsSites, options_);
    btn_open = NewButton(this, u"btn_open"_s, u"查询"_s);
    btn_Save = NewButton(this, u"btn_Save"_s, u"保存"_s);
    btn_open->hide();
    btn_Save->hide();
    OnClick(btn_open, this, &Tfrm_DispatchOrders::btn_openClick);
    OnClick(btn_Save, this, &Tfrm_DispatchOrders::btn_SaveClick);

    auto* actions = new QWidget(this);
    actions->setObjectName(u"Panel2"_s);
    auto* row = new TFlowRow(actions);
    AddActions(*row, actions);
    actions->setVisible(!row->isEmpty());
    row->addStretch(1);

    std::vector<TColumnEh> columns = OrderColumns(kColumns);
    PrepareColumns(columns);
    DataView1 = new TDataView(this, u"DataView1"_s);
    PrepareList(std::move(columns));
    new TRefusedRows(*DataView1, u"TX_LOGISTIC_ID");
    DataView2 = new TDataView(this, u"DataView2"_s);
    PrepareItemsView(*DataView2, cdsms);
    LayOutScreen(this, {filter_, actions}, DataView1, DataView2);
}

void Tfrm_DispatchOrders::PrepareColumns(std::vector<TColumnEh>& columns)
{
    OfferStatuses(columns, company::StatusUse::Dispatch, kNamedHere);
}

void Tfrm_DispatchOrders::FirstLoad()
{
    OpenQuery(*CDS_SITE_TMP, SitesBelowQuery(RootSite));
    OpenQuery(*cds_loginsiteowner_employee, CouriersQuery(RootSite));
    OpenQuery(*dm_BasicData->comm, PaymentsAskedQuery());
    filter_->OfferPayments(ColumnTexts(*dm_BasicData->comm, u"MODE_NAME"));
}

void Tfrm_DispatchOrders::FormShow()
{
    Setup(DataView1, cds, btn_Save, btn_open);
}

void Tfrm_DispatchOrders::btn_openClick()
{
    std::optional<TDispatchCriteria> criteria = filter_->Criteria();
    if (!criteria)
        return;
    criteria->sites = SiteCondition();
    ShowOrders(DispatchQuery(*criteria));
}

void Tfrm_DispatchOrders::btn_SaveClick()
{
    SaveOrders({.maxErrors = 0, .failure = u"详细：保存失败"_s, .failureIcon = TMessageIcon::Information});
}

void Tfrm_DispatchOrders::CheckRowOnce(const std::function<void()>& rules)
{
    CheckRow([&] {
        try {
            rules();
        } catch (const TRuleViolation& violation) {
            if (run_ && run_->told.contains(violation.message))
                Abort();
            if (run_)
                run_->told.append(violation.message);
            throw;
        }
    });
}

bool Tfrm_DispatchOrders::HasSelection() const
{
    const bool selected = HasSelectedOrders();
    if (!selected)
        ShowNotice(u"没有选中订单：先在列表里选中要处理的订单（Ctrl 或 Shift 加单击，Ctrl+A 全选）。"_s);
    return selected;
}

void Tfrm_DispatchOrders::RunBatch(TOrderBatch batch)
{
    batch.caption = Caption();
    run_ = TBatchRun{.told = {}, .modifier = PresentModifier()};
    const auto ended = qScopeGuard([this] { run_.reset(); });
    RunOrderBatch(*DataView1->DataViewGrid, batch);
}

void Tfrm_DispatchOrders::RefuseOrders(const QString& prompt)
{
    if (!HasSelection())
        return;
    QString description;
    RunBatch({.question = u"是否进行批量接单失败?"_s,
        .prepare =
            [&] {
                description = AskReason(u"接单失败"_s, prompt);
                return !description.isEmpty();
            },
        .takes =
            [](const TClientDataSetEx& row) {
                const QString offered = TextOf(row, u"PREPARE_SITE");
                return !HasText(row, u"BILL_CODE")
                    && (StatusOf(row) == company::kStatusAccepted
                        || StatusOf(row) == company::kStatusRejected)
                    && offered.size() > 2 && offered.sliced(1, offered.size() - 2) == LoginSite();
            },
        .change =
            [&](TClientDataSetEx& row) {
                row.FieldByName(u"STATUS").SetAsInteger(company::kStatusRefused);
                SetText(row, u"CANCEL_DESC", description);
                SetText(row, u"CANCEL_MAN", GlobalValue(u"user"_s));
                SetText(row, u"CANCEL_SITE", LoginSite());
                row.FieldByName(u"BL_DEPUTE").SetAsInteger(0);
                row.FieldByName(u"BL_DISPART").SetAsInteger(0);
                for (const QStringView field :
                    {u"PREPARE_SITE", u"REC_SITE", u"REC_BILL_MAN", u"REC_BILL_CODE", u"ACCEPT_DATE"})
                    ClearField(row, field);
            }});
}
