#include "tests/demo/Tables.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace {

const Table& Orders()
{
    return SmallTable(u"tab_zelmor_bill"_s);
}

// The sites of a ";"-enclosed list; empty when the text is no such list.
QStringList SitesOf(const QString& list)
{
    if (list.size() < 3 || !list.startsWith(u';') || !list.endsWith(u';') || list.contains(u";;"_s))
        return {};
    return list.mid(1, list.size() - 2).split(u';');
}

qint64 Midnight()
{
    return wire::DateTime::FromParts(2024, 1, 31).seconds;
}

// Where the address, cut at the keywords of town, road and house number, names a delivery area.
class AreaIndex {
public:
    AreaIndex()
    {
        ForEach(SmallTable(u"TAB_AREA_DETAIL"_s), [&](const Row& row) {
            areas_[row.Text(u"COUNTY")].push_back(
                {row.Text(u"PROVICE"), row.Text(u"CITY"), row.Text(u"TOWN"), row.Text(u"ROAD_NAME"),
                    row.Integer(u"STARTNO"), row.Integer(u"ENDNO"), row.Integer(u"BL_NO")});
        });
    }
    int Matches(const Row& order) const
    {
        static const QRegularExpression pattern(
            u"^(?<town>.*?[镇乡])?(?<road>.*?[路街])(?<number>[0-9]+)号"_s);
        const QRegularExpressionMatch parts = pattern.match(order.Text(u"SEND_ADDRESS"));
        const auto areas = areas_.find(order.Text(u"SEND_COUNTY"));
        if (!parts.hasMatch() || areas == areas_.end())
            return 0;
        const qint64 number = parts.captured(u"number"_s).toLongLong();
        int matches = 0;
        for (const Area& area : areas->second) {
            const bool region = order.Text(u"SEND_PROV").startsWith(area.province)
                && order.Text(u"SEND_CITY").startsWith(area.city);
            const bool street =
                area.town == parts.captured(u"town"_s) && area.road == parts.captured(u"road"_s);
            const bool house = number >= area.from && number <= area.to
                && (area.numbers == 0 || area.numbers == (number % 2 == 0 ? 2 : 1));
            matches += region && street && house ? 1 : 0;
        }
        return matches;
    }

private:
    struct Area {
        QString province, city, town, road;
        qint64 from, to, numbers;
    };
    std::map<QString, std::vector<Area>> areas_;
};

} // namespace

TEST(Orders, ComeInEveryStatusAndFromEverySource)
{
    const std::set<QString> statuses = Texts(Orders(), u"STATUS");
    for (const char* status : {"", "-1", "0", "1", "2", "3", "4", "5", "6", "7", "10", "11", "12"})
        EXPECT_EQ(statuses.count(QString::fromUtf8(status)), 1U) << status;
    const std::set<QString> sources = Texts(Orders(), u"LOGISTICPROVIDERID");
    for (const QString& source : {u""_s, u"泽摩"_s, u"芮讯下单"_s, u"洛维卡特"_s, u"运泊通"_s})
        EXPECT_EQ(sources.count(source), 1U) << qUtf8Printable(source);
}

TEST(Orders, TimesFollowTheStatus)
{
    ForEach(Orders(), [](const Row& row) {
        SCOPED_TRACE(qUtf8Printable(row.Text(u"TX_LOGISTIC_ID")));
        const qint64 status = row.Integer(u"STATUS");
        const qint64 created = row.Moment(u"CREATE_DATE");
        const qint64 accepted = row.Moment(u"ACCEPT_DATE");
        const qint64 pickedUp = row.Moment(u"REC_DATE");
        const qint64 delivered = row.Moment(u"SEND_DATE");
        EXPECT_GT(created, 0);
        if (accepted != 0) {
            EXPECT_GE(accepted, created);
        }
        if (pickedUp != 0) {
            EXPECT_GT(pickedUp, accepted);
        }
        if (delivered != 0) {
            EXPECT_GT(delivered, pickedUp);
        }
        EXPECT_EQ(delivered != 0, status == 6 || status == 7);
        EXPECT_EQ(pickedUp != 0, status >= 3 && status <= 7);
        EXPECT_EQ(row.Has(u"REC_MAN"), pickedUp != 0);
        if (pickedUp != 0) {
            EXPECT_TRUE(row.Has(u"BILL_CODE"));
        }
        if (status <= 0) {
            EXPECT_EQ(accepted, 0);
        }
        EXPECT_EQ(row.Has(u"REC_SITE"), accepted != 0);
        // Refused, cancelled and failed orders carry their reason, no other does.
        const bool given = status == -1 || status == 2 || status == 4;
        EXPECT_EQ(row.Integer(u"BL_CANCEL"), given ? 1 : 0);
        for (const QStringView column : {u"CANCEL_DESC", u"CANCEL_SITE", u"CANCEL_MAN", u"CANCEL_DATE"})
            EXPECT_EQ(row.Has(column), given) << qUtf8Printable(column.toString());
    });
}

