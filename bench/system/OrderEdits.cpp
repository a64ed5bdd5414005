#include "bench/system/OrderEdits.h"

#include "runtime/data/ClientDataSet.h"

using namespace Qt::Literals::StringLiterals;

namespace {

QString Remark(int round)
{
    return u"第%1次修改"_s.arg(round);
}
QString Message(int round)
{
    return u"员工%1"_s.arg(round);
}
double Weight(int round)
{
    return round + 0.5;
}

} // namespace

void EditEveryOrder(TClientDataSetEx& orders, int round)
{
    for (orders.First(); !orders.Eof(); orders.Next()) {
        orders.Edit();
        orders.FieldByName(u"REMARK").SetAsString(Remark(round));
        orders.FieldByName(u"MESSAGE").SetAsString(Message(round));
        orders.FieldByName(u"TOTAL_WEIGHT").SetAsFloat(Weight(round));
        orders.Post();
    }
}

std::vector<OrderEdit> EditsOfEveryOrder(TClientDataSetEx& orders, int round)
{
    std::vector<OrderEdit> edits;
    for (orders.First(); !orders.Eof(); orders.Next()) {
        const TField& status = orders.FieldByName(u"STATUS");
        const TField& weight = orders.FieldByName(u"TOTAL_WEIGHT");
        const auto text = [&](QStringView field) { return orders.FieldByName(field).AsString(); };
        edits.push_back({.order = text(u"TX_LOGISTIC_ID"),
            .status = status.IsNull() ? std::nullopt : std::optional(status.AsInteger()),
            .receivingSite = text(u"REC_SITE"),
            .candidates = text(u"PREPARE_SITE"),
            .oldRemark = text(u"REMARK"),
            .oldMessage = text(u"MESSAGE"),
            .remark = Remark(round),
            .message = Message(round),
            .oldWeight = weight.IsNull() ? std::nullopt : std::optional(weight.AsFloat()),
            .weight = Weight(round)});
    }
    return edits;
}
