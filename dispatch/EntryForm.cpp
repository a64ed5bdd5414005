#include "dispatch/EntryForm.h"

#include "dispatch/Couriers.h"
#include "framework/FlowGrid.h"
#include "framework/FlowRow.h"
#include "framework/LabelledControls.h"
#include "framework/Lookups.h"
#include "module/data/dm_GlobalData.h"

#include <QGroupBox>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kPairs = 4; // of label and box in a row

constexpr std::array<QStringView, 5> kSelected{
    u"TOTAL_WEIGHT", u"TOTAL_VOLUME", u"PIECE", u"SEND_START_TIME", u"PHONE"};

TLookupParams NamesOf(TDataSource* list, const QString& field, const QString& title)
{
    return {.listSource = list, .keyField = field, .listField = field, .columns = {{field, title, 140}}};
}

// With room for the longest label, so that the rows of the form stand below one another.
TFlowGrid* NewRows(QWidget* parent)
{
    return new TFlowGrid(parent, kPairs, parent->fontMetrics().horizontalAdvance(u"发货人电话"_s));
}

} // namespace

TEntryForm::TEntryForm(QWidget* parent, TDataSource* order)
    : QWidget(parent)
    , order_(order)
{
    setObjectName(u"EntryForm"_s);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(8, 8, 8, 6);
    rows->setSpacing(6);
    rows->addWidget(CreateShipper());
    rows->addWidget(CreateAddresses());
    rows->addWidget(CreateParcel());
    rows->addWidget(CreateButtons());
}

template <typename TBox> TBox* TEntryForm::NewBox(QWidget* parent, const QString& name, QStringView field)
{
    auto* box = new TBox(parent, name);
    box->Binding().SetDataSource(order_);
    box->Binding().SetDataField(field);
    boxes_.insert(field.toString(), box);
    return box;
}

template <typename TBox>
TBox* TEntryForm::Place(
    TFlowGrid& grid, const QString& caption, const QString& name, QStringView field, int span)
{
    auto* box = NewBox<TBox>(grid.parentWidget(), name, field);
    grid.AddBox(LabelFor(box, caption, grid.parentWidget()), box, span);
    return box;
}

QWidget* TEntryForm::CreateShipper()
{
    auto* part = new QWidget(this);
    TFlowGrid& grid = *NewRows(part);
    CUSTOMER_NAME = new TDBPageLookup_Customer(part, u"CUSTOMER_NAME"_s);
    CUSTOMER_NAME->setPlaceholderText(u"编号、名称或电话"_s);
    CUSTOMER_NAME->setToolTip(u"离开时没有选中客户，发货人的电话、姓名、公司和省、市、区(县)就会清空"_s);
    grid.AddBox(LabelFor(CUSTOMER_NAME, u"客户检索"_s, part), CUSTOMER_NAME);
    PHONE = Place<TDBEditEh>(grid, u"发货人电话"_s, u"PHONE"_s, u"PHONE");
    edt_name = Place<TDBEditEh>(grid, u"发货人姓名"_s, u"edt_name"_s, u"NAME");
    COMPANYNAME = Place<TDBEditEh>(grid, u"发货人公司"_s, u"COMPANYNAME"_s, u"COMPANYNAME");
    return part;
}

QWidget* TEntryForm::CreateAddresses()
{
    auto* part = new QWidget(this);
    auto* row = new TFlowRow(part);
    const auto address = [&](const QString& caption, const QString& prefix, TDBLookupComboboxEh*& province,
                             TDBLookupComboboxEh*& city, TDBLookupComboboxEh*& county) {
        auto* group = new QGroupBox(caption, part);
        auto* lines = new QVBoxLayout(group);
        lines->setContentsMargins(8, 2, 8, 4);
        lines->setSpacing(4);
        auto* regions = new QWidget(group);
        auto* grid = new TFlowGrid(regions, 3);
        const auto region = [&](const QString& label, const QString& field) {
            return Place<TDBLookupComboboxEh>(*grid, label, prefix + field, prefix + field);
        };
        province = region(u"省"_s, u"PROV"_s);
        city = region(u"市"_s, u"CITY"_s);
        county = region(u"区(县)"_s, u"COUNTY"_s);
        lines->addWidget(regions);
        auto* street = new QHBoxLayout;
        AddControl(*street, u"（县下详细地址）"_s,
            NewBox<TDBEditEh>(group, prefix + u"ADDRESS"_s, QString(prefix + u"ADDRESS"_s)));
        lines->addLayout(street);
        row->addWidget(group, 1);
    };
    address(u"发货地址"_s, {}, PROV, CITY, COUNTY);
    address(u"收货地址"_s, u"SEND_"_s, SEND_PROV, SEND_CITY, SEND_COUNTY);
    return part;
}

