#include "reports/BillCriteriaPanel.h"

#include "framework/LabelledControls.h"
#include "framework/Lookups.h"
#include "module/data/PastedNumbers.h"
#include "module/data/dm_GlobalData.h"
#include "orders/OrderCriteria.h"
#include "orders/OrderRecord.h"
#include "runtime/ui/Style.h"

#include <QGridLayout>
#include <QHBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr TPasteRule kPasteRule{.maxLines = 999, .trimmed = false, .lastFirst = true};
constexpr int kNumberBoxWidth = 180;

} // namespace

TBillCriteriaPanel::TBillCriteriaPanel(QWidget* parent, const QString& name)
    : QWidget(parent)
{
    setObjectName(name);
    numbers_ = new TNumberListInput(this, u"NumberBox"_s, kPasteRule, u"按物流号查询"_s, u"按运单号查询"_s);
    numbers_->setMaximumWidth(Scaled(*this, kNumberBoxWidth));
    auto* parts = new QHBoxLayout(this);
    parts->setContentsMargins(8, 4, 8, 6);
    parts->setSpacing(10);
    parts->addWidget(numbers_);
    parts->addWidget(CreateTimePanel());
    parts->addWidget(CreateFilterPanel(), 1);
}

QWidget* TBillCriteriaPanel::CreateTimePanel()
{
    auto* panel = new QWidget(this);
    window_ = new TDateWindow(panel, u"查询时间范围(31天以内)"_s);
    CheckBox3 = new TDBCheckBoxEh(panel, u"CheckBox3"_s);
    CheckBox3->setText(u"中心及下属网点"_s);
    DBCheckBoxEh1 = new TDBCheckBoxEh(panel, u"DBCheckBoxEh1"_s);
    DBCheckBoxEh1->setText(u"已做撤单处理"_s);

    auto* rows = new QVBoxLayout(panel);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(5);
    rows->addWidget(window_);
    rows->addWidget(CheckBox3);
    rows->addWidget(DBCheckBoxEh1);
    rows->addStretch(1);
    return panel;
}

TDBLookupComboboxEh* TBillCriteriaPanel::NewLookup(
    QWidget* panel, const QString& name, const TLookupParams& lookup)
{
    auto* box = new TDBLookupComboboxEh(panel, name);
    box->SetLookup(lookup);
    box->OnExit = [this, box] { DBLookupComboboxEh2Exit(*box); };
    return box;
}

void TBillCriteriaPanel::CreateFilters(QWidget* panel)
{
    const TLookupParams sites = SiteLookup(dm_GlobalData->ds_site);
    DBLookupComboboxEh2 = NewLookup(panel, u"DBLookupComboboxEh2"_s, sites);
    DBLookupComboboxEh1 = NewLookup(panel, u"DBLookupComboboxEh1"_s, sites);
    DBLookupComboboxEh3 = NewLookup(panel, u"DBLookupComboboxEh3"_s, sites);
    DBLookupComboboxEh4 = NewLookup(panel, u"DBLookupComboboxEh4"_s, sites);
    dbl1 = NewLookup(panel, u"dbl1"_s, sites);
    edt_1 = new TDBEditEh(panel, u"edt_1"_s);
    const TLookupParams employees = EmployeeFilterLookup(dm_GlobalData->ds_employee);
    DBLookupComboboxEh5 = NewLookup(panel, u"DBLookupComboboxEh5"_s, employees);
    DBLookupComboboxEh6 = NewLookup(panel, u"DBLookupComboboxEh6"_s, employees);
    DBLookupComboboxEh7 = NewLookup(panel, u"DBLookupComboboxEh7"_s, employees);
    DBLookupComboboxEh8 = NewLookup(panel, u"DBLookupComboboxEh8"_s, employees);
    DBComboBoxEh1 = new TDBComboBoxEh(panel, u"DBComboBoxEh1"_s);
    OfferStatusFilter(*DBComboBoxEh1,
        {kStatusCancelled, kStatusWaiting, kStatusAccepted, kStatusRefused, kStatusPickedUp,
            kStatusPickupFailed, kStatusInTransit, kStatusDelivered, kStatusDeliveryFailed});
    DBComboBoxEh3 = new TDBComboBoxEh(panel, u"DBComboBoxEh3"_s);
    OfferReasonFilter(*DBComboBoxEh3);
    DBEditEh1 = new TDBEditEh(panel, u"DBEditEh1"_s);
    DBEditEh2 = new TDBEditEh(panel, u"DBEditEh2"_s);
    DBEditEh3 = new TDBEditEh(panel, u"DBEditEh3"_s);
    DBEditEh4 = new TDBEditEh(panel, u"DBEditEh4"_s);
    DBComboBoxEh2 = new TDBComboBoxEh(panel, u"DBComboBoxEh2"_s);
    const QStringList sources{u"洛维卡特"_s, u"泽摩"_s, u"运泊通"_s};
    DBComboBoxEh2->SetItems(sources, sources);
    DBComboBoxEh2->SetText(sources.first());
    DBComboBoxEh4 = new TDBComboBoxEh(panel, u"DBComboBoxEh4"_s);
    OfferProvinceFilter(*DBComboBoxEh4, {});
    DBComboBoxEh4->hide();
}

