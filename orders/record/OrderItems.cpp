#include "orders/record/OrderItems.h"

#include "framework/RowFields.h"
#include "framework/ScreenHandlers.h"
#include "module/data/ServerLink.h"
#include "module/data/SqlText.h"
#include "runtime/data/SocketConnection.h"
#include "runtime/ui/Style.h"

#include <QLabel>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRestMilliseconds = 150;
constexpr int kPauseMilliseconds = 10'000;
constexpr int kLeastHeight = 88; // of the list: its titles, its totals and a row

} // namespace

QString ItemsQuery(const QString& orderNumber)
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_ITEMS_I)*/ a.TX_LOGISTIC_ID,a.ITEM_NAME,a.PIECE,a.REMARK "
           "FROM TAB_ZELMOR_BILL_ITEMS  a  where a.TX_LOGISTIC_ID= "_s
        + QuotedStr(orderNumber);
}

TOrderItems::TOrderItems(TClientDataSetEx* orders, TClientDataSetEx* items)
    : QObject(items)
    , orders_(orders)
    , items_(items)
    , rest_(new QTimer(this))
{
    rest_->setSingleShot(true);
    connect(orders, &TClientDataSetEx::CursorMoved, this, [this] { rest_->start(kRestMilliseconds); });
    connect(rest_, &QTimer::timeout, this, &TOrderItems::LoadAfterRest);
}

void TOrderItems::Load()
{
    rest_->stop();
    if (!HasOrder()) {
        Clear();
        return;
    }
    const QString orderNumber = TextOf(*orders_, u"TX_LOGISTIC_ID");
    if (orderNumber.trimmed().isEmpty())
        return;
    try {
        OpenQuery(*items_, ItemsQuery(orderNumber));
    } catch (...) {
        ShowAsUnread();
        throw;
    }
    shown_ = orderNumber;
    SetNote({});
}

void TOrderItems::LoadAfterRest()
{
    if (!HasOrder()) {
        Clear();
        return;
    }
    if (TextOf(*orders_, u"TX_LOGISTIC_ID") == shown_)
        return;
    if (OutOfReach()) {
        // Each try would hold the keyboard up; the row that is current then is read when the pause is over.
        ShowAsUnread();
        rest_->start(static_cast<int>(pause_.remainingTime()));
        return;
    }
    try {
        Load();
    } catch (const wire::Error& error) {
        pause_.setRemainingTime(kPauseMilliseconds);
        ShowNotice(u"商品明细没有读到："_s + error.Message());
    } catch (const EAbort&) {
        // Given up by the user, who knows.
    }
}

bool TOrderItems::HasOrder() const
{
    return orders_ && orders_->Active() && !orders_->IsEmpty();
}

void TOrderItems::Clear()
{
    items_->Close();
    shown_.clear();
    SetNote({});
}

bool TOrderItems::OutOfReach() const
{
    const TSocketConnectionEx* connection = items_->RemoteServer();
    return !pause_.hasExpired() && connection && !connection->Connected();
}

void TOrderItems::ShowAsUnread()
{
    items_->Close();
    shown_.clear();
    SetNote(u"商品明细没有读到，再回到该订单时重读。"_s);
}

void TOrderItems::SetNote(const QString& note)
{
    if (note_ == note)
        return;
    note_ = note;
    Q_EMIT NoteChanged();
}

void PrepareItemsView(TDataView& view, TClientDataSetEx* items)
{
    view.DataViewGrid->SetColumns({
        {.fieldName = u"ITEM_NAME"_s, .title = u"商品名称"_s, .width = 220},
        {.fieldName = u"PIECE"_s,
            .title = u"件数"_s,
            .width = 70,
            .alignment = TAlignment::Right,
            .footers = SumFooters(u"总件数"_s)},
        {.fieldName = u"REMARK"_s, .title = u"商品描述"_s, .width = 360},
    });
    view.DataViewGrid->ReadOnly = true;
    view.DS->SetDataSet(items);
    view.setMinimumHeight(Scaled(view, kLeastHeight));
    view.Loaded();
    const auto* kept = items->findChild<TOrderItems*>(QString(), Qt::FindDirectChildrenOnly);
    if (!kept)
        return;
    QObject::connect(kept, &TOrderItems::NoteChanged, &view, [kept, &view] {
        view.Panel1->setText(kept->Note());
        view.Panel1->setVisible(!kept->Note().isEmpty());
    });
}
