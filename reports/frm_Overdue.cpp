#include "reports/frm_Overdue.h"

#include "framework/FlowRow.h"
#include "framework/LabelledControls.h"
#include "framework/RowFields.h"
#include "framework/ScreenHandlers.h"
#include "module/data/DataSetRows.h"
#include "module/data/ServerLink.h"
#include "orders/record/OrderView.h"
#include "reports/OrderQueryColumns.h"
#include "reports/ServiceCharts.h"

#include <QSplitter>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kDetailsPercent = 40;

const QStringList& Hours()
{
    static const QStringList hours{u"0.5"_s, u"1"_s, u"2"_s, u"4"_s, u"8"_s, u"16"_s, u"32"_s, u"64"_s};
    return hours;
}

} // namespace

Tfrm_Overdue::Tfrm_Overdue(QObject* owner, const TOverdueStep& step)
    : Tfrm_OrderList(owner)
    , cdsSum(new TClientDataSetEx(this, u"cdsSum"_s))
    , step_(step)
{
}

void Tfrm_Overdue::CreateControls()
{
    QWidget* filters = CreateFilterPanel();
    PageControl1 = new QTabWidget(this);
    PageControl1->setObjectName(u"PageControl1"_s);
    CreateSummaryPage();
    CreateOrdersPage();
    OnPageShown(PageControl1, this, &Tfrm_Overdue::PageControl1Change);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 6);
    layout->setSpacing(6);
    layout->addWidget(filters);
    layout->addWidget(PageControl1, 1);
}

QWidget* Tfrm_Overdue::CreateFilterPanel()
{
    auto* panel = new QWidget(this);
    panel->setObjectName(u"Panel1"_s);
    DBComboBoxEh1 = new TDBComboBoxEh(panel, u"DBComboBoxEh1"_s);
    DBComboBoxEh1->SetItems(Hours(), Hours());
    DBComboBoxEh1->SetText(u"2"_s);
    Button1 = NewButton(panel, u"Button1"_s, u"查询"_s);
    OnClick(Button1, this, &Tfrm_Overdue::Button1Click);
    auto* row = new TFlowRow(panel);
    AddControl(*row, u"超时(小时)"_s, DBComboBoxEh1, 12);
    row->addWidget(Button1);
    row->addStretch(1);
    return panel;
}

void Tfrm_Overdue::CreateSummaryPage()
{
    TabSheet1 = AddPage(*PageControl1, u"TabSheet1"_s, u"汇总数据"_s);
    std::vector<TColumnEh> columns{
        {.fieldName = u"PROV"_s, .title = u"省份"_s, .width = 100},
        {.fieldName = u"CITY"_s, .title = u"城市"_s, .width = 120},
        {.fieldName = u"COUNTY"_s, .title = u"区/县"_s, .width = 140},
    };
    if (step_.bySite)
        columns.push_back({.fieldName = u"REC_SITE"_s, .title = u"接单/揽件网点"_s, .width = 160});
    columns.push_back({.fieldName = u"COUNT_SUM"_s,
        .title = u"票数"_s,
        .width = 80,
        .alignment = TAlignment::Right,
        .footers = SumFooters(u"总票数"_s)});
    DataView2 = new TDataView(TabSheet1, u"DataView2"_s);
    DataView2->DataViewGrid->SetColumns(std::move(columns));
    DataView2->DataViewGrid->ReadOnly = true;
    DataView2->DS->SetDataSet(cdsSum);
    DataView2->Loaded();
    DataView2->DataViewGrid->OnDblClick = [this] {
        RunHandler(this, [this] { DataView2DataViewGridDblClick(); });
    };
    chart_ = new TBarChart(TabSheet1, u"Chart1"_s, u"地区图"_s);
    chart_->OnBarClick = [this](const TChartBar& bar, int) {
        RunHandler(this, [this, bar] { ChartBarClick(bar); });
    };
    connect(cdsSum, &TClientDataSetEx::DataReset, this,
        [this] { chart_->Show(OverdueChart(*cdsSum, u"超时最多的地区"_s)); });
    auto* halves = new QSplitter(Qt::Horizontal, TabSheet1);
    halves->addWidget(DataView2);
    halves->addWidget(chart_);
    halves->setSizes({1, 1});
    halves->setChildrenCollapsible(false);
    TabSheet1->layout()->addWidget(halves);
}

