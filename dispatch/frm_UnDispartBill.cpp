#include "dispatch/frm_UnDispartBill.h"

#include "company/OrderStatus.h"
#include "dispatch/AddressMatch.h"
#include "dispatch/DistributionRules.h"
#include "framework/FlowRow.h"
#include "framework/LabelledControls.h"
#include "framework/Lookups.h"
#include "framework/RefusedRows.h"
#include "framework/ScreenHandlers.h"
#include "framework/SelectedRows.h"
#include "framework/SiteTreePicker.h"
#include "framework/frm_Progress.h"
#include "module/data/DateRange.h"
#include "module/data/HostBridge.h"
#include "module/data/MessageBoxes.h"
#include "module/data/ServerLink.h"
#include "orders/record/OrderColumns.h"
#include "orders/record/OrderView.h"

#include <QKeyEvent>

#include <array>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMaxDays = 3;
constexpr int kFrozenColumns = 3;
constexpr int kDetailsPercent = 40;

constexpr std::array kOffered = {company::kStatusWaiting, company::kStatusRefused};

constexpr OrderColumnUse kColumns[] = {
    {u"TX_LOGISTIC_ID"},
    {.field = u"LOGISTICPROVIDERID", .editable = true},
    {u"TRADE_NO", false},
    {u"BILL_CODE"},
    {u"FLAG", false},
    {u"ADDRESS"},
    {.field = u"STATUS", .editable = true},
    {.field = u"CANCEL_DESC", .editable = true},
    {u"CREATE_DATE"},
    {u"PREPARE_SITE"},
    {u"REC_SITE"},
    {u"REC_BILL_MAN"},
    {u"REC_GOODS_MAN"},
    {u"REC_MAN"},
    {u"ACCEPT_DATE"},
    {u"REC_DATE"},
    {u"SEND_SITE"},
    {u"SEND_MAN"},
    {u"SEND_DATE"},
    {u"BL_CANCEL"},
    {u"CANCEL_SITE"},
    {u"CANCEL_MAN"},
    {u"CANCEL_DATE"},
    {u"BL_DISPART", false},
    {u"NAME"},
    {u"PROV"},
    {u"CITY"},
    {u"COUNTY"},
    {u"POST_CODE"},
    {u"PHONE"},
    {u"MOBILE"},
    {u"SEND_START_TIME"},
    {u"SEND_END_TIME"},
    {u"ITEM_NAME"},
    {.field = u"PIECE", .summed = true, .sumWord = u"总件数"},
    {u"SPECIAL"},
    {u"REMARK"},
    {u"INSURANCE_VALUE", false},
    {u"PACKAGE_OR_NOT", false},
    {u"SEND_NAME"},
    {u"SEND_PROV"},
    {u"SEND_CITY"},
    {u"SEND_COUNTY"},
    {u"SEND_ADDRESS"},
    {u"SEND_POST_CODE"},
    {u"SEND_PHONE"},
    {u"SEND_MOBILE"},
    {.field = u"ITEMS_VALUE", .editable = true, .summed = true, .sumWord = u"合计"},
};

// The keys of the status column.
std::optional<int> StatusOfKey(const QKeyEvent& event)
{
    if ((event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier)
        return std::nullopt;
    if (event.key() == Qt::Key_1)
        return company::kStatusWaiting;
    return event.key() == Qt::Key_2 ? std::optional(company::kStatusRefused) : std::nullopt;
}

} // namespace

Tfrm_UnDispartBill::Tfrm_UnDispartBill(QObject* owner)
    : Tfrm_OrderList(owner)
    , cdsCounty(new TClientDataSetEx(this, u"cdsCounty"_s))
    , cds_Temp(new TClientDataSetEx(this, u"cds_Temp"_s))
    , dsCounty(new TDataSource(this, u"dsCounty"_s))
    , clerk_(LoginClerk())
{
    cdsCounty->SetCommandText(u"select * from tab_county"_s);
    dsCounty->SetDataSet(cdsCounty);
    cds->BeforeInsert = cds->BeforeDelete = [] { Abort(); };
    cds->BeforePost = [this] { cdsBeforePost(); };
}

