#include "dispatch/Couriers.h"

#include "module/data/HostBridge.h"
#include "module/data/SqlText.h"
#include "orders/record/LoginSite.h"

using namespace Qt::Literals::StringLiterals;

QString DispatchRoot()
{
    return IsAtCentre() ? GlobalValue(u"FinanceCenter"_s) : LoginSite();
}

QString CouriersQuery(const QString& root)
{
    return u" select * from (select employee_name,employee_code,owner_site from tab_employee a  where "
           "a.owner_site in (select /*+index(a,TAB_SITE_I3)*/ SITE_NAME from tab_site a "_s
        + SiteAndBelow(root, u" connect by prior  ")
        + u") union all  select employee_name,employee_code,owner_site from tab_employee a where "
          "a.BL_GOODS_MARKET=1) a "_s;
}

QString AllCouriersQuery()
{
    return u" select employee_name,employee_code from tab_employee a "_s;
}

TLookupParams CourierLookup(TDataSource* couriers)
{
    return {
        .listSource = couriers,
        .keyField = u"EMPLOYEE_NAME"_s,
        .listField = u"EMPLOYEE_NAME"_s,
        .columns = {{u"EMPLOYEE_CODE"_s, u"员工编号"_s, 90}, {u"EMPLOYEE_NAME"_s, u"员工名称"_s, 100},
            {u"OWNER_SITE"_s, u"所属网点"_s, 140}},
        .searchFields = {u"EMPLOYEE_CODE"_s},
        .unknownText = u"无此员工"_s,
    };
}
