#include "reports/frm_Collect.h"

#include "framework/FilterPane.h"
#include "framework/FlowRow.h"
#include "framework/LabelledControls.h"
#include "framework/Lookups.h"
#include "framework/Questions.h"
#include "framework/RowFields.h"
#include "framework/ScreenHandlers.h"
#include "module/data/DataSetRows.h"
#include "module/data/HostBridge.h"
#include "module/data/MessageBoxes.h"
#include "module/data/ServerLink.h"
#include "module/data/SqlText.h"
#include "module/data/dm_BasicData.h"
#include "module/data/dm_GlobalData.h"
#include "orders/record/OrderView.h"
#include "orders/search/FilterBoxes.h"
#include "reports/OrderQueryColumns.h"
#include "reports/ServiceCharts.h"

#include <QSplitter>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMaxDays = 31;
constexpr int kFrozenColumns = 2;
const QList<int> kTableAndCharts{4500, 5500}; // more than there is: they share it

struct FigureColumn {
    QStringView field;
    QStringView title;
    int width = 84; // pixels at 96 dpi
};

constexpr FigureColumn kPlaces[] = {
    {u"area_name", u"片区名称", 80},
    {u"duty_site", u"责任网点", 120},
    {u"PROVINCE", u"省", 90},
    {u"CITY", u"城市", 90},
    {u"RANGE_NAME", u"所属区域", 90},
};

constexpr FigureColumn kFigures[] = {
    {u"mustrec_count", u"应收票数"},
    {u"accept_count", u"接单成功票数"},
    {u"OutTimeAccept_Count", u"超时接单"},
    {u"noaccept_count", u"未接单票数"},
    {u"accept_fail_count", u"接单失败票数"},
    {u"rec_count", u"揽件成功票数"},
    {u"OutTimeRec_Count", u"超时揽收票数"},
    {u"NoRec_Count", u"未揽收票数"},
    {u"rec_fail_count", u"揽件失败票数"},
    {u"send_count", u"派件成功票数"},
    {u"nosend_count", u"未签收票数"},
    {u"Bill_Count", u"录单票数"},
    {u"NoBill_Count", u"未录单票数"},
};

std::vector<TColumnEh> FigureColumns()
{
    std::vector<TColumnEh> columns;
    for (const FigureColumn& place : kPlaces)
        columns.push_back(
            {.fieldName = place.field.toString(), .title = place.title.toString(), .width = place.width});
    for (const FigureColumn& figure : kFigures)
        columns.push_back({.fieldName = figure.field.toString(),
            .title = figure.title.toString(),
            .width = figure.width,
            .alignment = TAlignment::Right,
            .footers = SumFooters()});
    return columns;
}

// What a region's row has; its other figures stay empty.
constexpr QStringView kRegionFields[] = {
    u"PROVINCE", u"city", u"RANGE_NAME", u"area_name", u"mustrec_count", u"nosend_count", u"send_count"};

} // namespace

Tfrm_Collect::Tfrm_Collect(QObject* owner)
    : Tfrm_BasicBoot(owner)
    , cds(new TClientDataSetEx(this, u"cds"_s))
    , cds1(new TClientDataSetEx(this, u"cds1"_s))
    , cds_detail(new TClientDataSetEx(this, u"cds_detail"_s))
{
}

void Tfrm_Collect::CreateControls()
{
    QWidget* filters = CreateFilterPanel();
    PageControl1 = new TBelowFilters<QTabWidget>(this);
    PageControl1->setObjectName(u"PageControl1"_s);
    CreateFiguresPage();
    CreateOrdersPage();
    OnPageShown(PageControl1, this, &Tfrm_Collect::PageControl1Change);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 6);
    layout->setSpacing(0);
    layout->addWidget(new TFilterPane(this, {filters}));
    auto* pages = new QVBoxLayout;
    pages->setContentsMargins(8, 0, 8, 0);
    pages->addWidget(PageControl1);
    layout->addLayout(pages, 1);
}

