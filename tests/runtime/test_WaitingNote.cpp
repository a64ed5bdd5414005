// What happens in a real window while a dataset of it waits for a slow server.

#include "runtime/controls/DBControls.h"
#include "runtime/data/SocketConnection.h"
#include "runtime/ui/WaitingNote.h"
#include "tests/runtime/DataSetRows.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

class WaitingNoteTest : public testing::Test {
protected:
    WaitingNoteTest()
    {
        server.OnQuery = [](const QString&) { return ThreeOrders(); };
        connection.SetTransport(server.MakeTransport());
        connection.SetWaiting(&note);
        connection.Open(u"account"_s, u"password"_s);
        orders.SetRemoteServer(&connection);
        orders.OpenQuery(u"select 1"_s);
        source.SetDataSet(&orders);
        site->Binding().SetDataSource(&source);
        site->Binding().SetDataField(u"SITE");
        auto* layout = new QVBoxLayout(&window);
        for (QWidget* control : {static_cast<QWidget*>(site), static_cast<QWidget*>(code), //
                 static_cast<QWidget*>(button)})
            layout->addWidget(control);
        window.resize(500, 200);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
        code->setFocus();
    }

    // In the first turn that the windows get; never where they get none.
    void WhileWaiting(const std::function<void()>& act)
    {
        QMetaObject::invokeMethod(
            &window,
            [this, act] {
                had = note.Panel() != nullptr;
                for (const QLabel* label : window.findChildren<QLabel*>())
                    told += label->text() + u' ';
                act();
            },
            Qt::QueuedConnection);
    }
    void Key(Qt::Key key) { QTest::keyClick(window.windowHandle(), key); }

    TFakeServer server;
    TWaitingNote note;
    TSocketConnectionEx connection;
    TClientDataSetEx orders;
    TDataSource source;
    QWidget window;
    TDBEditEh* site = new TDBEditEh(&window);
    QLineEdit* code = new QLineEdit(&window);
    QPushButton* button = new QPushButton(&window);
    bool had = false;
    QString told;
};

TEST_F(WaitingNoteTest, EscGivesAQueryUpAndEverythingStays)
{
    orders.Next();
    orders.Edit();
    orders.FieldByName(u"SITE").SetAsString(u"广州"_s);
    server.Delay = 20'000;
    WhileWaiting([this] { Key(Qt::Key_Escape); });
    QElapsedTimer timer;
    timer.start();
    EXPECT_THROW(orders.OpenQuery(u"select 2"_s), EAbort);
    EXPECT_LT(timer.elapsed(), 10'000);
    EXPECT_TRUE(had);
    EXPECT_TRUE(told.contains(u"正在查询") && told.contains(u"Esc 取消")) << told;
    EXPECT_EQ(note.Panel(), nullptr);
    EXPECT_EQ(orders.State(), TDataSetState::Edit);
    EXPECT_EQ(site->Text(), u"广州"_s);
    EXPECT_EQ(orders.RecNo(), 2);
    EXPECT_EQ(orders.CommandText(), u"select 1"_s);
    server.Delay = 0;
    orders.Refresh();
    EXPECT_EQ(server.Queries(), QStringList({u"select 1"_s, u"select 1"_s}));
    EXPECT_EQ(orders.RecNo(), 1);
}

TEST_F(WaitingNoteTest, TypedTextIsKeptAndNothingElseReachesTheWindow)
{
    int clicks = 0;
    QObject::connect(button, &QPushButton::clicked, &window, [&] { ++clicks; });
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &window, [&] {
        ++ticks;
        EXPECT_EQ(note.Panel(), nullptr);
    });
    timer.start(5);
    server.Delay = 900;
    WhileWaiting([&] {
        Key(Qt::Key_A);
        Key(Qt::Key_B);
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, button->geometry().center());
        window.windowHandle()->close();
        // What somebody asks from within does not get between the request and its reply.
        TClientDataSetEx other;
        other.SetRemoteServer(&connection);
        EXPECT_THROW(other.OpenQuery(u"select 3"_s), EAbort);
    });
    orders.Refresh();
    EXPECT_TRUE(had);
    EXPECT_EQ(code->text(), QString());
    EXPECT_EQ(ticks, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(code->text(), u"ab"_s);
    EXPECT_GT(ticks, 0);
    EXPECT_EQ(clicks, 0);
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(server.Queries().size(), 2);
}

TEST_F(WaitingNoteTest, ASaveIsToldOfButNotGivenUp)
{
    orders.SetFieldAndPost(u"SITE", T(u"广州"));
    server.Delay = 900;
    WhileWaiting([this] { Key(Qt::Key_Escape); });
    orders.ApplyUpdates();
    EXPECT_EQ(orders.ChangeCount(), 0);
    EXPECT_EQ(server.SavedRows, 1);
    EXPECT_TRUE(told.contains(u"正在保存") && !told.contains(u"Esc")) << told;
}

TEST_F(WaitingNoteTest, EscEndsASavesSearchForAServer)
{
    orders.SetFieldAndPost(u"SITE", T(u"广州"));
    server.Down = true;
    connection.SavePatience = 20'000;
    WhileWaiting([this] { Key(Qt::Key_Escape); });
    QElapsedTimer timer;
    timer.start();
    try {
        orders.ApplyUpdates();
        ADD_FAILURE();
    } catch (const wire::Error& error) {
        EXPECT_EQ(error.Kind(), wire::ErrorKind::Connection);
    }
    EXPECT_LT(timer.elapsed(), 10'000);
    EXPECT_TRUE(told.contains(u"正在重新连接") && told.contains(u"Esc")) << told;
    EXPECT_EQ(orders.ChangeCount(), 1);
    server.Down = false;
    orders.ApplyUpdates();
    EXPECT_EQ(server.SavedRows, 1);
}

TEST_F(WaitingNoteTest, QuickAnswersGiveTheWindowsNoTurn)
{
    WhileWaiting([] {});
    for (const int delay : {0, 100}) {
        server.Delay = delay;
        orders.Refresh();
        EXPECT_FALSE(had);
    }
    QCoreApplication::processEvents();
}

} // namespace
