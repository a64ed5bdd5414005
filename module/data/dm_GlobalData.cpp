#include "module/data/dm_GlobalData.h"

#include "module/data/Common.h"
#include "module/data/HostBridge.h"
#include "module/data/PerlRegEx.h"
#include "module/data/ServerLink.h"
#include "module/data/dm_BasicData.h"

using namespace Qt::Literals::StringLiterals;

Tdm_GlobalData* dm_GlobalData = nullptr;

Tdm_GlobalData::Tdm_GlobalData(QObject* owner)
    : QObject(owner)
{
    setObjectName(u"dm_GlobalData"_s);
    const auto source = [this](const QString& name) { return new TDataSource(this, name); };
    const auto copy = [this](const QString& name) { return new TClientDataSetEx(this, name); };
    ds_site = source(u"ds_site"_s);
    ds_employee = source(u"ds_employee"_s);
    ds_AllSite = source(u"ds_AllSite"_s);
    ds_loginSiteOwner = source(u"ds_loginSiteOwner"_s);
    cds_county_n = copy(u"cds_county_n"_s);
    ds_county_n = source(u"ds_county_n"_s);
    cds_city_n = copy(u"cds_city_n"_s);
    ds_city_n = source(u"ds_city_n"_s);
    cds_province_new = copy(u"cds_province_new"_s);
    ds_province_new = source(u"ds_province_new"_s);
    cds_province_n1 = copy(u"cds_province_n1"_s);
    ds_province_n1 = source(u"ds_province_n1"_s);
    cds_county_n1 = copy(u"cds_county_n1"_s);
    ds_county_n1 = source(u"ds_county_n1"_s);
    cds_city_n1 = copy(u"cds_city_n1"_s);
    ds_city_n1 = source(u"ds_city_n1"_s);
    cdsloginSiteEmployeeOwnerAll = copy(u"cdsloginSiteEmployeeOwnerAll"_s);
    ds_loginSiteEmployeeOwnerAll = source(u"ds_loginSiteEmployeeOwnerAll"_s);
    cdsownerCustomer = copy(u"cdsownerCustomer"_s);
    ds_ownerCustomer = source(u"ds_ownerCustomer"_s);
}

void Tdm_GlobalData::DataModuleCreate()
{
    ready_ = false;
    const auto copy = [](const QString& name, TClientDataSetEx* target, TDataSource* source) {
        target->CopyFrom(GlobalCds(name));
        source->SetDataSet(target);
    };
    copy(u"Province_N"_s, cds_province_new, ds_province_new);
    copy(u"City_N"_s, cds_city_n, ds_city_n);
    copy(u"County_N"_s, cds_county_n, ds_county_n);
    copy(u"Province_N"_s, cds_province_n1, ds_province_n1);
    copy(u"City_N"_s, cds_city_n1, ds_city_n1);
    copy(u"County_N"_s, cds_county_n1, ds_county_n1);
    copy(u"ownerCustomer"_s, cdsownerCustomer, ds_ownerCustomer);

    const auto share = [](const QString& name, QPointer<TClientDataSetEx>& target, TDataSource* source) {
        target = &GlobalCds(name);
        source->SetDataSet(target);
    };
    ds_loginSiteEmployeeOwnerAll->SetDataSet(&GlobalCds(u"loginSiteEmployeeOwnerAll"_s));
    share(u"loginSiteOwner"_s, site, ds_site);
    share(u"loginSiteEmployeeOwner"_s, employee, ds_employee);
    share(u"AllSite"_s, AllSite, ds_AllSite);
    share(u"loginSiteOwner"_s, loginSiteOwner, ds_loginSiteOwner);
    ready_ = true;
}

namespace {

int DigitAt(const QString& code, qsizetype index)
{
    const QChar character = code.at(index);
    if (character < u'0' || character > u'9')
        throw wire::Error(wire::ErrorKind::Data, u"'%1' 不是有效的整数"_s.arg(character));
    return character.unicode() - u'0';
}

} // namespace

bool CheckDigitFits(const QString& code, qsizetype first, std::string_view weights)
{
    int sum = 0;
    for (size_t i = 0; i < weights.size(); ++i)
        sum += DigitAt(code, first + static_cast<qsizetype>(i)) * (weights[i] - '0');
    const int rest = sum % 11;
    const int expected = rest == 0 ? 5 : rest == 1 ? 0 : rest == 10 ? 1 : 11 - rest;
    return expected == DigitAt(code, first + static_cast<qsizetype>(weights.size()));
}

bool CheckANBillCode(const QString& code)
{
    // Only the length is counted without blanks; the digits stand where they stand.
    switch (code.trimmed().size()) {
    case 8:
        return CheckDigitFits(code, 0, "7425368");
    case 12:
        return CheckDigitFits(code, 2, "742536829");
    default:
        return true;
    }
}

QString BillIssuedQuery(const QString& code, const QString& siteList)
{
    const QString quoted = QuotedStr(code);
    const QString length = code.size() >= 12 ? u"11"_s : u"7"_s;
    return u"select /*+index(a,TAB_BILL_PROVIDE_I)*/ 1 from TAB_BILL_PROVIDE a where (((a.start_no <= "_s
        + quoted + u" and a.end_no >= "_s + quoted + u") and  length(a.START_NO) = length("_s + quoted
        + u")) or  ((a.start_no <= substr("_s + quoted + u", 1, "_s + length + u") and  a.end_no >= substr("_s
        + quoted + u", 1, "_s + length + u")) and  length(a.START_NO) = length(substr("_s + quoted
        + u", 1, "_s + length + u")))) "_s + u" and a.use_site in ("_s + siteList + u" )"_s;
}

bool CheckBillIssued(const QString& code, const QString& siteList)
{
    TClientDataSetEx& comm = *dm_BasicData->comm;
    OpenQuery(comm, BillIssuedQuery(code, siteList));
    return !comm.IsEmpty();
}

bool CheckBillFormat(const QString& code, const QString& pattern)
{
    bool matched = false;
    try {
        TPerlRegEx& regEx = SharedRegEx();
        regEx.SetRegEx(pattern);
        regEx.SetSubject(code);
        matched = regEx.Match();
    } catch (const wire::Error&) {
        return false; // a pattern that cannot be used matches nothing
    }
    if (!matched)
        ShowWarning(u"详细：运单编号\"%1\"不是本公司的单号！"_s.arg(code), u"单号错误"_s);
    return matched;
}
