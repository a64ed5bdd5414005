#include "reports/OverdueQuery.h"

using namespace Qt::Literals::StringLiterals;

namespace {

QString Equals(QStringView column, const QString& value)
{
    return u" and a."_s + column.toString() + u"='"_s + value + u'\'';
}

} // namespace

const TOverdueStep kNotAccepted{u"and a.bl_dispart=1 and a.status=0 and a.prepare_site is not null", false};
const TOverdueStep kNotPickedUp{u"and a.bl_dispart=1 and a.status=1", true};

QString OverdueCondition(const TOverdueStep& step, const QString& hours)
{
    return u"a.create_date between (sysdate-("_s + hours + u"/24)-3) and (sysdate-("_s + hours + u"/24)) "_s
        + step.condition.toString();
}

QString OverdueSummaryQuery(const TOverdueStep& step, const QString& condition)
{
    const QString group = step.bySite ? u"a.prov,a.city,a.county,a.rec_site"_s : u"a.prov,a.city,a.county"_s;
    return u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/"_s + group
        + u",count(a.TX_LOGISTIC_ID) as count_sum from tab_zelmor_bill a where "_s + condition
        + u" group by "_s + group + u" order by "_s + group;
}

QString OverdueOrdersQuery(const TOverdueStep& step, const QString& condition, const TOverdueGroup& group)
{
    QString sql = u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.* from tab_zelmor_bill a where "_s + condition
        + Equals(u"prov", group.province) + Equals(u"city", group.city) + Equals(u"county", group.county);
    if (step.bySite)
        sql += Equals(u"rec_site", group.site);
    return sql + u" order by a.TX_LOGISTIC_ID"_s;
}
