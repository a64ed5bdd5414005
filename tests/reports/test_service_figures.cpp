// The figures of the statistics on a database, against a count over the same orders by hand.

#include "reports/ServiceFigures.h"
#include "tests/server/AnyStorage.h"

using namespace Qt::Literals::StringLiterals;
using namespace server::testing;

namespace {

constexpr qint64 kCreated = 1'709'280'000; // 2024-03-01 08:00
constexpr int kNever = -1;

struct Order {
    QString site; // empty: none
    QString province, county;
    int status = 0;
    int acceptedAfter = kNever; // seconds
    int pickedUpAfter = kNever; // seconds after the acceptance
    bool cancelledBySomebody = false;
    bool hasDeliverySite = false;
    bool hasWaybill = false;
    bool distributed = true;
};

// Every status with times on both sides of the limits, half minutes and nothing.
std::vector<Order> Orders()
{
    const QString sites[] = {u"合肥一部"_s, u"撤销的网点"_s, {}};
    std::vector<Order> orders;
    unsigned n = 0;
    for (const int status : {-1, 0, 1, 2, 3, 4, 5, 6, 7, 10}) {
        for (const int accepted : {kNever, 29 * 60, 30 * 60, 30 * 60 + 29, 30 * 60 + 30, 31 * 60}) {
            for (const int pickedUp : {kNever, 120 * 60, 120 * 60 + 29, 120 * 60 + 30, 121 * 60}) {
                ++n;
                orders.push_back({.site = sites[n % 3],
                    .province = n % 2 ? u"安徽"_s : u"无此省"_s,
                    .county = n % 5 ? u"蜀山区"_s : QString(),
                    .status = status,
                    .acceptedAfter = accepted,
                    .pickedUpAfter = accepted == kNever ? kNever : pickedUp,
                    .cancelledBySomebody = n % 4 < 2,
                    .hasDeliverySite = n % 8 < 5,
                    .hasWaybill = n % 7 < 3,
                    .distributed = n % 11 != 0});
            }
        }
    }
    return orders;
}

int Minutes(int seconds)
{
    return (seconds + 30) / 60; // halves go up
}

using Figures = std::map<QString, qint64>; // by field, in lower case

void Count(const Order& order, Figures& figures)
{
    const auto count = [&](const QString& figure, bool holds) { figures[figure] += holds ? 1 : 0; };
    const auto in = [&](std::initializer_list<int> statuses) {
        return std::ranges::find(statuses, order.status) != statuses.end();
    };
    const bool accepted = in({1, 3, 4, 5, 6, 7}) && order.acceptedAfter != kNever;
    const bool pickedUp = in({3, 5, 6, 7}) && order.pickedUpAfter != kNever;
    const bool delivered = order.status == 6 && order.hasDeliverySite;
    count(u"mustrec_count"_s, true);
    count(u"accept_count"_s, accepted);
    count(u"accept_fail_count"_s, order.status == 2 && order.cancelledBySomebody);
    count(u"rec_count"_s, pickedUp);
    count(u"norec_count"_s, order.pickedUpAfter == kNever);
    count(u"noaccept_count"_s, order.acceptedAfter == kNever);
    count(u"rec_fail_count"_s, order.status == 4 && order.cancelledBySomebody);
    count(u"send_count"_s, delivered);
    count(u"nosend_count"_s, !delivered);
    count(u"outtimeaccept_count"_s, accepted && Minutes(order.acceptedAfter) > 30);
    count(u"outtimerec_count"_s, pickedUp && Minutes(order.pickedUpAfter) > 120);
    count(u"bill_count"_s, order.hasWaybill);
    count(u"nobill_count"_s, !order.hasWaybill);
}

class ServiceFigureCounts : public AnyStorageTest {
protected:
    ServiceFigureCounts()
        : client_((AddOrders(), LoggedIn()))
    {
    }

