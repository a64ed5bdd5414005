#include "orders/frm_SiteOrders.h"

#include "framework/FlowRow.h"
#include "framework/LabelledControls.h"
#include "framework/ScreenHandlers.h"
#include "module/data/DateRange.h"
#include "module/data/ServerLink.h"
#include "orders/Destinations.h"
#include "orders/record/OrderView.h"
#include "orders/record/RefusedOrders.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMaxDays = 30;

} // namespace

Tfrm_SiteOrders::Tfrm_SiteOrders(QObject* owner)
    : Tfrm_OrderList(owner)
    , cdsDestination(new TClientDataSetEx(this, u"cdsDestination"_s))
    , cdsErr(new TClientDataSetEx(this, u"cdsErr"_s))
    , dsDestination(new TDataSource(this, u"dsDestination"_s))
    , clerk_(LoginClerk())
{
    cdsErr->SetCommandText(u"select * from tab_zelmor_bill where 1=0"_s);
    cds->BeforePost = [this] { cdsBeforePost(); };
    dsDestination->SetDataSet(cdsDestination);
}

void Tfrm_SiteOrders::CreateControls()
{
    auto* filters = new QWidget(this);
    filters->setObjectName(u"Panel1"_s);
    auto* filterRow = new TFlowRow(filters);
    DBDateTimeEditEh1 = new TDBDateTimeEditEh(filters, u"DBDateTimeEditEh1"_s);
    DBDateTimeEditEh2 = new TDBDateTimeEditEh(filters, u"DBDateTimeEditEh2"_s);
    AddDateRange(*filterRow, DBDateTimeEditEh1, u"订单时间始"_s, DBDateTimeEditEh2, u"订单时间止"_s);
    AddFilters(*filterRow, filters);
    Button4 = NewButton(filters, u"Button4"_s, u"查询"_s);
    OnClick(Button4, this, &Tfrm_SiteOrders::Button4Click);
    filterRow->addWidget(Button4);
    filterRow->addStretch(1);

    auto* actions = new QWidget(this);
    actions->setObjectName(u"Panel2"_s);
    auto* actionRow = new TFlowRow(actions);
    AddActions(*actionRow, actions);
    actionRow->addStretch(1);

    DataView1 = new TDataView(this, u"DataView1"_s);
    CreateOrdersView();
    DataView2 = new TDataView(this, u"DataView2"_s);
    PrepareItemsView(*DataView2, cdsms);
    LayOutScreen(this, {filters, actions}, DataView1, DataView2);
}

QPushButton* Tfrm_SiteOrders::NewSaveButton(QWidget* panel)
{
    Button1 = NewButton(panel, u"Button1"_s, u"保存"_s);
    OnClick(Button1, this, &Tfrm_SiteOrders::Button1Click);
    return Button1;
}

void Tfrm_SiteOrders::FirstLoad()
{
    OpenQuery(*cdsDestination, DestinationSitesQuery());
}

void Tfrm_SiteOrders::FormShow()
{
    Setup(DataView1, cds, Button1, Button4);
}

bool Tfrm_SiteOrders::RangeIsGood() const
{
    return !CheckDateRange(DBDateTimeEditEh1->Text(), DBDateTimeEditEh2->Text(), kMaxDays, true);
}

bool Tfrm_SiteOrders::SaveOrdersOrList(const QString& failureText)
{
    TSave save{.after = TAfterSave::ReloadTold};
    save.tellRejected = [&] { ListRefusedOrders(*cds, *cdsErr, Caption(), failureText); };
    const TSaveOutcome outcome = SaveOrders(save);
    return outcome == TSaveOutcome::Saved || outcome == TSaveOutcome::Rejected;
}
