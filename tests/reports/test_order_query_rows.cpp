// What the query texts find in a small company's database.

#include "module/data/PastedNumbers.h"
#include "orders/FilterBoxes.h"
#include "orders/TrailQuery.h"
#include "reports/OrderQueryCriteria.h"
#include "tests/server/ServerFixture.h"

namespace {

using namespace Qt::Literals::StringLiterals;

class OrderRows : public server::testing::ServerTest {
protected:
    OrderRows()
        : client_((AddCompany(), LoggedIn()))
    {
    }

    void AddCompany()
    {
        // 2024-03-01 08:00 is 1709280000.
        Raw("insert into tab_site(SITE_CODE, SITE_NAME, SUPERIOR_SITE) values('C', '安徽中心', '快运本部'),"
            " ('S3', '黄山一部', '安徽中心'), ('S4', '黄山一部服务点', '黄山一部'),"
            " ('H', '快运本部', null)");
        Raw("update tab_site set SUPERIOR_SITE='安徽中心' where SITE_CODE='S1'");
        Raw("insert into tab_province(PROVINCE_CODE, PROVINCE, AREA_NAME) values('34', '安徽', '华东区'),"
            " ('33', '浙江', '华东区'), ('44', '广东', '华南区')");
        Raw("insert into tab_zelmor_bill(TX_LOGISTIC_ID, CREATE_DATE, REC_DATE, BL_DISPART, STATUS, "
            "BL_CANCEL,"
            " LOGISTICPROVIDERID, PREPARE_SITE, PROV, SEND_SITE, CANCEL_SITE, BILL_CODE, ADDRESS, NAME) "
            "values"
            "('L1', 1709280000, null, 1, 0, 0, '洛维卡特', ';合肥一部;', '安徽', null, null, null, "
            "'长江路1号', '甲'),"
            "('L2', 1709280001, 1709290000, 1, 3, 0, '洛维卡特', ';黄山一部服务点;', '安徽', '杭州一部', "
            "null,"
            " 'B2', '黄山路2号', '乙'),"
            "('L3', 1709280002, null, 1, 4, 1, '洛维卡特', ';广州一部;', '浙江', null, '合肥一部', null, "
            "null, '丙'),"
            "('L4', 1709280003, null, 1, 0, 0, '洛维卡特', ';广州一部;', '广东', null, null, null, null, "
            "'丁'),"
            "('L5', 1709280004, null, 0, 0, 0, '洛维卡特', ';合肥一部;', '安徽', null, null, null, null, "
            "'戊'),"
            "('Z1', 1709280005, null, 1, -1, 0, '泽摩', ';合肥一部;', '安徽', null, null, 'B7', null, '己'),"
            "('Y1', 1709280006, null, 1, 0, 0, '运泊通', ';合肥一部;', '安徽', null, null, null, null, "
            "'庚')");
        Raw("insert into tab_zelmor_instruction(INSTRUCTION_ID, TX_LOGISTIC_ID, BILL_CODE, INFO_CONTENT, "
            "CREATE_DATE,"
            " POST_FLAG) values(1, 'Z1', 'B7', 'SIGNED', 200, 0), (2, 'Z1', 'B7', 'GOT', 100, 1),"
            " (3, 'Z1', 'B7', 'HELD', 300, -1), (4, 'Z1', 'B8', 'FAILED', 50, 1)");
    }

    static TOrderCriteria Day()
    {
        TOrderCriteria day{.from = u"2024-03-01 08:00:00"_s, .to = u"2024-03-01 23:59:59"_s};
        day.Set(u"LOGISTICPROVIDERID", u"洛维卡特"_s);
        return day;
    }
    QStringList Texts(const QString& sql, const QString& column)
    {
        const wire::RowSet rows = client_.Query(sql);
        const int position = rows.IndexOf(column);
        EXPECT_GE(position, 0) << sql.toStdString();
        QStringList texts;
        for (qsizetype row = 0; position >= 0 && row < rows.RowCount(); ++row)
            texts += wire::ToText(rows.columns[static_cast<size_t>(position)].ValueAt(row));
        return texts;
    }
    QStringList Found(const TOrderCriteria& criteria)
    {
        return Texts(OrderSearchQuery(OrderQueryCriteria(), criteria), u"TX_LOGISTIC_ID"_s);
    }

    server::testing::Client client_;
};

} // namespace

