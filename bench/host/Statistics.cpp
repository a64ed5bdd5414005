#include "bench/host/Statistics.h"

#include <QDir>

using namespace Qt::Literals::StringLiterals;

HandWrittenStatistics::HandWrittenStatistics(const QString& dataDir)
    : floor_(QDir(dataDir).filePath(u"zelmor.db"_s))
{
}

void HandWrittenStatistics::Run(const wire::DateTime& from, const wire::DateTime& to)
{
    rows_ = floor_.ReadEveryCell(
        u"select d.*, c.AREA_NAME, c.RANGE_NAME, c.PROVINCE, c.CITY, p.AREA_NAME from (select a.DUTY_SITE, "
        "case when a.DUTY_SITE is null then a.PROV end as region, case when a.DUTY_SITE is null then a.CITY "
        "end, case when a.DUTY_SITE is null then a.COUNTY end, count(*), sum(a.STATUS in (1,3,4,5,6,7) and "
        "a.ACCEPT_DATE is not null), sum(a.STATUS=2 and a.CANCEL_SITE is not null), sum(a.STATUS in "
        "(3,5,6,7) and a.REC_DATE is not null), sum(a.REC_DATE is null), sum(a.ACCEPT_DATE is null), "
        "sum(a.STATUS=4 and a.CANCEL_SITE is not null), sum(a.STATUS=6 and a.SEND_SITE is not null), "
        "sum(a.STATUS in (1,3,4,5,6,7) and a.ACCEPT_DATE-a.CREATE_DATE>=1830), sum(a.STATUS in (3,5,6,7) "
        "and a.REC_DATE-a.ACCEPT_DATE>=7230), count(b.BILL_CODE) from tab_zelmor_bill a left join tab_bill "
        "b on b.BILL_CODE=a.BILL_CODE where a.CREATE_DATE between %1 and %2 and a.BL_DISPART=1 group by "
        "1,2,3,4) d left join tab_site c on c.SITE_NAME=d.DUTY_SITE left join tab_province p on "
        "p.PROVINCE=d.region"_s.arg(from.seconds)
            .arg(to.seconds));
}
