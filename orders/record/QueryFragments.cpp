#include "orders/record/QueryFragments.h"

#include "module/data/SqlText.h"

using namespace Qt::Literals::StringLiterals;

QString OrdersCreatedBetween(const QString& from, const QString& to)
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.* from tab_zelmor_bill a where a.create_date between to_date('"_s
        + from + u"','yyyy-mm-dd hh24:mi:ss') and "_s + u"to_date('"_s + to + u"','yyyy-mm-dd hh24:mi:ss')"_s;
}

QString OfWarehouse(const QString& warehouse)
{
    return warehouse.trimmed().isEmpty() ? QString() : u" and a.WMS_CODE= "_s + QuotedStr(warehouse);
}
