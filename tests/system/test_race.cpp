// Two desks take the same orders at the same moment, over and over.

#include "tests/support/ServerProcess.h"
#include "tests/system/Desk.h"

#include <gtest/gtest.h>

#include <barrier>
#include <map>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRaces = 1'000;

enum class Result { Won, Lost, Failed };

// Accepts one order after another, each at the moment in which the other desk does.
void AcceptAll(int port, const QString& account, const QStringList& numbers, std::barrier<>& start,
    std::vector<Result>& results)
{
    Desk desk(port, account);
    const QString site = desk.connection.Identity().site;
    for (const QString& number : numbers) {
        desk.Open(u"select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID='%1'"_s.arg(number));
        desk.orders.Edit();
        desk.orders.FieldByName(u"STATUS").SetAsInteger(1);
        desk.orders.FieldByName(u"REC_SITE").SetAsString(site);
        desk.orders.FieldByName(u"DUTY_SITE").SetAsString(site);
        desk.orders.FieldByName(u"REC_BILL_MAN").SetAsString(desk.connection.Identity().employeeName);
        desk.orders.FieldByName(u"ACCEPT_DATE").SetAsDateTime(desk.connection.ServerTime());
        desk.orders.Post();
        start.arrive_and_wait();
        try {
            desk.orders.ApplyUpdates(-1);
            results.push_back(Result::Won);
        } catch (const wire::Error& error) {
            // The loser keeps its row, with the reason and what the winner made of the order.
            const bool told = error.Kind() == wire::ErrorKind::Conflict && desk.orders.ChangeCount() == 1
                && desk.orders.WasRejected() && !desk.orders.RejectReason().isEmpty();
            results.push_back(told ? Result::Lost : Result::Failed);
        }
        start.arrive_and_wait();
    }
}

} // namespace

TEST(Race, ExactlyOneDeskGetsEachOrder)
{
    const QTemporaryDir folder;
    const ServerProcess server(folder.path(), {u"--demo"_s, u"small"_s});
    const QString first = DemoAccountOf(u"安徽合肥一部"_s);
    const QString second = DemoAccountOf(u"安徽合肥二部"_s);

    QStringList numbers;
    for (const QStringList& row :
        AskDatabase(folder.path(),
            u"select a.TX_LOGISTIC_ID from tab_zelmor_bill a where nvl(a.status, 0)=0 and a.REC_SITE is null "
            "and rownum<=%1"_s.arg(kRaces))) {
        numbers.append(row[0]);
    }
    ASSERT_FALSE(numbers.isEmpty());
    // The headquarters offers the orders to both, and offers them again when they have been taken.
    const auto offer = [&](const QStringList& orders) {
        Desk desk(server.Port(), DemoAccountOf(u"本部"_s));
        desk.Open(u"select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID in ('%1')"_s.arg(
            orders.join(u"','"_s)));
        for (; !desk.orders.Eof(); desk.orders.Next()) {
            desk.orders.Edit();
            for (const char16_t* field : {u"REC_SITE", u"DUTY_SITE", u"REC_BILL_MAN", u"ACCEPT_DATE"})
                desk.orders.FieldByName(QStringView(field)).Clear();
            desk.orders.FieldByName(u"STATUS").SetAsInteger(0);
            desk.orders.FieldByName(u"PREPARE_SITE").SetAsString(u";安徽合肥一部;安徽合肥二部;"_s);
            desk.orders.Post();
        }
        desk.orders.ApplyUpdates(-1);
    };
    offer(numbers);
    // Orders run out before the races do: those taken go back to waiting and are raced for again.
    std::map<QString, int> wins;
    int races = 0;
    while (races < kRaces) {
        const QStringList round = numbers.mid(0, kRaces - races);
        std::barrier start(2);
        std::vector<Result> results[2];
        {
            const DeskThread one([&] { AcceptAll(server.Port(), first, round, start, results[0]); });
            const DeskThread two([&] { AcceptAll(server.Port(), second, round, start, results[1]); });
        }
        ASSERT_EQ(results[0].size(), size_t(round.size()));
        ASSERT_EQ(results[1].size(), size_t(round.size()));
        std::map<QString, QString> taken;
        for (const QStringList& row :
            AskDatabase(folder.path(),
                u"select a.TX_LOGISTIC_ID, a.REC_SITE from tab_zelmor_bill a where a.REC_SITE is not null"_s)) {
            taken[row[0]] = row[1];
        }
        for (qsizetype i = 0; i < round.size(); ++i) {
            const bool firstWon = results[0][i] == Result::Won;
            ASSERT_EQ(results[1][i], firstWon ? Result::Lost : Result::Won) << qUtf8Printable(round[i]);
            ASSERT_TRUE(firstWon || results[0][i] == Result::Lost);
            ASSERT_EQ(taken[round[i]], firstWon ? u"安徽合肥一部"_s : u"安徽合肥二部"_s);
            ++wins[round[i]];
        }
        races += int(round.size());
        offer(round);
    }
    // One audit entry for each order won, and none for those lost: nothing lost, nothing doubled.
    std::map<QString, int> audited;
    for (const QStringList& row : AskDatabase(folder.path(),
             u"select ROW_KEY, count(*) from zelmor_audit where FIELDS like '%\"STATUS\":[0,1]%' or FIELDS "
             u"like "
             "'%\"STATUS\":[null,1]%' group by ROW_KEY"_s)) {
        audited[row[0]] = row[1].toInt();
    }
    EXPECT_EQ(audited, wins);
}
