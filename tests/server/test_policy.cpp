#include "tests/server/AnyStorage.h"

namespace server::testing {
namespace {

using wire::ErrorKind;

constexpr auto kSites = R"(
    delete from tab_site;
    insert into tab_site(SITE_CODE, SITE_NAME, SUPERIOR_SITE, TYPE, SUPERIOR_FINANCE_CENTER) values
        ('0', '快运本部', null, '总部', null),
        ('1', '皖财务部', '快运本部', '财务中心', null),
        ('2', '合肥中心', '皖财务部', '中心', '皖财务部'),
        ('3', '合肥一部', '合肥中心', '网点', '皖财务部'),
        ('4', '合肥一部分点', '合肥一部', '网点', null),
        ('5', '合肥二部', '合肥中心', '网点', null),
        ('6', '芜湖中心', '皖财务部', '中心', '皖财务部'),
        ('7', '上海一部', '快运本部', '网点', null);
    delete from tab_employee;
    insert into tab_employee(EMPLOYEE_CODE, EMPLOYEE_NAME, OWNER_SITE) values
        ('E0', '总', '快运本部'), ('E1', '张三', '合肥一部'), ('E2', '李四', '合肥中心'))";

class PolicyTest : public AnyStorageTest {
protected:
    PolicyTest() { Raw(kSites); }
    // Takes up the options that a test has changed.
    void Serve(const Options& changed)
    {
        server_.reset();
        Options options = changed;
        options.open = storage::SqliteIn(folder_.path());
        if (other_)
            other_->Configure(options);
        server_ = std::make_unique<ApplicationServer>(options);
    }
    // An account of that name, made when it is first asked for.
    Client At(const QString& account)
    {
        const NewAccount accounts[]{
            {u"headquarters"_s, u"x"_s, u"E0"_s, u"1"_s},
            {u"centre"_s, u"x"_s, u"E2"_s, u"1"_s},
            {u"branch"_s, u"x"_s, u"E1"_s, u"1"_s},
            {u"reader"_s, u"x"_s, u"E0"_s, u"2"_s, u"111"_s, Role::Reader},
            {u"opener"_s, u"x"_s, u"E1"_s, u"2"_s},
        };
        if (!made_.contains(account)) {
            server_->AddAccount(*std::ranges::find(accounts, account, &NewAccount::account));
            made_.append(account);
        }
        return {*server_, account, u"x"_s};
    }
    // The only order, with these values: "STATUS=0, REC_SITE=合肥一部".
    void Order(const std::string& values)
    {
        Raw(("delete from tab_zelmor_bill; " + Insertion("A", values)).c_str());
    }
    static std::string Insertion(const std::string& id, const std::string& order)
    {
        std::string names = "TX_LOGISTIC_ID";
        std::string values = "'" + id + "'";
        for (const QString& cell : QString::fromStdString(order).split(u", "_s, Qt::SkipEmptyParts)) {
            names += ", " + cell.section(u'=', 0, 0).toStdString();
            values += ", '" + cell.section(u'=', 1).toStdString() + "'";
        }
        return "insert into tab_zelmor_bill(" + names + ") values(" + values + ");";
    }

    QStringList made_;

