#include "orders/frm_AcceptBill.h"

#include "company/CandidateSites.h"
#include "company/Headquarters.h"
#include "company/OrderStatus.h"
#include "framework/KeptPlace.h"
#include "framework/LabelledControls.h"
#include "framework/Lookups.h"
#include "framework/ScreenHandlers.h"
#include "module/data/HostBridge.h"
#include "module/data/MessageBoxes.h"
#include "module/data/dm_BasicData.h"
#include "module/data/dm_GlobalData.h"
#include "orders/AcceptRules.h"
#include "orders/BatchStatus.h"
#include "orders/Destinations.h"
#include "orders/frm_ChangeSite.h"
#include "orders/record/OrderColumns.h"
#include "orders/record/OrderView.h"

#include <QApplication>
#include <QLayout>
#include <QScopeGuard>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kTickMilliseconds = 60'000;
constexpr int kTicksBetweenRefreshes = 15;
const QColor kNotOfferedHere(0xFF, 0xB7, 0xB5);

// The last is for headquarters alone.
constexpr std::array kOffered = {company::kStatusWaiting, company::kStatusAccepted, company::kStatusRefused};

constexpr OrderColumnUse kColumns[] = {
    {u"TX_LOGISTIC_ID"},
    {u"LOGISTICPROVIDERID"},
    {u"STATUS", true, true},
    {u"CANCEL_DESC", true, true},
    {.field = u"REC_GOODS_MAN", .editable = true, .title = u"接单业务员"},
    {u"DESTINATION", true, true},
    {u"CREATE_DATE"},
    {u"PREPARE_SITE"},
    {u"NAME"},
    {u"MOBILE"},
    {u"PHONE"},
    {u"PROV"},
    {u"CITY"},
    {u"COUNTY"},
    {u"ADDRESS"},
    {u"POST_CODE", false},
    {u"SEND_START_TIME"},
    {u"SEND_END_TIME"},
    {u"ITEM_NAME"},
    {u"PIECE"},
    {u"SPECIAL"},
    {u"REMARK"},
    {u"TOTAL_WEIGHT"},
    {u"TOTAL_VOLUME"},
    {u"ITEMS_VALUE"},
    {u"SEND_NAME"},
    {u"SEND_MOBILE"},
    {u"SEND_PHONE"},
    {u"SEND_PROV"},
    {u"SEND_CITY"},
    {u"SEND_COUNTY"},
    {u"SEND_ADDRESS"},
    {u"SEND_POST_CODE", false},
    {u"REC_SITE"},
    {u"DUTY_SITE"},
    {u"REC_BILL_MAN"},
    {u"ACCEPT_DATE"},
    {u"MESSAGE"},
    {u"WMS_CODE"},
    {u"WMSADDRESS"},
    {u"TRADE_NO"},
    {u"BILL_CODE", false},
    {u"FLAG", false},
    {u"BL_CANCEL", false},
    {u"BL_DISPART", false},
    {u"INSURANCE_VALUE", false},
    {u"PACKAGE_OR_NOT", false},
};

} // namespace

Tfrm_AcceptBill::Tfrm_AcceptBill(QObject* owner)
    : Tfrm_SiteOrders(owner)
{
    cds->AfterEdit = [this] { statusBefore_ = StatusOf(*cds); };
    BatchAcceptBill = NewBatchAction(u"BatchAcceptBill"_s, u"批量接单"_s);
    OnTriggered(BatchAcceptBill, this, &Tfrm_AcceptBill::BatchAcceptBillExecute);
    Timer1 = new QTimer(this);
    Timer1->setObjectName(u"Timer1"_s);
    Timer1->setInterval(kTickMilliseconds);
    OnTimer(Timer1, this, &Tfrm_AcceptBill::Timer1Timer);
}

