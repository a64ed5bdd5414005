#include "module/data/dm_GlobalData.h"

#include "module/data/HostBridge.h"

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
