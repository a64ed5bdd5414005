#include "orders/frm_Site.h"

#include "company/Tables.h"
#include "framework/FlowRow.h"
#include "framework/KeptPlace.h"
#include "framework/LabelledControls.h"
#include "framework/Lookups.h"
#include "framework/Questions.h"
#include "framework/RefusedRows.h"
#include "framework/RowFields.h"
#include "framework/SaveChanges.h"
#include "framework/ScreenHandlers.h"
#include "module/data/DataSetRows.h"
#include "module/data/HostBridge.h"
#include "module/data/ServerLink.h"
#include "module/data/dm_GlobalData.h"
#include "orders/SiteServices.h"
#include "orders/record/LoginSite.h"
#include "orders/record/OrderView.h"
#include "runtime/ui/Style.h"

#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QStringView kKey = u"SITE_NAME;COUNTY_NAME;CITY_NAME";
constexpr int kMemoHeight = 48; // pixels at 96 dpi
constexpr int kFrozenColumns = 3;
constexpr int kRegionCharacters = 20;
constexpr int kPostcodeCharacters = 14;

struct TServiceColumn {
    QStringView field;
    int width; // pixels at 96 dpi
};

constexpr TServiceColumn kColumns[] = {
    {u"SITE_NAME", 130},
    {u"COUNTY_NAME", 100},
    {u"PROVINCE", 80},
    {u"CITY_NAME", 90},
    {u"MAIL_CODE", 70},
    {u"REC_START_TIME", 84},
    {u"REC_END_TIME", 84},
    {u"BL_REC", 50},
    {u"BL_SEND", 50},
    {u"BL_OPEN", 70},
    {u"SEND_RANGE", 240},
    {u"NOT_SEND_RANGE", 240},
};

std::vector<TColumnEh> ServiceColumns()
{
    const company::Table& table = *company::FindTable(u"tab_zelmor_site");
    std::vector<TColumnEh> columns{{.title = u"序号"_s, .width = 46, .readOnly = true}};
    for (const TServiceColumn& shown : kColumns) {
        TColumnEh& column = columns.emplace_back();
        column.fieldName = shown.field.toString();
        column.title = table.Find(shown.field)->Title();
        column.width = shown.width;
        column.readOnly = true;
        if (table.Find(shown.field)->type == wire::ColumnType::Integer) {
            column.style = TColumnStyle::CheckBox;
            column.alignment = TAlignment::Center;
            column.keyList = {u"1"_s, u"0"_s};
        }
    }
    return columns;
}

} // namespace

Tfrm_Site::Tfrm_Site(QObject* owner)
    : Tfrm_BasicBoot(owner)
    , cds(new TClientDataSetEx(this, u"cds"_s))
    , cdsCounty(new TClientDataSetEx(this, u"cdsCounty"_s))
    , dsCounty(new TDataSource(this, u"dsCounty"_s))
{
    cdsCounty->SetCommandText(ServiceCountiesQuery());
    dsCounty->SetDataSet(cdsCounty);
    cds->AfterInsert = [this] { cdsAfterInsert(); };
}

void Tfrm_Site::CreateControls()
{
    CreateView();
    auto* panel = new QWidget(this);
    panel->setObjectName(u"Panel1"_s);
    CreateEditors(panel);
    PlaceEditors(panel);
    QWidget* buttons = CreateButtons();

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 0);
    layout->setSpacing(6);
    layout->addWidget(panel);
    layout->addWidget(buttons);
    layout->addWidget(DataView1, 1);
    setTabOrder(Button2, DataView1->DataViewGrid);
}

void Tfrm_Site::CreateView()
{
    DataView1 = new TDataView(this, u"DataView1"_s);
    TDBGridEh* grid = DataView1->DataViewGrid;
    grid->SetColumns(ServiceColumns());
    grid->SetFrozenCols(kFrozenColumns);
    grid->ReadOnly = true;
    grid->OnDblClick = [this] { RunHandler(this, [this] { DataView1DataViewGridDblClick(); }); };
    DataView1->DS->SetDataSet(cds);
    DataView1->Loaded();
    KeepRowsInSight(*DataView1);
    new TRefusedRows(*DataView1, kKey, u"服务器拒绝了底色标出的行，其余的修改都已经保存。"_s);
    connect(cds, &TClientDataSetEx::StateChanged, this, &Tfrm_Site::DSStateChange);
}