void Tfrm_Overdue::CreateOrdersPage()
{
    TabSheet2 = AddPage(*PageControl1, u"TabSheet2"_s, u"明细数据"_s);
    auto* content = new QWidget(TabSheet2);
    whose_ = new QLabel(content);
    whose_->setObjectName(u"Whose"_s);
    whose_->setTextFormat(Qt::PlainText);
    DataView1 = new TDataView(content, u"DataView1"_s);
    DataView1->DataViewGrid->ReadOnly = true;
    PrepareList(OrderQueryColumns());
    details_ = new TOrderDetails(content, DataView1->DS, {.items = cdsms, .itemsView = u"DataView3"_s});
    LayOutScreen(content, {whose_}, DataView1, details_, kDetailsPercent);
    TabSheet2->layout()->addWidget(content);
}

void Tfrm_Overdue::FormShow()
{
    const bool orders = PageControl1->currentWidget() == TabSheet2;
    Setup(orders ? DataView1 : DataView2, orders ? cds : cdsSum, nullptr, Button1);
}

// The key of the orders last read stays: their row, chosen again after a new summary, shows no orders until
// another row has been looked at. Users know it so.
void Tfrm_Overdue::Button1Click()
{
    const BusyCursor busy;
    const QString condition = OverdueCondition(step_, DBComboBoxEh1->Text());
    OpenQuery(*cdsSum, OverdueSummaryQuery(step_, condition));
    condition_ = condition;
    cds->Close();
    cdsms->Close();
    whose_->clear();
    PageControl1->setCurrentWidget(TabSheet1);
}

void Tfrm_Overdue::PageControl1Change()
{
    FormShow(); // the host's search follows the page
    if (PageControl1->currentWidget() == TabSheet2)
        TabSheet2Show();
}

void Tfrm_Overdue::TabSheet2Show()
{
    if (!HasRows(*cdsSum))
        return;
    const TOverdueGroup group = CurrentGroup();
    if (group.Key() != ordersKey_) {
        const BusyCursor busy;
        OpenQuery(*cds, OverdueOrdersQuery(step_, condition_, group));
        ordersKey_ = group.Key();
    }
    TellWhose(group);
    items_->Load();
}

void Tfrm_Overdue::DataView2DataViewGridDblClick()
{
    if (HasRows(*cdsSum))
        PageControl1->setCurrentWidget(TabSheet2);
}

// A region may have a row for each site: the largest is listed, all are marked.
void Tfrm_Overdue::ChartBarClick(const TChartBar& bar)
{
    if (!cdsSum->GotoBookmark(bar.rows.front()))
        return;
    DataView2->DataViewGrid->SelectRows(bar.rows);
    if (bar.rest)
        ShowNotice(u"选中了其他地区的%1行，双击其中一行看明细。"_s.arg(bar.rows.size()));
    else
        DataView2DataViewGridDblClick();
}

TOverdueGroup Tfrm_Overdue::CurrentGroup() const
{
    return {
        .province = TextOf(*cdsSum, u"PROV"),
        .city = TextOf(*cdsSum, u"CITY"),
        .county = TextOf(*cdsSum, u"COUNTY"),
        .site = step_.bySite ? TextOf(*cdsSum, u"REC_SITE") : QString(),
    };
}

void Tfrm_Overdue::TellWhose(const TOverdueGroup& group)
{
    QStringList names{group.province, group.city, group.county};
    if (step_.bySite)
        names += group.site;
    QString text = names.join(u' ');
    if (names.contains(QString()))
        text += u"：地区或网点为空的订单只有票数，没有明细"_s;
    else if (!cds->Active())
        text += u"：重新查询以后，请先看另一行的明细，再看这一行"_s;
    whose_->setText(text);
}
