#include "reports/frm_BillQuery.h"

#include "framework/LabelledControls.h"
#include "framework/ScreenHandlers.h"
#include "module/data/DateRange.h"
#include "module/data/HostBridge.h"
#include "module/data/ServerLink.h"
#include "module/data/dm_BasicData.h"
#include "module/data/dm_GlobalData.h"
#include "orders/OrderCriteria.h"
#include "orders/OrderDetails.h"
#include "orders/OrderRecord.h"
#include "orders/OrderStamps.h"
#include "orders/OrderView.h"
#include "reports/TrailQuery.h"
#include "runtime/ui/Style.h"

#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMaxDays = 31;
constexpr int kCriteriaHeight = 250; // pixels at 96 dpi
constexpr int kDetailsHeight = 310;

constexpr OrderColumnUse kColumns[] = {
    {"TX_LOGISTIC_ID"},
    {"LOGISTICPROVIDERID"},
    {"TRADE_NO"},
    {"BILL_CODE"},
    {.field = "TOTAL_WEIGHT", .summed = true},
    {"FLAG", false},
    {"CREATE_DATE"},
    {"STATUS"},
    {"PREPARE_SITE"},
    {"REC_SITE"},
    {"REC_BILL_MAN"},
    {"REC_GOODS_MAN"},
    {"REC_MAN"},
    {"ACCEPT_DATE"},
    {"REC_DATE"},
    {"SEND_SITE"},
    {"SEND_MAN"},
    {"SEND_DATE"},
    {"BL_CANCEL"},
    {"CANCEL_SITE"},
    {"CANCEL_MAN"},
    {"CANCEL_DATE"},
    {"CANCEL_DESC"},
    {"BL_DISPART", false},
    {"NAME"},
    {"PROV"},
    {"CITY"},
    {"COUNTY"},
    {"ADDRESS"},
    {"POST_CODE"},
    {"PHONE"},
    {"MOBILE"},
    {"SEND_START_TIME"},
    {"SEND_END_TIME"},
    {"ITEM_NAME"},
    {.field = "PIECE", .summed = true},
    {"SPECIAL"},
    {"REMARK"},
    {"INSURANCE_VALUE", false},
    {"PACKAGE_OR_NOT", false},
    {"SEND_NAME"},
    {"SEND_PROV"},
    {"SEND_CITY"},
    {"SEND_COUNTY"},
    {"SEND_ADDRESS"},
    {"SEND_POST_CODE"},
    {"SEND_PHONE"},
    {"SEND_MOBILE"},
    {.field = "ITEMS_VALUE", .summed = true},
    {"DUTY_SITE"},
    {"WMSADDRESS"},
    {"WMS_CODE"},
};

} // namespace

Tfrm_BillQuery::Tfrm_BillQuery(QObject* owner)
    : Tfrm_BasicBoot(owner)
{
    CreateDataSets();
}

void Tfrm_BillQuery::CreateDataSets()
{
    cds = new TClientDataSetEx(this, u"cds"_s);
    cds->SetCommandText(u"select * from tab_zelmor_bill where 1=0"_s);
    cdsms = new TClientDataSetEx(this, u"cdsms"_s);
    cdsprov = new TClientDataSetEx(this, u"cdsprov"_s);
    cdsprov->SetCommandText(OrderProvincesQuery());
    cdscheck = new TClientDataSetEx(this, u"cdscheck"_s);
    CDSStatus = new TClientDataSetEx(this, u"CDSStatus"_s);
    items_ = new TOrderItems(cds, cdsms);
}

void Tfrm_BillQuery::CreateControls()
{
    CreateView();
    CreatePages();
    Button1 = NewButton(this, u"Button1"_s, u"查询"_s);
    Button1->hide();
    OnClick(Button1, this, &Tfrm_BillQuery::Button1Click);
    Memo2 = new QPlainTextEdit(this);
    Memo2->setObjectName(u"Memo2"_s);
    Memo2->hide();

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(Panel1);
    layout->addWidget(DataView1, 1);
    setTabOrder(Panel1, DataView1);
}

void Tfrm_BillQuery::CreatePages()
{
    // The stored source of orders is found by these names.
    Panel1 = new QWidget(this);
    Panel1->setObjectName(u"Panel1"_s);
    PageControl1 = new QTabWidget(Panel1);
    PageControl1->setObjectName(u"PageControl1"_s);
    TabSheet1 = new QWidget(PageControl1);
    TabSheet1->setObjectName(u"TabSheet1"_s);
    Panel2 = new TBillCriteriaPanel(TabSheet1, u"Panel2"_s);
    auto* criteria = new QVBoxLayout(TabSheet1);
    criteria->setContentsMargins(0, 0, 0, 0);
    criteria->addWidget(Panel2);
    TabSheet2 = new QWidget(PageControl1);
    TabSheet2->setObjectName(u"TabSheet2"_s);
    auto* details = new QVBoxLayout(TabSheet2);
    details->setContentsMargins(0, 0, 0, 0);
    details->addWidget(new TOrderDetails(TabSheet2, DataView1->DS, cdsms, CDSStatus));
    PageControl1->addTab(TabSheet1, u"查询条件"_s);
    PageControl1->addTab(TabSheet2, u"详细数据"_s);
    connect(PageControl1, &QTabWidget::currentChanged, this, &Tfrm_BillQuery::PageControl1Change);

    auto* layout = new QVBoxLayout(Panel1);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(PageControl1);
}

