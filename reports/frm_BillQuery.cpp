#include "reports/frm_BillQuery.h"

#include "company/Headquarters.h"
#include "module/data/DataSetRows.h"
#include "module/data/HostBridge.h"
#include "module/data/ServerLink.h"
#include "orders/record/LoginSite.h"
#include "orders/record/OrderStamps.h"
#include "reports/OrderQueryColumns.h"
#include "reports/OrderQueryCriteria.h"

using namespace Qt::Literals::StringLiterals;

Tfrm_BillQuery::Tfrm_BillQuery(QObject* owner)
    : Tfrm_OrderSearch(owner,
        {.windowTitle = u"查询时间范围(31天以内)"_s,
            .criteria = OrderQueryCriteria(),
            .columns = OrderQueryColumns()})
    , cdscheck(new TClientDataSetEx(this, u"cdscheck"_s))
{
}

void Tfrm_BillQuery::FormCreate()
{
    Tfrm_OrderSearch::FormCreate();
    const TClientDataSetEx& loginSite = GlobalCds(u"loginsite"_s);
    Panel2->Box(kWithSubtree)->setEnabled(TextOf(loginSite, u"TYPE").contains(company::kCentreType));
    Panel2->SetText(u"PREPARE_SITE", LoginSite());
    areaName_ = TextOf(loginSite, u"AREA_NAME");
}

QString Tfrm_BillQuery::NumbersQuery(const QString& numbers) const
{
    return Panel2->ByOrderNumber() ? OrdersByNumber(numbers, u"CREATE_DATE"_s)
                                   : OrdersByWaybill(numbers, u"CREATE_DATE"_s);
}

void Tfrm_BillQuery::CompleteCriteria(TOrderCriteria& criteria)
{
    OpenQuery(*cdscheck, SubtreeQuery(criteria.Text(u"PREPARE_SITE").trimmed()));
    criteria.Set(kSubtreePatterns, SubtreePatterns(ColumnTexts(*cdscheck, u"SITE_NAME")));
    criteria.Set(kAreaName, areaName_);
}

// The goods are read again, whatever became of the search.
void Tfrm_BillQuery::SearchRefused()
{
    items_->Load();
}