    static inline const QString kServices =
        u"select a.* from tab_zelmor_site a order by a.SITE_NAME, a.COUNTY_NAME"_s;
};

ZELMOR_FOR_EACH_STORAGE(PolicyTest);
INSTANTIATE_TEST_SUITE_P(Odbc, PolicyTest, ::testing::Values(StorageKind::OdbcToPostgres), NameOf);

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

TEST_P(PolicyTest, ServicesAreThoseOfTheSitesBelow)
{
    const std::string add = "COUNTY_NAME=新, CITY_NAME=合肥, ";
    const struct {
        QString account;
        int row; // -1: a new one; 0: the branch's, 1: its closed one, 2: its superior's
        std::string edits; // none: deleted
        bool accepted;
    } cases[]{
        {u"branch"_s, 0, "BL_REC=0", true},
        {u"branch"_s, 2, "BL_REC=0", false},
        {u"branch"_s, 0, "SITE_NAME=合肥中心", false},
        {u"branch"_s, 0, "BL_OPEN=0", false},
        {u"branch"_s, -1, add + "SITE_NAME=合肥一部分点, BL_OPEN=1", true},
        {u"branch"_s, -1, add + "SITE_NAME=合肥一部, BL_OPEN=0", false},
        {u"branch"_s, -1, add + "SITE_NAME=合肥二部, BL_OPEN=1", false},
        {u"centre"_s, 0, "BL_REC=0", true},
        {u"centre"_s, -1, add + "SITE_NAME=芜湖中心, BL_OPEN=1", false},
        {u"headquarters"_s, 2, "BL_REC=0", true},
        {u"headquarters"_s, 2, "BL_OPEN=0", false},
        {u"opener"_s, 1, "BL_OPEN=0", true},
        {u"opener"_s, -1, add + "SITE_NAME=上海一部, BL_OPEN=0", true},
        {u"opener"_s, -1, add + "SITE_NAME=火星, BL_OPEN=1", false},
        {u"branch"_s, -1, add + "SITE_NAME=合肥一部", false},
        {u"branch"_s, 0, "BL_REC=2", false},
        {u"branch"_s, 1, "BL_REC=0", true},
        {u"branch"_s, 1, "BL_OPEN=1", false},
        // Deleted or renamed, it could be entered anew, and open.
        {u"branch"_s, 1, "", false},
        {u"branch"_s, 1, "COUNTY_NAME=新", false},
        {u"branch"_s, 1, "SITE_NAME=合肥一部", false},
        {u"branch"_s, 0, "COUNTY_NAME=新", true},
        {u"branch"_s, 0, "", false},
        {u"opener"_s, 1, "COUNTY_NAME=新", true},
        {u"opener"_s, 1, "", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.account.toStdString() + ": " + c.edits + ", case " + std::to_string(&c - cases));
        Raw("delete from tab_zelmor_site; insert into tab_zelmor_site(SITE_NAME, COUNTY_NAME, CITY_NAME, "
            "BL_OPEN) values('合肥一部', '区', '合肥', 1), ('合肥一部分点', '区', '合肥', 0), "
            "('合肥中心', '区', '合肥', 1)");
        Client client = At(c.account);
        Changes changes(kServices, client.Query(kServices));
        const QString edits = QString::fromStdString(c.edits);
        // The server's order of texts puts 一 before 中.
        c.row < 0             ? changes.Insert(edits)
            : edits.isEmpty() ? changes.Delete(c.row)
                              : changes.Update(c.row, edits);
        const wire::RowVerdict verdict = client.Apply(changes.log).rows.at(0);
        EXPECT_EQ(verdict.accepted, c.accepted) << verdict.reason.toStdString();
    }
}

TEST_P(PolicyTest, ForgedChangeLogsWriteNothing)
{
    Order("STATUS=1, PREPARE_SITE=;上海一部;, REC_SITE=上海一部");
    Client branch = At(u"branch"_s);
    const wire::RowSet rows = branch.Query(kOrders);
    const auto forged = [&](const QString& text, auto&& forge) {
        Changes changes(text, branch.Query(text));
        changes.Update(0, u"ADDRESS=x"_s);
        forge(changes.log);
        EXPECT_EQ(RawText("select coalesce(ADDRESS, '') || REC_SITE from tab_zelmor_bill"), u"上海一部"_s);
        return changes.log;
    };
    const auto position = static_cast<quint16>(rows.IndexOf(u"REC_SITE"));
    const auto cellOf = [](wire::ChangeLog& log, quint16 column) {
        return std::ranges::find(log.rows[0].cells, column, &wire::CellChange::column);
    };
    const wire::Value own = u"合肥一部"_s;
    // Says that the order was read as its own: the row does not have that value.
    wire::ChangeLog log = forged(kOrders, [&](wire::ChangeLog& it) {
        *cellOf(it, position) = {position, own, own};
    });
    EXPECT_FALSE(branch.Apply(log).rows.at(0).accepted);
    // Says both.
    for (const bool first : {true, false}) {
        log = forged(kOrders, [&](wire::ChangeLog& it) {
            auto& cells = it.rows[0].cells;
            cells.insert(first ? cells.begin() : cells.end(), {position, own, own});
        });
        EXPECT_EQ(KindOf([&] { branch.Apply(log); }), ErrorKind::Data);
    }
    // Leaves out what tells whose it is; does not call it a guard; reads another column under its name.
    log = forged(kOrders, [&](wire::ChangeLog& it) { it.rows[0].cells.erase(cellOf(it, position)); });
    EXPECT_EQ(KindOf([&] { branch.Apply(log); }), ErrorKind::Data);
    log = forged(kOrders, [&](wire::ChangeLog& it) { it.columns[position].guard = false; });
    EXPECT_FALSE(branch.Apply(log).rows.at(0).accepted);
    const QString key = u"select a.TX_LOGISTIC_ID, a.STATUS, a.PREPARE_SITE, a.ADDRESS"_s;
    for (const QString& more :
        {u""_s, u", a.MODIFY_SITE REC_SITE"_s, u", '合肥一部' REC_SITE"_s, u", a.REC_SITE MINE"_s}) {
        const QString text = key + more + u" from tab_zelmor_bill a"_s;
        log = forged(text, [](wire::ChangeLog&) {});
        EXPECT_EQ(KindOf([&] { branch.Apply(log); }), ErrorKind::Policy) << text.toStdString();
    }
    EXPECT_EQ(RawText("select coalesce(ADDRESS, '') || REC_SITE from tab_zelmor_bill"), u"上海一部"_s);
}

// However the table is named, and whoever asks: nothing of the server's own comes out or is written.
TEST_P(PolicyTest, OwnTablesAreClosedToEverybody)
{
    const QString queries[]{
        u"select * from zelmor_account"_s,
        u"select x.PASSWORD_HASH from ZELMOR_ACCOUNT x"_s,
        u"select a.*, (select max(b.PASSWORD_HASH) from zelmor_account b) h from tab_site a"_s,
        u"select a.SITE_NAME from tab_site a where exists(select 1 from zelmor_account b where b.ACCOUNT='x')"_s,
        u"select a.SITE_NAME from tab_site a where a.SITE_NAME in (select b.ACCOUNT from zelmor_account b)"_s,
        u"select a.SITE_NAME from tab_site a union all select b.PASSWORD_HASH from zelmor_account b"_s,
        u"select * from (select * from (select ACCOUNT from zelmor_account) c) d"_s,
        u"select a.SITE_NAME from tab_site a left join zelmor_account b on b.ACCOUNT=a.SITE_NAME"_s,
        u"select a.SITE_NAME from tab_site a, zelmor_account b"_s,
        u"select a.SITE_NAME from tab_site a order by (select max(b.ACCOUNT) from zelmor_account b)"_s,
        u"select count(*) from tab_site a group by a.TYPE having count(*) > (select 1 from zelmor_account b)"_s,
        u"select SITE_NAME from tab_site start with SITE_NAME=(select ACCOUNT from zelmor_account)"
        " connect by prior SITE_NAME=SUPERIOR_SITE"_s,
        u"select * from \"zelmor_account\""_s,
        u"select * from main.zelmor_account"_s,
        u"select * from public.zelmor_account"_s,
        u"select * from zelmor_account@dblink"_s,
        u"select * from/**/zelmor_account"_s,
        u"select * from sqlite_master"_s,
        u"select * from pragma_table_info('zelmor_account')"_s,
        u"select * from pg_catalog.pg_authid"_s,
        u"with x as (select * from zelmor_account) select * from x"_s,
        // What one database takes for a comment another runs.
        u"select SITE_NAME from tab_site /* /* */ --*/ union select PASSWORD_HASH from zelmor_account"_s,
        u"select SITE_NAME from tab_site --\r union select PASSWORD_HASH from zelmor_account"_s,
        u"select SITE_NAME from tab_site --\r'\nunion select PASSWORD_HASH from zelmor_account --'"_s,
        u"select * from zelmor_audit"_s,
        u"select * from zelmor_meta"_s,
        u"select * from zelmor_outcome"_s,
    };
    const QString updates[]{
        u"update zelmor_account set ROLE='headquarters'"_s,
        u"update tab_zelmor_bill set REMARK=(select max(PASSWORD_HASH) from zelmor_account)"_s,
        u"update tab_zelmor_bill set REMARK='x' where exists(select 1 from zelmor_account)"_s,
        u"update tab_zelmor_bill set STATUS=1; update zelmor_account set ROLE=null"_s,
        u"update main.zelmor_account set ROLE=null"_s,
        u"insert into zelmor_account(ACCOUNT) values('x')"_s,
        u"delete from zelmor_audit"_s,
        u"drop table tab_zelmor_bill"_s,
        u"delete from tab_zelmor_bill"_s,
        u"update tab_site set SITE_NAME='x'"_s,
        u"pragma user_version"_s,
        kOrders,
    };
    const auto refused = [](auto&& call) {
        const ErrorKind kind = ErrorOf(call).Kind();
        return kind == ErrorKind::Policy || kind == ErrorKind::Syntax;
    };
    for (const QString& account : {u"headquarters"_s, u"branch"_s}) {
        Client client = At(account);
        // That an administrator has asked before opens nothing.
        EXPECT_FALSE(server_->QueryAsAdministrator(queries[0]).infos.empty());
        for (const QString& text : queries)
            EXPECT_TRUE(refused([&] { client.Query(text); })) << text.toStdString();
        for (const QString& text : updates)
            EXPECT_TRUE(refused([&] { client.Execute(text); })) << text.toStdString();
        EXPECT_TRUE(refused([&] { client.Query(u"update tab_zelmor_bill set STATUS = 5"_s); }));
        for (const auto& [table, column] :
            {std::pair(u"zelmor_account"_s, u"ROLE"_s), std::pair(u"tab_site"_s, u"SITE_NAME"_s)}) {
            const QString text = u"select * from "_s + table;
            Changes changes(text, server_->QueryAsAdministrator(text));
            changes.Update(0, column + u"=headquarters"_s);
            EXPECT_TRUE(refused([&] { client.Apply(changes.log); })) << table.toStdString();
        }
    }
    EXPECT_EQ(RawText("select count(*) from zelmor_account where ROLE = 'headquarters'"), u"1"_s);
    EXPECT_EQ(RawText("select count(*) from tab_zelmor_bill where REMARK is not null"), u"0"_s);
    EXPECT_EQ(RawText("select STATUS from tab_zelmor_bill order by TX_LOGISTIC_ID"), u"0,(null),1"_s);
}

TEST_P(PolicyTest, StatementsAreForTheHeadquartersOnceTheyCanBeRead)
{
    const QString text = u"update tab_zelmor_bill set STATUS = 5 where TX_LOGISTIC_ID = 'A'"_s;
    for (const QString& account : {u"reader"_s, u"branch"_s, u"centre"_s}) {
        Client client = At(account);
        EXPECT_EQ(KindOf([&] { client.Execute(text); }), ErrorKind::Policy);
        // What is wrong with a text is told to everybody.
        EXPECT_EQ(KindOf([&] { client.Execute(text + u" a.remark=a."_s); }), ErrorKind::Syntax);
        EXPECT_EQ(client.Query(kOrders).RowCount(), 3);
    }
    EXPECT_EQ(At(u"headquarters"_s).Execute(text), 1);
}

TEST_P(PolicyTest, RefusedRowsAreReportedOnceAndLeaveTheOthersAlone)
{
    QStringList reports;
    Options options;
    options.onRefusedRows = [&](const RefusedRows& rows) {
        reports << u"%1 %2 %3 %4 %5"_s.arg(rows.who.account, rows.peer, rows.table)
                       .arg(rows.count)
                       .arg(rows.firstRow);
    };
    Serve(options);
    Raw("update tab_zelmor_bill set REC_SITE = '上海一部', STATUS = 3");
    Raw("update tab_zelmor_bill set REC_SITE = '合肥一部' where TX_LOGISTIC_ID = 'A'");
    Client branch = At(u"branch"_s);
    Changes changes(kOrders, branch.Query(kOrders));
    for (int row : {0, 1, 2})
        changes.Update(row, u"NAME=新"_s);
    EXPECT_EQ(branch.Apply(changes.log).Rejected(), 2);
    EXPECT_EQ(RawText("select TX_LOGISTIC_ID from tab_zelmor_bill where NAME = '新'"), u"A"_s);
    EXPECT_EQ(reports, QStringList{u"branch 10.0.0.1:5000 tab_zelmor_bill 2 B"_s});
}

TEST_P(PolicyTest, RolesMayBeGivenAndTakenWhileTheAccountIsAtWork)
{
    Options options;
    options.permissionSeconds = 0;
    Serve(options);
    Client branch = At(u"branch"_s);
    const auto distributes = [&] {
        Order("STATUS=0");
        Changes changes(kOrders, branch.Query(kOrders));
        changes.Update(0, u"PREPARE_SITE=;上海一部;"_s);
        return branch.Apply(changes.log).Rejected() == 0;
    };
    EXPECT_FALSE(distributes());
    server_->SetRole(u"branch"_s, Role::Centre);
    EXPECT_TRUE(distributes());
    server_->SetRole(u"branch"_s, std::nullopt);
    EXPECT_FALSE(distributes());
    Raw("update tab_site set TYPE = '中心' where SITE_NAME = '合肥一部'");
    EXPECT_TRUE(distributes());
    Raw("update zelmor_account set ROLE = '?' where ACCOUNT = 'branch'");
    EXPECT_EQ(KindOf([&] { distributes(); }), ErrorKind::Policy);
    server_->RemoveAccount(u"branch"_s);
    EXPECT_EQ(KindOf([&] { branch.Query(kOrders); }), ErrorKind::Login);
}

TEST_P(PolicyTest, WhatWasAppliedStaysAppliedWhenTheRoleIsTaken)
{
    Options options;
    options.permissionSeconds = 0;
    Serve(options);
    Client branch = At(u"branch"_s);
    Changes changes(kOrders, branch.Query(kOrders));
    changes.Update(0, u"NAME=新"_s);
    const wire::ApplyName name{.client = {4, 2}, .number = 1};
    EXPECT_EQ(branch.Apply(changes.log, name, -1).Rejected(), 0);
    server_->SetRole(u"branch"_s, Role::Reader);
    // The answer was lost: the client sends the same again.
    EXPECT_EQ(branch.Apply(changes.log, name, -1).Rejected(), 0);
    EXPECT_EQ(KindOf([&] { branch.Apply(changes.log); }), ErrorKind::Policy);
}

} // namespace
} // namespace server::testing
