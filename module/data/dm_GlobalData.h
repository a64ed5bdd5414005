#pragma once

#include "runtime/data/DataSource.h"
#include "runtime/data/SocketConnection.h"

#include <QObject>

// Pick lists for the screens without a query of their own. The shared lists
// are the host's datasets themselves and follow its changes; the copies are snapshots, taken at start-up and
// when another login takes the place of the one before.
class Tdm_GlobalData : public QObject {
    Q_OBJECT
public:
    explicit Tdm_GlobalData(QObject* owner = nullptr);

    // Takes the lists from the host. Raises wire::Error when the host lacks one; may be called again then.
    void DataModuleCreate();
    // The last call of it went through.
    bool Ready() const noexcept { return ready_; }

    // The host's own.
    QPointer<TClientDataSetEx> site; // the sites under the login site
    QPointer<TClientDataSetEx> employee; // the login site's employees
    QPointer<TClientDataSetEx> AllSite; // all sites
    QPointer<TClientDataSetEx> loginSiteOwner; // the sites under the login site
    TDataSource* ds_site;
    TDataSource* ds_employee;
    TDataSource* ds_AllSite;
    TDataSource* ds_loginSiteOwner;
    // Copies; the region lists twice, for two independent choices on one screen.
    TClientDataSetEx* cds_county_n;
    TDataSource* ds_county_n;
    TClientDataSetEx* cds_city_n;
    TDataSource* ds_city_n;
    TClientDataSetEx* cds_province_new;
    TDataSource* ds_province_new;
    TClientDataSetEx* cds_province_n1;
    TDataSource* ds_province_n1;
    TClientDataSetEx* cds_county_n1;
    TDataSource* ds_county_n1;
    TClientDataSetEx* cds_city_n1;
    TDataSource* ds_city_n1;
    TClientDataSetEx* cdsloginSiteEmployeeOwnerAll; // stays closed: its source shows the host's dataset
    TDataSource* ds_loginSiteEmployeeOwnerAll;
    TClientDataSetEx* cdsownerCustomer;
    TDataSource* ds_ownerCustomer;

    QPointer<TSocketConnectionEx> QueryConnection; // the host's second connection

private:
    bool ready_ = false;
};

extern Tdm_GlobalData* dm_GlobalData;
