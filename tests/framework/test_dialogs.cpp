#include "framework/NumberListInput.h"
#include "framework/SiteTreePicker.h"
#include "framework/frm_ErrorList.h"
#include "framework/frm_Progress.h"
#include "tests/framework/ProbeScreen.h"

#include <QApplication>
#include <QClipboard>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

wire::RowSet Failures()
{
    return MakeTextRows(
        {u"TX_LOGISTIC_ID"_s, u"ERROR_MESSAGE"_s}, {{u"L1"_s, u"已被\t接单"_s}, {u"L2"_s, {}}});
}

} // namespace

TEST(ErrorList, ShowsItsRowsAndClosesByKeyboard)
{
    TProbeHost host;
    host.App.Unattended = false;
    host.MainForm.show();
    TClientDataSetEx rows;
    rows.OpenRows(Failures());
    QString copied;
    int shown = 0;
    QTimer::singleShot(50, &host.MainForm, [&] {
        auto* list = qobject_cast<Tfrm_ErrorList*>(host.Scr.Forms().back());
        ASSERT_NE(list, nullptr);
        shown = list->findChild<TDBGridEh*>(u"Grid1"_s)->model()->rowCount();
        QTest::keyClick(list, Qt::Key_C, Qt::ControlModifier);
        copied = QApplication::clipboard()->text();
        QTest::keyClick(list, Qt::Key_Escape);
    });
    Tfrm_ErrorList::Execute(u"网点接单"_s, u"以下订单失败！"_s, rows,
        {{.fieldName = u"TX_LOGISTIC_ID"_s, .title = u"物流号"_s},
            {.fieldName = u"ERROR_MESSAGE"_s, .title = u"原因"_s}});
    EXPECT_EQ(shown, 2);
    EXPECT_EQ(copied, u"物流号\t原因\nL1\t已被 接单\nL2\t\n"_s);
    ASSERT_EQ(host.App.ShownMessages().size(), 1U);
    EXPECT_EQ(host.App.ShownMessages()[0].text, u"以下订单失败！"_s);
    EXPECT_TRUE(rows.Active());
    rows.Close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(host.Scr.Forms().empty());
}

TEST(Progress, CountsWithoutLettingTheUserIn)
{
    TProbeHost host;
    host.MainForm.show();
    Tfrm_Progress progress(nullptr, u"批量修改"_s);
    progress.Start(u"准备批量修改."_s, 600);
    EXPECT_TRUE(progress.isVisible());
    EXPECT_EQ(progress.Text(), u"准备批量修改."_s);
    bool timerFired = false;
    QTimer::singleShot(0, &progress, [&] { timerFired = true; });
    progress.Step(u"正在修改."_s, 200);
    EXPECT_EQ(progress.Done(), 200);
    progress.Finish(u"修改完毕."_s);
    EXPECT_EQ(progress.Done(), progress.Total());
    EXPECT_FALSE(timerFired);
}

TEST(NumberList, TidiesWhatIsPastedAndCountsIt)
{
    const TProbeHost host;
    TNumberListInput input(nullptr, u"NumberBox"_s, {.maxLines = 3}, u"按订单号查询"_s);
    auto* memo = input.findChild<TDBMemo*>(u"Memo1"_s);
    auto* count = input.findChild<QLabel*>(u"Count"_s);
    EXPECT_EQ(input.findChild<QCheckBox*>(u"CheckBox2"_s), nullptr) << "one way only";
    const auto paste = [memo](const QString& text) {
        QApplication::clipboard()->setText(text);
        memo->paste();
    };
    EXPECT_EQ(count->text(), u"0/3 个"_s);
    paste(u" A1 \r\n\tA2　\r\n\r\n \r\n"_s);
    EXPECT_EQ(memo->toPlainText(), u"A1\nA2"_s);
    EXPECT_EQ(count->text(), u"2/3 个"_s);
    paste(u"A3\n"_s); // the next cell of a sheet, not the rest of A2
    EXPECT_EQ(memo->toPlainText(), u"A1\nA2\nA3"_s);
    EXPECT_EQ(input.List(), u"('A1','A2','A3')"_s);
    paste(u" 4"_s); // a part of a number
    EXPECT_EQ(memo->toPlainText(), u"A1\nA2\nA34"_s);
    QTest::keyClicks(memo, u" "_s);
    QTest::keyClick(memo, Qt::Key_Return);
    QTest::keyClicks(memo, u" "_s);
    EXPECT_EQ(memo->toPlainText(), u"A1\nA2\nA34 \n "_s) << "what is typed stays";
    EXPECT_EQ(count->text(), u"4/3 个"_s);
}