void Tfrm_Site::CreateEditors(QWidget* panel)
{
    const auto bind = [this](TDBBinding& binding, QStringView field) {
        binding.SetDataSource(DataView1->DS);
        binding.SetDataField(field);
    };
    DBLookupComboboxEh1 = new TDBLookupComboboxEh(panel, u"DBLookupComboboxEh1"_s);
    PrepareLookup(*DBLookupComboboxEh1, SiteLookup(dm_GlobalData->ds_AllSite));
    bind(DBLookupComboboxEh1->Binding(), u"SITE_NAME");
    DBLookupComboboxEh2 = new TDBLookupComboboxEh(panel, u"DBLookupComboboxEh2"_s);
    TLookupParams counties = CountyLookup(dsCounty);
    counties.unknownText = u"无此区/县"_s;
    DBLookupComboboxEh2->SetLookup(counties);
    DBLookupComboboxEh2->OnUpdateData = [this] { DBLookupComboboxEh2UpdateData(); };
    DBLookupComboboxEh2->OnExit = [this] { DBLookupComboboxEh2Exit(); };
    bind(DBLookupComboboxEh2->Binding(), u"COUNTY_NAME");

    const auto newEdit = [&](const QString& name, QStringView field) {
        auto* edit = new TDBEditEh(panel, name);
        bind(edit->Binding(), field);
        edit->Binding().SetReadOnly(true); // it follows the county
        edit->setFocusPolicy(Qt::ClickFocus);
        return edit;
    };
    DBEditEh1 = newEdit(u"DBEditEh1"_s, u"PROVINCE");
    DBEditEh2 = newEdit(u"DBEditEh2"_s, u"CITY_NAME");
    DBEditEh3 = newEdit(u"DBEditEh3"_s, u"MAIL_CODE");
    const auto newTime = [&](const QString& name, QStringView field) {
        auto* edit = new TDBDateTimeEditEh(panel, name);
        edit->Kind = TDateTimeKind::Time;
        bind(edit->Binding(), field);
        return edit;
    };
    DBDateTimeEditEh1 = newTime(u"DBDateTimeEditEh1"_s, u"REC_START_TIME");
    DBDateTimeEditEh2 = newTime(u"DBDateTimeEditEh2"_s, u"REC_END_TIME");
    const auto newBox = [&](const QString& name, QStringView field, const QString& caption) {
        auto* box = new TDBCheckBoxEh(panel, name);
        box->setText(caption);
        bind(box->Binding(), field);
        return box;
    };
    DBCheckBoxEh1 = newBox(u"DBCheckBoxEh1"_s, u"BL_REC", u"揽件"_s);
    DBCheckBoxEh2 = newBox(u"DBCheckBoxEh2"_s, u"BL_SEND", u"派送"_s);
    DBCheckBoxEh3 = newBox(u"DBCheckBoxEh3"_s, u"BL_OPEN", u"开通泽摩"_s);
    const auto newMemo = [&](const QString& name, QStringView field) {
        auto* memo = new TDBMemo(panel, name);
        memo->setFixedHeight(Scaled(*this, kMemoHeight));
        bind(memo->Binding(), field);
        return memo;
    };
    DBMemo1 = newMemo(u"DBMemo1"_s, u"SEND_RANGE");
    DBMemo2 = newMemo(u"DBMemo2"_s, u"NOT_SEND_RANGE");
}

void Tfrm_Site::PlaceEditors(QWidget* panel)
{
    auto* rows = new QVBoxLayout(panel);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(6);
    const auto newRow = [&rows] {
        auto* row = new QHBoxLayout;
        row->setSpacing(8);
        rows->addLayout(row);
        return row;
    };
    QHBoxLayout* place = newRow();
    Label1 = AddControl(*place, u"网点名称"_s, DBLookupComboboxEh1);
    AddControl(*place, u"所属区/县"_s, DBLookupComboboxEh2);
    AddControl(*place, u"所属省份"_s, DBEditEh1, kRegionCharacters);
    AddControl(*place, u"所属城市"_s, DBEditEh2, kRegionCharacters);
    AddControl(*place, u"邮政编码"_s, DBEditEh3, kPostcodeCharacters);
    QHBoxLayout* service = newRow();
    AddControl(*service, u"揽件时间始"_s, DBDateTimeEditEh1);
    AddControl(*service, u"揽件时间止"_s, DBDateTimeEditEh2);
    service->addSpacing(16);
    for (QWidget* box : {DBCheckBoxEh1, DBCheckBoxEh2, DBCheckBoxEh3})
        service->addWidget(box);
    service->addStretch(1);
    QHBoxLayout* ranges = newRow();
    AddControl(*ranges, u"派送派围"_s, DBMemo1);
    AddControl(*ranges, u"不派送范围"_s, DBMemo2);
}