void Tfrm_AcceptBill::AddFilters(QHBoxLayout& row, QWidget* panel)
{
    DBEditEh1 = new TDBEditEh(panel, u"DBEditEh1"_s);
    DBEditEh2 = new TDBEditEh(panel, u"DBEditEh2"_s);
    DBLookupComboboxEh1 = new TDBLookupComboboxEh(panel, u"DBLookupComboboxEh1"_s);
    PrepareLookup(*DBLookupComboboxEh1, SiteLookup(dm_GlobalData->ds_AllSite));
    AddControl(row, u"仓库编号"_s, DBEditEh1, 18);
    Label4 = AddControl(row, u"物流号"_s, DBEditEh2, 24);
    Label5 = AddControl(row, u"接单网点"_s, DBLookupComboboxEh1, 28);
    DBEditEh2->setFixedWidth(fontMetrics().horizontalAdvance(QString(20, u'0')));
}

void Tfrm_AcceptBill::AddActions(QHBoxLayout& row, QWidget* panel)
{
    DBPageLookup_Employee1 = new TDBPageLookup_Employee(panel, u"DBPageLookup_Employee1"_s);
    DBPageLookup_Employee1->SetScope(clerk_.site);
    DBPageLookup_Employee1->setPlaceholderText(u"编号、姓名或电话"_s);
    AddControl(row, u"接单业务员"_s, DBPageLookup_Employee1, 26);
    row.addWidget(NewActionButton(panel, BatchAcceptBill));
    row.addSpacing(16);
    Button2 = NewButton(panel, u"Button2"_s, u"转单"_s);
    OnClick(Button2, this, &Tfrm_AcceptBill::Button2Click);
    row.addWidget(Button2);
    row.addWidget(NewSaveButton(panel));
}

void Tfrm_AcceptBill::CreateOrdersView()
{
    std::vector<TColumnEh> columns = OrderColumns(kColumns);
    OfferStatuses(columns, company::StatusUse::SiteScreens,
        std::span(kOffered).first(AtHeadquarters() ? kOffered.size() : kOffered.size() - 1));
    ChooseFrom(columns, u"REC_GOODS_MAN", EmployeeLookup(dm_GlobalData->ds_employee));
    ChooseFrom(columns, u"DESTINATION", SiteLookup(dsDestination));
    PrepareList(std::move(columns));
    DataView1->DataViewGrid->OnGetCellParams = [this](const TColumnEh& column, int viewRow,
                                                   TCellParams& params) {
        DataView1DataViewGridGetCellParams(column, viewRow, params);
    };
    DataView1->layout()->addWidget(NewLegend(DataView1, kNotOfferedHere,
        u"底色标出的订单不由本网点接单：“可接单网点”中没有本网点（已转出，或只在本部列出）。"_s));
    const auto forget = [this] { offeredRow_ = -1; };
    connect(cds, &TClientDataSetEx::DataReset, this, forget);
    connect(cds, &TClientDataSetEx::FieldChanged, this, forget);
    for (const auto change :
        {&TClientDataSetEx::RowChanged, &TClientDataSetEx::RowInserted, &TClientDataSetEx::RowRemoved})
        connect(cds, change, this, forget);
}

void Tfrm_AcceptBill::FormCreate()
{
    Tfrm_BasicBoot::FormCreate();
    DBPageLookup_Employee1->SetRemoteServer(dm_BasicData->HostConnection);
    for (QWidget* control : {static_cast<QWidget*>(DBEditEh2), static_cast<QWidget*>(DBLookupComboboxEh1),
             static_cast<QWidget*>(Label4), static_cast<QWidget*>(Label5)}) {
        control->setVisible(AtHeadquarters());
    }
}

void Tfrm_AcceptBill::FirstLoad()
{
    Tfrm_SiteOrders::FirstLoad();
    ShowOrders(FirstAcceptQuery(Criteria()));
    Timer1->start();
}

bool Tfrm_AcceptBill::AtHeadquarters() const
{
    return clerk_.site == company::kHeadquarters;
}

