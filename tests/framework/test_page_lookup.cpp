#include "framework/PageLookup.h"
#include "tests/framework/ProbeScreen.h"

#include <QApplication>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// Employees E000 to E044, "员工0" to "员工44", served in pages as the text of the query asks.
wire::RowSet ServePage(const QString& sql)
{
    const auto between = [&](const QString& before, const QString& after) {
        const qsizetype start = sql.indexOf(before);
        if (start < 0)
            return QString();
        const qsizetype from = start + before.size();
        return sql.mid(from, sql.indexOf(after, from) - from);
    };
    const QString afterKey = between(u"a.employee_code > '"_s, u"'"_s);
    const QString typed = between(u"a.employee_code like '"_s, u"%'"_s);
    std::vector<QStringList> rows;
    for (int i = 0; i < 45 && rows.size() < 20; ++i) {
        const QString code = u"E%1"_s.arg(i, 3, 10, QChar(u'0'));
        const QString name = u"员工%1"_s.arg(i);
        if (code > afterKey && (code.startsWith(typed) || name.startsWith(typed)))
            rows.push_back({code, name, u"浦东一部"_s, u"138"_s});
    }
    return MakeTextRows({u"EMPLOYEE_CODE"_s, u"EMPLOYEE_NAME"_s, u"OWNER_SITE"_s, u"PHONE"_s}, rows);
}

class PageLookup : public ::testing::Test {
protected:
    PageLookup()
    {
        host.Server.OnQuery = ServePage;
        box = new TDBPageLookup_Employee(host.MainForm.centralWidget(), u"box"_s);
        other = new QLineEdit(host.MainForm.centralWidget());
        box->PauseMilliseconds = 20;
        host.MainForm.show();
        QApplication::setActiveWindow(&host.MainForm);
        box->setFocus();
    }

    QString First() { return box->ListDataSet().ViewText(0, 0); }
    size_t Asked() const { return static_cast<size_t>(host.Server.Queries().size()); }

    TProbeHost host;
    TDBPageLookup_Employee* box;
    QLineEdit* other;
};

} // namespace

TEST(PageQuery, FiltersByScopeKeyAndBeginning)
{
    EXPECT_EQ(EmployeePageQuery({}),
        u"select * from (select /*+index(a,TAB_EMPLOYEE_P)*/ "
        "a.employee_code,a.employee_name,a.owner_site,a.phone from tab_employee a order by a.employee_code) "
        "a "
        "where rownum <= 20"_s);
    EXPECT_EQ(EmployeePageQuery({.typed = u"O'N "_s, .afterKey = u"E9"_s, .scope = u"浦东"_s, .pageSize = 5}),
        u"select * from (select /*+index(a,TAB_EMPLOYEE_I)*/ "
        "a.employee_code,a.employee_name,a.owner_site,a.phone from tab_employee a where a.owner_site='浦东' "
        "and "
        "a.employee_code > 'E9' and (a.employee_code like 'O''N%' or a.employee_name like 'O''N%' or a.phone "
        "like "
        "'O''N%') order by a.employee_code) a where rownum <= 5"_s);
    // What a pattern would read as a wild card is compared as it stands.
    EXPECT_TRUE(CustomerPageQuery({.typed = u"5%"_s}).contains(u"substr(a.customer_name,1,2)='5%'"_s));
}

TEST_F(PageLookup, TypingAsksOnceAfterAPauseAndEnterTakesTheRow)
{
    int taken = 0;
    box->OnUpdateData = [&] { ++taken; };
    QTest::keyClicks(box, u"E01"_s);
    EXPECT_EQ(Asked(), 0U);
    ASSERT_TRUE(QTest::qWaitFor([&] { return box->ListVisible(); }, 2000));
    EXPECT_EQ(Asked(), 1U);
    EXPECT_EQ(First(), u"E010"_s);
    QTest::keyClick(box, Qt::Key_Down);
    QTest::keyClick(box, Qt::Key_Return);
    EXPECT_FALSE(box->ListVisible());
    EXPECT_EQ(box->Text(), u"员工11"_s);
    EXPECT_EQ(box->KeyValue(), u"E011"_s);
    EXPECT_EQ(taken, 1);
    // The row taken is kept, whatever the list shows by then.
    box->DropDown();
    box->NextPage();
    EXPECT_EQ(box->Taken(u"owner_site"), u"浦东一部"_s);
    EXPECT_EQ(box->KeyValue(), u"E011"_s);
    box->CloseUp(false);
    QTest::keyClicks(box, u"x"_s);
    EXPECT_FALSE(box->HasTaken());
}