QWidget* TBillCriteriaPanel::CreateFilterPanel()
{
    auto* panel = new QWidget(this);
    CreateFilters(panel);
    struct Place {
        const char16_t* caption;
        QWidget* control;
    };
    const std::initializer_list<std::initializer_list<Place>> columns{
        {{u"可接单网点", DBLookupComboboxEh2}, {u"接单/揽件网点", DBLookupComboboxEh1},
            {u"派件网点", DBLookupComboboxEh3}, {u"撤单网点", DBLookupComboboxEh4}, {u"责任网点", dbl1},
            {u"仓库编号", edt_1}},
        {{u"接单员工", DBLookupComboboxEh5}, {u"揽件员工", DBLookupComboboxEh6},
            {u"派件员工", DBLookupComboboxEh7}, {u"撤单员工", DBLookupComboboxEh8},
            {u"订单状态", DBComboBoxEh1}, {u"撤消原因", DBComboBoxEh3}},
        {{u"发货客户", DBEditEh1}, {u"发货地址", DBEditEh2}, {u"收货客户", DBEditEh3},
            {u"收货地址", DBEditEh4}, {u"项目", DBComboBoxEh2}, {u"省份", DBComboBoxEh4}},
    };
    auto* grid = new QGridLayout(panel);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setVerticalSpacing(5);
    int column = 0;
    for (const auto& places : columns) {
        int row = 0;
        for (const Place& place : places) {
            QLabel* label = LabelFor(place.control, QString::fromUtf16(place.caption), panel);
            label->setVisible(!place.control->isHidden());
            grid->addWidget(label, row, column);
            grid->addWidget(place.control, row, column + 1);
            ++row;
        }
        grid->setColumnStretch(column + 1, 1);
        column += 2;
    }
    grid->setRowStretch(grid->rowCount(), 1);
    return panel;
}

void TBillCriteriaPanel::Preset(const QString& site, bool atCentre)
{
    window_->PresetNoonToNoon();
    CheckBox3->setEnabled(atCentre);
    DBLookupComboboxEh2->SetText(site);
}

void TBillCriteriaPanel::OfferProvinces(const QStringList& provinces)
{
    OfferProvinceFilter(*DBComboBoxEh4, provinces);
}

void TBillCriteriaPanel::DBLookupComboboxEh2Exit(TDBLookupComboboxEh& box)
{
    CompleteLookupText(box);
}

TBillCriteria TBillCriteriaPanel::Criteria() const
{
    return {
        .from = window_->From(),
        .to = window_->To(),
        .byPickupTime = window_->ByPickupTime(),
        .receivingSite = DBLookupComboboxEh1->Text(),
        .candidateSite = DBLookupComboboxEh2->Text(),
        .withSubtree = CheckBox3->isChecked(),
        .deliverySite = DBLookupComboboxEh3->Text(),
        .warehouse = edt_1->Text(),
        .dutySite = dbl1->Text(),
        .acceptedBy = DBLookupComboboxEh5->Text(),
        .pickedUpBy = DBLookupComboboxEh6->Text(),
        .deliveredBy = DBLookupComboboxEh7->Text(),
        .cancelledBy = DBLookupComboboxEh8->Text(),
        .cancelled = DBCheckBoxEh1->isChecked(),
        .province = FilterText(*DBComboBoxEh4),
        .cancelReason = FilterText(*DBComboBoxEh3),
        .status = FilterKey(*DBComboBoxEh1),
        .sender = DBEditEh1->Text(),
        .senderAddress = DBEditEh2->Text(),
        .receiver = DBEditEh3->Text(),
        .receiverAddress = DBEditEh4->Text(),
        .source = DBComboBoxEh2->Text(),
    };
}