TAcceptCriteria Tfrm_AcceptBill::Criteria() const
{
    return {
        .loginSite = clerk_.site,
        .from = DBDateTimeEditEh1->Text(),
        .to = DBDateTimeEditEh2->Text(),
        .warehouse = DBEditEh1->Text(),
        .orderNumber = DBEditEh2->Text(),
        .receivingSite = DBLookupComboboxEh1->Text(),
    };
}

void Tfrm_AcceptBill::Button4Click()
{
    if (RangeIsGood())
        ShowOrders(AcceptQuery(Criteria()));
}

void Tfrm_AcceptBill::cdsBeforePost()
{
    CheckRow([this] {
        RequireReasonForRefusal(*cds, clerk_);
        StampAcceptance(*cds, clerk_);
        ResolveCourier(*cds, *dm_GlobalData->employee, TextOf(GlobalCds(u"loginSite"_s), u"PHONE"));
        DropUnknownDestination(*cds, *cdsDestination);
        ClearUndoneAcceptance(*cds, statusBefore_);
        StampModifier(*cds);
    });
}

void Tfrm_AcceptBill::BatchAcceptBillExecute()
{
    if (!HasOrders())
        return;
    const QString courier = DBPageLookup_Employee1->Text();
    const auto finish = qScopeGuard([this] { DBPageLookup_Employee1->SetText({}); });
    SetStatusOfSelected(*DataView1->DataViewGrid, company::kStatusAccepted,
        [&courier](TClientDataSetEx& row) { SetText(row, u"REC_GOODS_MAN", courier); });
    ShowInformation(u"详细：已成功批量接单！"_s, Caption());
}

void Tfrm_AcceptBill::Button2Click()
{
    if (!HasOrders())
        return;
    if (StatusOf(*cds) != company::kStatusWaiting) {
        ShowWarning(u"详细：转单时\"状态\"必须为\"等待接单\"状态！"_s, Caption());
        return;
    }
    const QString target = Tfrm_ChangeSite::Execute();
    if (target.isEmpty())
        return;
    const QString list = TextOf(*cds, u"PREPARE_SITE");
    const QString changed = company::TransferCandidate(list, clerk_.site, target);
    if (changed == list)
        return;
    const QString tooLong = company::CandidateLengthMessage(int(changed.size()));
    if (!tooLong.isEmpty()) {
        ShowWarning(tooLong, Caption());
        return;
    }
    cds->Edit();
    SetText(*cds, u"PREPARE_SITE", changed);
    cds->Post();
}

void Tfrm_AcceptBill::Button1Click()
{
    SaveOrdersOrList(u"以下泽摩订单接单失败，其可能被其它网点接单！"_s);
}

void Tfrm_AcceptBill::Timer1Timer()
{
    if (++ticks_ < kTicksBetweenRefreshes)
        return;
    // A box or the picker speaks of the order it was opened on: the list stays under it, and the next tick
    // asks again.
    if (QApplication::activeModalWidget())
        return;
    ticks_ = 0;
    if (!cds->HasUnsavedEdits() && !cds->IsEditing()) {
        const BusyCursor busy;
        cds->SetFilter({});
        cds->SetFiltered(false);
        Reload(*cds, u"TX_LOGISTIC_ID"); // with the server gone, the list stays
    }
    if (HasOrders()) {
        ShowWarning(u"详细：您还有未接单泽摩订单，请尽快处理！"_s, Caption());
        BringToFront();
    }
}

bool Tfrm_AcceptBill::OfferedHere(int viewRow)
{
    if (viewRow != offeredRow_) {
        const int field = cds->FieldIndex(u"PREPARE_SITE");
        offeredRow_ = viewRow;
        offeredHere_ = field >= 0 && company::IsCandidate(cds->ViewText(viewRow, field), clerk_.site);
    }
    return offeredHere_;
}

void Tfrm_AcceptBill::DataView1DataViewGridGetCellParams(
    const TColumnEh& column, int viewRow, TCellParams& params)
{
    DataView1->DataViewGridGetCellParams(column, viewRow, params);
    if (!OfferedHere(viewRow))
        params.background = kNotOfferedHere;
}