    void AddOrders()
    {
        Raw("update tab_site set AREA_NAME='华东区', PROVINCE='安徽' where SITE_CODE='S1'");
        Raw("insert into tab_province(PROVINCE_CODE, PROVINCE, AREA_NAME) values('34', '安徽', '华东区')");
        QStringList rows;
        QStringList waybills;
        for (const Order& order : orders_) {
            const QString number = QString::number(rows.size());
            const auto text = [](const QString& value) {
                return value.isEmpty() ? u"null"_s : u'\'' + value + u'\'';
            };
            const auto time = [this](bool happened, qint64 seconds) {
                return happened ? Time(QString::number(kCreated + seconds)) : u"null"_s;
            };
            rows << u"('N%1', %2, %3, %4, %5, %6, %7, %8, %9, 'B%1', "_s.arg(number, time(true, 0),
                        time(order.acceptedAfter != kNever, order.acceptedAfter),
                        time(order.pickedUpAfter != kNever, order.acceptedAfter + order.pickedUpAfter),
                        QString::number(order.status), order.distributed ? u"1"_s : u"0"_s, text(order.site),
                        text(order.province), text(order.county))
                    + text(order.cancelledBySomebody ? u"甲"_s : QString()) + u", "_s
                    + text(order.hasDeliverySite ? u"乙"_s : QString()) + u')';
            if (order.hasWaybill)
                waybills << u"('B%1')"_s.arg(number);
        }
        Raw(u"insert into tab_zelmor_bill(TX_LOGISTIC_ID, CREATE_DATE, ACCEPT_DATE, REC_DATE, STATUS, "
            "BL_DISPART, DUTY_SITE, PROV, COUNTY, BILL_CODE, CANCEL_SITE, SEND_SITE) values "_s
            + rows.join(u','));
        Raw(u"insert into tab_bill(BILL_CODE) values "_s + waybills.join(u','));
    }

    static Figures FiguresOf(const wire::RowSet& rows, qsizetype row)
    {
        Figures figures;
        for (size_t column = 0; column < rows.infos.size(); ++column) {
            if (rows.infos[column].name.endsWith(u"_count"_s, Qt::CaseInsensitive))
                figures[rows.infos[column].name.toLower()] =
                    wire::ToText(rows.columns[column].ValueAt(row)).toLongLong();
        }
        return figures;
    }
    static QString TextAt(const wire::RowSet& rows, qsizetype row, const QString& column)
    {
        return wire::ToText(rows.columns[static_cast<size_t>(rows.IndexOf(column))].ValueAt(row));
    }

    const std::vector<Order> orders_ = Orders();
    const TFiguresConditions conditions_ = FiguresConditions({
        .from = u"2024-03-01 08:00:00"_s,
        .to = u"2024-03-01 23:59:59"_s,
        .sites = u"((a.duty_site in ('合肥一部','撤销的网点')))"_s,
    });
    Client client_;
};

} // namespace

TEST_P(ServiceFigureCounts, OfSitesAreThoseCountedByHandAndTheOrdersBehindThem)
{
    std::map<QString, Figures> expected;
    for (const Order& order : orders_) {
        if (!order.site.isEmpty() && order.distributed)
            Count(order, expected[order.site]);
    }
    const wire::RowSet rows = client_.Query(SiteFiguresQuery(conditions_));
    ASSERT_EQ(rows.RowCount(), 2);
    for (qsizetype row = 0; row < 2; ++row) {
        const QString site = TextAt(rows, row, u"DUTY_SITE"_s);
        const Figures counted = FiguresOf(rows, row);
        EXPECT_EQ(counted, expected[site]) << site.toStdString();
        EXPECT_EQ(TextAt(rows, row, u"AREA_NAME"_s), site == u"合肥一部"_s ? u"华东区"_s : QString());
        for (const auto& [figure, count] : counted) {
            qint64 listed = count;
            if (figure == u"rec_fail_count"_s)
                listed = counted.at(u"accept_fail_count"_s);
            if (figure == u"nosend_count"_s) {
                listed = std::ranges::count_if(orders_, [&](const Order& order) {
                    return order.site == site && order.distributed && !order.hasDeliverySite;
                });
            }
            EXPECT_EQ(client_.Query(OrdersOfSiteQuery(conditions_, figure, site)).RowCount(), listed)
                << figure.toStdString();
        }
    }
}

TEST_P(ServiceFigureCounts, OfRegionsAreThoseOfOrdersWithoutASite)
{
    std::map<QString, Figures> expected;
    for (const Order& order : orders_) {
        if (order.site.isEmpty() && order.distributed)
            Count(order, expected[order.province + order.county]);
    }
    const wire::RowSet rows = client_.Query(RegionFiguresQuery(conditions_));
    ASSERT_EQ(rows.RowCount(), qsizetype(expected.size()));
    for (qsizetype row = 0; row < rows.RowCount(); ++row) {
        const QString province = TextAt(rows, row, u"PROVINCE"_s);
        const QString county = TextAt(rows, row, u"RANGE_NAME"_s);
        EXPECT_EQ(TextAt(rows, row, u"AREA_NAME"_s), province == u"安徽"_s ? u"华东区"_s : QString());
        for (const auto& [figure, count] : FiguresOf(rows, row))
            EXPECT_EQ(count, expected[province + county][figure]) << figure.toStdString();
        const qsizetype listed =
            client_.Query(OrdersOfRegionQuery(conditions_, u"mustrec_count"_s, province, county)).RowCount();
        EXPECT_EQ(listed, county.isEmpty() ? 0 : expected[province + county][u"mustrec_count"_s]);
    }
}

ZELMOR_FOR_EACH_STORAGE(ServiceFigureCounts);
