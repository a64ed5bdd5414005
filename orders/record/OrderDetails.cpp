#include "orders/record/OrderDetails.h"

#include "framework/LabelledControls.h"
#include "orders/record/OrderItems.h"
#include "orders/record/OrderView.h"
#include "runtime/ui/Style.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSplitter>
#include <QVBoxLayout>

#include <array>
#include <span>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kBoxWidth = 102; // pixels at 96 dpi
constexpr int kNumberWidth = 118;

constexpr std::array kNumbers = std::to_array<TDetailField>({
    {u"物流号：", u"TX_LOGISTIC_ID", 0, 0},
    {u"业务交易号：", u"TRADE_NO", 0, 1},
    {u"运单编号：", u"BILL_CODE", 0, 2},
});

constexpr std::array kSender = std::to_array<TDetailField>({
    {u"订单时间", u"CREATE_DATE", 0, 0},
    {u"姓名", u"NAME", 0, 1},
    {u"固话", u"PHONE", 0, 2},
    {u"手机", u"MOBILE", 0, 3},
    {u"省份", u"PROV", 1, 0},
    {u"城市", u"CITY", 1, 1},
    {u"区/县", u"COUNTY", 1, 2},
    {u"邮编", u"POST_CODE", 1, 3},
    {u"地址", u"ADDRESS", 2, 0, 4},
});

constexpr std::array kReceiver = std::to_array<TDetailField>({
    {u"订单时间", u"CREATE_DATE", 0, 0},
    {u"姓名", u"SEND_NAME", 0, 1},
    {u"固话", u"SEND_PHONE", 0, 2},
    {u"手机", u"SEND_MOBILE", 0, 3},
    {u"省份", u"SEND_PROV", 1, 0},
    {u"城市", u"SEND_CITY", 1, 1},
    {u"区/县", u"SEND_COUNTY", 1, 2},
    {u"邮编", u"SEND_POST_CODE", 1, 3},
    {u"地址", u"SEND_ADDRESS", 2, 0, 4},
});

void AddFields(
    QWidget* block, TDataSource* order, std::span<const TDetailField> fields, int boxWidth = kBoxWidth)
{
    auto* grid = new QGridLayout(block);
    grid->setContentsMargins(8, 2, 8, 4);
    grid->setHorizontalSpacing(4);
    grid->setVerticalSpacing(3);
    for (const TDetailField& field : fields) {
        const QString name = field.field.toString();
        auto* box = new TDBEditEh(block, u"DBEditEh_"_s + name);
        box->setMinimumWidth(Scaled(*block, boxWidth));
        box->setReadOnly(true);
        box->Binding().SetReadOnly(true);
        box->Binding().SetDataSource(order);
        box->Binding().SetDataField(name);
        grid->addWidget(LabelFor(box, field.caption.toString(), block), field.row, field.column * 2);
        grid->addWidget(box, field.row, field.column * 2 + 1, 1, field.span * 2 - 1);
        grid->setColumnStretch(field.column * 2 + 1, 1);
        // A text longer than its box shows its beginning.
        QObject::connect(box, &QLineEdit::textChanged, box, [box] { box->setCursorPosition(0); });
    }
    // The first column of a block holds the time, or the longest number.
    grid->setColumnMinimumWidth(1, block->fontMetrics().horizontalAdvance(u"0000-00-00 00:00:00 0000"_s));
}

void FillGroup(QGroupBox* group, QWidget* content)
{
    auto* layout = new QVBoxLayout(group);
    layout->setContentsMargins(4, 2, 4, 4);
    layout->addWidget(content);
}

} // namespace

std::span<const TDetailField> OrderNumberFields()
{
    return kNumbers;
}

TDetailBlock SenderBlock()
{
    return {u"发货客户信息"_s, kSender};
}

TDetailBlock ReceiverBlock()
{
    return {u"收货商品信息"_s, kReceiver};
}

TDetailBlock ReceiverBlockWithoutTime()
{
    return {u"收货商品信息"_s, std::span(kReceiver).subspan(1)};
}

