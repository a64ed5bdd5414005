#include "framework/PageLookup.h"
#include "module/data/SqlText.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// "like" where the text has no character that it reads as a pattern; the index serves it.
QString BeginsWith(const QString& column, const QString& text)
{
    if (!text.contains(u'%') && !text.contains(u'_'))
        return column + u" like "_s + QuotedStr(text + u'%');
    return u"substr("_s + column + u",1,"_s + QString::number(text.size()) + u")="_s + QuotedStr(text);
}

struct TPageSource {
    QString table;
    QString select;
    QString keyColumn;
    QStringList searchColumns;
    QString scopeColumn;
    QString keyIndex;
    QString scopeIndex;
};

// Each page begins after the key that ended the one before, so that a later page costs no more than the
// first.
QString PageText(const TPageSource& source, const TPageRequest& request)
{
    QStringList conditions;
    if (!request.scope.isEmpty())
        conditions += source.scopeColumn + u'=' + QuotedStr(request.scope);
    if (!request.afterKey.isEmpty())
        conditions += source.keyColumn + u" > "_s + QuotedStr(request.afterKey);
    const QString typed = request.typed.trimmed();
    if (!typed.isEmpty()) {
        QStringList anyOf;
        for (const QString& column : source.searchColumns)
            anyOf += BeginsWith(column, typed);
        conditions += u'(' + anyOf.join(u" or "_s) + u')';
    }
    const QString index = request.scope.isEmpty() ? source.keyIndex : source.scopeIndex;
    QString sql = u"select * from (select /*+index(a,"_s + index + u")*/ "_s + source.select + u" from "_s
        + source.table + u" a"_s;
    if (!conditions.isEmpty())
        sql += u" where "_s + conditions.join(u" and "_s);
    return sql + u" order by "_s + source.keyColumn + u") a where rownum <= "_s
        + QString::number(request.pageSize);
}

} // namespace

QString EmployeePageQuery(const TPageRequest& request)
{
    static const TPageSource source{
        .table = u"tab_employee"_s,
        .select = u"a.employee_code,a.employee_name,a.owner_site,a.phone"_s,
        .keyColumn = u"a.employee_code"_s,
        .searchColumns = {u"a.employee_code"_s, u"a.employee_name"_s, u"a.phone"_s},
        .scopeColumn = u"a.owner_site"_s,
        .keyIndex = u"TAB_EMPLOYEE_P"_s,
        .scopeIndex = u"TAB_EMPLOYEE_I"_s,
    };
    return PageText(source, request);
}

QString CustomerPageQuery(const TPageRequest& request)
{
    static const TPageSource source{
        .table = u"tab_customer"_s,
        .select = u"a.*"_s,
        .keyColumn = u"a.customer_code"_s,
        .searchColumns = {u"a.customer_code"_s, u"a.customer_name"_s, u"a.customer_phone1"_s},
        .scopeColumn = u"a.customer_owner_site"_s,
        .keyIndex = u"TAB_CUSTOMER_P"_s,
        .scopeIndex = u"TAB_CUSTOMER_I"_s,
    };
    return PageText(source, request);
}

TDBPageLookup_Employee::TDBPageLookup_Employee(QWidget* parent, const QString& name)
    : TDBPageLookup(parent, name,
        {.key = u"EMPLOYEE_CODE"_s,
            .name = u"EMPLOYEE_NAME"_s,
            .columns = {{.fieldName = u"EMPLOYEE_CODE"_s, .title = u"员工编号"_s, .width = 90},
                {.fieldName = u"EMPLOYEE_NAME"_s, .title = u"员工姓名"_s, .width = 90},
                {.fieldName = u"OWNER_SITE"_s, .title = u"所属网点"_s, .width = 130},
                {.fieldName = u"PHONE"_s, .title = u"电话"_s, .width = 110}}})
{
}

QString TDBPageLookup_Employee::PageQuery(const TPageRequest& request) const
{
    return EmployeePageQuery(request);
}

TDBPageLookup_Customer::TDBPageLookup_Customer(QWidget* parent, const QString& name)
    : TDBPageLookup(parent, name,
        {.key = u"CUSTOMER_CODE"_s,
            .name = u"CUSTOMER_NAME"_s,
            .columns = {{.fieldName = u"CUSTOMER_CODE"_s, .title = u"客户编号"_s, .width = 90},
                {.fieldName = u"CUSTOMER_NAME"_s, .title = u"客户名称"_s, .width = 150},
                {.fieldName = u"CUSTOMER_LINKMAN"_s, .title = u"联系人"_s, .width = 80},
                {.fieldName = u"CUSTOMER_PHONE1"_s, .title = u"电话"_s, .width = 110}}})
{
}

QString TDBPageLookup_Customer::PageQuery(const TPageRequest& request) const
{
    return CustomerPageQuery(request);
}
