#include "orders/search/OrderSummary.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// The fields that have a text, behind their line's word.
QString Line(const QString& word, const TClientDataSetEx& order, std::initializer_list<QStringView> fields)
{
    QStringList texts;
    for (const QStringView field : fields) {
        const QString text = order.FieldByName(field).AsString();
        if (!text.isEmpty())
            texts += text;
    }
    return word + texts.join(u"　"_s);
}

} // namespace

TOrderSummary::TOrderSummary(QWidget* parent, TDataSource* order)
    : QLabel(parent)
    , order_(order)
{
    setObjectName(u"OrderSummary"_s);
    setTextFormat(Qt::PlainText);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    setFocusPolicy(Qt::NoFocus);
    setMinimumWidth(1); // a long address is cut, not the screen widened
    const TClientDataSetEx* orders = order->DataSet();
    for (const auto signal : {&TClientDataSetEx::DataReset, &TClientDataSetEx::CursorMoved})
        connect(orders, signal, this, &TOrderSummary::ShowOrder);
    connect(orders, &TClientDataSetEx::RowChanged, this, &TOrderSummary::ShowOrder);
}

void TOrderSummary::ShowOrder()
{
    const TClientDataSetEx& orders = *order_->DataSet();
    if (!orders.Active() || orders.IsEmpty()) {
        clear();
        return;
    }
    setText(Line(u"物流号："_s, orders, {u"TX_LOGISTIC_ID", u"BILL_CODE", u"CREATE_DATE"}) + u'\n'
        + Line(u"发货："_s, orders, {u"NAME", u"MOBILE", u"PHONE", u"PROV", u"CITY", u"COUNTY", u"ADDRESS"})
        + u'\n'
        + Line(u"收货："_s, orders,
            {u"SEND_NAME", u"SEND_MOBILE", u"SEND_PHONE", u"SEND_PROV", u"SEND_CITY", u"SEND_COUNTY",
                u"SEND_ADDRESS"}));
}
