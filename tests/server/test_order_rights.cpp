// What each role may write into orders, in which status.

#include "tests/server/PolicyFixture.h"

namespace server::testing {
namespace {

using wire::ErrorKind;

// Edits name who sends them: {site}, {man} and {code}.
QString As(const wire::Identity& who, const std::string& edits)
{
    return QString::fromStdString(edits)
        .replace(u"{site}"_s, who.site)
        .replace(u"{man}"_s, who.employeeName)
        .replace(u"{code}"_s, who.employeeCode);
}

// Who may make a change: H the headquarters, C the centre, B a branch under it.
struct OrderCase {
    const char* what;
    std::string order;
    std::string edits;
    const char* allowed;
};

const std::string kOffered = "STATUS=0, PREPARE_SITE=;合肥一部;"; // to the branch
const std::string kElsewhere = "STATUS=0, PREPARE_SITE=;上海一部;";
const std::string kTaken = "STATUS=1, REC_SITE=合肥一部"; // by the branch
const std::string kCollected = "STATUS=3, REC_SITE=合肥一部, REC_MAN=王";
const std::string kFailed = "STATUS=4, REC_SITE=合肥一部, BL_CANCEL=1";
const std::string kRefused = "STATUS=2, PREPARE_SITE=;上海一部;";
const std::string kAccept = "STATUS=1, REC_SITE=合肥一部, DUTY_SITE=合肥一部, REC_BILL_MAN={man}, "
                            "ACCEPT_DATE=2024-03-01 08:00:00, MODIFY_SITE={site}";
const std::string kEntrust = "PREPARE_SITE=;合肥一部;, BL_DEPUTE=1, MODIFIER={man}";
const std::string kDriver = "STATUS=10, REC_BILL_MAN=司机, ACCEPT_DATE=2024-03-01 08:00:00, BL_DEPUTE=1, ";
const std::string kDriverTakes =
    "STATUS=1, REC_SITE=上海一部, PREPARE_SITE=;上海一部;, REC_BILL_MAN=司机, REC_BILL_CODE=E9, "
    "ACCEPT_DATE=2024-03-01 08:00:00, ";
const std::string kPickUp = "STATUS=3, BILL_CODE=1, REC_MAN={man}, REC_DATE=2024-03-01 08:00:00";
const std::string kCancelled = "CANCEL_DESC=其它错误, CANCEL_SITE={site}, CANCEL_MAN={man}";
const std::string kCancel = "STATUS=-1, " + kCancelled;
const std::string kRevoke = "STATUS=4, BL_CANCEL=1, CANCEL_DATE=2024-03-01 08:00:00, MODIFIER={man}, "
                            "MODIFY_CODE={code}, MODIFY_SITE={site}, "
    + kCancelled;

std::string Without(const std::string& edits, const QString& column)
{
    QStringList kept = QString::fromStdString(edits).split(u", "_s);
    kept.removeIf([&](const QString& edit) { return edit.section(u'=', 0, 0) == column; });
    return kept.join(u", "_s).toStdString();
}

const std::vector<OrderCase>& OrderCases()
{
    static const std::vector<OrderCase> cases{
        // Acceptance and transfer
        {"accept what is offered here", kOffered, kAccept, "HCB"},
        {"accept one of several", "PREPARE_SITE=;上海一部;合肥一部;", kAccept, "HCB"},
        {"accept what is offered elsewhere", kElsewhere, kAccept, "H"},
        {"accept what is offered to a namesake", "STATUS=0, PREPARE_SITE=;上海合肥一部;合肥;", kAccept, "H"},
        {"take what another candidate accepted",
            "STATUS=1, PREPARE_SITE=;合肥一部;上海一部;, REC_SITE=上海一部",
            "REC_SITE=合肥一部, REC_BILL_MAN={man}, ACCEPT_DATE=2024-03-01 08:00:00", "H"},
        {"accept in another's name", kOffered, Without(kAccept, u"REC_SITE"_s) + ", REC_SITE=上海一部", "H"},
        {"transfer", kOffered, "PREPARE_SITE=;上海一部;", "HCB"},
        {"undo an acceptance", kTaken + ", PREPARE_SITE=;合肥一部;, DUTY_SITE=合肥一部",
            "STATUS=0, REC_SITE=, DUTY_SITE=", "HCB"},
        // Pickup and its correction
        {"pickup", kTaken + ", PREPARE_SITE=;上海一部;", kPickUp, "HCB"},
        {"pickup of a site below", "STATUS=3, REC_SITE=合肥一部分点", "BILL_CODE=1", "HCB"},
        {"pickup of the site above", "STATUS=3, REC_SITE=合肥中心", "BILL_CODE=1", "HC"},
        {"pickup of a sibling", "STATUS=3, REC_SITE=合肥二部", "BILL_CODE=1", "HC"},
        {"pickup of a stranger", "STATUS=3, REC_SITE=上海一部", "BILL_CODE=1", "H"},
        // Distribution
        {"distribute", "STATUS=0, BL_DISPART=1", "PREPARE_SITE=;上海一部;, SEND_SITE=上海一部", "HC"},
        {"nobody's order, no longer waiting", "STATUS=5", "STATUS=6", "H"},
        // Dispatch
        {"offer what was entered here", "STATUS=0, CREATER_SITE=合肥一部",
            "PREPARE_SITE=;上海一部;, STATUS=1", "HCB"},
        {"dispatch anew what was entered here",
            "STATUS=11, CREATER_SITE=合肥一部, PREPARE_SITE=;上海一部;, REC_SITE=上海一部, REC_BILL_MAN=王",
            kDriver + "REC_SITE=合肥二部, PREPARE_SITE=;合肥二部;", "HCB"},
        {"dispatch to a site that it is not offered to", "STATUS=0, CREATER_SITE=合肥一部",
            kDriver + "REC_SITE=上海一部, PREPARE_SITE=;合肥一部;", "H"},
        {"cancel what was entered elsewhere", kElsewhere + ", CREATER_SITE=上海一部", kCancel, "H"},
        {"a centre dispatches for its finance centre", "STATUS=1, PREPARE_SITE=;芜湖中心;",
            "REC_BILL_MAN=司机, STATUS=10", "HC"},
        {"but does not pick up for it", "STATUS=3, REC_SITE=芜湖中心", "BILL_CODE=1", "H"},
        // Entrusting
        {"entrust what nobody works on", kElsewhere, kEntrust, "HCB"},
        {"entrust to a driver", kRefused, kDriver + "REC_SITE=上海一部, PREPARE_SITE=;上海一部;", "HCB"},
        {"entrust to a driver, accepted", kRefused, kDriverTakes + "BL_DEPUTE=1", "HCB"},
        {"accept for a driver", kOffered, kDriverTakes + "BL_DEPUTE=0", ""},
        {"entrust a refused order", kRefused, kEntrust, "H"},
        {"entrust a partner's order", kElsewhere + ", ORDERSOURCE=泽摩", kEntrust, "H"},
        {"entrust what an employee has", kElsewhere + ", REC_BILL_MAN=王", kEntrust, "H"},
        {"entrust what has a waybill", kElsewhere + ", BILL_CODE=1", kEntrust, "H"},
        {"entrust and more", kElsewhere, kEntrust + ", ADDRESS=x", "H"},
        {"entrust without saying so", kElsewhere, "PREPARE_SITE=;合肥一部;", "H"},
        {"entrust to several", kElsewhere, "PREPARE_SITE=;合肥一部;合肥二部;, BL_DEPUTE=1", "H"},
        // Revocation by a centre
        {"revoke", "STATUS=1, BL_DISPART=1, REC_SITE=上海一部", kRevoke, "HC"},
        {"revoke what was signed for", "STATUS=6, BL_DISPART=1, BILL_CODE=unreported", kRevoke, "HC"},
        {"revoke what was reported", "STATUS=3, BL_DISPART=1, BILL_CODE=reported", kRevoke, "H"},
        {"revoke what nobody distributed", "STATUS=1, REC_SITE=上海一部", kRevoke, "H"},
        {"revoke and more", "STATUS=1, BL_DISPART=1", kRevoke + ", ADDRESS=1", "H"},
        {"revoke without a reason", "STATUS=1, BL_DISPART=1", Without(kRevoke, u"CANCEL_DESC"_s), ""},
        {"revoke without a stamp", "STATUS=1, BL_DISPART=1", Without(kRevoke, u"CANCEL_MAN"_s), ""},
        {"revoke for somebody else", "STATUS=1, BL_DISPART=1",
            Without(kRevoke, u"CANCEL_MAN"_s) + ", CANCEL_MAN=王", ""},
        // What an order's own site may not write either
        {"delivered", "STATUS=6, REC_SITE=合肥一部", "ADDRESS=x", "H"},
        {"deliver", "STATUS=3, REC_SITE=合肥一部", "STATUS=6", "H"},
        {"a status that there is not", "STATUS=3, REC_SITE=合肥一部", "STATUS=99999", ""},
        {"a flag that there is not", "STATUS=3, REC_SITE=合肥一部", "BL_CANCEL=2", ""},
        {"fail a pickup without a reason", kTaken, "STATUS=4", ""},
        {"fail it for the reason there is", kTaken + ", CANCEL_DESC=超规格, BL_CANCEL=1", "STATUS=4", "HCB"},
        {"refuse without a reason", kOffered, "STATUS=2", ""},
        {"refuse for a reason", kOffered, "STATUS=2, " + kCancelled, "HCB"},
        {"refuse what is nobody's without one", "STATUS=0", "STATUS=2", ""},
        {"hand back a courier's order", "STATUS=10, PREPARE_SITE=;合肥一部;, REC_SITE=合肥一部",
            "STATUS=2, PREPARE_SITE=, REC_SITE=", "HCB"},
        {"offer to no site", kOffered, "PREPARE_SITE=;合肥一部;火星;", ""},
        {"leave an old name in the list", "STATUS=0, PREPARE_SITE=;合肥一部;撤销部;",
            "PREPARE_SITE=;撤销部;合肥二部;", "HCB"},
        {"no list", kOffered, "PREPARE_SITE=合肥一部", ""},
        {"deliver to no site", kTaken, "SEND_SITE=火星", ""},
        {"accept long ago", kTaken, "ACCEPT_DATE=2024-01-31 08:00:00", ""},
        {"pick up tomorrow", kTaken, "REC_DATE=2024-03-02 08:00:00", ""},
        {"made another day", kTaken, "CREATE_DATE=2024-03-01 08:00:00", "H"},
        {"another source", kTaken + ", ORDERSOURCE=泽摩", "ORDERSOURCE=", "H"},
        {"stamps of one's own", kTaken,
            "MODIFIER={man}, MODIFY_CODE={code}, MODIFY_SITE={site}, REC_MAN={man}, "
            "REC_DATE=2024-03-01 08:00:00, REC_BILL_MAN={man}, CANCEL_MAN={man}, CANCEL_SITE={site}, "
            "ACCEPT_DATE=2024-03-01 08:00:00",
            "HCB"},
        {"another modifier", kTaken, "MODIFIER=王", ""},
        {"no modifier", kTaken + ", MODIFIER=王", "MODIFIER=", ""},
        {"another modifier's code", kTaken, "MODIFY_CODE=E9", ""},
        {"another courier's pickup", kTaken, "REC_MAN=王", ""},
        {"another's acceptance", kTaken, "REC_BILL_MAN=王", ""},
        {"another's cancelling", kTaken, "CANCEL_SITE=合肥二部", ""},
        // Stamps that were left, or left to another
        {"accept without the time", kOffered, Without(kAccept, u"ACCEPT_DATE"_s), ""},
        {"accept under the name that stands there", kOffered + ", REC_BILL_MAN=王",
            Without(kAccept, u"REC_BILL_MAN"_s), ""},
        {"dispatch without the time", "STATUS=0, CREATER_SITE=合肥一部",
            Without(kDriver, u"ACCEPT_DATE"_s) + "REC_SITE=合肥二部, PREPARE_SITE=;合肥二部;", ""},
        {"move another's acceptance", kTaken + ", REC_BILL_MAN=王", "ACCEPT_DATE=2024-03-01 08:00:00", ""},
        {"take over another's acceptance", kTaken + ", REC_BILL_MAN=王", "REC_BILL_MAN={man}", ""},
        {"pick up unsigned", kTaken, "STATUS=3, BILL_CODE=1", ""},
        {"pick up what another began to", "STATUS=4, REC_SITE=合肥一部, REC_MAN=王", "STATUS=3, BILL_CODE=1",
            "HCB"},
        {"move another's pickup", kCollected, "REC_DATE=2024-03-01 08:00:00", ""},
        {"take over another's pickup", kCollected, "REC_MAN={man}", ""},
        {"undo a pickup", kCollected, "STATUS=1, REC_MAN=", "HCB"},
        {"cancel as dispatch does", "STATUS=0, CREATER_SITE=合肥一部", kCancel, "HCB"},
        {"cancel unsigned", "STATUS=0, CREATER_SITE=合肥一部", Without(kCancel, u"CANCEL_MAN"_s), ""},
        {"cancel under the name that stands there", "STATUS=0, CREATER_SITE=合肥一部, CANCEL_MAN=王",
            Without(kCancel, u"CANCEL_MAN"_s), ""},
        {"mark as cancelled, and no more", kTaken, "BL_CANCEL=1", ""},
        {"wipe out who cancelled", kFailed + ", CANCEL_MAN=王", "CANCEL_MAN=", ""},
        {"take a cancellation back", kFailed + ", CANCEL_MAN=王, CANCEL_DESC=超规格",
            kPickUp + ", BL_CANCEL=0, CANCEL_MAN=, CANCEL_DESC=", "HCB"},
        {"sign another's cancellation", kFailed + ", CANCEL_SITE=合肥二部", "CANCEL_MAN={man}", ""},
        // Columns that tell whose an order is
        {"another's duty", kTaken, "DUTY_SITE=上海一部", "H"},
        {"another's stamp", kTaken, "MODIFY_SITE=上海一部", ""},
        {"another creator", kTaken + ", CREATER_SITE=上海一部", "CREATER_SITE=合肥一部", "H"},
        {"another number", kTaken, "TX_LOGISTIC_ID=Z", "H"},
    };
    return cases;
}

TEST_P(PolicyTest, OrdersAreWrittenByThoseWhoHaveToDoWithThem)
{
    const std::vector<OrderCase>& cases = OrderCases();
    std::string orders = "begin; delete from tab_zelmor_bill; delete from zelmor_audit;";
    for (size_t i = 0; i < cases.size(); ++i)
        orders += Insertion("N" + std::to_string(100 + i), cases[i].order);
    orders += "delete from tab_zelmor_instruction;"
              "insert into tab_zelmor_instruction(INSTRUCTION_ID, TX_LOGISTIC_ID, BILL_CODE, INFO_CONTENT)"
              " select 1, TX_LOGISTIC_ID, BILL_CODE, 'GOT' from tab_zelmor_bill where BILL_CODE = 'reported';"
              "insert into tab_zelmor_instruction(INSTRUCTION_ID, TX_LOGISTIC_ID, BILL_CODE, INFO_CONTENT)"
              " values(2, 'another', 'unreported', 'GOT');"
              "commit";
    const std::pair<char, QString> desks[]{{'H', u"headquarters"_s}, {'C', u"centre"_s}, {'B', u"branch"_s}};
    for (const auto& [letter, account] : desks) {
        Raw(orders.c_str());
        Client client = At(account);
        Changes changes(kOrders, client.Query(kOrders));
        for (size_t i = 0; i < cases.size(); ++i)
            changes.Update(static_cast<qsizetype>(i), As(client.Conversation().Identity(), cases[i].edits));
        EXPECT_EQ(KindOf([&] { At(u"reader"_s).Apply(changes.log); }), ErrorKind::Policy);
        const wire::ApplyOutcome outcome = client.Apply(changes.log);
        ASSERT_EQ(outcome.rows.size(), cases.size());
        for (size_t i = 0; i < cases.size(); ++i) {
            SCOPED_TRACE(std::string(cases[i].what) + ", by " + letter);
            const wire::RowVerdict& verdict = outcome.rows[i];
            const bool allowed = std::string_view(cases[i].allowed).find(letter) != std::string_view::npos;
            EXPECT_EQ(verdict.accepted, allowed) << verdict.reason.toStdString();
            EXPECT_TRUE(allowed || verdict.reason.endsWith(u"！"_s)) << verdict.reason.toStdString();
        }
        EXPECT_EQ(RawText("select count(*) from zelmor_audit").toULongLong(),
            cases.size() - static_cast<size_t>(outcome.Rejected()));
    }
}

// The table of rights in docs/server.md, status by status; the headquarters may all of it.
TEST_P(PolicyTest, EachRoleWritesInEachStatusWhatTheTableSays)
{
    constexpr int kNone = 99;
    constexpr std::array kStatuses{kNone, -1, 0, 1, 2, 3, 4, 5, 6, 7, 10, 11, 12, 13};
    const auto notOnItsWay = [](int status) { return status < 5 || status > 7; };
    const auto waiting = [](int status) { return status == 0 || status == kNone; };
    const std::string elsewhere = "REC_SITE=上海一部, PREPARE_SITE=;上海一部;, CREATER_SITE=上海一部";
    const struct {
        std::string order;
        std::string edits;
        std::string_view who;
        bool (*when)(int status);
    } kinds[]{
        {"REC_SITE=合肥一部", "ADDRESS=x", "CB", notOnItsWay},
        {"PREPARE_SITE=;合肥一部;", "ADDRESS=x", "CB", notOnItsWay},
        {"PREPARE_SITE=;上海一部;合肥一部;", "ADDRESS=x", "CB", waiting},
        {"PREPARE_SITE=;上海一部;, CREATER_SITE=合肥一部", "ADDRESS=x", "CB", notOnItsWay},
        {"BL_DISPART=1", "ADDRESS=x", "C", waiting},
        {elsewhere, "ADDRESS=x", "", waiting},
        {elsewhere + ", BL_DISPART=1", kRevoke, "C", [](int) { return true; }},
        {elsewhere, kEntrust, "CB",
            [](int status) { return status == 0 || status == 1 || status == 10 || status == kNone; }},
        {elsewhere, kDriver + "REC_SITE=上海二部, PREPARE_SITE=;上海二部;", "CB",
            [](int status) { return status != -1 && (status < 3 || status > 7); }},
    };
    std::string orders = "begin; delete from tab_zelmor_bill;";
    int count = 100;
    for (const auto& kind : kinds) {
        for (const int status : kStatuses)
            orders += Insertion("N" + std::to_string(count++),
                (status == kNone ? "" : "STATUS=" + std::to_string(status) + ", ") + kind.order);
    }
    Raw("insert into tab_site(SITE_CODE, SITE_NAME, SUPERIOR_SITE, TYPE) values('8', '上海二部', '快运本部', "
        "'网点')");
    for (const auto& [letter, account] :
        {std::pair('H', u"headquarters"_s), std::pair('C', u"centre"_s), std::pair('B', u"branch"_s)}) {
        Raw((orders + "commit").c_str());
        Client client = At(account);
        Changes changes(kOrders, client.Query(kOrders));
        qsizetype row = 0;
        for (const auto& kind : kinds) {
            for ([[maybe_unused]] const int status : kStatuses)
                changes.Update(row++, As(client.Conversation().Identity(), kind.edits));
        }
        const wire::ApplyOutcome outcome = client.Apply(changes.log);
        ASSERT_EQ(outcome.rows.size(), size_t(row));
        size_t number = 0;
        for (const auto& kind : kinds) {
            for (const int status : kStatuses) {
                const bool allowed =
                    letter == 'H' || (kind.who.find(letter) != std::string_view::npos && kind.when(status));
                const wire::RowVerdict& verdict = outcome.rows[number++];
                EXPECT_EQ(verdict.accepted, allowed)
                    << letter << ", status " << status << ", " << kind.order << ", " << kind.edits << ": "
                    << verdict.reason.toStdString();
            }
        }
    }
}

// Whether the sender leaves the stamps alone, or lies about what they were.
TEST_P(PolicyTest, WhoChangesAnOrderLastStandsInIt)
{
    for (const QString& account : {u"headquarters"_s, u"centre"_s, u"branch"_s}) {
        for (const bool lies : {false, true}) {
            SCOPED_TRACE(account.toStdString());
            Order("STATUS=1, REC_SITE=合肥一部, MODIFIER=王, MODIFY_CODE=E9, MODIFY_SITE=上海一部");
            Client client = At(account);
            const wire::Identity& who = client.Conversation().Identity();
            const wire::RowSet rows = client.Query(kOrders);
            Changes changes(kOrders, rows);
            changes.Update(0, u"ADDRESS=x"_s);
            if (lies) {
                const auto at = quint16(rows.IndexOf(u"MODIFIER"));
                changes.log.rows[0].cells.push_back({at, who.employeeName, who.employeeName});
            }
            EXPECT_EQ(client.Apply(changes.log).Rejected(), 0);
            EXPECT_EQ(
                RawText("select MODIFIER || ' ' || MODIFY_CODE || ' ' || MODIFY_SITE from tab_zelmor_bill"),
                who.employeeName + u' ' + who.employeeCode + u' ' + who.site);
        }
    }
}

TEST_P(PolicyTest, NewOrdersNameTheirSiteAndNobodyButTheHeadquartersDeletes)
{
    const std::string entered = "STATUS=0, TX_LOGISTIC_ID=D1, BL_CANCEL=0";
    const std::string today = ", CREATE_DATE=2024-03-01 08:00:00";
    const std::string here = ", CREATER_SITE={site}, CREATER_CODE={code}";
    const std::string whole = entered + today + here + ", CREATER_MAN={man}";
    const std::string man = ", CREATER_MAN={man}, CREATER_CODE={code}";
    const struct {
        QString account;
        std::string values;
        bool accepted;
    } cases[]{
        {u"branch"_s, whole, true},
        {u"centre"_s, whole, true},
        {u"headquarters"_s, whole, true},
        {u"branch"_s, entered + today + man + ", CREATER_SITE=合肥一部分点", false},
        {u"headquarters"_s, entered + today + man + ", CREATER_SITE=上海一部", false},
        {u"branch"_s, entered + today + man, false},
        {u"branch"_s, entered + today + here, false},
        {u"branch"_s, entered + today + here + ", CREATER_MAN=王", false},
        {u"branch"_s, entered + here + ", CREATER_MAN={man}, CREATE_DATE=2024-01-31 08:00:00", false},
        {u"branch"_s, "STATUS=3" + whole.substr(8), false},
        {u"headquarters"_s, "STATUS=6" + whole.substr(8), false},
        {u"branch"_s, whole + ", REC_SITE=合肥一部", false},
        {u"branch"_s, whole + ", BILL_CODE=1", false},
    };
    for (const auto& c : cases) {
        Client client = At(c.account);
        Order("REC_SITE=合肥一部");
        Changes changes(kOrders, client.Query(kOrders));
        changes.Insert(As(client.Conversation().Identity(), c.values)).Delete(0);
        const auto rows = client.Apply(changes.log).rows;
        EXPECT_EQ(rows[0].accepted, c.accepted) << c.values << rows[0].reason.toStdString();
        EXPECT_EQ(rows[1].accepted, c.account == u"headquarters"_s);
    }
}

} // namespace
} // namespace server::testing
