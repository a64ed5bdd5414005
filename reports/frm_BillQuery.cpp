#include "reports/frm_BillQuery.h"

#include "framework/LabelledControls.h"
#include "framework/ScreenHandlers.h"
#include "module/data/DataSetRows.h"
#include "module/data/HostBridge.h"
#include "module/data/ServerLink.h"
#include "module/data/dm_BasicData.h"
#include "module/data/dm_GlobalData.h"
#include "orders/FilterBoxes.h"
#include "orders/OrderDetails.h"
#include "orders/OrderStamps.h"
#include "orders/OrderView.h"
#include "reports/OrderQueryColumns.h"
#include "reports/OrderQueryCriteria.h"
#include "reports/TrailQuery.h"
#include "runtime/ui/Style.h"

#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMaxDays = 31;
constexpr int kCriteriaHeight = 250; // pixels at 96 dpi
constexpr int kDetailsHeight = 310;
constexpr int kLeastListHeight = 160;

} // namespace

Tfrm_BillQuery::Tfrm_BillQuery(QObject* owner)
    : Tfrm_OrderList(owner)
    , cdsprov(new TClientDataSetEx(this, u"cdsprov"_s))
    , cdscheck(new TClientDataSetEx(this, u"cdscheck"_s))
    , CDSStatus(new TClientDataSetEx(this, u"CDSStatus"_s))
{
    cdsprov->SetCommandText(OrderProvincesQuery());
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

    // The criteria need less room than the details; an order in three lines fills it, so that the list under
    // the mouse stays where it is when the page changes.
    summary_ = new TOrderSummary(this, DataView1->DS);
    summary_->setFixedHeight(Scaled(*this, kDetailsHeight - kCriteriaHeight));
    summary_->setContentsMargins(8, 0, 8, 0);
    DataView1->setMinimumHeight(Scaled(*this, kLeastListHeight));
    auto* content = new QWidget(this);
    auto* rows = new QVBoxLayout(content);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    rows->addWidget(Panel1);
    rows->addWidget(summary_);
    rows->addWidget(DataView1, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(InScrollArea(content, this));
    setTabOrder(Panel1, DataView1);
}

void Tfrm_BillQuery::CreatePages()
{
    // The stored source of orders is found by these names.
    Panel1 = new QWidget(this);
    Panel1->setObjectName(u"Panel1"_s);
    PageControl1 = new QTabWidget(Panel1);
    PageControl1->setObjectName(u"PageControl1"_s);
    TabSheet1 = AddPage(*PageControl1, u"TabSheet1"_s, u"查询条件"_s);
    Panel2 = new TOrderSearchPanel(TabSheet1, u"Panel2"_s, u"查询时间范围(31天以内)"_s, OrderQueryCriteria());
    TabSheet1->layout()->addWidget(Panel2);
    TabSheet2 = AddPage(*PageControl1, u"TabSheet2"_s, u"详细数据"_s);
    details_ = new TOrderDetails(TabSheet2, DataView1->DS, {.items = cdsms, .trail = CDSStatus});
    TabSheet2->layout()->addWidget(details_);
    OnPageShown(PageControl1, this, &Tfrm_BillQuery::PageControl1Change);

    auto* layout = new QVBoxLayout(Panel1);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(PageControl1);
}

void Tfrm_BillQuery::CreateView()
{
    DataView1 = new TDataView(this, u"DataView1"_s);
    DataView1->DataViewGrid->ReadOnly = true;
    PrepareOrdersView(this, *DataView1, OrderQueryColumns(), cds, items_);
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
    Panel2->Window().PresetNoonToNoon();
    Panel2->Box(kWithSubtree)->setEnabled(TextOf(loginSite, u"TYPE").contains(u"中心"_s));
    Panel2->SetText(u"PREPARE_SITE", GlobalValue(u"site"_s));
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
    OpenQuery(*cds,
        Panel2->ByOrderNumber() ? OrdersByNumber(numbers, u"CREATE_DATE"_s)
                                : OrdersByWaybill(numbers, u"CREATE_DATE"_s));
}

void Tfrm_BillQuery::SearchByCriteria()
{
    TOrderCriteria criteria = Panel2->Criteria();
    OpenQuery(*cdscheck, SubtreeQuery(criteria.Text(u"PREPARE_SITE").trimmed()));
    criteria.Set(kSubtreePatterns, SubtreePatterns(ColumnTexts(*cdscheck, u"SITE_NAME")));
    criteria.Set(kAreaName, areaName_);
    if (Panel2->Window().Refused(kMaxDays))
        return;
    const QString sql = OrderSearchQuery(OrderQueryCriteria(), criteria);
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
    if (!trail.isEmpty()) {
        OpenQuery(*CDSStatus, trail);
        details_->SetTrailOrder(orderNumber);
    }
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
    summary_->show();
}

// Turning to the page takes away the trail that a double click on the other page has just read; a double
// click on this page shows it, from the connection that keeps the messages of the order's source.
void Tfrm_BillQuery::TabSheet2Show()
{
    summary_->hide();
    Panel1->setFixedHeight(Scaled(*this, kDetailsHeight));
    CDSStatus->Close();
    const bool marketplace = HasOrders() && TextOf(*cds, u"LOGISTICPROVIDERID") == u"泽摩"_s;
    CDSStatus->SetRemoteServer(marketplace ? dm_GlobalData->QueryConnection : dm_BasicData->HostConnection);
}
