#include "tests/orders/PickupDesk.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// What stands between the last pair of quotes.
QString LastQuoted(const QString& sqlText)
{
    const qsizetype end = sqlText.lastIndexOf(u'\'');
    return sqlText.mid(sqlText.lastIndexOf(u'\'', end - 1) + 1).chopped(sqlText.size() - end);
}

wire::RowSet OneColumn(bool found)
{
    return MakeTextRows(
        {u"BILL_CODE"_s}, found ? std::vector<QStringList>{{u"1"_s}} : std::vector<QStringList>{});
}

} // namespace

PickupDesk::PickupDesk()
{
    host.SetValue(u"MainBill"_s, u"^[0-9]{12}$"_s);
    SetLoginSite(u"网点"_s, 1, {}, u"上海财务中心"_s);
    const auto orderQueries = host.Server.OnQuery;
    host.Server.OnQuery = [this, orderQueries](const QString& sqlText) {
        if (!failing.isEmpty() && sqlText.contains(failing))
            throw wire::Error(wire::ErrorKind::Connection, u"与服务器的连接已中断"_s);
        if (sqlText.contains(u"from TAB_ZELMOR_BILL a where a.bill_code="_s))
            return OneColumn(usedNumbers.contains(LastQuoted(sqlText)));
        if (sqlText.contains(u"from tab_bill_del"_s))
            return OneColumn(disabledNumbers.contains(LastQuoted(sqlText)));
        if (sqlText.contains(u"TAB_BILL_PROVIDE"_s))
            return OneColumn(issued);
        if (sqlText.contains(u"from tab_favourable_bill"_s)) {
            std::vector<std::vector<wire::Value>> rows;
            if (const auto found = coupons.find(LastQuoted(sqlText)); found != coupons.end()) {
                const Coupon& coupon = found->second;
                rows.push_back({coupon.from, coupon.until, coupon.used, wire::TextValue(coupon.value)});
            }
            return MakeRows(
                {{.name = u"USE_START_DATE"_s, .type = wire::ColumnType::DateTime},
                    {.name = u"USE_END_DATE"_s, .type = wire::ColumnType::DateTime},
                    {.name = u"BL_USE"_s, .type = wire::ColumnType::Integer}, {.name = u"BILL_VALUE"_s}},
                rows);
        }
        return orderQueries(sqlText);
    };
}

void PickupDesk::SetLoginSite(
    const QString& type, int material, const QString& shared, const QString& financeCenter)
{
    TClientDataSetEx& site = host.DataSet(u"loginSite"_s);
    site.Close();
    site.OpenRows(MakeTextRows(
        {u"SITE_NAME"_s, u"TYPE"_s, u"BL_MATERIAL"_s, u"SITEMATERIAL"_s, u"SUPERIOR_FINANCE_CENTER"_s},
        {{u"浦东一部"_s, type, QString::number(material), shared, financeCenter}}));
}
