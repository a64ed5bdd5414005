#pragma once

#include "tests/server/AnyStorage.h"

namespace server::testing {

// A company of some sites, with accounts of each role at them.
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

    static constexpr auto kSites = R"(
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

    QStringList made_;

    static inline const QString kServices =
        u"select a.* from tab_zelmor_site a order by a.SITE_NAME, a.COUNTY_NAME"_s;
};

} // namespace server::testing
