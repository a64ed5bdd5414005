#include "orders/frm_RecBill.h"

#include "company/OrderStatus.h"
#include "framework/LabelledControls.h"
#include "framework/Lookups.h"
#include "framework/ScreenHandlers.h"
#include "module/data/HostBridge.h"
#include "module/data/MessageBoxes.h"
#include "orders/BatchStatus.h"
#include "orders/Destinations.h"
#include "orders/PickupRules.h"
#include "orders/record/OrderColumns.h"
#include "orders/record/OrderView.h"
#include "orders/waybill/Coupon.h"

#include <QKeyEvent>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QStringView kNumberField = u"BILL_CODE";
constexpr QStringView kCouponField = u"FAVOURABLE_BILL";

constexpr std::array kOffered = {
    company::kStatusAccepted, company::kStatusPickedUp, company::kStatusPickupFailed};

// What the clerk fills in stands first.
constexpr OrderColumnUse kColumns[] = {
    {u"TX_LOGISTIC_ID"},
    {u"BILL_CODE", true, true},
    {u"STATUS", true, true},
    {u"TOTAL_WEIGHT", true, true},
    {u"TOTAL_VOLUME", true, true},
    {u"PAY_TYPE", true, true},
    {u"FAVOURABLE_BILL", true, true},
    {u"CANCEL_DESC", true, true},
    {u"DESTINATION", true, true},
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
    {u"REC_GOODS_MAN"},
    {u"ITEM_NAME"},
    {u"PIECE"},
    {u"SPECIAL"},
    {u"REMARK"},
    {u"ITEMS_VALUE"},
    {u"SEND_NAME"},
    {u"SEND_MOBILE"},
    {u"SEND_PHONE"},
    {u"SEND_PROV"},
    {u"SEND_CITY"},
    {u"SEND_COUNTY"},
    {u"SEND_ADDRESS"},
    {u"SEND_POST_CODE", false},
    {u"CREATE_DATE"},
    {u"LOGISTICPROVIDERID"},
    {u"REC_SITE"},
    {u"REC_BILL_MAN"},
    {u"ACCEPT_DATE"},
    {u"REC_MAN"},
    {u"REC_DATE"},
    {u"WMS_CODE"},
    {u"WMSADDRESS"},
    {u"TRADE_NO"},
    {u"FLAG", false},
    {u"BL_CANCEL", false},
    {u"BL_DISPART", false},
    {u"INSURANCE_VALUE", false},
    {u"PACKAGE_OR_NOT", false},
};

} // namespace

Tfrm_RecBill::Tfrm_RecBill(QObject* owner)
    : Tfrm_SiteOrders(owner)
{
    BatchRecBill = NewBatchAction(u"BatchRecBill"_s, u"批量揽件"_s);
    OnTriggered(BatchRecBill, this, &Tfrm_RecBill::BatchRecBillExecute);
    cds->AfterOpen = [this] { entered_.Clear(); }; // the server knows what was saved; the rest is gone
    cds->AfterEdit = [this] { numberBefore_ = TextOf(*cds, kNumberField); };
    cds->AfterPost = [this] { entered_.Enter(TextOf(*cds, u"TX_LOGISTIC_ID"), TextOf(*cds, kNumberField)); };
}

void Tfrm_RecBill::AddFilters(QHBoxLayout& row, QWidget* panel)
{
    DBEditEh2 = new TDBEditEh(panel, u"DBEditEh2"_s);
    AddControl(row, u"仓库编号"_s, DBEditEh2, 18);
}

void Tfrm_RecBill::AddActions(QHBoxLayout& row, QWidget* panel)
{
    row.addWidget(NewActionButton(panel, BatchRecBill));
    row.addWidget(NewSaveButton(panel));
    row.addSpacing(16);
    DBEditEh1 = new TDBEditEh(panel, u"DBEditEh1"_s);
    DBEditEh1->OnExit = [this] { DBEditEh1Exit(); };
    AddControl(row, u"优惠券编号(&U)"_s, DBEditEh1, 20);
}