TEST(Orders, CandidateListsAreWellFormed)
{
    const std::set<QString> sites = Texts(SmallTable(u"tab_site"_s), u"SITE_NAME");
    std::map<qsizetype, int> lengths;
    qsizetype longest = 0;
    ForEach(Orders(), [&](const Row& row) {
        const QString list = row.Text(u"PREPARE_SITE");
        const QStringList names = SitesOf(list);
        ASSERT_EQ(names.isEmpty(), list.isEmpty()) << qUtf8Printable(list);
        for (const QString& name : names)
            EXPECT_EQ(sites.count(name), 1U) << qUtf8Printable(name);
        EXPECT_EQ(std::set<QString>(names.begin(), names.end()).size(), static_cast<size_t>(names.size()));
        if (row.Has(u"REC_SITE")) {
            EXPECT_TRUE(names.contains(row.Text(u"REC_SITE"))) << qUtf8Printable(row.Text(u"TX_LOGISTIC_ID"));
        }
        ++lengths[names.size()];
        longest = std::max(longest, list.size());
    });
    EXPECT_GT(longest, 190);
    EXPECT_LE(longest, 200);
    for (const qsizetype count : {0, 1, 2, 3, 4})
        EXPECT_GT(lengths[count], 0) << count;
}

TEST(Orders, PeopleWorkAtTheSitesThatHandleTheOrder)
{
    std::set<QString> people;
    std::map<QString, QString> codes;
    ForEach(SmallTable(u"tab_employee"_s), [&](const Row& row) {
        people.insert(row.Text(u"OWNER_SITE") + u'/' + row.Text(u"EMPLOYEE_NAME"));
        codes[row.Text(u"EMPLOYEE_CODE")] = row.Text(u"EMPLOYEE_NAME");
    });
    struct Pair {
        QStringView site, man;
    };
    const Pair pairs[] = {{u"REC_SITE", u"REC_BILL_MAN"}, {u"REC_SITE", u"REC_MAN"},
        {u"CREATER_SITE", u"CREATER_MAN"}, {u"CANCEL_SITE", u"CANCEL_MAN"}, {u"MODIFY_SITE", u"MODIFIER"}};
    ForEach(Orders(), [&](const Row& row) {
        for (const Pair& pair : pairs) {
            if (row.Has(pair.man)) {
                EXPECT_EQ(people.count(row.Text(pair.site) + u'/' + row.Text(pair.man)), 1U)
                    << qUtf8Printable(row.Text(pair.site) + u'/' + row.Text(pair.man));
            }
        }
        if (row.Has(u"SEND_MAN")) {
            EXPECT_EQ(people.count(row.Text(u"SEND_SITE") + u'/' + row.Text(u"SEND_MAN")), 1U);
        }
        if (row.Has(u"MODIFY_CODE")) {
            EXPECT_EQ(codes[row.Text(u"MODIFY_CODE")], row.Text(u"MODIFIER"));
        }
    });
}

TEST(Orders, ManualNumbersCountFromOneOnEveryDay)
{
    std::map<QString, int> serials;
    ForEach(Orders(), [&](const Row& row) {
        const QString id = row.Text(u"TX_LOGISTIC_ID");
        const bool manual = row.Has(u"CREATER_SITE");
        EXPECT_EQ(id.startsWith(u'D'), manual);
        if (!manual)
            return;
        const QString day = wire::DateTime{row.Moment(u"CREATE_DATE")}.Format(u"yyyymmdd");
        EXPECT_EQ(id, u"D%1%2"_s.arg(day).arg(++serials[day], 6, 10, QLatin1Char('0')));
        EXPECT_FALSE(row.Has(u"ORDERSOURCE"));
    });
    EXPECT_GT(serials.size(), 10U);
}

TEST(Orders, LoginsFindWorkToday)
{
    std::map<QString, int> waiting;
    std::map<QString, int> accepted;
    int contested = 0;
    int undistributed = 0;
    ForEach(Orders(), [&](const Row& row) {
        if (row.Moment(u"CREATE_DATE") < Midnight() || row.Integer(u"BL_DISPART") != 1)
            return;
        const QStringList sites = SitesOf(row.Text(u"PREPARE_SITE"));
        if (row.Integer(u"STATUS") == 1)
            ++accepted[row.Text(u"REC_SITE")];
        if (row.Integer(u"STATUS") != 0)
            return;
        for (const QString& site : sites)
            ++waiting[site];
        contested += sites.contains(u"安徽合肥一部"_s) && sites.contains(u"安徽合肥二部"_s) ? 1 : 0;
        undistributed += sites.isEmpty() ? 1 : 0;
    });
    for (const QString& site : {u"安徽合肥一部"_s, u"安徽合肥二部"_s, u"安徽合肥三部"_s, u"安徽宣城同行"_s}) {
        EXPECT_GE(waiting[site], 40) << qUtf8Printable(site);
        EXPECT_GE(accepted[site], 60) << qUtf8Printable(site);
    }
    EXPECT_GE(waiting[u"快运本部"_s], 20) << "headquarters refuses only what is offered to it";
    EXPECT_GE(contested, 40);
    EXPECT_GE(undistributed, 10);
}