QWidget* Tfrm_Site::CreateButtons()
{
    auto* panel = new QWidget(this);
    panel->setObjectName(u"Panel2"_s);
    recordButtons_ = new TRecordButtons(panel, u"RecordButtons1"_s);
    recordButtons_->SetOfferEdit(true);
    recordButtons_->SetDataSource(DataView1->DS);
    Button1 = NewButton(panel, u"Button1"_s, u"保存"_s);
    Button2 = NewButton(panel, u"Button2"_s, u"查询"_s);
    OnClick(Button1, this, &Tfrm_Site::Button1Click);
    OnClick(Button2, this, &Tfrm_Site::Button2Click);
    auto* row = new TFlowRow(panel);
    row->addWidget(recordButtons_);
    row->addWidget(Button1);
    row->addWidget(Button2);
    row->addStretch(1);
    return panel;
}

void Tfrm_Site::FormCreate()
{
    Tfrm_BasicBoot::FormCreate();
    site_ = LoginSite();
    opensCounties_ = GlobalValue(u"userType"_s) == kOpeningUserType;
    const bool allSites = opensCounties_ || site_ == GlobalValue(u"BootSite"_s) || IsAtHeadquarters();
    Label1->setVisible(allSites);
    DBLookupComboboxEh1->setVisible(allSites);
    cds->SetCommandText(allSites ? AllSiteServicesQuery() : SiteServicesQuery(site_));
    DSStateChange();
}

void Tfrm_Site::FirstLoad()
{
    cdsCounty->Open();
    cds->Open();
}

void Tfrm_Site::FormShow()
{
    Setup(DataView1, cds, Button1, Button2);
}

void Tfrm_Site::cdsAfterInsert()
{
    cds->FieldByName(u"SITE_NAME").SetAsString(site_);
    cds->FieldByName(u"REC_START_TIME").SetAsString(u"08:00:00"_s);
    cds->FieldByName(u"REC_END_TIME").SetAsString(u"18:00:00"_s);
    for (const QStringView flag : {u"BL_REC", u"BL_SEND", u"BL_OPEN"})
        cds->FieldByName(flag).SetAsInteger(1);
    DBLookupComboboxEh2->setFocus();
}

// What belongs to a county is written once its row is in edit; the opening by those accounts alone that may.
void Tfrm_Site::DSStateChange()
{
    const bool editing = cds->IsEditing();
    for (TDBBinding* binding : {&DBDateTimeEditEh1->Binding(), &DBDateTimeEditEh2->Binding(),
             &DBCheckBoxEh1->Binding(), &DBCheckBoxEh2->Binding(), &DBMemo1->Binding(), &DBMemo2->Binding()})
        binding->SetReadOnly(!editing);
    DBCheckBoxEh3->Binding().SetReadOnly(!editing || !opensCounties_);
}

void Tfrm_Site::DBLookupComboboxEh2UpdateData()
{
    if (DBLookupComboboxEh2->ListText(u"COUNTY_NAME").isEmpty())
        return;
    for (const QStringView field : {u"PROVINCE", u"CITY_NAME", u"MAIL_CODE"})
        SetText(*cds, field, DBLookupComboboxEh2->ListText(field));
}

// A county typed in full was not taken from the list, and has a province all the same.
void Tfrm_Site::DBLookupComboboxEh2Exit()
{
    const bool chosen = DBLookupComboboxEh2->ChosenRow() != 0;
    CompleteLookupText(*DBLookupComboboxEh2);
    if (!DBLookupComboboxEh2->Binding().Modified())
        return;
    DBLookupComboboxEh2UpdateData();
    const QString county = DBLookupComboboxEh2->Text();
    const qsizetype namesakes = ColumnTexts(*cdsCounty, u"COUNTY_NAME").count(county);
    if (!chosen && namesakes > 1)
        ShowNotice(u"有%1个“%2”，取了%3的；如果是别处的，请从列表中选。"_s.arg(namesakes).arg(
            county, DBLookupComboboxEh2->ListText(u"CITY_NAME")));
}

void Tfrm_Site::DataView1DataViewGridDblClick()
{
    if (!HasRows(*cds))
        return;
    cds->Edit();
    DBDateTimeEditEh1->setFocus();
}

void Tfrm_Site::Button1Click()
{
    SaveChanges(*cds, {.caption = Caption(), .keyField = kKey.toString()});
}

void Tfrm_Site::Button2Click()
{
    AskToDropEdits(*cds, Caption());
    const BusyCursor busy;
    Reload(*cds, kKey);
}
