#include "fuzz/WritableTables.h"

using namespace Qt::Literals::StringLiterals;
using wire::Value;

namespace fuzz {
namespace {

std::vector<Value> Row(const company::Table& table, const std::vector<std::pair<QString, Value>>& values)
{
    std::vector<Value> row(table.columns.size());
    for (const auto& [name, value] : values)
        row[TableState{&table, {}}.IndexOf(name)] = value;
    return row;
}

} // namespace

const std::vector<TableState>& Pristine()
{
    static const std::vector<TableState> tables = [] {
        const company::Table& orders = *company::FindTable(u"tab_zelmor_bill");
        const company::Table& services = *company::FindTable(u"tab_zelmor_site");
        const wire::DateTime created = wire::DateTime::FromParts(2024, 3, 5, 8);
        const auto order = [&](const QString& number, const Value& status, const Value& candidates,
                               const Value& site) {
            return Row(orders,
                {{u"TX_LOGISTIC_ID"_s, number}, {u"STATUS"_s, status}, {u"PREPARE_SITE"_s, candidates},
                    {u"REC_SITE"_s, site}, {u"CREATE_DATE"_s, created}, {u"TOTAL_WEIGHT"_s, 1.5},
                    {u"NAME"_s, u"甲"_s}, {u"PIECE"_s, qint64(2)}, {u"CREATER_SITE"_s, u"合肥一部"_s}});
        };
        const auto service = [&](const QString& site, const QString& county, const QString& city) {
            return Row(services,
                {{u"SITE_NAME"_s, site}, {u"COUNTY_NAME"_s, county}, {u"CITY_NAME"_s, city},
                    {u"BL_REC"_s, qint64(1)}, {u"REC_START_TIME"_s, u"08:00:00"_s}});
        };
        return std::vector<TableState>{
            {&orders,
                {order(u"L001"_s, qint64(0), u";合肥一部;"_s, {}), order(u"L002"_s, {}, {}, {}),
                    order(u"L003"_s, qint64(1), {}, u"合肥一部"_s),
                    order(u"L004"_s, qint64(3), u";合肥二部;"_s, u"合肥二部"_s)}},
            {&services,
                {service(u"合肥一部"_s, u"蜀山区"_s, u"合肥市"_s),
                    service(u"合肥二部"_s, u"包河区"_s, u"合肥市"_s)}},
        };
    }();
    return tables;
}

const std::vector<QString>& CommandTexts()
{
    static const std::vector<QString> texts{
        u"select a.* from tab_zelmor_bill a"_s,
        u"select a.TX_LOGISTIC_ID, a.STATUS, a.REC_SITE, a.PREPARE_SITE, a.REMARK, a.TOTAL_WEIGHT, a.PIECE, "
        "a.CREATE_DATE from tab_zelmor_bill a"_s,
        u"select a.TX_LOGISTIC_ID, a.STATUS, a.NAME as REMARK, b.SITE_NAME, 1 as PIECE from tab_zelmor_bill "
        u"a, "
        "tab_site b where a.REC_SITE = b.SITE_NAME"_s,
        u"select * from tab_zelmor_site"_s,
        u"select SITE_NAME, CITY_NAME, COUNTY_NAME, BL_REC from tab_zelmor_site where BL_REC = 1"_s,
        u"select * from tab_site"_s,
        u"select count(*) from tab_zelmor_bill"_s,
    };
    return texts;
}

} // namespace fuzz