TEST_F(OrderRows, TheWindowTheSourceAndTheFiltersDecide)
{
    TOrderCriteria criteria = Day();
    EXPECT_EQ(Found(criteria), QStringList({u"L4"_s, u"L3"_s, u"L2"_s, u"L1"_s})) << "L5 is not distributed";
    criteria.Set(u"LOGISTICPROVIDERID", u"泽摩"_s);
    const QStringList others = Found(criteria);
    EXPECT_EQ(others, QStringList({u"Y1"_s, u"Z1"_s}));
    criteria.Set(u"LOGISTICPROVIDERID", u"运泊通"_s);
    EXPECT_EQ(Found(criteria), others) << "both other sources, whichever is named";
    criteria.Set(u"STATUS", u"-1"_s);
    EXPECT_EQ(Found(criteria), QStringList({u"Z1"_s}));

    criteria = Day();
    criteria.byPickupTime = true;
    EXPECT_EQ(Found(criteria), QStringList({u"L2"_s}));
    criteria = Day();
    criteria.Set(u"SEND_SITE", u"杭州一部"_s);
    EXPECT_EQ(Found(criteria), QStringList({u"L2"_s}));
    criteria = Day();
    criteria.Set(u"BL_CANCEL", u"1"_s);
    EXPECT_EQ(Found(criteria), QStringList({u"L3"_s}));
    criteria = Day();
    criteria.Set(u"ADDRESS", u"江路"_s);
    EXPECT_EQ(Found(criteria), QStringList({u"L1"_s}));
    criteria.from = u"2024-03-01 08:00:01"_s;
    EXPECT_TRUE(Found(criteria).isEmpty());
}

TEST_F(OrderRows, ACentreSeesItsSubtreeAndItsArea)
{
    const QStringList sites = Texts(SubtreeQuery(u"安徽中心"_s), u"SITE_NAME"_s);
    EXPECT_EQ(sites.first(), u"安徽中心"_s);
    EXPECT_EQ(QSet<QString>(sites.begin(), sites.end()),
        QSet<QString>({u"安徽中心"_s, u"合肥一部"_s, u"黄山一部"_s, u"黄山一部服务点"_s}));
    EXPECT_TRUE(Texts(SubtreeQuery(u"无此网点"_s), u"SITE_NAME"_s).isEmpty());

    TOrderCriteria criteria = Day();
    criteria.Set(u"PREPARE_SITE", u"安徽中心"_s);
    EXPECT_TRUE(Found(criteria).isEmpty()) << "nothing is offered to the centre itself";
    criteria.Set(kWithSubtree, u"1"_s);
    criteria.Set(kSubtreePatterns, SubtreePatterns(sites));
    EXPECT_EQ(Found(criteria), QStringList({u"L2"_s, u"L1"_s}));
    criteria.Set(kAreaName, u"华东区"_s);
    EXPECT_EQ(Found(criteria), QStringList({u"L3"_s, u"L2"_s, u"L1"_s}));
}

TEST_F(OrderRows, ASubtreeMayHoldThousandsOfSites)
{
    QStringList sites{u"合肥一部"_s};
    for (int i = 0; i < 3000; ++i)
        sites += u"网点%1"_s.arg(i);
    TOrderCriteria criteria = Day();
    criteria.Set(u"PREPARE_SITE", sites.first());
    criteria.Set(kWithSubtree, u"1"_s);
    criteria.Set(kSubtreePatterns, SubtreePatterns(sites));
    EXPECT_EQ(Found(criteria), QStringList({u"L1"_s}));
}

TEST_F(OrderRows, NumbersFindDistributedOrdersOnly)
{
    const auto list = [](const QString& text) {
        return ParsePastedNumbers(text, {.maxLines = 999, .trimmed = false, .lastFirst = true}).list;
    };
    EXPECT_EQ(Texts(OrdersByNumber(list(u"L1\nL5\n\nZ1\n L2"_s), u"CREATE_DATE"_s), u"TX_LOGISTIC_ID"_s),
        QStringList({u"Z1"_s, u"L1"_s}));
    EXPECT_EQ(Texts(OrdersByWaybill(list(u"B2\r\nB7"_s), u"CREATE_DATE"_s), u"TX_LOGISTIC_ID"_s),
        QStringList({u"Z1"_s, u"L2"_s}));
}

TEST_F(OrderRows, TheTrailIsReadInWordsOldestFirst)
{
    EXPECT_EQ(Texts(TrailQuery(u"泽摩"_s, u"Z1"_s, u"B7"_s), u"INFOS"_s),
        QStringList({u"揽收成功"_s, u"签收成功（派件成功）"_s, u"HELD"_s}));
    EXPECT_TRUE(Texts(TrailQuery(u"泽摩"_s, u"Z1"_s, {}), u"INFOS"_s).isEmpty());
}

TEST_F(OrderRows, EveryProvinceOnce)
{
    QStringList provinces = Texts(OrderProvincesQuery(), u"PROV"_s);
    provinces.removeAll(QString()); // orders of the fixture have none
    provinces.sort();
    QStringList expected{u"安徽"_s, u"浙江"_s, u"广东"_s};
    expected.sort();
    EXPECT_EQ(provinces, expected);
}
