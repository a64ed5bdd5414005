#include "orders/frm_SiteOrders.h"

#include "module/data/DateRange.h"
#include "module/data/HostBridge.h"
#include "module/data/ServerLink.h"
#include "orders/Destinations.h"
#include "orders/RefusedOrders.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMaxDays = 30;

} // namespace

Tfrm_SiteOrders::Tfrm_SiteOrders(QObject* owner)
    : Tfrm_OrderList(owner)
    , cdsDestination(new TClientDataSetEx(this, u"cdsDestination"_s))
    , cdsErr(new TClientDataSetEx(this, u"cdsErr"_s))
    , dsDestination(new TDataSource(this, u"dsDestination"_s))
    , clerk_{GlobalValue(u"site"_s), GlobalValue(u"employeeName"_s)}
{
    cdsErr->SetCommandText(u"select * from tab_zelmor_bill where 1=0"_s);
    cds->BeforePost = [this] { cdsBeforePost(); };
    dsDestination->SetDataSet(cdsDestination);
}

void Tfrm_SiteOrders::FirstLoad()
{
    OpenQuery(*cdsDestination, DestinationSitesQuery());
}

void Tfrm_SiteOrders::FormShow()
{
    Setup(DataView1, cds, Button1, Button4);
}

bool Tfrm_SiteOrders::RangeIsGood() const
{
    return !CheckDateRange(DBDateTimeEditEh1->Text(), DBDateTimeEditEh2->Text(), kMaxDays, true);
}

bool Tfrm_SiteOrders::SaveOrdersOrList(const QString& failureText)
{
    TSave save{.after = TAfterSave::ReloadTold};
    save.tellRejected = [&] { ListRefusedOrders(*cds, *cdsErr, Caption(), failureText); };
    const TSaveOutcome outcome = SaveOrders(save);
    return outcome == TSaveOutcome::Saved || outcome == TSaveOutcome::Rejected;
}