TEST_F(PageLookup, EnterDoesNotWaitForTheList)
{
    box->PauseMilliseconds = 60'000;
    QTest::keyClicks(box, u"E02"_s);
    QTest::keyClick(box, Qt::Key_Return);
    EXPECT_EQ(box->Text(), u"员工20"_s);
    QTest::keyClicks(box, u"nobody"_s);
    QTest::keyClick(box, Qt::Key_Return);
    EXPECT_EQ(box->Text(), u"nobody"_s);
    EXPECT_TRUE(box->KeyValue().isEmpty());
}

TEST_F(PageLookup, PagesTurnAndStopAtBothEnds)
{
    box->DropDown();
    ASSERT_TRUE(box->ListVisible());
    QTest::keyClick(box, Qt::Key_PageUp);
    EXPECT_EQ(box->Page(), 1);
    QTest::keyClick(box, Qt::Key_PageDown);
    EXPECT_EQ(First(), u"E020"_s);
    QTest::keyClick(box, Qt::Key_PageDown);
    EXPECT_EQ(First(), u"E040"_s);
    EXPECT_EQ(box->ListDataSet().RecordCount(), 5);
    QTest::keyClick(box, Qt::Key_PageDown);
    EXPECT_EQ(box->Page(), 3);
    QTest::keyClick(box, Qt::Key_PageUp);
    EXPECT_EQ(First(), u"E020"_s);
    EXPECT_EQ(box->Page(), 2);
    QTest::keyClick(box, Qt::Key_Escape);
    EXPECT_FALSE(box->ListVisible());
    EXPECT_TRUE(box->Text().isEmpty());
}

TEST_F(PageLookup, AFullLastPageStays)
{
    host.Server.OnQuery = [](const QString& sql) {
        return sql.contains(u"> 'E019'"_s) ? MakeTextRows({u"EMPLOYEE_CODE"_s, u"EMPLOYEE_NAME"_s}, {})
                                           : ServePage(sql);
    };
    box->DropDown();
    box->NextPage();
    EXPECT_EQ(box->Page(), 1);
    EXPECT_EQ(First(), u"E000"_s);
}

TEST_F(PageLookup, LeavingTakesAnExactCodeAndKeepsAnythingElse)
{
    QTest::keyClicks(box, u"e007"_s);
    box->setText(u"E007"_s);
    other->setFocus();
    EXPECT_EQ(box->Text(), u"员工7"_s);
    EXPECT_EQ(box->KeyValue(), u"E007"_s);

    box->setFocus();
    box->clear();
    QTest::keyClicks(box, u"E00"_s);
    other->setFocus();
    EXPECT_EQ(box->Text(), u"E00"_s);
    QCoreApplication::processEvents();
    EXPECT_TRUE(box->property("unknown").toBool()) << "no row of that code or name";
    EXPECT_FALSE(box->ListVisible());

    // A name stands for its row only where nobody else has it.
    for (const int namesakes : {1, 2}) {
        host.Server.OnQuery = [namesakes](const QString&) {
            std::vector<QStringList> rows{{u"E9"_s, u"Ann Lee"_s}};
            for (int i = 0; i < namesakes; ++i)
                rows.push_back({u"E%1"_s.arg(i), u"Ann"_s});
            return MakeTextRows({u"EMPLOYEE_CODE"_s, u"EMPLOYEE_NAME"_s}, rows);
        };
        box->setFocus();
        box->clear();
        QTest::keyClicks(box, u"Ann"_s);
        other->setFocus();
        EXPECT_EQ(box->KeyValue(), namesakes == 1 ? u"E0"_s : QString());
        QCoreApplication::processEvents();
        EXPECT_EQ(box->property("unknown").toBool(), namesakes > 1);
    }

    const size_t asked = Asked();
    box->SetText(u"张三"_s);
    EXPECT_FALSE(box->property("unknown").toBool());
    QTest::qWait(60);
    EXPECT_EQ(Asked(), asked);
}

TEST_F(PageLookup, AServersRefusalIsShownInTheListAndTypingGoesOn)
{
    host.Server.OnQuery = [](const QString&) -> wire::RowSet {
        throw wire::Error(wire::ErrorKind::Storage, u"稍后再试"_s);
    };
    QTest::keyClicks(box, u"E01"_s);
    ASSERT_TRUE(QTest::qWaitFor([&] { return box->ListVisible(); }, 2000));
    EXPECT_EQ(box->LastError(), u"稍后再试"_s);
    EXPECT_TRUE(host.App.ShownMessages().empty());
    QTest::keyClick(box, Qt::Key_Return);
    EXPECT_EQ(box->Text(), u"E01"_s);
    host.Server.OnQuery = ServePage;
    QTest::keyClicks(box, u"2"_s);
    ASSERT_TRUE(QTest::qWaitFor([&] { return box->LastError().isEmpty() && box->ListVisible(); }, 2000));
    EXPECT_EQ(First(), u"E012"_s);
}
