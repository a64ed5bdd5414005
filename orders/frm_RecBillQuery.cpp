#include "orders/frm_RecBillQuery.h"

#include "company/OrderStatus.h"
#include "framework/FlowRow.h"
#include "framework/LabelledControls.h"
#include "framework/Lookups.h"
#include "framework/RefusedRows.h"
#include "framework/RowFields.h"
#include "framework/ScreenHandlers.h"
#include "module/data/SqlText.h"
#include "module/data/dm_GlobalData.h"
#include "orders/CorrectionRules.h"
#include "orders/record/LoginSite.h"
#include "orders/record/OrderColumns.h"
#include "orders/record/OrderView.h"
#include "orders/waybill/NumberRules.h"
#include "runtime/ui/Style.h"

#include <QVBoxLayout>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMaxDays = 31;
constexpr int kFrozenColumns = 2;
constexpr int kPanelHeight = 116; // pixels at 96 dpi
constexpr int kNumberBoxWidth = 190;
constexpr int kSiteWidth = 220;

constexpr std::array kNamed = {
    company::kStatusAccepted, company::kStatusPickedUp, company::kStatusPickupFailed};

constexpr OrderColumnUse kColumns[] = {
    {u"TX_LOGISTIC_ID"},
    {.field = u"BILL_CODE", .editable = true},
    {u"STATUS"},
    {u"REC_SITE"},
    {u"REC_MAN"},
    {u"REC_DATE"},
    {u"REC_GOODS_MAN"},
    {u"TOTAL_WEIGHT"},
    {u"TOTAL_VOLUME"},
    {u"PAY_TYPE"},
    {u"FAVOURABLE_BILL"},
    {u"DESTINATION"},
    {u"NAME"},
    {u"MOBILE"},
    {u"PHONE"},
    {u"PROV"},
    {u"CITY"},
    {u"COUNTY"},
    {u"ADDRESS"},
    {u"POST_CODE"},
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
    {u"SEND_POST_CODE"},
    {u"CREATE_DATE"},
    {u"LOGISTICPROVIDERID"},
    {u"TRADE_NO"},
    {u"WMS_CODE"},
    {u"WMSADDRESS"},
    {u"FLAG", false},
    {u"INSURANCE_VALUE", false},
    {u"PACKAGE_OR_NOT", false},
};

} // namespace

Tfrm_RecBillQuery::Tfrm_RecBillQuery(QObject* owner)
    : Tfrm_OrderList(owner)
{
    cds->SetCommandText(u"select * from tab_zelmor_bill where 1=2"_s);
    cds->BeforeInsert = cds->BeforeDelete = [] { Abort(); };
    cds->BeforePost = [this] { cdsBeforePost(); };
    cds->AfterOpen = [this] { numbers_.Refill(*cds); };
    cds->AfterPost = [this] { numbers_.Enter(TextOf(*cds, u"TX_LOGISTIC_ID"), NumberOf(*cds)); };
}

void Tfrm_RecBillQuery::CreateControls()
{
    QWidget* filters = CreateFilterPanel();
    CreateViews();
    LayOutScreen(this, {filters}, DataView1, DataView2);
}

QWidget* Tfrm_RecBillQuery::CreateFilterPanel()
{
    auto* panel = new QWidget(this);
    panel->setObjectName(u"Panel1"_s);
    numberBox_ = new TNumberListInput(panel, u"NumberBox"_s, {}, u"按运单号查询"_s);
    numberBox_->setFixedSize(Scaled(*this, kNumberBoxWidth), Scaled(*this, kPanelHeight));
    window_ = new TDateWindow(
        panel, {.title = u"揽件日期（31天之内）"_s, .from = u"开始时间"_s, .to = u"结束时间"_s});
    window_->PresetToday();
    DBLookupComboboxEh1 = new TDBLookupComboboxEh(panel, u"DBLookupComboboxEh1"_s);
    DBLookupComboboxEh1->setFixedWidth(Scaled(*this, kSiteWidth));
    PrepareLookup(*DBLookupComboboxEh1, SiteLookup(dm_GlobalData->ds_site));
    btQuery = NewButton(panel, u"btQuery"_s, u"查询"_s);
    btSave = NewButton(panel, u"btSave"_s, u"保存"_s);
    OnClick(btQuery, this, &Tfrm_RecBillQuery::btQueryClick);
    OnClick(btSave, this, &Tfrm_RecBillQuery::btSaveClick);

    auto* site = new QHBoxLayout;
    AddControl(*site, u"揽件网点名称"_s, DBLookupComboboxEh1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(btQuery);
    buttons->addWidget(btSave);
    buttons->addStretch(1);
    auto* rest = new QVBoxLayout;
    rest->addLayout(site);
    rest->addLayout(buttons);
    rest->addStretch(1);
    auto* parts = new TFlowRow(panel);
    parts->setSpacing(12);
    parts->addWidget(numberBox_);
    parts->addWidget(window_, 0, Qt::AlignTop);
    parts->addLayout(rest);
    parts->addStretch(1);
    return panel;
}

void Tfrm_RecBillQuery::CreateViews()
{
    DataView1 = new TDataView(this, u"DataView1"_s);
    std::vector<TColumnEh> columns = OrderColumns(kColumns);
    OfferStatuses(columns, company::StatusUse::SiteScreens, kNamed);
    PrepareList(std::move(columns), kFrozenColumns);
    new TRefusedRows(*DataView1, u"TX_LOGISTIC_ID", u"服务器拒绝了底色标出的行，其余的修改都已经保存。"_s);
    DataView2 = new TDataView(this, u"DataView2"_s);
    PrepareItemsView(*DataView2, cdsms);
}

void Tfrm_RecBillQuery::FirstLoad()
{
    cds->Open();
}

void Tfrm_RecBillQuery::FormShow()
{
    Setup(DataView1, cds, btSave, btQuery);
}

// A site sees its own pickups and those of the sites below it, the headquarters all.
QString Tfrm_RecBillQuery::OwnSites() const
{
    if (IsAtHeadquarters())
        return {};
    return BuildInList(*dm_GlobalData->loginSiteOwner, u"site_name"_s, u"A.REC_SITE"_s);
}

void Tfrm_RecBillQuery::btQueryClick()
{
    TCorrectionCriteria criteria{.ownSites = OwnSites()};
    if (numberBox_->FirstWay()) {
        criteria.numbers = numberBox_->List();
        if (criteria.numbers.isEmpty())
            return;
    } else {
        if (window_->Refused(kMaxDays))
            return;
        criteria.from = window_->From();
        criteria.to = window_->To();
        criteria.site = DBLookupComboboxEh1->Text();
    }
    ShowOrders(CorrectionQuery(criteria));
    DataView1->DataViewGrid->SelectField(u"BILL_CODE"_s);
}

void Tfrm_RecBillQuery::cdsBeforePost()
{
    CheckRow([this] { CheckCorrection(*cds, numbers_); });
}

void Tfrm_RecBillQuery::btSaveClick()
{
    SaveOrders({.caption = u"数据保存"_s,
        .after = TAfterSave::Leave,
        .success = u"详细：保存数据成功"_s,
        .failure = u"详细：保存数据失败"_s});
}
