#include "orders/search/OrderSearch.h"

using namespace Qt::Literals::StringLiterals;

namespace {

QString Where(const TCriterion& criterion, const QString& before, const QString& text, const QString& after)
{
    return text.isEmpty() ? QString() : u" and a."_s + criterion.column.toString() + before + text + after;
}

QString OfNumbers(
    const QString& index, const QString& column, const QString& numberList, const QString& dateColumn)
{
    return u"select /*+index(a,"_s + index + u")*/a.* from tab_zelmor_bill a where a."_s + column + u" in "_s
        + numberList + u" and a.bl_dispart=1 order by a."_s + dateColumn + u" desc"_s;
}

} // namespace

QString EqualTo(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    return Where(criterion, u"='"_s, criteria.Text(criterion.column), u"'"_s);
}

QString EqualToUnlessBlank(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    return criteria.Text(criterion.column).trimmed().isEmpty() ? QString() : EqualTo(criterion, criteria);
}

QString Containing(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    return Where(criterion, u" like '%"_s, criteria.Text(criterion.column), u"%'"_s);
}

QString OfferedToSite(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    return Where(criterion, u" like '%;"_s, criteria.Text(criterion.column), u";%'"_s);
}

QString WithCode(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    return Where(criterion, u"="_s, criteria.Text(criterion.column), {});
}

QString WhenChecked(const TCriterion& criterion, const TOrderCriteria& criteria)
{
    return criteria.Text(criterion.column).isEmpty() ? QString()
                                                     : u" and a."_s + criterion.column.toString() + u"=1"_s;
}

QString OfSourceOrOthers(const QString& source, const QString& chosen)
{
    return chosen == source ? u" and a.LOGISTICPROVIDERID like '%"_s + chosen + u"%'"_s
                            : u" and a.LOGISTICPROVIDERID  <> '"_s + source + u"' "_s;
}

QString OrderSearchQuery(
    std::span<const TCriterion> table, const TOrderCriteria& criteria, const QString& columns)
{
    const QString date = criteria.byPickupTime ? u"REC_DATE"_s : u"CREATE_DATE"_s;
    const QString hint =
        criteria.byPickupTime ? u"/*+index(a,TAB_ZELMOR_BILL_I5)*/"_s : u"/*+index(a,TAB_ZELMOR_BILL_I3)*/"_s;
    QString sql = u"select "_s + hint + columns + u" from tab_zelmor_bill a where a."_s + date
        + u" between to_date('"_s + criteria.from + u"','yyyy-mm-dd hh24:mi:ss') and to_date('"_s
        + criteria.to + u"','yyyy-mm-dd hh24:mi:ss') and a.bl_dispart=1"_s;
    for (const TCriterion& criterion : table) {
        if (criterion.condition)
            sql += criterion.condition(criterion, criteria);
    }
    return sql + u" order by a."_s + date + u" desc"_s;
}

QString OrdersByNumber(const QString& numberList, const QString& dateColumn)
{
    return OfNumbers(u"TAB_ZELMOR_BILL_P"_s, u"TX_LOGISTIC_ID"_s, numberList, dateColumn);
}

QString OrdersByWaybill(const QString& numberList, const QString& dateColumn)
{
    return OfNumbers(u"TAB_ZELMOR_BILL_I"_s, u"BILL_CODE"_s, numberList, dateColumn);
}
