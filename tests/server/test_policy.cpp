#include "server/provider/SiteScope.h"
#include "server/storage/sqlite/SqliteStorage.h"
#include "tests/server/AnyStorage.h"

namespace server::testing {
namespace {

using wire::ErrorKind;
using Edits = Changes::Edits;

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
    // One order with these columns, in SQL.
    void Order(const std::string& columns, const std::string& values)
    {
        Raw(("delete from tab_zelmor_bill; insert into tab_zelmor_bill(TX_LOGISTIC_ID" + columns
            + ") values('A'" + values + ")")
                .c_str());
    }

    QStringList made_;

    static inline const QString kServices =
        u"select a.* from tab_zelmor_site a order by a.SITE_NAME, a.COUNTY_NAME"_s;
};

ZELMOR_FOR_EACH_STORAGE(PolicyTest);

// Who may make a change: H the headquarters, C the centre, B a branch under it.
struct OrderCase {
    const char* what;
    const char* columns;
    const char* values;
    Edits edits;
    const char* allowed;
};

const wire::Value kNull;
const wire::DateTime kNow = wire::DateTime::FromParts(2024, 3, 1, 8);
// Stand for who sends the change.
const QString kSite = u"{site}"_s;
const QString kMan = u"{man}"_s;
const QString kCode = u"{code}"_s;

Edits As(const wire::Identity& who, Edits edits)
{
    for (auto& [column, value] : edits) {
        if (value == wire::Value(kSite))
            value = who.site;
        else if (value == wire::Value(kMan))
            value = who.employeeName;
        else if (value == wire::Value(kCode))
            value = who.employeeCode;
    }
    return edits;
}

const Edits kAccept{{u"STATUS"_s, 1LL}, {u"REC_SITE"_s, u"合肥一部"_s}, {u"DUTY_SITE"_s, u"合肥一部"_s},
    {u"REC_BILL_MAN"_s, kMan}, {u"ACCEPT_DATE"_s, kNow}, {u"MODIFY_SITE"_s, kSite}};
const Edits kEntrust{{u"PREPARE_SITE"_s, u";合肥一部;"_s}, {u"BL_DEPUTE"_s, 1LL}, {u"MODIFIER"_s, kMan}};
const Edits kStamped{{u"STATUS"_s, 4LL}, {u"BL_CANCEL"_s, 1LL}, {u"CANCEL_SITE"_s, kSite},
    {u"CANCEL_MAN"_s, kMan}, {u"CANCEL_DATE"_s, kNow}, {u"MODIFIER"_s, kMan}, {u"MODIFY_CODE"_s, kCode},
    {u"MODIFY_SITE"_s, kSite}};

Edits With(Edits edits, const QString& column, const wire::Value& value)
{
    edits.emplace_back(column, value);
    return edits;
}

Edits Without(Edits edits, const QString& column)
{
    std::erase_if(edits, [&](const auto& edit) { return edit.first == column; });
    return edits;
}

const Edits kCancel{{u"STATUS"_s, -1LL}, {u"CANCEL_DESC"_s, u"其它错误"_s}, {u"CANCEL_SITE"_s, kSite},
    {u"CANCEL_MAN"_s, kMan}};
const Edits kPickUp{
    {u"STATUS"_s, 3LL}, {u"BILL_CODE"_s, u"1"_s}, {u"REC_MAN"_s, kMan}, {u"REC_DATE"_s, kNow}};
const Edits kRevoke = With(kStamped, u"CANCEL_DESC"_s, u"其它错误"_s);

Edits ToDriverAt(const QString& site, const QString& candidates)
{
    return {{u"STATUS"_s, 10LL}, {u"REC_SITE"_s, site}, {u"PREPARE_SITE"_s, candidates},
        {u"REC_BILL_MAN"_s, u"司机"_s}, {u"ACCEPT_DATE"_s, kNow}, {u"BL_DEPUTE"_s, 1LL}};
}

Edits AcceptedForDriver(qint64 entrusted)
{
    return {{u"STATUS"_s, 1LL}, {u"REC_SITE"_s, u"上海一部"_s}, {u"PREPARE_SITE"_s, u";上海一部;"_s},
        {u"REC_BILL_MAN"_s, u"司机"_s}, {u"REC_BILL_CODE"_s, u"E9"_s}, {u"ACCEPT_DATE"_s, kNow},
        {u"BL_DEPUTE"_s, wire::Value(entrusted)}};
}

const std::vector<OrderCase>& OrderCases()
{
    static const std::vector<OrderCase> cases{
        // Acceptance and transfer
        {"accept what is offered here", ", STATUS, PREPARE_SITE", ", 0, ';合肥一部;'", kAccept, "HCB"},
        {"accept one of several", ", STATUS, PREPARE_SITE", ", null, ';上海一部;合肥一部;'", kAccept, "HCB"},
        {"accept what is offered elsewhere", ", STATUS, PREPARE_SITE", ", 0, ';上海一部;'", kAccept, "H"},
        {"accept what is offered to a namesake", ", STATUS, PREPARE_SITE", ", 0, ';上海合肥一部;合肥;'",
            kAccept, "H"},
        {"take what another candidate accepted", ", STATUS, PREPARE_SITE, REC_SITE",
            ", 1, ';合肥一部;上海一部;', '上海一部'",
            {{u"REC_SITE"_s, u"合肥一部"_s}, {u"REC_BILL_MAN"_s, kMan}, {u"ACCEPT_DATE"_s, kNow}}, "H"},
        {"accept in another's name", ", STATUS, PREPARE_SITE", ", 0, ';合肥一部;'",
            With(Without(kAccept, u"REC_SITE"_s), u"REC_SITE"_s, u"上海一部"_s), "H"},
        {"transfer", ", STATUS, PREPARE_SITE", ", 0, ';合肥一部;'", {{u"PREPARE_SITE"_s, u";上海一部;"_s}},
            "HCB"},
        {"undo an acceptance", ", STATUS, PREPARE_SITE, REC_SITE, DUTY_SITE",
            ", 1, ';合肥一部;', '合肥一部', '合肥一部'",
            {{u"STATUS"_s, 0LL}, {u"REC_SITE"_s, kNull}, {u"DUTY_SITE"_s, kNull}}, "HCB"},
        // Pickup and its correction
        {"pickup", ", STATUS, PREPARE_SITE, REC_SITE", ", 1, ';上海一部;', '合肥一部'", kPickUp, "HCB"},
        {"pickup of a site below", ", STATUS, REC_SITE", ", 3, '合肥一部分点'", {{u"BILL_CODE"_s, u"1"_s}},
            "HCB"},
        {"pickup of the site above", ", STATUS, REC_SITE", ", 3, '合肥中心'", {{u"BILL_CODE"_s, u"1"_s}},
            "HC"},
        {"pickup of a sibling", ", STATUS, REC_SITE", ", 3, '合肥二部'", {{u"BILL_CODE"_s, u"1"_s}}, "HC"},
        {"pickup of a stranger", ", STATUS, REC_SITE", ", 3, '上海一部'", {{u"BILL_CODE"_s, u"1"_s}}, "H"},
        // Distribution
        {"distribute", ", STATUS, BL_DISPART", ", 0, 1",
            {{u"PREPARE_SITE"_s, u";上海一部;"_s}, {u"SEND_SITE"_s, u"上海一部"_s}}, "HC"},
        {"nobody's order, no longer waiting", ", STATUS", ", 5", {{u"STATUS"_s, 6LL}}, "H"},
        // Dispatch
        {"offer what was entered here", ", STATUS, CREATER_SITE", ", 0, '合肥一部'",
            {{u"PREPARE_SITE"_s, u";上海一部;"_s}, {u"STATUS"_s, 1LL}}, "HCB"},
        {"dispatch anew what was entered here",
            ", STATUS, CREATER_SITE, PREPARE_SITE, REC_SITE, REC_BILL_MAN",
            ", 11, '合肥一部', ';上海一部;', '上海一部', '王'", ToDriverAt(u"合肥二部"_s, u";合肥二部;"_s),
            "HCB"},
        {"dispatch to a site that it is not offered to", ", STATUS, CREATER_SITE", ", 0, '合肥一部'",
            ToDriverAt(u"上海一部"_s, u";合肥一部;"_s), "H"},
        {"cancel what was entered elsewhere", ", STATUS, CREATER_SITE, PREPARE_SITE",
            ", 0, '上海一部', ';上海一部;'", kCancel, "H"},
        {"a centre dispatches for its finance centre", ", STATUS, PREPARE_SITE", ", 1, ';芜湖中心;'",
            {{u"REC_BILL_MAN"_s, u"司机"_s}, {u"STATUS"_s, 10LL}}, "HC"},
        {"but does not pick up for it", ", STATUS, REC_SITE", ", 3, '芜湖中心'", {{u"BILL_CODE"_s, u"1"_s}},
            "H"},
        // Entrusting
        {"entrust what nobody works on", ", STATUS, PREPARE_SITE", ", 0, ';上海一部;'", kEntrust, "HCB"},
        {"entrust to a driver", ", STATUS, PREPARE_SITE", ", 2, ';上海一部;'",
            ToDriverAt(u"上海一部"_s, u";上海一部;"_s), "HCB"},
        {"entrust to a driver, accepted", ", STATUS, PREPARE_SITE", ", 2, ';上海一部;'", AcceptedForDriver(1),
            "HCB"},
        {"accept for a driver", ", STATUS, PREPARE_SITE", ", 0, ';合肥一部;'", AcceptedForDriver(0), ""},
        {"entrust a refused order", ", STATUS, PREPARE_SITE", ", 2, ';上海一部;'", kEntrust, "H"},
        {"entrust a partner's order", ", STATUS, PREPARE_SITE, ORDERSOURCE", ", 0, ';上海一部;', '泽摩'",
            kEntrust, "H"},
        {"entrust what an employee has", ", STATUS, PREPARE_SITE, REC_BILL_MAN", ", 0, ';上海一部;', '王'",
            kEntrust, "H"},
        {"entrust what has a waybill", ", STATUS, PREPARE_SITE, BILL_CODE", ", 0, ';上海一部;', '1'",
            kEntrust, "H"},
        {"entrust and more", ", STATUS, PREPARE_SITE", ", 0, ';上海一部;'",
            With(kEntrust, u"ADDRESS"_s, u"x"_s), "H"},
        {"entrust without saying so", ", STATUS, PREPARE_SITE", ", 0, ';上海一部;'",
            {{u"PREPARE_SITE"_s, u";合肥一部;"_s}}, "H"},
        {"entrust to several", ", STATUS, PREPARE_SITE", ", 0, ';上海一部;'",
            {{u"PREPARE_SITE"_s, u";合肥一部;合肥二部;"_s}, {u"BL_DEPUTE"_s, 1LL}}, "H"},
        // Revocation by a centre
        {"revoke", ", STATUS, BL_DISPART, REC_SITE", ", 1, 1, '上海一部'", kRevoke, "HC"},
        {"revoke what was signed for", ", STATUS, BL_DISPART, BILL_CODE", ", 6, 1, 'unreported'", kRevoke,
            "HC"},
        {"revoke what was reported", ", STATUS, BL_DISPART, BILL_CODE", ", 3, 1, 'reported'", kRevoke, "H"},
        {"revoke what nobody distributed", ", STATUS, REC_SITE", ", 1, '上海一部'", kRevoke, "H"},
        {"revoke and more", ", STATUS, BL_DISPART", ", 1, 1", With(kRevoke, u"ADDRESS"_s, u"1"_s), "H"},
        {"revoke without a reason", ", STATUS, BL_DISPART", ", 1, 1", kStamped, ""},
        {"revoke without a stamp", ", STATUS, BL_DISPART", ", 1, 1", Without(kRevoke, u"CANCEL_MAN"_s), ""},
        {"revoke for somebody else", ", STATUS, BL_DISPART", ", 1, 1",
            With(Without(kRevoke, u"CANCEL_MAN"_s), u"CANCEL_MAN"_s, u"王"_s), ""},
        // What an order's own site may not write either
        {"delivered", ", STATUS, REC_SITE", ", 6, '合肥一部'", {{u"ADDRESS"_s, u"x"_s}}, "H"},
        {"deliver", ", STATUS, REC_SITE", ", 3, '合肥一部'", {{u"STATUS"_s, 6LL}}, "H"},
        {"a status that there is not", ", STATUS, REC_SITE", ", 3, '合肥一部'", {{u"STATUS"_s, 99999LL}}, ""},
        {"a flag that there is not", ", STATUS, REC_SITE", ", 3, '合肥一部'", {{u"BL_CANCEL"_s, 2LL}}, ""},
        {"fail a pickup without a reason", ", STATUS, REC_SITE", ", 1, '合肥一部'", {{u"STATUS"_s, 4LL}}, ""},
        {"fail it for the reason there is", ", STATUS, REC_SITE, CANCEL_DESC, BL_CANCEL",
            ", 1, '合肥一部', '超规格', 1", {{u"STATUS"_s, 4LL}}, "HCB"},
        {"refuse without a reason", ", STATUS, PREPARE_SITE", ", 0, ';合肥一部;'", {{u"STATUS"_s, 2LL}}, ""},
        {"refuse for a reason", ", STATUS, PREPARE_SITE", ", 0, ';合肥一部;'",
            With(Without(kCancel, u"STATUS"_s), u"STATUS"_s, 2LL), "HCB"},
        {"refuse what is nobody's without one", ", STATUS", ", 0", {{u"STATUS"_s, 2LL}}, ""},
        {"hand back a courier's order", ", STATUS, PREPARE_SITE, REC_SITE", ", 10, ';合肥一部;', '合肥一部'",
            {{u"STATUS"_s, 2LL}, {u"PREPARE_SITE"_s, kNull}, {u"REC_SITE"_s, kNull}}, "HCB"},
        {"offer to no site", ", STATUS, PREPARE_SITE", ", 0, ';合肥一部;'",
            {{u"PREPARE_SITE"_s, u";合肥一部;火星;"_s}}, ""},
        {"leave an old name in the list", ", STATUS, PREPARE_SITE", ", 0, ';合肥一部;撤销部;'",
            {{u"PREPARE_SITE"_s, u";撤销部;合肥二部;"_s}}, "HCB"},
        {"no list", ", STATUS, PREPARE_SITE", ", 0, ';合肥一部;'", {{u"PREPARE_SITE"_s, u"合肥一部"_s}}, ""},
        {"deliver to no site", ", STATUS, REC_SITE", ", 1, '合肥一部'", {{u"SEND_SITE"_s, u"火星"_s}}, ""},
        {"accept long ago", ", STATUS, REC_SITE", ", 1, '合肥一部'",
            {{u"ACCEPT_DATE"_s, wire::DateTime{kNow.seconds - 30 * 86'400}}}, ""},
        {"pick up tomorrow", ", STATUS, REC_SITE", ", 1, '合肥一部'",
            {{u"REC_DATE"_s, wire::DateTime{kNow.seconds + 86'400}}}, ""},
        {"made another day", ", STATUS, REC_SITE", ", 1, '合肥一部'", {{u"CREATE_DATE"_s, kNow}}, "H"},
        {"another source", ", STATUS, REC_SITE, ORDERSOURCE", ", 1, '合肥一部', '泽摩'",
            {{u"ORDERSOURCE"_s, kNull}}, "H"},
        {"stamps of one's own", ", STATUS, REC_SITE", ", 1, '合肥一部'",
            {{u"MODIFIER"_s, kMan}, {u"MODIFY_CODE"_s, kCode}, {u"MODIFY_SITE"_s, kSite},
                {u"REC_MAN"_s, kMan}, {u"REC_DATE"_s, kNow}, {u"REC_BILL_MAN"_s, kMan},
                {u"CANCEL_MAN"_s, kMan}, {u"CANCEL_SITE"_s, kSite}, {u"ACCEPT_DATE"_s, kNow}},
            "HCB"},
        {"another modifier", ", STATUS, REC_SITE", ", 1, '合肥一部'", {{u"MODIFIER"_s, u"王"_s}}, ""},
        {"no modifier", ", STATUS, REC_SITE, MODIFIER", ", 1, '合肥一部', '王'", {{u"MODIFIER"_s, kNull}},
            ""},
        {"another modifier's code", ", STATUS, REC_SITE", ", 1, '合肥一部'", {{u"MODIFY_CODE"_s, u"E9"_s}},
            ""},
        {"another courier's pickup", ", STATUS, REC_SITE", ", 1, '合肥一部'", {{u"REC_MAN"_s, u"王"_s}}, ""},
        {"another's acceptance", ", STATUS, REC_SITE", ", 1, '合肥一部'", {{u"REC_BILL_MAN"_s, u"王"_s}}, ""},
        {"another's cancelling", ", STATUS, REC_SITE", ", 1, '合肥一部'", {{u"CANCEL_SITE"_s, u"合肥二部"_s}},
            ""},
        // Stamps that were left, or left to another
        {"accept without the time", ", STATUS, PREPARE_SITE", ", 0, ';合肥一部;'",
            Without(kAccept, u"ACCEPT_DATE"_s), ""},
        {"accept under the name that stands there", ", STATUS, PREPARE_SITE, REC_BILL_MAN",
            ", 0, ';合肥一部;', '王'", Without(kAccept, u"REC_BILL_MAN"_s), ""},
        {"dispatch without the time", ", STATUS, CREATER_SITE", ", 0, '合肥一部'",
            Without(ToDriverAt(u"合肥二部"_s, u";合肥二部;"_s), u"ACCEPT_DATE"_s), ""},
        {"move another's acceptance", ", STATUS, REC_SITE, REC_BILL_MAN", ", 1, '合肥一部', '王'",
            {{u"ACCEPT_DATE"_s, kNow}}, ""},
        {"take over another's acceptance", ", STATUS, REC_SITE, REC_BILL_MAN", ", 1, '合肥一部', '王'",
            {{u"REC_BILL_MAN"_s, kMan}}, ""},
        {"pick up unsigned", ", STATUS, REC_SITE", ", 1, '合肥一部'",
            {{u"STATUS"_s, 3LL}, {u"BILL_CODE"_s, u"1"_s}}, ""},
        {"pick up what another began to", ", STATUS, REC_SITE, REC_MAN", ", 4, '合肥一部', '王'",
            {{u"STATUS"_s, 3LL}, {u"BILL_CODE"_s, u"1"_s}}, "HCB"},
        {"move another's pickup", ", STATUS, REC_SITE, REC_MAN", ", 3, '合肥一部', '王'",
            {{u"REC_DATE"_s, kNow}}, ""},
        {"take over another's pickup", ", STATUS, REC_SITE, REC_MAN", ", 3, '合肥一部', '王'",
            {{u"REC_MAN"_s, kMan}}, ""},
        {"undo a pickup", ", STATUS, REC_SITE, REC_MAN", ", 3, '合肥一部', '王'",
            {{u"STATUS"_s, 1LL}, {u"REC_MAN"_s, kNull}}, "HCB"},
        {"cancel as dispatch does", ", STATUS, CREATER_SITE", ", 0, '合肥一部'", kCancel, "HCB"},
        {"cancel unsigned", ", STATUS, CREATER_SITE", ", 0, '合肥一部'", Without(kCancel, u"CANCEL_MAN"_s),
            ""},
        {"cancel under the name that stands there", ", STATUS, CREATER_SITE, CANCEL_MAN",
            ", 0, '合肥一部', '王'", Without(kCancel, u"CANCEL_MAN"_s), ""},
        {"mark as cancelled, and no more", ", STATUS, REC_SITE", ", 1, '合肥一部'", {{u"BL_CANCEL"_s, 1LL}},
            ""},
        {"wipe out who cancelled", ", STATUS, REC_SITE, BL_CANCEL, CANCEL_MAN", ", 4, '合肥一部', 1, '王'",
            {{u"CANCEL_MAN"_s, kNull}}, ""},
        {"take a cancellation back", ", STATUS, REC_SITE, BL_CANCEL, CANCEL_MAN, CANCEL_DESC",
            ", 4, '合肥一部', 1, '王', '超规格'",
            With(With(With(kPickUp, u"BL_CANCEL"_s, 0LL), u"CANCEL_MAN"_s, kNull), u"CANCEL_DESC"_s, kNull),
            "HCB"},
        {"sign another's cancellation", ", STATUS, REC_SITE, BL_CANCEL, CANCEL_SITE",
            ", 4, '合肥一部', 1, '合肥二部'", {{u"CANCEL_MAN"_s, kMan}}, ""},
        // Columns that tell whose an order is
        {"another's duty", ", STATUS, REC_SITE", ", 1, '合肥一部'", {{u"DUTY_SITE"_s, u"上海一部"_s}}, "H"},
        {"another's stamp", ", STATUS, REC_SITE", ", 1, '合肥一部'", {{u"MODIFY_SITE"_s, u"上海一部"_s}}, ""},
        {"another creator", ", STATUS, REC_SITE, CREATER_SITE", ", 1, '合肥一部', '上海一部'",
            {{u"CREATER_SITE"_s, u"合肥一部"_s}}, "H"},
        {"another number", ", STATUS, REC_SITE", ", 1, '合肥一部'", {{u"TX_LOGISTIC_ID"_s, u"Z"_s}}, "H"},
    };
    return cases;
}

TEST_P(PolicyTest, OrdersAreWrittenByThoseWhoHaveToDoWithThem)
{
    const std::vector<OrderCase>& cases = OrderCases();
    std::string orders = "begin; delete from tab_zelmor_bill; delete from zelmor_audit;";
    for (size_t i = 0; i < cases.size(); ++i) {
        orders += "insert into tab_zelmor_bill(TX_LOGISTIC_ID" + std::string(cases[i].columns) + ") values('N"
            + std::to_string(100 + i) + "'" + cases[i].values + ");";
    }
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
        EXPECT_EQ(ErrorOf([&] { At(u"reader"_s).Apply(changes.log); }).Kind(), ErrorKind::Policy);
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

// Whether the sender leaves the stamps alone, or lies about what they were.
TEST_P(PolicyTest, WhoChangesAnOrderLastStandsInIt)
{
    for (const QString& account : {u"headquarters"_s, u"centre"_s, u"branch"_s}) {
        for (const bool lies : {false, true}) {
            SCOPED_TRACE(account.toStdString());
            Order(", STATUS, REC_SITE, MODIFIER, MODIFY_CODE, MODIFY_SITE",
                ", 1, '合肥一部', '王', 'E9', '上海一部'");
            Client client = At(account);
            const wire::Identity& who = client.Conversation().Identity();
            const wire::RowSet rows = client.Query(kOrders);
            Changes changes(kOrders, rows);
            changes.Update(0, {{u"ADDRESS"_s, u"x"_s}});
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
    struct Case {
        const char* account;
        Edits values;
        bool accepted;
    };
    const Edits entered{{u"TX_LOGISTIC_ID"_s, u"D1"_s}, {u"STATUS"_s, 0LL}, {u"BL_CANCEL"_s, 0LL},
        {u"CREATE_DATE"_s, kNow}, {u"CREATER_SITE"_s, kSite}, {u"CREATER_MAN"_s, kMan},
        {u"CREATER_CODE"_s, kCode}};
    const auto but = [&](const QString& column, const wire::Value& value) {
        return With(Without(entered, column), column, value);
    };
    const wire::DateTime lastMonth{kNow.seconds - 30 * 86'400};
    const Case cases[]{
        {"branch", entered, true},
        {"centre", entered, true},
        {"headquarters", entered, true},
        {"branch", but(u"CREATER_SITE"_s, u"合肥一部分点"_s), false},
        {"headquarters", but(u"CREATER_SITE"_s, u"上海一部"_s), false},
        {"branch", Without(entered, u"CREATER_SITE"_s), false},
        {"branch", Without(entered, u"CREATER_MAN"_s), false},
        {"branch", but(u"CREATER_MAN"_s, u"王"_s), false},
        {"branch", but(u"CREATE_DATE"_s, lastMonth), false},
        {"branch", but(u"STATUS"_s, 3LL), false},
        {"headquarters", but(u"STATUS"_s, 6LL), false},
        {"branch", With(entered, u"REC_SITE"_s, u"合肥一部"_s), false},
        {"branch", With(entered, u"BILL_CODE"_s, u"1"_s), false},
    };
    for (const Case& c : cases) {
        Client client = At(QString::fromLatin1(c.account));
        Order(", REC_SITE", ", '合肥一部'");
        Changes changes(kOrders, client.Query(kOrders));
        changes.Insert(As(client.Conversation().Identity(), c.values)).Delete(0);
        const auto rows = client.Apply(changes.log).rows;
        EXPECT_EQ(rows[0].accepted, c.accepted) << c.account << rows[0].reason.toStdString();
        EXPECT_EQ(rows[1].accepted, c.account == std::string_view("headquarters"));
    }
}

TEST_P(PolicyTest, ServicesAreThoseOfTheSitesBelow)
{
    const auto add = [](const QString& site, qint64 open) {
        return Edits{{u"SITE_NAME"_s, site}, {u"COUNTY_NAME"_s, u"新"_s}, {u"CITY_NAME"_s, u"合肥"_s},
            {u"BL_OPEN"_s, open}};
    };
    struct Case {
        const char* account;
        int row; // -1: a new one; 0: the branch's, 1: its closed one, 2: its superior's
        Edits edits; // none: deleted
        bool accepted;
    };
    const Case cases[]{
        {"branch", 0, {{u"BL_REC"_s, 0LL}}, true},
        {"branch", 2, {{u"BL_REC"_s, 0LL}}, false},
        {"branch", 0, {{u"SITE_NAME"_s, u"合肥中心"_s}}, false},
        {"branch", 0, {{u"BL_OPEN"_s, 0LL}}, false},
        {"branch", -1, add(u"合肥一部分点"_s, 1), true},
        {"branch", -1, add(u"合肥一部"_s, 0), false},
        {"branch", -1, add(u"合肥二部"_s, 1), false},
        {"centre", 0, {{u"BL_REC"_s, 0LL}}, true},
        {"centre", -1, add(u"芜湖中心"_s, 1), false},
        {"headquarters", 2, {{u"BL_REC"_s, 0LL}}, true},
        {"headquarters", 2, {{u"BL_OPEN"_s, 0LL}}, false},
        {"opener", 1, {{u"BL_OPEN"_s, 0LL}}, true},
        {"opener", -1, add(u"上海一部"_s, 0), true},
        {"opener", -1, add(u"火星"_s, 1), false},
        {"branch", -1, Without(add(u"合肥一部"_s, 1), u"BL_OPEN"_s), false},
        {"branch", 0, {{u"BL_REC"_s, 2LL}}, false},
        {"branch", 1, {{u"BL_REC"_s, 0LL}}, true},
        {"branch", 1, {{u"BL_OPEN"_s, 1LL}}, false},
        // Deleted or renamed, it could be entered anew, and open.
        {"branch", 1, {}, false},
        {"branch", 1, {{u"COUNTY_NAME"_s, u"新"_s}}, false},
        {"branch", 1, {{u"SITE_NAME"_s, u"合肥一部"_s}}, false},
        {"branch", 0, {{u"COUNTY_NAME"_s, u"新"_s}}, true},
        {"branch", 0, {}, false},
        {"opener", 1, {{u"COUNTY_NAME"_s, u"新"_s}}, true},
        {"opener", 1, {}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.account) + ", case " + std::to_string(&c - cases));
        Raw("delete from tab_zelmor_site; insert into tab_zelmor_site(SITE_NAME, COUNTY_NAME, CITY_NAME, "
            "BL_OPEN) values('合肥一部', '区', '合肥', 1), ('合肥一部分点', '区', '合肥', 0), "
            "('合肥中心', '区', '合肥', 1)");
        Client client = At(QString::fromLatin1(c.account));
        const wire::RowSet rows = client.Query(kServices);
        Changes changes(kServices, rows);
        // The server's order of texts puts 一 before 中.
        c.row < 0             ? changes.Insert(c.edits)
            : c.edits.empty() ? changes.Delete(c.row)
                              : changes.Update(c.row, c.edits);
        const wire::RowVerdict verdict = client.Apply(changes.log).rows.at(0);
        EXPECT_EQ(verdict.accepted, c.accepted) << verdict.reason.toStdString();
    }
}

TEST_P(PolicyTest, ForgedChangeLogsWriteNothing)
{
    Order(", STATUS, PREPARE_SITE, REC_SITE", ", 1, ';上海一部;', '上海一部'");
    Client branch = At(u"branch"_s);
    const wire::RowSet rows = branch.Query(kOrders);
    const auto forged = [&](const QString& text, auto&& forge) {
        Changes changes(text, branch.Query(text));
        changes.Update(0, {{u"ADDRESS"_s, u"x"_s}});
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
        EXPECT_EQ(ErrorOf([&] { branch.Apply(log); }).Kind(), ErrorKind::Data);
    }
    // Leaves out what tells whose it is; does not call it a guard; reads another column under its name.
    log = forged(kOrders, [&](wire::ChangeLog& it) { it.rows[0].cells.erase(cellOf(it, position)); });
    EXPECT_EQ(ErrorOf([&] { branch.Apply(log); }).Kind(), ErrorKind::Data);
    log = forged(kOrders, [&](wire::ChangeLog& it) { it.columns[position].guard = false; });
    EXPECT_FALSE(branch.Apply(log).rows.at(0).accepted);
    const QString key = u"select a.TX_LOGISTIC_ID, a.STATUS, a.PREPARE_SITE, a.ADDRESS"_s;
    for (const QString& more :
        {u""_s, u", a.MODIFY_SITE REC_SITE"_s, u", '合肥一部' REC_SITE"_s, u", a.REC_SITE MINE"_s}) {
        const QString text = key + more + u" from tab_zelmor_bill a"_s;
        log = forged(text, [](wire::ChangeLog&) {});
        EXPECT_EQ(ErrorOf([&] { branch.Apply(log); }).Kind(), ErrorKind::Policy) << text.toStdString();
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
            changes.Update(0, {{column, u"headquarters"_s}});
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
        EXPECT_EQ(ErrorOf([&] { client.Execute(text); }).Kind(), ErrorKind::Policy);
        // What is wrong with a text is told to everybody.
        EXPECT_EQ(ErrorOf([&] { client.Execute(text + u" a.remark=a."_s); }).Kind(), ErrorKind::Syntax);
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
        changes.Update(row, {{u"NAME"_s, u"新"_s}});
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
        Order(", STATUS", ", 0");
        Changes changes(kOrders, branch.Query(kOrders));
        changes.Update(0, {{u"PREPARE_SITE"_s, u";上海一部;"_s}});
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
    EXPECT_EQ(ErrorOf([&] { distributes(); }).Kind(), ErrorKind::Policy);
    server_->RemoveAccount(u"branch"_s);
    EXPECT_EQ(ErrorOf([&] { branch.Query(kOrders); }).Kind(), ErrorKind::Login);
}

TEST_P(PolicyTest, WhatWasAppliedStaysAppliedWhenTheRoleIsTaken)
{
    Options options;
    options.permissionSeconds = 0;
    Serve(options);
    Client branch = At(u"branch"_s);
    Changes changes(kOrders, branch.Query(kOrders));
    changes.Update(0, {{u"NAME"_s, u"新"_s}});
    const wire::ApplyName name{.client = {4, 2}, .number = 1};
    EXPECT_EQ(branch.Apply(changes.log, name, -1).Rejected(), 0);
    server_->SetRole(u"branch"_s, Role::Reader);
    // The answer was lost: the client sends the same again.
    EXPECT_EQ(branch.Apply(changes.log, name, -1).Rejected(), 0);
    EXPECT_EQ(ErrorOf([&] { branch.Apply(changes.log); }).Kind(), ErrorKind::Policy);
}

TEST(SiteTreeTest, SitesUnderASite)
{
    const SiteTree tree({{u"本"_s, {}, {}, {}}, {u"甲"_s, u"本"_s, {}, {}}, {u"乙"_s, u"甲"_s, {}, {}},
        {u"丙"_s, u"丁"_s, {}, {}}, {u"丁"_s, u"丙"_s, {}, {}}, {u"己"_s, u"己"_s, {}, {}}});
    const auto under = [&](const QString& site) {
        QStringList names;
        for (const QString& name : tree.Under(site))
            names << name;
        names.sort();
        return names.join(u',');
    };
    EXPECT_EQ(under(u"本"_s), u"乙,本,甲"_s);
    EXPECT_EQ(under(u"乙"_s), u"乙"_s);
    EXPECT_EQ(under(u"丙"_s), u"丁,丙"_s) << "in a circle";
    EXPECT_EQ(under(u"己"_s), u"己"_s);
    EXPECT_EQ(under(u"无"_s), u"无"_s);
    EXPECT_EQ(under({}), QString());
    EXPECT_FALSE(SiteScope(tree, {}).Has({}));
    EXPECT_FALSE(SiteScope(tree, u"甲"_s).Dispatches(u""));
    EXPECT_EQ(tree.RoleAt({}), Role::Clerk);
}

} // namespace
} // namespace server::testing