void Tfrm_UnDispartBill::CreateControls()
{
    QWidget* filters = CreateFilterPanel();
    QWidget* actions = CreateActionPanel();
    CreateViews();
    LayOutScreen(this, {filters, actions}, DataView1, details_, kDetailsPercent);
}

QWidget* Tfrm_UnDispartBill::CreateFilterPanel()
{
    auto* panel = new QWidget(this);
    panel->setObjectName(u"Panel1"_s);
    DBDateTimeEditEh1 = new TDBDateTimeEditEh(panel, u"DBDateTimeEditEh1"_s);
    DBDateTimeEditEh2 = new TDBDateTimeEditEh(panel, u"DBDateTimeEditEh2"_s);
    DBEditEh1 = new TDBEditEh(panel, u"DBEditEh1"_s);
    DBEditEh2 = new TDBEditEh(panel, u"DBEditEh2"_s);
    DBLookupComboboxEh1 = new TDBLookupComboboxEh(panel, u"DBLookupComboboxEh1"_s);
    PrepareLookup(*DBLookupComboboxEh1, CountyLookup(dsCounty));
    DBLookupComboboxEh1->OnKeyDown = [this](QKeyEvent* event) {
        RunHandler(this, [this, event] { DBLookupComboboxEh1KeyDown(event); });
    };

    auto* row = new TFlowRow(panel);
    AddDateRange(*row, DBDateTimeEditEh1, u"订单时间始"_s, DBDateTimeEditEh2, u"订单时间止"_s);
    AddControl(*row, u"省份"_s, DBEditEh1, 20);
    AddControl(*row, u"城市"_s, DBEditEh2, 20);
    AddControl(*row, u"区/县"_s, DBLookupComboboxEh1, 24);
    row->addStretch(1);
    return panel;
}

QWidget* Tfrm_UnDispartBill::CreateActionPanel()
{
    auto* panel = new QWidget(this);
    panel->setObjectName(u"Panel2"_s);
    Button1 = NewButton(panel, u"Button1"_s, u"查询"_s);
    Button2 = NewButton(panel, u"Button2"_s, u"保存"_s);
    Button1->hide();
    Button2->hide();
    Button3 = NewButton(panel, u"Button3"_s, u"分件"_s);
    Button3->setToolTip(u"将此订单转给其它网点"_s);
    SpeedButton3 = NewButton(panel, u"SpeedButton3"_s, u"自动匹配目的站点(新)"_s);
    OnClick(Button1, this, &Tfrm_UnDispartBill::Button1Click);
    OnClick(Button2, this, &Tfrm_UnDispartBill::Button2Click);
    OnClick(Button3, this, &Tfrm_UnDispartBill::Button3Click);
    OnClick(SpeedButton3, this, &Tfrm_UnDispartBill::SpeedButton3Click);

    auto* row = new TFlowRow(panel);
    row->addWidget(Button3);
    row->addWidget(SpeedButton3);
    row->addStretch(1);
    return panel;
}

void Tfrm_UnDispartBill::CreateViews()
{
    std::vector<TColumnEh> columns = OrderColumns(kColumns);
    OfferStatuses(columns, company::StatusUse::Dispatch, kOffered);
    DataView1 = new TDataView(this, u"DataView1"_s);
    PrepareList(std::move(columns), kFrozenColumns);
    new TRefusedRows(*DataView1, u"TX_LOGISTIC_ID");
    DataView1->DataViewGrid->OnDblClick = [this] {
        RunHandler(this, [this] { DataView1DataViewGridDblClick(); });
    };
    DataView1->DataViewGrid->OnKeyDown = [this](QKeyEvent* event) {
        RunHandler(this, [this, event] { DataView1DataViewGridKeyDown(event); });
    };
    details_ = new TOrderDetails(this, DataView1->DS,
        {.items = cdsms,
            .itemsCaption = u"发货商品信息"_s,
            .blocks = {SenderBlock(), ReceiverBlockWithoutTime()}});
}

void Tfrm_UnDispartBill::FirstLoad()
{
    cdsCounty->Open();
}

void Tfrm_UnDispartBill::FormShow()
{
    Setup(DataView1, cds, Button2, Button1);
}