QWidget* Tfrm_Collect::CreateFilterPanel()
{
    auto* panel = new QWidget(this);
    panel->setObjectName(u"Panel1"_s);
    window_ = new TDateWindow(panel, {.title = u"下单时间范围(31天以内)"_s});
    DBLookupComboboxEh2 = new TDBLookupComboboxEh(panel, u"DBLookupComboboxEh2"_s);
    PrepareLookup(*DBLookupComboboxEh2, SiteLookup(dm_GlobalData->ds_site));
    DBComboBoxEh4 = new TDBComboBoxEh(panel, u"DBComboBoxEh4"_s);
    DBComboBoxEh4->setEditable(false);
    DBComboBoxEh4->OnChange = [this] { RunHandler(this, [this] { DBComboBoxEh4Change(); }); };
    DBComboBoxEh2 = new TDBComboBoxEh(panel, u"DBComboBoxEh2"_s);
    DBComboBoxEh2->SetItems(OrderSources(), OrderSources());
    DBComboBoxEh2->SetText({});
    Button1 = NewButton(panel, u"Button1"_s, u"查询"_s);
    Button2 = NewButton(panel, u"Button2"_s, u"刷新接单站点"_s);
    OnClick(Button1, this, &Tfrm_Collect::Button1Click);
    OnClick(Button2, this, &Tfrm_Collect::Button2Click);

    auto* boxes = new QGridLayout;
    boxes->setHorizontalSpacing(6);
    const auto add = [&](const QString& label, QWidget* box, int column) {
        boxes->addWidget(LabelFor(box, label, panel), 0, column);
        boxes->addWidget(box, 0, column + 1);
        boxes->setColumnStretch(column + 1, 1);
    };
    add(u"网点名称"_s, DBLookupComboboxEh2, 0);
    add(u"片区"_s, DBComboBoxEh4, 2);
    add(u"项目"_s, DBComboBoxEh2, 4);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(6);
    buttons->addWidget(Button1);
    buttons->addWidget(Button2);
    buttons->addStretch(1);
    boxes->addLayout(buttons, 1, 0, 1, 6);
    auto* row = new TFlowRow(panel);
    row->setSpacing(12);
    row->addWidget(window_);
    row->addLayout(boxes, 1);
    return panel;
}

void Tfrm_Collect::CreateFiguresPage()
{
    TabSheet1 = AddPage(*PageControl1, u"TabSheet1"_s, u"汇总数据"_s);
    DataView1 = new TDataView(TabSheet1, u"DataView1"_s);
    DataView1->DataViewGrid->SetColumns(FigureColumns());
    DataView1->DataViewGrid->SetFrozenCols(kFrozenColumns);
    DataView1->DataViewGrid->ReadOnly = true;
    DataView1->DS->SetDataSet(cds);
    DataView1->Loaded();
    KeepRowsInSight(*DataView1);
    DataView1->DataViewGrid->OnDblClick = [this] {
        RunHandler(this, [this] { DataView1DataViewGridDblClick(); });
    };
    auto* halves = new QSplitter(Qt::Vertical, TabSheet1);
    halves->addWidget(DataView1);
    halves->addWidget(CreateCharts());
    halves->setSizes(kTableAndCharts);
    halves->setChildrenCollapsible(false);
    TabSheet1->layout()->addWidget(halves);
}

QWidget* Tfrm_Collect::CreateCharts()
{
    auto* charts = new QSplitter(Qt::Horizontal, TabSheet1);
    const auto add = [&](const QString& name, const QString& word, QString (*column)(int)) {
        auto* chart = new TBarChart(charts, name, word);
        chart->OnBarClick = [this, column](const TChartBar& bar, int series) {
            RunHandler(this, [this, bar, figure = column(series)] { ChartBarClick(bar, figure); });
        };
        charts->addWidget(chart);
        return chart;
    };
    acceptance_ = add(u"Chart1"_s, u"接单图"_s, AcceptanceColumn);
    pickup_ = add(u"Chart2"_s, u"揽件图"_s, PickupColumn);
    connect(cds, &TClientDataSetEx::DataReset, this, [this] {
        acceptance_->Show(AcceptanceChart(*cds));
        pickup_->Show(PickupChart(*cds));
    });
    return charts;
}

void Tfrm_Collect::CreateOrdersPage()
{
    TabSheet2 = AddPage(*PageControl1, u"TabSheet2"_s, u"明细数据"_s);
    DataView2 = new TDataView(TabSheet2, u"DataView2"_s);
    DataView2->DataViewGrid->ReadOnly = true;
    PrepareOrdersView(*DataView2, OrderQueryColumns(), cds_detail);
    DataView2->Panel1->setText(u"在汇总数据里双击一个票数，列出它的订单"_s);
    DataView2->Panel1->setTextFormat(Qt::PlainText);
    DataView2->Panel1->show();
    TabSheet2->layout()->addWidget(DataView2);
}

void Tfrm_Collect::FormCreate()
{
    Tfrm_BasicBoot::FormCreate();
    window_->PresetNoonToNoon();
    const QStringList areas = QStringList{AnyValue()} + ColumnTexts(GlobalCds(u"area"_s), u"AREA_NAME");
    DBComboBoxEh4->SetItems(areas, areas);
    DBComboBoxEh4->SetText(AnyValue());
}

void Tfrm_Collect::FormShow()
{
    const bool orders = PageControl1->currentWidget() == TabSheet2;
    Setup(orders ? DataView2 : DataView1, orders ? cds_detail : cds, nullptr, Button1);
}

TFiguresCriteria Tfrm_Collect::Criteria() const
{
    return {
        .from = window_->From(),
        .to = window_->To(),
        .source = DBComboBoxEh2->Text(),
        .site = DBLookupComboboxEh2->Text(),
        .sites = BuildInList(*dm_GlobalData->loginSiteOwner, u"site_name"_s, u"a.duty_site"_s),
    };
}

