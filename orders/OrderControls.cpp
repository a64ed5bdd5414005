#include "orders/OrderControls.h"

#include "framework/Wiring.h"
#include "module/data/Common.h"

#include <QSplitter>

using namespace Qt::Literals::StringLiterals;

QLabel* LabelFor(QWidget* control, const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setBuddy(control);
    // The marked letter stands in brackets behind the caption: 优惠券(&Y).
    control->setAccessibleName(text.section(u"(&"_s, 0, 0));
    return label;
}

QLabel* AddControl(QBoxLayout& row, const QString& label, QWidget* control, int characters)
{
    QLabel* made = LabelFor(control, label, control->parentWidget());
    row.addWidget(made);
    row.addWidget(control);
    if (characters > 0)
        control->setMaximumWidth(control->fontMetrics().averageCharWidth() * characters);
    return made;
}

void AddDateRange(QBoxLayout& row, TDBDateTimeEditEh* from, const QString& fromLabel, TDBDateTimeEditEh* to,
    const QString& toLabel)
{
    AddControl(row, fromLabel, from);
    AddControl(row, toLabel, to);
    from->SetText(StartOfToday());
    to->SetText(EndOfToday());
}

QPushButton* NewButton(QWidget* parent, const QString& name, const QString& caption)
{
    auto* button = new QPushButton(caption, parent);
    button->setObjectName(name);
    return button;
}

QToolButton* NewActionButton(QWidget* parent, QAction* action)
{
    auto* button = new QToolButton(parent);
    button->setObjectName(action->objectName() + u"Button"_s);
    button->setDefaultAction(action);
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

TLookupParams SiteLookup(TDataSource* sites)
{
    return {
        .listSource = sites,
        .keyField = u"SITE_NAME"_s,
        .listField = u"SITE_NAME"_s,
        .columns = {{u"SITE_CODE"_s, u"网点编号"_s, 90}, {u"SITE_NAME"_s, u"网点名称"_s, 160},
            {u"SUPERIOR_SITE"_s, u"所属网点"_s, 140}},
        .searchFields = {u"SITE_CODE"_s},
    };
}

TLookupParams EmployeeLookup(TDataSource* employees)
{
    return {
        .listSource = employees,
        .keyField = u"EMPLOYEE_NAME"_s,
        .listField = u"EMPLOYEE_NAME"_s,
        .columns = {{u"EMPLOYEE_CODE"_s, u"员工编号"_s, 90}, {u"EMPLOYEE_NAME"_s, u"员工姓名"_s, 100}},
        .searchFields = {u"EMPLOYEE_CODE"_s},
    };
}

void PrepareLookup(TDBLookupComboboxEh& box, const TLookupParams& lookup)
{
    box.SetLookup(lookup);
    box.OnExit = [&box] { CompleteLookupText(box); };
}

void PrepareOrdersView(Tfrm_Basic* screen, TDataView& view, std::vector<TColumnEh> columns,
    TClientDataSetEx* orders, TOrderItems* items)
{
    columns.insert(columns.begin(), {.title = u"序号"_s, .width = 46, .readOnly = true});
    TDBGridEh* grid = view.DataViewGrid;
    grid->SetColumns(std::move(columns));
    grid->SetFrozenCols(2);
    grid->OnCellClick = [screen, items](const TColumnEh&) { RunHandler(screen, [items] { items->Load(); }); };
    view.DS->SetDataSet(orders);
    view.Loaded();
}

void LayOutScreen(
    QWidget* screen, std::initializer_list<QWidget*> panels, TDataView* orders, TDataView* items)
{
    auto* top = new QWidget(screen);
    auto* rows = new QVBoxLayout(top);
    rows->setContentsMargins(8, 8, 8, 6);
    rows->setSpacing(6);
    for (QWidget* panel : panels)
        rows->addWidget(panel);

    auto* lists = new QSplitter(Qt::Vertical, screen);
    lists->addWidget(orders);
    lists->addWidget(items);
    lists->setStretchFactor(0, 4);
    lists->setStretchFactor(1, 1);
    lists->setChildrenCollapsible(false);

    auto* layout = new QVBoxLayout(screen);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(top);
    layout->addWidget(lists, 1);
}