TDistributionCriteria Tfrm_UnDispartBill::Criteria() const
{
    return {
        .from = DBDateTimeEditEh1->Text(),
        .to = DBDateTimeEditEh2->Text(),
        .county = DBLookupComboboxEh1->Text(),
        .province = DBEditEh1->Text(),
        .city = DBEditEh2->Text(),
    };
}

void Tfrm_UnDispartBill::Button1Click()
{
    const TDistributionCriteria criteria = Criteria();
    if (!CheckDateRange(criteria.from, criteria.to, kMaxDays, true))
        ShowOrders(DistributionQuery(criteria));
}

void Tfrm_UnDispartBill::DBLookupComboboxEh1KeyDown(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        CompleteLookupText(*DBLookupComboboxEh1);
}

void Tfrm_UnDispartBill::cdsBeforePost()
{
    CheckRow([this] { CheckDistribution(*cds, clerk_); });
}

void Tfrm_UnDispartBill::DataView1DataViewGridDblClick()
{
    Button3Click();
}

void Tfrm_UnDispartBill::DataView1DataViewGridKeyDown(QKeyEvent* event)
{
    const std::optional<int> status = StatusOfKey(*event);
    if (!status || !HasOrders() || DataView1->DataViewGrid->SelectedField() != u"STATUS")
        return;
    event->accept(); // or it would begin an entry into the cell
    if (!DataView1->DataViewGrid->CommitEditor() || StatusOf(*cds) == *status)
        return;
    cds->Edit();
    cds->FieldByName(u"STATUS").SetAsInteger(*status);
}

// Closing the picker without a choice takes the sites away as well.
void Tfrm_UnDispartBill::Button3Click()
{
    if (!HasOrders()) {
        ShowWarning(u"详细：没有任何泽摩订单！"_s, Caption());
        return;
    }
    const QString before = TextOf(*cds, u"PREPARE_SITE");
    const QString sites = Tfrm_SiteTreePicker::Execute(Caption(), GlobalTree(u"AllSiteTree"_s), before);
    const QString tooLong = ChosenSitesMessage(sites.size());
    if (!tooLong.isEmpty()) {
        ShowWarning(tooLong, Caption());
        return;
    }
    cds->Edit();
    SetText(*cds, u"PREPARE_SITE", sites);
    cds->Post();
    if (sites.isEmpty() && !before.isEmpty())
        ShowNotice(u"订单"_s + TextOf(*cds, u"TX_LOGISTIC_ID") + u"的可接单网点已清空。"_s);
}

QString Tfrm_UnDispartBill::MatchDeliverySite(
    const QString& province, const QString& city, const QString& county, const QString& address)
{
    return FindDeliverySite({province, city, county, address}, [this](const QString& sqlText) {
        OpenQuery(*cds_Temp, sqlText);
        return cds_Temp->IsEmpty() ? QString() : cds_Temp->Field(0).AsString();
    });
}

bool Tfrm_UnDispartBill::MatchRow(TClientDataSetEx& row)
{
    const QString site = MatchDeliverySite(TextOf(row, u"SEND_PROV"), TextOf(row, u"SEND_CITY"),
        TextOf(row, u"SEND_COUNTY"), TextOf(row, u"SEND_ADDRESS"));
    if (site.isEmpty())
        return false;
    row.Edit();
    SetText(row, u"SEND_SITE", site);
    row.Post();
    return true;
}

// Nothing is saved; what was matched until the user cancels, or the server is gone, stays.
void Tfrm_UnDispartBill::SpeedButton3Click()
{
    if (!HasOrders())
        return;
    int matched = 0;
    int done = 0;
    Tfrm_Progress progress(Application, Caption());
    progress.AllowCancel();
    progress.Start(u"正在匹配派件网点。"_s, cds->RecordCount());
    WalkAllRows(*cds, [&](TClientDataSetEx& row) {
        matched += MatchRow(row) ? 1 : 0;
        progress.Step(u"正在匹配派件网点。"_s, ++done);
        return !progress.Cancelled();
    });
    ShowNotice(u"查了%1张订单，匹配到派件网点的%2张，尚未保存。"_s.arg(done).arg(matched));
}

void Tfrm_UnDispartBill::Button2Click()
{
    SaveOrders({.maxErrors = 0});
}
