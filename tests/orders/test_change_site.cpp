#include "module/data/dm_GlobalData.h"
#include "orders/frm_ChangeSite.h"
#include "tests/orders/OrderDesk.h"

#include <QCheckBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

class SitePicker : public ::testing::Test {
protected:
    SitePicker()
    {
        desk.host.App.Unattended = false;
        const auto sites = [](const std::vector<QStringList>& rows) {
            return MakeTextRows({u"SITE_CODE"_s, u"SITE_NAME"_s, u"SUPERIOR_SITE"_s}, rows);
        };
        TClientDataSetEx& own = *dm_GlobalData->site;
        own.Close();
        own.OpenRows(sites({{u"2101"_s, u"浦东一部"_s, u"上海中心"_s}}));
        TClientDataSetEx& all = *dm_GlobalData->AllSite;
        all.Close();
        all.OpenRows(
            sites({{u"2101"_s, u"浦东一部"_s, u"上海中心"_s}, {u"3301"_s, u"西湖一部"_s, u"杭州中心"_s}}));
    }

    // Shows the picker, lets a hand work in it, gives what it chose.
    QString Pick(const std::function<void(Tfrm_ChangeSite& picker, TDBLookupComboboxEh& box)>& hand)
    {
        QTimer::singleShot(20, &desk.host.App, [&] {
            for (TForm* form : desk.host.Scr.Forms()) {
                auto* picker = qobject_cast<Tfrm_ChangeSite*>(form);
                if (!picker || !picker->IsShown())
                    continue;
                hand(*picker, *picker->findChild<TDBLookupComboboxEh*>(u"DBLookupComboboxEh1"_s));
                picker->Close();
            }
        });
        return Tfrm_ChangeSite::Execute();
    }
    static void Press(Tfrm_ChangeSite& picker, const QString& button)
    {
        picker.findChild<QAbstractButton*>(button)->click();
    }

    OrderDesk desk;
};

} // namespace

TEST_F(SitePicker, GivesWhatWasConfirmedAndNothingElse)
{
    EXPECT_EQ(Pick([](auto& picker, auto& box) {
        QTest::keyClicks(&box, u"2101"_s);
        QTest::keyClick(&box, Qt::Key_Return);
        EXPECT_EQ(box.Text(), u"浦东一部"_s) << "completed by its code";
        Press(picker, u"Button1"_s);
    }),
        u"浦东一部"_s);
    EXPECT_EQ(Pick([](auto& picker, auto& box) {
        EXPECT_EQ(box.Text(), QString()) << "opened anew";
        box.SetText(u"浦东一部"_s);
        Press(picker, u"Button2"_s);
    }),
        QString());
    EXPECT_EQ(Pick([](auto&, auto& box) {
        box.SetText(u"浦东一部"_s);
        QTest::keyClick(&box, Qt::Key_Escape);
    }),
        QString());
    EXPECT_EQ(Pick([](auto& picker, auto& box) {
        box.SetText(u"无此网点"_s);
        Press(picker, u"Button1"_s);
    }),
        u"无此网点"_s)
        << "as typed";
}

TEST_F(SitePicker, OffersEverySiteWhenAsked)
{
    Pick([](auto& picker, auto& box) {
        const auto offered = [&box] { return box.Lookup().listSource->DataSet()->RecordCount(); };
        auto* all = picker.template findChild<QCheckBox*>(u"CheckBox1"_s);
        EXPECT_FALSE(all->isChecked());
        EXPECT_EQ(offered(), 1);
        all->click();
        EXPECT_EQ(offered(), 2);
        all->click();
        EXPECT_EQ(offered(), 1);
    });
}