void Tfrm_RecBill::CreateOrdersView()
{
    std::vector<TColumnEh> columns = OrderColumns(kColumns);
    OfferStatuses(columns, company::StatusUse::SiteScreens, kOffered);
    ChooseFrom(columns, u"DESTINATION", SiteLookup(dsDestination));
    PrepareList(std::move(columns));
    DataView1->DataViewGrid->OnKeyDown = [this](QKeyEvent* event) {
        RunHandler(this, [this, event] { DataView1DataViewGridKeyDown(event); });
    };
    DBEditEh1->Binding().SetDataSource(DataView1->DS);
    DBEditEh1->Binding().SetDataField(kCouponField);
    setTabOrder(DBEditEh1, DataView1->DataViewGrid);
}

void Tfrm_RecBill::FirstLoad()
{
    Tfrm_SiteOrders::FirstLoad();
    ShowOrders(PickupQuery(Criteria()));
}

void Tfrm_RecBill::FormShow()
{
    Tfrm_SiteOrders::FormShow();
    GoToNumber();
}

TPickupCriteria Tfrm_RecBill::Criteria() const
{
    return {
        .loginSite = clerk_.site,
        .from = DBDateTimeEditEh1->Text(),
        .to = DBDateTimeEditEh2->Text(),
        .warehouse = DBEditEh2->Text(),
    };
}

// Ready for the scanner.
void Tfrm_RecBill::GoToNumber()
{
    if (!HasOrders() || cds->State() != TDataSetState::Browse)
        return;
    DataView1->DataViewGrid->SelectField(kNumberField);
    DataView1->DataViewGrid->setFocus();
}

void Tfrm_RecBill::Button4Click()
{
    if (!RangeIsGood())
        return;
    ShowOrders(PickupQuery(Criteria()));
    GoToNumber();
}

// Enter behind a number, as a scanner sends it, registers the pickup and goes on to the next order.
void Tfrm_RecBill::DataView1DataViewGridKeyDown(QKeyEvent* event)
{
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!enter || (event->modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier || !HasOrders()
        || DataView1->DataViewGrid->SelectedField() != kNumberField)
        return;
    if (!DataView1->DataViewGrid->CommitEditor()) {
        event->accept();
        return;
    }
    if (cds->State() == TDataSetState::Browse || !HasText(*cds, u"BILL_CODE"))
        return;
    event->accept();
    RegisterPickup();
}

void Tfrm_RecBill::RegisterPickup()
{
    const int row = cds->RecNo() - 1;
    const TBookmark next = row + 1 < cds->RecordCount() ? cds->ViewBookmark(row + 1) : 0;
    if (StatusOf(*cds) == company::kStatusAccepted && TextOf(*cds, kNumberField) != numberBefore_)
        cds->FieldByName(u"STATUS").SetAsInteger(company::kStatusPickedUp);
    cds->Post();
    if (next != 0)
        cds->GotoBookmark(next);
    DataView1->DataViewGrid->SelectField(kNumberField);
}

void Tfrm_RecBill::cdsBeforePost()
{
    CheckRow([this] { CheckPickup(*cds, *cdsDestination, entered_, numberBefore_, clerk_); });
}

// To what the clerk has to correct: the text selected, so that typing or scanning replaces it.
void Tfrm_RecBill::GoToColumn(const QString& field)
{
    const auto go = [this, field] {
        TDBGridEh* grid = DataView1->DataViewGrid;
        if (field == kCouponField && grid->SelectedField() != kCouponField) {
            DBEditEh1->setFocus();
            DBEditEh1->selectAll();
            return;
        }
        grid->setFocus();
        grid->SelectField(field);
        if (field != u"STATUS"_s)
            grid->EditCurrentCell();
    };
    // The grid is still busy with the move that was refused.
    QMetaObject::invokeMethod(this, go, Qt::QueuedConnection);
}

void Tfrm_RecBill::DBEditEh1Exit()
{
    const QString coupon = DBEditEh1->Text();
    if (coupon.isEmpty() || !HasOrders())
        return;
    RunRules(Caption(), [this, &coupon] {
        const QString complaint = CheckCoupon(coupon, ParcelOf(*cds));
        if (!complaint.isEmpty())
            throw TRuleViolation{complaint, {}};
    });
}

void Tfrm_RecBill::BatchRecBillExecute()
{
    if (!HasOrders())
        return;
    SetStatusOfSelected(*DataView1->DataViewGrid, company::kStatusPickedUp);
    ShowInformation(u"详细：已成功批量揽件！"_s, Caption());
}

void Tfrm_RecBill::Button1Click()
{
    if (SaveOrdersOrList(u"以下泽摩订单揽件失败，其可能被您网点的其它员工揽收！"_s))
        GoToNumber();
}