void Tfrm_BillQuery::CreateView()
{
    DataView1 = new TDataView(this, u"DataView1"_s);
    std::vector<TColumnEh> columns = OrderColumns(kColumns);
    for (TColumnEh& column : columns) {
        if (column.fieldName == u"STATUS"_s) {
            OfferStatuses(column,
                {kStatusCancelled, kStatusWaiting, kStatusAccepted, kStatusRefused, kStatusPickedUp,
                    kStatusPickupFailed, kStatusInTransit, kStatusDelivered, kStatusDeliveryFailed});
        }
    }
    DataView1->DataViewGrid->ReadOnly = true;
    DataView1->DataViewGrid->KeepsRowPlace = true; // the pages above it differ in height
    PrepareOrdersView(this, *DataView1, std::move(columns), cds, items_);
    DataView1->DataViewGrid->OnDblClick = [this] {
        RunHandler(this, [this] { DataView1DataViewGridDblClick(); });
    };
}

void Tfrm_BillQuery::FormCreate()
{
    Tfrm_BasicBoot::FormCreate();
    Prop->Active = true;
    Prop->StoredProps = {u"Panel1.PageControl1.TabSheet1.Panel2.DBComboBoxEh2.<P>.Text"_s};

    const TClientDataSetEx& loginSite = GlobalCds(u"loginsite"_s);
    Panel2->Preset(GlobalValue(u"site"_s), TextOf(loginSite, u"TYPE").contains(u"中心"_s));
    areaName_ = TextOf(loginSite, u"AREA_NAME");
    PageControl1->setCurrentWidget(TabSheet1);
    TabSheet1Show();
}

void Tfrm_BillQuery::FirstLoad()
{
    cdsprov->Open();
    Panel2->OfferProvinces(ColumnTexts(*cdsprov, u"PROV"));
}

void Tfrm_BillQuery::FormShow()
{
    Setup(DataView1, cds, nullptr, Button1);
}

bool Tfrm_BillQuery::HasOrders() const
{
    return cds->Active() && !cds->IsEmpty();
}

void Tfrm_BillQuery::Button1Click()
{
    const BusyCursor busy;
    if (Panel2->ByOrderNumber() || Panel2->ByWaybill())
        SearchByNumbers();
    else
        SearchByCriteria();
    PageControl1->setCurrentWidget(TabSheet1);
    items_->Load();
}

void Tfrm_BillQuery::SearchByNumbers()
{
    const QString numbers = Panel2->NumberList();
    if (numbers.isEmpty())
        return;
    OpenQuery(*cds, Panel2->ByOrderNumber() ? BillsByOrderNumber(numbers) : BillsByWaybill(numbers));
}

void Tfrm_BillQuery::SearchByCriteria()
{
    TBillCriteria criteria = Panel2->Criteria();
    OpenQuery(*cdscheck, SubtreeQuery(criteria.candidateSite.trimmed()));
    criteria.subtree = SubtreeLikeList(ColumnTexts(*cdscheck, u"SITE_NAME"));
    criteria.areaName = areaName_;
    if (CheckDateRange(criteria.from, criteria.to, kMaxDays, true))
        return;
    const QString sql = BillQuery(criteria);
    Memo2->setPlainText(sql);
    OpenQuery(*cds, sql);
}

void Tfrm_BillQuery::DataView1DataViewGridDblClick()
{
    if (!HasOrders())
        return;
    const QString orderNumber = TextOf(*cds, u"TX_LOGISTIC_ID");
    if (orderNumber.trimmed().isEmpty())
        return;
    const BusyCursor busy;
    items_->Load();
    const QString trail =
        TrailQuery(TextOf(*cds, u"LOGISTICPROVIDERID"), orderNumber, TextOf(*cds, u"BILL_CODE"));
    if (!trail.isEmpty())
        OpenQuery(*CDSStatus, trail);
    PageControl1->setCurrentWidget(TabSheet2);
}

void Tfrm_BillQuery::PageControl1Change()
{
    if (PageControl1->currentWidget() == TabSheet1)
        TabSheet1Show();
    else
        TabSheet2Show();
}

void Tfrm_BillQuery::TabSheet1Show()
{
    Panel1->setFixedHeight(Scaled(*this, kCriteriaHeight));
}

// Turning to the page takes away the trail that a double click on the other page has just read; a double
// click on this page shows it, from the connection that keeps the messages of the order's source.
void Tfrm_BillQuery::TabSheet2Show()
{
    Panel1->setFixedHeight(Scaled(*this, kDetailsHeight));
    CDSStatus->Close();
    const bool marketplace = HasOrders() && TextOf(*cds, u"LOGISTICPROVIDERID") == u"泽摩"_s;
    CDSStatus->SetRemoteServer(marketplace ? dm_GlobalData->QueryConnection : dm_BasicData->HostConnection);
}
