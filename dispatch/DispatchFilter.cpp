#include "dispatch/DispatchFilter.h"

#include "company/OrderStatus.h"
#include "dispatch/Couriers.h"
#include "framework/FlowRow.h"
#include "framework/LabelledControls.h"
#include "framework/Lookups.h"
#include "orders/search/FilterBoxes.h"
#include "runtime/ui/Style.h"

#include <QGridLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMaxDays = 31;
constexpr int kNumberBoxWidth = 180; // pixels at 96 dpi
constexpr int kNumberBoxHeight = 128;
constexpr int kBoxWidth = 150;

void OfferList(TDBComboBoxEh& box, const QStringList& items, const QString& first = AnyValue())
{
    box.SetItems(QStringList{AnyValue()} + items);
    box.setEditable(false);
    box.SetText(first);
}

QStringList StatusNames()
{
    QStringList names;
    for (const int status : StatusesAsked().first(StatusesAsked().size() - 1))
        names += company::StatusName(status, company::StatusUse::Dispatch);
    return names;
}

} // namespace

TDispatchFilter::TDispatchFilter(
    QWidget* parent, TDataSource* couriers, TDataSource* sites, const TOptions& options)
    : QWidget(parent)
    , NumberBox(new TNumberListInput(this, u"NumberBox"_s, {}, u"按订单号查询"_s))
    , window_(new TDateWindow(this, {.title = u"按创建时间范围(31天以内)"_s}))
{
    setObjectName(u"Filter"_s);
    NumberBox->setFixedSize(Scaled(*this, kNumberBoxWidth), Scaled(*this, kNumberBoxHeight));
    window_->PresetToday();
    auto* parts = new TFlowRow(this);
    parts->setSpacing(12);
    parts->addWidget(NumberBox);
    parts->addWidget(window_, 0, Qt::AlignTop);
    parts->addWidget(CreateBoxes(couriers, sites, options), 0, Qt::AlignTop);
    parts->addStretch(1);
}

QWidget* TDispatchFilter::CreateBoxes(TDataSource* couriers, TDataSource* sites, const TOptions& options)
{
    auto* panel = new QWidget(this);
    auto* grid = new QGridLayout(panel);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setVerticalSpacing(5);
    grid->setHorizontalSpacing(8);
    const auto place = [&](QWidget* box, const QString& label, int row, int column) {
        box->setFixedWidth(Scaled(*this, kBoxWidth));
        grid->addWidget(LabelFor(box, label, panel), row, column * 2);
        grid->addWidget(box, row, column * 2 + 1);
    };
    REC_GOODS_MAN = new TDBLookupComboboxEh(panel, u"REC_GOODS_MAN"_s);
    PrepareLookup(*REC_GOODS_MAN, CourierLookup(couriers));
    place(REC_GOODS_MAN, u"业务员"_s, 0, 0);
    PAY_TYPE = new TDBComboBoxEh(panel, u"PAY_TYPE"_s);
    OfferList(*PAY_TYPE, {});
    place(PAY_TYPE, u"支付方式"_s, 0, 1);
    CREATER_SITE = new TDBLookupComboboxEh(panel, u"CREATER_SITE"_s);
    PrepareLookup(*CREATER_SITE, SiteLookup(sites));
    place(CREATER_SITE, u"创建网点"_s, 1, 0);
    STATUS = new TDBComboBoxEh(panel, u"STATUS"_s);
    OfferList(*STATUS, StatusNames(), company::StatusName(options.status, company::StatusUse::Dispatch));
    place(STATUS, u"订单状态"_s, 1, 1);
    REC_BILL_MAN = new TDBPageLookup_Employee(panel, u"REC_BILL_MAN"_s);
    place(REC_BILL_MAN, u"接单司机"_s, 2, 0);

    if (options.entrusted) {
        BL_DEPUTE = new TDBComboBoxEh(panel, u"BL_DEPUTE"_s);
        OfferList(*BL_DEPUTE, {u"已委托"_s, u"未委托"_s});
        place(BL_DEPUTE, u"委托标识"_s, 2, 1);
    }
    if (options.gaps) {
        chk_NoSite = new TDBCheckBoxEh(panel, u"chk_NoSite"_s);
        chk_NoSite->setText(u"接单网点为空"_s);
        grid->addWidget(chk_NoSite, 0, 4);
        chk_NoDriver = new TDBCheckBoxEh(panel, u"chk_NoDriver"_s);
        chk_NoDriver->setText(u"接单司机为空"_s);
        grid->addWidget(chk_NoDriver, 1, 4);
    }
    return panel;
}

void TDispatchFilter::OfferPayments(const QStringList& payments)
{
    OfferList(*PAY_TYPE, payments);
}

std::optional<TDispatchCriteria> TDispatchFilter::Criteria()
{
    TDispatchCriteria criteria;
    if (NumberBox->FirstWay()) {
        criteria.numbers = NumberBox->List();
        return criteria.numbers.isEmpty() ? std::nullopt : std::optional(criteria);
    }
    if (window_->Refused(kMaxDays))
        return std::nullopt;
    criteria.from = window_->From();
    criteria.to = window_->To();
    criteria.courier = REC_GOODS_MAN->Text();
    criteria.payment = FilterText(*PAY_TYPE);
    criteria.createrSite = CREATER_SITE->Text();
    criteria.driver = REC_BILL_MAN->Text();
    criteria.statusItem = STATUS->ItemIndex();
    if (BL_DEPUTE)
        criteria.entrusted = static_cast<TEntrusted>(BL_DEPUTE->ItemIndex());
    criteria.withoutSite = chk_NoSite && chk_NoSite->isChecked();
    criteria.withoutDriver = chk_NoDriver && chk_NoDriver->isChecked();
    return criteria;
}
