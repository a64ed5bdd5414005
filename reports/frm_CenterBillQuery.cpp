#include "reports/frm_CenterBillQuery.h"

#include "company/Headquarters.h"
#include "company/OrderStatus.h"
#include "module/data/HostBridge.h"
#include "orders/record/LoginSite.h"
#include "orders/record/OrderStamps.h"
#include "reports/CentreQuery.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// The sites that an ordinary site cannot choose.
constexpr QStringView kOwnSites[] = {u"PREPARE_SITE", u"REC_SITE"};

constexpr TSearchColumn kColumns[] = {
    {.use = {.field = u"ONLINE_PRICE1", .summed = true, .nullText = u"0"}},
    {.use = {.field = u"SIGN_STATUS"}},
    {.use = {.field = u"BL_ORDER_STATUS1"}},
    {.use = {.field = u"WEIGHT_RATE"}},
};

} // namespace

Tfrm_CenterBillQuery::Tfrm_CenterBillQuery(QObject* owner)
    : Tfrm_OrderSearch(owner,
        {.windowTitle = u"揽件时间范围(31天以内)"_s,
            .criteria = CentreQueryCriteria(),
            .columns = OrderSearchColumns(kColumns, company::StatusUse::Centre),
            .selected = CentreQueryColumns(),
            .showsTrail = false})
{
}

void Tfrm_CenterBillQuery::CreateControls()
{
    Tfrm_OrderSearch::CreateControls();
    DBComboBoxEh1 = qobject_cast<TDBComboBoxEh*>(Panel2->Box(u"STATUS"));
    ComboBox1 = qobject_cast<TDBComboBoxEh*>(Panel2->Box(kStatusMember));
    DBComboBoxEh1->OnChange = [this] { DBComboBoxEh1Change(); };
}

void Tfrm_CenterBillQuery::FormCreate()
{
    Tfrm_OrderSearch::FormCreate();
    const QString site = LoginSite();
    if (IsAtHeadquarters() || site.contains(company::kCentreType))
        return;
    for (const QStringView column : kOwnSites) {
        Panel2->SetText(column, site);
        Panel2->Box(column)->setEnabled(false);
        Panel2->Box(column)->setToolTip(u"只能查本网点的订单"_s);
    }
}

void Tfrm_CenterBillQuery::DBComboBoxEh1Change()
{
    ComboBox1->setCurrentIndex(0);
    const int group = DBComboBoxEh1->Value().toInt();
    ComboBox1->setEnabled(group != company::kStatusCancelled && group != company::kStatusPickupFailed);
}

void Tfrm_CenterBillQuery::CompleteCriteria(TOrderCriteria& criteria)
{
    if (!Panel2->Box(u"REC_SITE")->isEnabled() || !Panel2->Box(u"PREPARE_SITE")->isEnabled())
        criteria.Set(kLockedSites, u"1"_s);
}

// By number, who is a centre is told by the site's type, not by its name.
QString Tfrm_CenterBillQuery::NumbersQuery(const QString& numbers) const
{
    const bool centre = TextOf(GlobalCds(u"loginSite"_s), u"TYPE").contains(company::kCentreType);
    const QString offeredTo = centre ? QString() : LoginSite();
    return Panel2->ByOrderNumber() ? CentreOrdersByNumber(numbers, offeredTo)
                                   : CentreOrdersByWaybill(numbers, offeredTo);
}