// Both queries are answered before anything is shown: a table that stands is a whole one.
void Tfrm_Collect::Button1Click()
{
    if (window_->Refused(kMaxDays))
        return;
    const BusyCursor busy;
    const TFiguresCriteria criteria = Criteria();
    const TFiguresConditions conditions = FiguresConditions(criteria);
    {
        const ControlsOff still(*cds);
        OpenQuery(*cds1, RegionFiguresQuery(conditions));
        OpenQuery(*cds, SiteFiguresQuery(conditions));
        conditions_ = conditions;
        if (criteria.site.isEmpty())
            AppendRegions();
    }
    if (cds_detail->Active())
        DataView2->Panel1->setText(u"重新查询以前列出的明细"_s);
    PageControl1->setCurrentWidget(TabSheet1);
}

// What is appended here is nothing to be saved.
void Tfrm_Collect::AppendRegions()
{
    cds->SetFiltered(false);
    struct Copied {
        int from;
        TField& to;
    };
    std::vector<Copied> fields;
    for (const QStringView field : kRegionFields)
        fields.push_back({cds1->FieldIndex(field), cds->FieldByName(field)});
    TField& site = cds->FieldByName(u"duty_site");
    for (int row = 0; row < cds1->RecordCount(); ++row) {
        cds->Append();
        for (const Copied& field : fields)
            field.to.SetValue(cds1->ViewValue(row, field.from));
        site.SetAsString(kNoSite.toString());
        cds->Post();
    }
    cds->MergeChangeLog();
    cds->First();
    DBComboBoxEh4Change();
}

void Tfrm_Collect::DBComboBoxEh4Change()
{
    cds->SetFiltered(false);
    NarrowList(*cds, u"area_name", FilterText(*DBComboBoxEh4), {});
}

void Tfrm_Collect::DataView1DataViewGridDblClick()
{
    if (!OrdersQuery().isEmpty())
        PageControl1->setCurrentWidget(TabSheet2);
}

void Tfrm_Collect::ChartBarClick(const TChartBar& bar, const QString& figure)
{
    if (!cds->GotoBookmark(bar.rows.front()))
        return;
    DataView1->DataViewGrid->SelectField(figure);
    if (!bar.rest) {
        DataView1DataViewGridDblClick();
        return;
    }
    DataView1->DataViewGrid->SelectRows(bar.rows);
    ShowNotice(u"选中了其他网点的%1行，双击一个票数看明细。"_s.arg(bar.rows.size()));
}

void Tfrm_Collect::PageControl1Change()
{
    FormShow(); // the host's search follows the page
    if (PageControl1->currentWidget() == TabSheet2)
        TabSheet2Show();
}

void Tfrm_Collect::TabSheet2Show()
{
    const QString sql = OrdersQuery();
    if (sql.isEmpty())
        return;
    const BusyCursor busy;
    OpenQuery(*cds_detail, sql);
    TellWhose();
}

QString Tfrm_Collect::OrdersQuery() const
{
    if (!HasRows(*cds))
        return {};
    const QString figure = DataView1->DataViewGrid->SelectedField();
    const QString site = TextOf(*cds, u"duty_site");
    if (site == kNoSite)
        return OrdersOfRegionQuery(
            conditions_, figure, TextOf(*cds, u"PROVINCE"), TextOf(*cds, u"RANGE_NAME"));
    return OrdersOfSiteQuery(conditions_, figure, site);
}

// Where the orders are not those that the figure counts, the line above them says so.
void Tfrm_Collect::TellWhose()
{
    const TDBGridEh* grid = DataView1->DataViewGrid;
    const bool region = TextOf(*cds, u"duty_site") == kNoSite;
    const QString county = TextOf(*cds, u"RANGE_NAME");
    QString text = region ? TextOf(*cds, u"PROVINCE") + u' ' + TextOf(*cds, u"CITY") + u' ' + county
                          : TextOf(*cds, u"duty_site");
    text += u"："_s + grid->Column(grid->SelectedIndex()).title;
    const QString figure = grid->SelectedField().toLower();
    if (region && county.isEmpty())
        text += u"（没有区/县的订单只有票数，没有明细）"_s;
    else if (figure == u"rec_fail_count"_s)
        text += u"（列出的是接单失败的订单）"_s;
    else if (figure == u"nosend_count"_s)
        text += u"（列出的是没有派件网点的订单）"_s;
    DataView2->Panel1->setText(text);
}

// The server refuses the statement as it stands and says why.
void Tfrm_Collect::Button2Click()
{
    if (!AskOkCancel(u"是否将已经录单没有接单的订单，把接单网点刷成录单的录入网点？"_s))
        return;
    const BusyCursor busy;
    ExecuteStatement(*dm_BasicData->comm,
        BackFillStatement(window_->From(), window_->To(), TextOf(GlobalCds(u"loginSite"_s), u"AREA_NAME")));
    ShowInformation(u"详细：刷新接单站点成功！"_s, Caption());
}
