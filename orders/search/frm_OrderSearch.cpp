#include "orders/search/frm_OrderSearch.h"

#include "framework/LabelledControls.h"
#include "framework/ScreenHandlers.h"
#include "module/data/DataSetRows.h"
#include "module/data/ServerLink.h"
#include "module/data/dm_BasicData.h"
#include "module/data/dm_GlobalData.h"
#include "orders/record/OrderStamps.h"
#include "orders/record/OrderView.h"
#include "orders/search/FilterBoxes.h"
#include "orders/search/TrailQuery.h"
#include "runtime/ui/Style.h"

#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMaxDays = 31;
constexpr int kCriteriaHeight = 250; // pixels at 96 dpi
constexpr int kDetailsHeight = 310;

} // namespace

Tfrm_OrderSearch::Tfrm_OrderSearch(QObject* owner, TOrderSearch search)
    : Tfrm_OrderList(owner)
    , search_(std::move(search))
    , cdsprov(new TClientDataSetEx(this, u"cdsprov"_s))
{
    cdsprov->SetCommandText(OrderProvincesQuery());
    if (search_.showsTrail)
        CDSStatus = new TClientDataSetEx(this, u"CDSStatus"_s);
}

void Tfrm_OrderSearch::CreateControls()
{
    QScrollArea* area = NewScrollArea(this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(area);
    CreateView(area->widget());
    CreatePages(area->widget());
    Button1 = NewButton(this, u"Button1"_s, u"查询"_s);
    Button1->hide();
    OnClick(Button1, this, &Tfrm_OrderSearch::Button1Click);
    Memo2 = new QPlainTextEdit(this);
    Memo2->setObjectName(u"Memo2"_s);
    Memo2->hide();
    LayOut(area->widget());
}

void Tfrm_OrderSearch::LayOut(QWidget* content)
{
    // The criteria need less room than the details; an order in three lines fills it, so that the list under
    // the mouse stays where it is when the page changes.
    summary_ = new TOrderSummary(content, DataView1->DS);
    summary_->setFixedHeight(Scaled(*this, kDetailsHeight - kCriteriaHeight));
    summary_->setContentsMargins(8, 0, 8, 0);
    auto* rows = new QVBoxLayout(content);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    rows->addWidget(Panel1);
    rows->addWidget(summary_);
    rows->addWidget(DataView1, 1);
    setTabOrder(Panel1, DataView1);
}

void Tfrm_OrderSearch::CreatePages(QWidget* content)
{
    // The stored source of orders is found by these names.
    Panel1 = new QWidget(content);
    Panel1->setObjectName(u"Panel1"_s);
    PageControl1 = new QTabWidget(Panel1);
    PageControl1->setObjectName(u"PageControl1"_s);
    TabSheet1 = AddPage(*PageControl1, u"TabSheet1"_s, u"查询条件"_s);
    Panel2 =
        new TOrderSearchPanel(TabSheet1, u"Panel2"_s, search_.windowTitle, search_.numbers, search_.criteria);
    TabSheet1->layout()->addWidget(Panel2);
    TabSheet2 = AddPage(*PageControl1, u"TabSheet2"_s, u"详细数据"_s);
    details_ = new TOrderDetails(TabSheet2, DataView1->DS, {.items = cdsms, .trail = CDSStatus});
    TabSheet2->layout()->addWidget(details_);
    OnPageShown(PageControl1, this, &Tfrm_OrderSearch::PageControl1Change);

    auto* layout = new QVBoxLayout(Panel1);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(PageControl1);
}

void Tfrm_OrderSearch::CreateView(QWidget* content)
{
    DataView1 = new TDataView(content, u"DataView1"_s);
    DataView1->DataViewGrid->ReadOnly = search_.readOnly;
    PrepareList(std::move(search_.columns));
    DataView1->DataViewGrid->OnDblClick = [this] {
        RunHandler(this, [this] { DataView1DataViewGridDblClick(); });
    };
}

void Tfrm_OrderSearch::FormCreate()
{
    Tfrm_OrderList::FormCreate();
    Prop->Active = true;
    Prop->StoredProps = {u"Panel1.PageControl1.TabSheet1.Panel2.DBComboBoxEh2.<P>.Text"_s};
    Panel2->Window().PresetNoonToNoon();
    PageControl1->setCurrentWidget(TabSheet1);
    TabSheet1Show();
}

void Tfrm_OrderSearch::FirstLoad()
{
    cdsprov->Open();
    Panel2->OfferProvinces(ColumnTexts(*cdsprov, u"PROV"));
}

void Tfrm_OrderSearch::FormShow()
{
    Setup(DataView1, cds, nullptr, Button1);
}

void Tfrm_OrderSearch::Button1Click()
{
    const BusyCursor busy;
    const bool byNumbers = Panel2->ByOrderNumber() || Panel2->ByWaybill();
    const QString sql = byNumbers ? SearchByNumbers() : SearchByCriteria();
    if (!sql.isEmpty())
        ShowOrders(sql);
    PageControl1->setCurrentWidget(TabSheet1);
    if (sql.isEmpty())
        SearchRefused();
}

QString Tfrm_OrderSearch::SearchByNumbers()
{
    const QString numbers = Panel2->NumberList();
    return numbers.isEmpty() ? QString() : NumbersQuery(numbers);
}

QString Tfrm_OrderSearch::SearchByCriteria()
{
    TOrderCriteria criteria = Panel2->Criteria();
    CompleteCriteria(criteria);
    if (Panel2->Window().Refused(kMaxDays))
        return {};
    const QString sql = OrderSearchQuery(search_.criteria, criteria, search_.selected);
    Memo2->setPlainText(sql);
    return sql;
}

void Tfrm_OrderSearch::DataView1DataViewGridDblClick()
{
    if (!HasOrders())
        return;
    const QString orderNumber = TextOf(*cds, u"TX_LOGISTIC_ID");
    if (orderNumber.trimmed().isEmpty())
        return;
    const BusyCursor busy;
    items_->Load();
    if (CDSStatus)
        LoadTrail(orderNumber);
    PageControl1->setCurrentWidget(TabSheet2);
}

void Tfrm_OrderSearch::LoadTrail(const QString& orderNumber)
{
    const QString sql =
        TrailQuery(TextOf(*cds, u"LOGISTICPROVIDERID"), orderNumber, TextOf(*cds, u"BILL_CODE"));
    if (sql.isEmpty())
        return;
    OpenQuery(*CDSStatus, sql);
    details_->SetTrailOrder(orderNumber);
}

void Tfrm_OrderSearch::PageControl1Change()
{
    if (PageControl1->currentWidget() == TabSheet1)
        TabSheet1Show();
    else
        TabSheet2Show();
}

void Tfrm_OrderSearch::TabSheet1Show()
{
    Panel1->setFixedHeight(Scaled(*this, kCriteriaHeight));
    summary_->show();
}

// Turning to the page takes away the trail that a double click on the other page has just read; a double
// click on this page shows it, from the connection that keeps the messages of the order's source.
void Tfrm_OrderSearch::TabSheet2Show()
{
    summary_->hide();
    Panel1->setFixedHeight(Scaled(*this, kDetailsHeight));
    if (!CDSStatus)
        return;
    CDSStatus->Close();
    const bool marketplace = HasOrders() && TextOf(*cds, u"LOGISTICPROVIDERID") == u"泽摩"_s;
    CDSStatus->SetRemoteServer(marketplace ? dm_GlobalData->QueryConnection : dm_BasicData->HostConnection);
}
