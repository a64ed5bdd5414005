#pragma once

#include "tests/orders/OrderDesk.h"

#include "framework/DataView.h"
#include "framework/frm_ErrorList.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QLabel>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

// A screen over the orders of a desk, and a clerk's hands.
template <typename Screen, typename Desk> class OrderScreen : public ::testing::Test {
protected:
    void Open()
    {
        screen = MakeScreen<Screen>(&desk.host.App);
        screen->Show();
        QCoreApplication::processEvents();
        desk.host.TakeMessages();
        grid = Find<TDataView>(QStringLiteral("DataView1"))->DataViewGrid;
        cds = Find<TClientDataSetEx>(QStringLiteral("cds"));
    }
    template <typename Control> Control* Find(const QString& name = {})
    {
        return screen->template findChild<Control*>(name);
    }
    QString Text(const QString& field) { return cds->FieldByName(field).AsString(); }
    // Several fields of the current row, as FieldsOf gives them.
    QString Fields(const QString& names) { return FieldsOf(*cds, names); }
    // The one box that was shown.
    void ExpectBox(const QString& text, const QString& caption, TMessageIcon icon)
    {
        ASSERT_EQ(desk.host.App.ShownMessages().size(), 1u);
        EXPECT_EQ(desk.host.App.ShownMessages()[0].text, text);
        EXPECT_EQ(desk.host.App.ShownMessages()[0].caption, caption);
        EXPECT_EQ(desk.host.App.ShownMessages()[0].icon, icon);
        desk.host.TakeMessages();
    }
    void Press(const QString& button)
    {
        auto* control = Find<QAbstractButton>(button);
        ASSERT_NE(control, nullptr) << button.toStdString();
        control->click();
        QCoreApplication::processEvents();
    }
    // What is shown after a press, each question answered in turn; a question more takes its default.
    QStringList Told(const QString& button, const QStringList& answers = {})
    {
        for (const QString& answer : answers)
            desk.host.App.QueueAnswer({answer});
        Press(button);
        for (QStringList left; desk.host.App.TakeAnswer(left);) { }
        return desk.host.TakeMessages();
    }
    struct FailureList {
        QString caption;
        QStringList rows; // the first is the header
    };
    // Saves, and reads the list of rows that could not be saved while it is open.
    FailureList PressSave()
    {
        FailureList shown;
        QTimer::singleShot(0, screen, [&] {
            for (TForm* form : desk.host.Scr.Forms()) {
                if (auto* list = qobject_cast<Tfrm_ErrorList*>(form)) {
                    shown.caption = list->template findChild<QLabel*>(QStringLiteral("Label1"))->text();
                    shown.rows = list->RowsAsText().split(u'\n', Qt::SkipEmptyParts);
                }
            }
        });
        Press(QStringLiteral("Button1"));
        return shown;
    }

    // Read after a query, a click and a rest on a row; said where they cannot be read. At least two orders,
    // T1 and T2, are listed.
    void CheckGoodsFollow()
    {
        const auto asked = [this] {
            const QStringList all =
                desk.host.Server.Queries().filter(QStringLiteral("FROM TAB_ZELMOR_BILL_ITEMS"));
            return all.isEmpty() ? QString() : all.last().section(u'\'', 1, 1);
        };
        TClientDataSetEx* goods = Find<TClientDataSetEx>(QStringLiteral("cdsms"));
        const auto rest = [this, timer = goods->findChild<QTimer*>()](int recNo) {
            cds->SetRecNo(recNo);
            EXPECT_TRUE(QTest::qWaitFor([timer] { return !timer->isActive(); }));
            return desk.host.TakeMessages();
        };
        auto* note = Find<TDataView>(QStringLiteral("DataView2"))->Panel1;
        EXPECT_EQ(asked(), QStringLiteral("T1"));
        EXPECT_TRUE(rest(2).isEmpty());
        EXPECT_EQ(asked(), QStringLiteral("T2"));
        EXPECT_TRUE(rest(1).isEmpty());
        EXPECT_EQ(asked(), QStringLiteral("T1"));
        EXPECT_TRUE(note->isHidden());

        const auto answer = desk.host.Server.OnQuery;
        desk.host.Server.OnQuery = [&](const QString& sqlText) {
            if (sqlText.contains(QStringLiteral("TAB_ZELMOR_BILL_ITEMS")))
                throw wire::Error(wire::ErrorKind::Connection, QStringLiteral("连接已中断"));
            return answer(sqlText);
        };
        desk.host.MainForm.Notices.clear();
        EXPECT_TRUE(rest(2).isEmpty()) << "nobody asked";
        EXPECT_EQ(desk.host.MainForm.Notices.filter(QStringLiteral("连接已中断")).size(), 1);
        EXPECT_FALSE(note->isHidden());
        EXPECT_FALSE(goods->Active()) << "another order's goods";
        grid->OnCellClick(grid->Column(1));
        ExpectBox(QStringLiteral("详细：连接已中断"), screen->Caption(), TMessageIcon::Warning);

        desk.host.Server.OnQuery = answer;
        rest(1);
        rest(2);
        EXPECT_EQ(asked(), QStringLiteral("T2"));
        EXPECT_TRUE(goods->Active());
        EXPECT_TRUE(note->isHidden());
        desk.host.Server.Requests.clear();
        grid->OnCellClick(grid->Column(1));
        EXPECT_EQ(asked(), QStringLiteral("T2"));

        desk.orders.clear();
        Press(QStringLiteral("Button4"));
        EXPECT_FALSE(goods->Active()) << "no order, no goods";
    }

    Desk desk;
    Screen* screen = nullptr;
    TDBGridEh* grid = nullptr;
    TClientDataSetEx* cds = nullptr;
};
