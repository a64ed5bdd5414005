#include "orders/search/OrderSearchPanel.h"

#include "framework/FlowRow.h"
#include "framework/LabelledControls.h"
#include "framework/Lookups.h"
#include "framework/PageLookup.h"
#include "module/data/dm_GlobalData.h"
#include "orders/record/OrderView.h"
#include "orders/search/FilterBoxes.h"
#include "runtime/ui/Style.h"

#include <QGridLayout>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QSize kNumberBox(140, 172); // at most, in pixels at 96 dpi
constexpr int kLeastBoxWidth = 72;

// Beside its neighbours as long as it can be; what it takes then is what they leave.
class TModestPanel : public QWidget {
public:
    using QWidget::QWidget;
    QSize sizeHint() const override { return minimumSizeHint(); }
};

QString TextIn(const QWidget* box)
{
    if (const auto* list = qobject_cast<const TDBComboBoxEh*>(box))
        return list->KeyItems().isEmpty() || list->KeyItems() == list->Items() ? FilterText(*list)
                                                                               : FilterKey(*list);
    if (const auto* check = qobject_cast<const QCheckBox*>(box))
        return check->isChecked() ? u"1"_s : QString();
    return qobject_cast<const QLineEdit*>(box)->text();
}

} // namespace

TOrderSearchPanel::TOrderSearchPanel(QWidget* parent, const QString& name, const QString& windowTitle,
    const TPasteRule& numbers, std::span<const TCriterion> table)
    : QWidget(parent)
    , table_(table)
{
    setObjectName(name);
    QScrollArea* area = NewScrollArea(this);
    QWidget* content = area->widget();
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(area);

    numbers_ = new TNumberListInput(content, u"NumberBox"_s, numbers, u"按物流号查询"_s, u"按运单号查询"_s);
    numbers_->setMaximumSize(Scaled(*this, kNumberBox.width()), Scaled(*this, kNumberBox.height()));
    auto* parts = new TFlowRow(content);
    parts->setContentsMargins(8, 4, 8, 6);
    parts->setSpacing(10);
    parts->addWidget(numbers_, 0, Qt::AlignTop);
    parts->addWidget(CreateTimePanel(content, windowTitle));
    parts->addWidget(CreateFilterPanel(content), 1);
}

QWidget* TOrderSearchPanel::CreateTimePanel(QWidget* content, const QString& windowTitle)
{
    auto* panel = new QWidget(content);
    window_ = new TDateWindow(panel, {.title = windowTitle, .choosesColumn = true});
    auto* rows = new QVBoxLayout(panel);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(5);
    rows->addWidget(window_);
    for (const TCriterion& criterion : table_) {
        if (criterion.box == TCriterionBox::Check)
            rows->addWidget(NewBox(criterion, panel));
    }
    rows->addStretch(1);
    return panel;
}

QWidget* TOrderSearchPanel::NewBox(const TCriterion& criterion, QWidget* panel)
{
    const QString name = criterion.control.toString();
    QWidget* made = nullptr;
    switch (criterion.box) {
    case TCriterionBox::None:
        return nullptr;
    case TCriterionBox::Site:
    case TCriterionBox::Employee: {
        auto* box = new TDBLookupComboboxEh(panel, name);
        box->SetLookup(criterion.box == TCriterionBox::Site
                ? SiteLookup(dm_GlobalData->ds_site)
                : EmployeeFilterLookup(dm_GlobalData->ds_employee));
        box->OnExit = [box] { DBLookupComboboxEh2Exit(*box); };
        made = box;
        break;
    }
    case TCriterionBox::PagedEmployee:
        made = new TDBPageLookup_Employee(panel, name);
        break;
    case TCriterionBox::Text:
        made = new TDBEditEh(panel, name);
        break;
    case TCriterionBox::List:
    case TCriterionBox::Province: {
        auto* box = new TDBComboBoxEh(panel, name);
        if (criterion.box == TCriterionBox::Province)
            OfferProvinceFilter(*box, {});
        else
            criterion.offer(*box);
        made = box;
        break;
    }
    case TCriterionBox::Check: {
        auto* box = new TDBCheckBoxEh(panel, name);
        box->setText(criterion.caption.toString());
        made = box;
        break;
    }
    }
    boxes_.insert(criterion.column.toString(), made);
    return made;
}

void TOrderSearchPanel::DBLookupComboboxEh2Exit(TDBLookupComboboxEh& box)
{
    CompleteLookupText(box);
}

QWidget* TOrderSearchPanel::CreateFilterPanel(QWidget* content)
{
    auto* panel = new TModestPanel(content);
    auto* grid = new QGridLayout(panel);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setVerticalSpacing(5);
    // Tab walks down one column after the other, whatever the order in which the query asks.
    std::vector<const TCriterion*> placed;
    for (const TCriterion& criterion : table_) {
        if (criterion.box != TCriterionBox::None && criterion.box != TCriterionBox::Check)
            placed.push_back(&criterion);
    }
    std::ranges::stable_sort(placed, {},
        [](const TCriterion* criterion) { return std::pair(criterion->panelColumn, criterion->panelRow); });
    for (const TCriterion* criterion : placed) {
        QWidget* box = NewBox(*criterion, panel);
        box->setMinimumWidth(Scaled(*this, kLeastBoxWidth));
        QLabel* label = LabelFor(box, criterion->caption.toString(), panel);
        if (!criterion->visible) {
            label->hide();
            box->hide();
        }
        grid->addWidget(label, criterion->panelRow, criterion->panelColumn * 2);
        grid->addWidget(box, criterion->panelRow, criterion->panelColumn * 2 + 1);
        grid->setColumnStretch(criterion->panelColumn * 2 + 1, 1);
    }
    grid->setRowStretch(grid->rowCount(), 1);
    return panel;
}

QWidget* TOrderSearchPanel::Box(QStringView column) const
{
    return boxes_.value(column.toString());
}

void TOrderSearchPanel::SetText(QStringView column, const QString& text)
{
    qobject_cast<TDBLookupComboboxEh*>(Box(column))->SetText(text);
}

void TOrderSearchPanel::OfferProvinces(const QStringList& provinces)
{
    for (const TCriterion& criterion : table_) {
        if (criterion.box == TCriterionBox::Province)
            OfferProvinceFilter(*qobject_cast<TDBComboBoxEh*>(Box(criterion.column)), provinces);
    }
}

TOrderCriteria TOrderSearchPanel::Criteria() const
{
    TOrderCriteria criteria{
        .from = window_->From(), .to = window_->To(), .byPickupTime = window_->ByPickupTime()};
    for (auto box = boxes_.begin(); box != boxes_.end(); ++box)
        criteria.texts.insert(box.key(), TextIn(box.value()));
    return criteria;
}
