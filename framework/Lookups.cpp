#include "framework/Lookups.h"

using namespace Qt::Literals::StringLiterals;

TLookupParams SiteLookup(TDataSource* sites)
{
    return {
        .listSource = sites,
        .keyField = u"SITE_NAME"_s,
        .listField = u"SITE_NAME"_s,
        .columns = {{u"SITE_CODE"_s, u"网点编号"_s, 90}, {u"SITE_NAME"_s, u"网点名称"_s, 160},
            {u"SUPERIOR_SITE"_s, u"所属网点"_s, 140}},
        .searchFields = {u"SITE_CODE"_s},
        .unknownText = u"无此网点"_s,
    };
}

TLookupParams EmployeeLookup(TDataSource* employees)
{
    return {
        .listSource = employees,
        .keyField = u"EMPLOYEE_NAME"_s,
        .listField = u"EMPLOYEE_NAME"_s,
        .columns = {{u"EMPLOYEE_CODE"_s, u"员工编号"_s, 90}, {u"EMPLOYEE_NAME"_s, u"员工姓名"_s, 100}},
        .searchFields = {u"EMPLOYEE_CODE"_s},
        .unknownText = u"无此员工"_s,
    };
}

TLookupParams EmployeeFilterLookup(TDataSource* employees)
{
    TLookupParams lookup = EmployeeLookup(employees);
    lookup.columns.push_back({u"OWNER_SITE"_s, u"所属网点"_s, 140});
    lookup.columns.push_back({u"DEPT_NAME"_s, u"所属部门"_s, 90});
    return lookup;
}

TLookupParams CountyLookup(TDataSource* counties)
{
    return {
        .listSource = counties,
        .keyField = u"COUNTY_NAME"_s,
        .listField = u"COUNTY_NAME"_s,
        .columns = {{u"COUNTY_NAME"_s, u"区/县名"_s, 100}, {u"PROVINCE"_s, u"所属省份"_s, 80},
            {u"CITY_NAME"_s, u"所属城市"_s, 90}, {u"MAIL_CODE"_s, u"邮政编码"_s, 70}},
    };
}

void CompleteLookupText(TDBLookupComboboxEh& box)
{
    box.Complete();
}

void PrepareLookup(TDBLookupComboboxEh& box, const TLookupParams& lookup)
{
    box.SetLookup(lookup);
    box.OnExit = [&box] { CompleteLookupText(box); };
}

void NarrowList(TClientDataSetEx& list, QStringView field, const QString& text,
    std::initializer_list<TDBLookupComboboxEh*> boxes)
{
    if (text.isEmpty())
        return;
    list.SetFiltered(false);
    list.SetFilter(u' ' + field.toString() + u"='"_s + text + u'\'');
    list.SetFiltered(true);
    for (TDBLookupComboboxEh* box : boxes)
        CompleteLookupText(*box);
}
