#include "tests/demo/GeneratedRows.h"

#include <gtest/gtest.h>

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
