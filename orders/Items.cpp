#include "orders/Items.h"

#include "module/data/ServerLink.h"
#include "module/data/SqlText.h"
#include "orders/Rules.h"
#include "runtime/ui/Application.h"

#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRestMilliseconds = 150;

} // namespace

QString ItemsQuery(const QString& orderNumber)
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_ITEMS_I)*/ a.TX_LOGISTIC_ID,a.ITEM_NAME,a.PIECE,a.REMARK "
           "FROM TAB_ZELMOR_BILL_ITEMS  a  where a.TX_LOGISTIC_ID= "_s
        + QuotedStr(orderNumber);
}

TOrderItems::TOrderItems(QObject* screen, TClientDataSetEx* orders, TClientDataSetEx* items)
    : QObject(screen)
    , orders_(orders)
    , items_(items)
    , rest_(new QTimer(this))
{
    rest_->setSingleShot(true);
    rest_->setInterval(kRestMilliseconds);
    connect(orders_, &TClientDataSetEx::CursorMoved, rest_, qOverload<>(&QTimer::start));
    connect(rest_, &QTimer::timeout, this, &TOrderItems::LoadAfterRest);
}

void TOrderItems::Load()
{
    rest_->stop();
    if (!orders_->Active() || orders_->IsEmpty())
        return;
    const QString orderNumber = TextOf(*orders_, u"TX_LOGISTIC_ID");
    if (orderNumber.trimmed().isEmpty())
        return;
    OpenQuery(*items_, ItemsQuery(orderNumber));
    shown_ = orderNumber;
}

void TOrderItems::LoadAfterRest()
{
    if (!orders_->Active() || orders_->IsEmpty() || TextOf(*orders_, u"TX_LOGISTIC_ID") == shown_)
        return;
    Guarded([this] { Load(); });
}

void PrepareItemsView(TDataView& view, TClientDataSetEx* items)
{
    view.DataViewGrid->SetColumns({
        {.fieldName = u"ITEM_NAME"_s, .title = u"商品名称"_s, .width = 220},
        {.fieldName = u"PIECE"_s, .title = u"件数"_s, .width = 70, .alignment = TAlignment::Right},
        {.fieldName = u"REMARK"_s, .title = u"商品描述"_s, .width = 360},
    });
    view.DataViewGrid->ReadOnly = true;
    view.DS->SetDataSet(items);
    view.Loaded();
}