TOrderDetails::TOrderDetails(QWidget* parent, TDataSource* order, const TOptions& options)
    : QWidget(parent)
    , order_(order)
{
    QScrollArea* area = NewScrollArea(this);
    QWidget* content = area->widget();
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(area);
    QWidget* lists = CreateLists(content, options);
    // No wider than they need while there is little room.
    auto* parts = new QHBoxLayout(content);
    parts->setContentsMargins(6, 4, 6, 4);
    parts->addWidget(CreateFields(content, options), 1);
    parts->addWidget(lists, 2);
}

QWidget* TOrderDetails::CreateLists(QWidget* content, const TOptions& options)
{
    auto* lists = new QSplitter(Qt::Horizontal, content);
    lists->setChildrenCollapsible(false);
    lists->addWidget(CreateItems(lists, options));
    lists->setStretchFactor(0, 2);
    if (options.trail) {
        lists->addWidget(CreateTrail(lists, options));
        lists->setStretchFactor(1, 3);
    }
    return lists;
}

QWidget* TOrderDetails::CreateItems(QWidget* lists, const TOptions& options)
{
    QGroupBox* frame = options.itemsCaption.isEmpty() ? nullptr : new QGroupBox(options.itemsCaption, lists);
    auto* goods = new TDataView(frame ? frame : lists, options.itemsView);
    PrepareItemsView(*goods, options.items);
    if (!frame)
        return goods;
    FillGroup(frame, goods);
    return frame;
}

QWidget* TOrderDetails::CreateFields(QWidget* content, const TOptions& options)
{
    auto* fields = new QWidget(content);
    auto* numbers = new QWidget(fields);
    AddFields(numbers, order_, options.numbers, kNumberWidth);
    auto* rows = new QVBoxLayout(fields);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(4);
    rows->addWidget(numbers);
    for (const TDetailBlock& block : options.blocks) {
        auto* group = new QGroupBox(block.caption, fields);
        AddFields(group, order_, block.fields);
        rows->addWidget(group);
    }
    rows->addStretch(1);
    return fields;
}

QWidget* TOrderDetails::CreateTrail(QWidget* lists, const TOptions& options)
{
    auto* group = new QGroupBox(u"订单状态信息"_s, lists);
    auto* view = new TDataView(group, options.trailView);
    view->DataViewGrid->SetColumns({
        {.fieldName = u"infos"_s, .title = u"状态"_s, .width = 130},
        {.fieldName = u"create_date"_s,
            .title = u"产生日期"_s,
            .width = 140,
            .style = TColumnStyle::DateTime},
        {.fieldName = u"POST_FLAG"_s,
            .title = u"推送状态"_s,
            .width = 66,
            .style = TColumnStyle::KeyPickList,
            .pickList = {u"推送失败"_s, u"未推送"_s, u"推送成功"_s},
            .keyList = {u"-1"_s, u"0"_s, u"1"_s}},
        {.fieldName = u"post_time"_s,
            .title = u"推送实际时间"_s,
            .width = 140,
            .style = TColumnStyle::DateTime},
    });
    view->DataViewGrid->ReadOnly = true;
    view->DS->SetDataSet(options.trail);
    view->Loaded();
    trail_ = options.trail;
    trailOrder_ = view->Panel1;
    trailOrder_->show();
    for (const TClientDataSetEx* dataSet : {order_->DataSet(), trail_}) {
        connect(dataSet, &TClientDataSetEx::DataReset, this, &TOrderDetails::ShowTrailOrder);
        connect(dataSet, &TClientDataSetEx::CursorMoved, this, &TOrderDetails::ShowTrailOrder);
    }
    ShowTrailOrder();
    FillGroup(group, view);
    return group;
}

void TOrderDetails::SetTrailOrder(const QString& orderNumber)
{
    trailNumber_ = orderNumber;
    ShowTrailOrder();
}

void TOrderDetails::ShowTrailOrder()
{
    const TClientDataSetEx* orders = order_->DataSet();
    const bool current = orders->Active() && !orders->IsEmpty()
        && orders->FieldByName(u"TX_LOGISTIC_ID").AsString() == trailNumber_;
    QString text = u"双击订单，显示其状态信息"_s;
    if (trail_->Active())
        text = u"物流号："_s + trailNumber_ + (current ? QString() : u"（不是当前订单）"_s);
    trailOrder_->setText(text);
    trailOrder_->setStyleSheet(trail_->Active() && !current ? u"color: #c00000"_s : QString());
}
