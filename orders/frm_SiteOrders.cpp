#include "orders/frm_SiteOrders.h"

#include "module/data/HostBridge.h"

using namespace Qt::Literals::StringLiterals;

Tfrm_SiteOrders::Tfrm_SiteOrders(QObject* owner)
    : Tfrm_BasicBoot(owner)
    , cds(new TClientDataSetEx(this, u"cds"_s))
    , cdsms(new TClientDataSetEx(this, u"cdsms"_s))
    , cdsDestination(new TClientDataSetEx(this, u"cdsDestination"_s))
    , cdsErr(new TClientDataSetEx(this, u"cdsErr"_s))
    , dsDestination(new TDataSource(this, u"dsDestination"_s))
    , items_(new TOrderItems(this, cds, cdsms))
    , clerk_{GlobalValue(u"site"_s), GlobalValue(u"employeeName"_s)}
{
    for (TClientDataSetEx* orders : {cds, cdsErr})
        orders->SetCommandText(u"select * from tab_zelmor_bill where 1=0"_s);
    cds->BeforePost = [this] { cdsBeforePost(); };
    dsDestination->SetDataSet(cdsDestination);
}

bool Tfrm_SiteOrders::HasOrders() const
{
    return cds->Active() && !cds->IsEmpty();
}

QAction* Tfrm_SiteOrders::NewBatchAction(const QString& name, const QString& caption)
{
    auto* action = new QAction(caption, this);
    action->setObjectName(name);
    const auto update = [this, action] { action->setEnabled(HasOrders()); };
    connect(cds, &TClientDataSetEx::DataReset, this, update);
    update();
    return action;
}