QWidget* TEntryForm::CreateParcel()
{
    auto* part = new QWidget(this);
    TFlowGrid& grid = *NewRows(part);
    DBLookupComboboxEh1 =
        Place<TDBLookupComboboxEh>(grid, u"目的地"_s, u"DBLookupComboboxEh1"_s, u"DESTINATION");
    Place<TDBEditEh>(grid, u"货物重量"_s, u"TOTAL_WEIGHT"_s, u"TOTAL_WEIGHT");
    Place<TDBEditEh>(grid, u"体积"_s, u"TOTAL_VOLUME"_s, u"TOTAL_VOLUME");
    Place<TDBEditEh>(grid, u"件数"_s, u"PIECE"_s, u"PIECE");
    Place<TDBDateTimeEditEh>(grid, u"预约时间"_s, u"SEND_START_TIME"_s, u"SEND_START_TIME")
        ->setPlaceholderText(u"不填就是现在"_s);
    Place<TDBCheckBoxEh>(grid, u"是否保价"_s, u"BL_INSURANCE"_s, u"BL_INSURANCE");
    PAY_TYPE = Place<TDBComboBoxEh>(grid, u"支付方式"_s, u"PAY_TYPE"_s, u"PAY_TYPE");
    REC_GOODS_MAN = Place<TDBLookupComboboxEh>(grid, u"业务员"_s, u"REC_GOODS_MAN"_s, u"REC_GOODS_MAN");
    Place<TDBEditEh>(grid, u"备注"_s, u"REMARK"_s, u"REMARK", 3);
    auto* number = Place<TDBEditEh>(grid, u"订单编号"_s, u"TX_LOGISTIC_ID"_s, u"TX_LOGISTIC_ID");
    number->setReadOnly(true);
    number->setFocusPolicy(Qt::ClickFocus);
    return part;
}

QWidget* TEntryForm::CreateButtons()
{
    auto* part = new QWidget(this);
    auto* row = new TFlowRow(part);
    BTN_SAVE = NewButton(part, u"BTN_SAVE"_s, u"保存"_s);
    Records = new TRecordButtons(part, u"RecordButtons"_s);
    Records->SetDataSource(order_);
    btn_Excel = NewButton(part, u"btn_Excel"_s, u"Excel导入"_s);
    hint_ = new QLabel(part);
    hint_->setObjectName(u"Hint"_s);
    hint_->setWordWrap(true);
    row->addWidget(BTN_SAVE);
    row->addWidget(Records);
    row->addWidget(btn_Excel);
    row->addSpacing(12);
    row->addWidget(hint_, 1);
    return part;
}

void TEntryForm::AttachLists(TDataSource* couriers)
{
    const Tdm_GlobalData& lists = *dm_GlobalData;
    const auto regions = [](TDBLookupComboboxEh* province, TDataSource* provinces, TDBLookupComboboxEh* city,
                             TDataSource* cities, TDBLookupComboboxEh* county, TDataSource* counties) {
        PrepareLookup(*province, NamesOf(provinces, u"PROVINCE"_s, u"省"_s));
        PrepareLookup(*city, NamesOf(cities, u"CITY_NAME"_s, u"市"_s));
        PrepareLookup(*county, NamesOf(counties, u"COUNTY_NAME"_s, u"区(县)"_s));
    };
    regions(PROV, lists.ds_province_new, CITY, lists.ds_city_n, COUNTY, lists.ds_county_n);
    regions(SEND_PROV, lists.ds_province_n1, SEND_CITY, lists.ds_city_n1, SEND_COUNTY, lists.ds_county_n1);
    PrepareLookup(*DBLookupComboboxEh1, SiteLookup(lists.ds_AllSite));
    PrepareLookup(*REC_GOODS_MAN, CourierLookup(couriers));
}

void TEntryForm::SetShipperKnown(bool known)
{
    for (TDBEditEh* box : {PHONE, edt_name, COMPANYNAME})
        box->setReadOnly(known);
}

// Not at once: the action that a rule has stopped is still moving the focus.
void TEntryForm::GoTo(const QString& field)
{
    QWidget* box = boxes_.value(field);
    if (!box)
        return;
    const bool all = std::ranges::find(kSelected, field) != kSelected.end();
    QMetaObject::invokeMethod(
        box,
        [box, all] {
            box->setFocus();
            if (auto* edit = qobject_cast<QLineEdit*>(box); edit && all)
                edit->selectAll();
        },
        Qt::QueuedConnection);
}