namespace {

// 快运本部 over 上海中心 (with 浦东一部 and 浦东二部) and 北京中心.
void FillSites(TTreeView& tree)
{
    auto* root = new QTreeWidgetItem(&tree, QStringList(u"快运本部"_s));
    auto* shanghai = new QTreeWidgetItem(root, QStringList(u"上海中心"_s));
    new QTreeWidgetItem(shanghai, QStringList(u"浦东一部"_s));
    new QTreeWidgetItem(shanghai, QStringList(u"浦东二部"_s));
    new QTreeWidgetItem(root, QStringList(u"北京中心"_s));
}

QTreeWidgetItem* Site(const Tfrm_SiteTreePicker& picker, const QString& name)
{
    return picker.findChild<TTreeView*>()->findItems(name, Qt::MatchExactly | Qt::MatchRecursive).value(0);
}

} // namespace

TEST(SiteTreePicker, CheckingAParentChecksItsChildrenButPresetsStandAlone)
{
    const TProbeHost host;
    TTreeView sites;
    FillSites(sites);
    Tfrm_SiteTreePicker picker(nullptr, sites, true);
    picker.SetChecked({u"上海中心"_s, u"无此网点"_s});
    EXPECT_EQ(picker.CheckedList(), u";上海中心;"_s);
    Site(picker, u"上海中心"_s)->setCheckState(0, Qt::Unchecked);
    EXPECT_EQ(picker.CheckedList(), QString());
    Site(picker, u"上海中心"_s)->setCheckState(0, Qt::Checked);
    EXPECT_EQ(picker.CheckedList(), u";上海中心;浦东一部;浦东二部;"_s);

    Tfrm_SiteTreePicker single(nullptr, sites, false);
    Site(single, u"上海中心"_s)->setCheckState(0, Qt::Checked);
    EXPECT_EQ(single.CheckedList(), u";上海中心;"_s);
}

TEST(SiteTreePicker, FindsByNameAndInitialsRoundTheTree)
{
    const TProbeHost host;
    TTreeView sites;
    FillSites(sites);
    Tfrm_SiteTreePicker picker(nullptr, sites, true);
    const auto current = [&] { return picker.findChild<TTreeView*>()->currentItem()->text(0); };
    ASSERT_TRUE(picker.FindNext(u"中心"_s));
    EXPECT_EQ(current(), u"上海中心"_s);
    ASSERT_TRUE(picker.FindNext(u"中心"_s));
    EXPECT_EQ(current(), u"北京中心"_s);
    ASSERT_TRUE(picker.FindNext(u"pdeb"_s));
    EXPECT_EQ(current(), u"浦东二部"_s);
    EXPECT_FALSE(picker.FindNext(u"zz"_s));
}

TEST(SiteTreePicker, GivesTheListOnConfirmationAndNothingOtherwise)
{
    TProbeHost host;
    host.MainForm.show();
    TTreeView sites;
    FillSites(sites);
    host.App.QueueAnswer({u"浦东一部"_s, u"北京中心"_s});
    EXPECT_EQ(Tfrm_SiteTreePicker::Execute(u"分件"_s, sites, {}), u";浦东一部;北京中心;"_s);
    host.App.QueueAnswer({u"ok"_s});
    EXPECT_EQ(Tfrm_SiteTreePicker::Execute(u"分件"_s, sites, u";浦东二部;北京中心"_s), u";浦东二部;"_s)
        << "what no semicolon follows is no site";
    host.App.QueueAnswer({u"cancel"_s});
    EXPECT_EQ(Tfrm_SiteTreePicker::Execute(u"分件"_s, sites, u";浦东二部;"_s), QString());
}