TEST(Orders, LoginsAreEmployeesOfTheirSites)
{
    std::map<QString, QString> sites;
    ForEach(SmallTable(u"tab_employee"_s),
        [&](const Row& row) { sites[row.Text(u"EMPLOYEE_CODE")] = row.Text(u"OWNER_SITE"); });
    std::set<QString> accounts;
    for (const demo::Login& login : demo::Logins()) {
        EXPECT_TRUE(accounts.insert(login.account).second);
        ASSERT_EQ(sites.count(login.employeeCode), 1U) << qUtf8Printable(login.account);
        EXPECT_TRUE(login.description.startsWith(sites[login.employeeCode]))
            << qUtf8Printable(login.description);
        EXPECT_EQ(login.rights.size(), 3);
    }
    EXPECT_EQ(demo::Logins().front().userType, u"2"_s);
    EXPECT_FALSE(demo::DemoPassword().isEmpty());
}

TEST(Orders, ItemsAddUpToTheOrder)
{
    std::map<QString, qint64> pieces;
    std::map<QString, int> lines;
    ForEach(SmallTable(u"TAB_ZELMOR_BILL_ITEMS"_s), [&](const Row& row) {
        pieces[row.Text(u"TX_LOGISTIC_ID")] += row.Integer(u"PIECE");
        ++lines[row.Text(u"TX_LOGISTIC_ID")];
    });
    EXPECT_EQ(pieces.size(), Orders().rows.size());
    ForEach(Orders(), [&](const Row& row) {
        const QString id = row.Text(u"TX_LOGISTIC_ID");
        EXPECT_EQ(row.Integer(u"PIECE"), pieces[id]) << qUtf8Printable(id);
        EXPECT_LE(lines[id], 4);
    });
}

TEST(Orders, MessagesBelongToOrdersAndSpeakTheirSourcesLanguage)
{
    struct Known {
        QString source, billCode;
        qint64 created;
    };
    std::map<QString, Known> orders;
    ForEach(Orders(), [&](const Row& row) {
        orders[row.Text(u"TX_LOGISTIC_ID")] = {
            row.Text(u"LOGISTICPROVIDERID"), row.Text(u"BILL_CODE"), row.Moment(u"CREATE_DATE")};
    });
    const Table& messages = SmallTable(u"tab_zelmor_instruction"_s);
    ForEach(messages, [&](const Row& row) {
        const auto order = orders.find(row.Text(u"TX_LOGISTIC_ID"));
        ASSERT_NE(order, orders.end());
        EXPECT_EQ(row.Text(u"INFO_CONTENT").startsWith(u"TMS_"_s), order->second.source == u"运泊通"_s);
        EXPECT_EQ(row.Text(u"BILL_CODE"), order->second.billCode);
        EXPECT_GE(row.Moment(u"CREATE_DATE"), order->second.created);
        EXPECT_EQ(row.Has(u"POST_TIME"), row.Integer(u"POST_FLAG") != 0);
    });
    const std::set<QString> codes = Texts(messages, u"INFO_CONTENT");
    for (const char* code :
        {"ACCEPT", "UNACCEPT", "GOT", "NOT_SEND", "SIGNED", "FAILED", "TMS_ACCEPT", "TMS_DELIVERING",
            "TMS_PAY", "TMS_SIGN", "TMS_FAILED", "TMS_ERROR", "TMS_STATION_IN", "TMS_STATION_OUT"})
        EXPECT_EQ(codes.count(QString::fromUtf8(code)), 1U) << code;
    EXPECT_EQ(Texts(messages, u"POST_FLAG").size(), 3U);
}

TEST(Orders, ManyConsigneesLiveInExactlyOneDeliveryArea)
{
    const AreaIndex areas;
    std::map<int, int> counts;
    ForEach(Orders(), [&](const Row& row) { ++counts[areas.Matches(row)]; });
    const auto all = static_cast<int>(Orders().rows.size());
    EXPECT_GT(counts[1], all * 2 / 5);
    EXPECT_GT(counts[0], all / 5); // not everybody writes an address that can be matched
    EXPECT_EQ(counts[0] + counts[1], all);
    EXPECT_EQ(Texts(SmallTable(u"TAB_AREA_DETAIL"_s), u"BL_NO").size(), 3U);
    EXPECT_GE(Texts(SmallTable(u"TAB_QRYKEY"_s), u"LEVELNO").size(), 4U);
}
