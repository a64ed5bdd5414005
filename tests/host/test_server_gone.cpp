#include "tests/host/HostFixture.h"

#include "server/net/Listener.h"
#include "server/provider/ApplicationServer.h"
#include "server/storage/sqlite/SqliteStorage.h"

#include <QComboBox>

using namespace Qt::Literals::StringLiterals;

// A host whose server is on the other side of a connection that can be cut.
class ServerGoneTest : public HostTest {
protected:
    void SetUp() override
    {
        server::Options options;
        options.open = storage::SqliteIn(Folder().filePath(u"remote"_s));
        options.demo = u"50"_s;
        server = std::make_unique<server::ApplicationServer>(options);
        Listen(0);
        HostTest::SetUp();
        UseScreens();
        OnLogin<QRadioButton>("ServerButton")->click();
        OnLogin<QComboBox>("ServerEdit")->setEditText(u"127.0.0.1:%1"_s.arg(listener->Port()));
    }
    // What this host remembers is no other test's.
    void Change(THostOptions& options) override { options.dataDir = Folder().filePath(u"gone"_s); }
    void TearDown() override
    {
        HostTest::TearDown();
        listener.reset();
    }
    void Listen(quint16 port)
    {
        server::ListenerOptions options;
        options.port = port;
        listener = std::make_unique<server::Listener>(
            [this](const QString& peer) { return server->NewSession(peer); }, options);
        listener->Start();
    }
    QString ConnectionText() const
    {
        return host->MainForm()->findChild<QLabel*>(u"ConnectionLabel"_s)->text();
    }

    std::unique_ptr<server::ApplicationServer> server;
    std::unique_ptr<server::Listener> listener;
};

TEST_F(ServerGoneTest, IsToldWithTheReasonAndMendedByReconnecting)
{
    TypeLogin(u"hefei1"_s, u"demo"_s);
    ASSERT_TRUE(QTest::qWaitFor([this] { return host->PublishedData().IsLoaded(); }, 20'000));
    EXPECT_TRUE(ConnectionText().contains(u"已连接"_s));
    EXPECT_TRUE(ConnectionText().contains(u"127.0.0.1"_s));
    TForm* screen = Open(u"frm_BillQuery"_s);
    ASSERT_NE(screen, nullptr);
    EXPECT_FALSE(Command("ReconnectAction")->isEnabled());

    const quint16 port = listener->Port();
    listener->Stop();
    ::Application->ClearShownMessages();
    const auto& shown = ::Application->ShownMessages();
    Command("QueryAction")->trigger();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_TRUE(shown[0].text.startsWith(u"详细："_s)) << qPrintable(shown[0].text);
    EXPECT_EQ(shown[0].caption, screen->Caption());
    EXPECT_EQ(shown[0].icon, TMessageIcon::Warning);
    EXPECT_TRUE(ConnectionText().contains(u"连接已断开"_s));
    // The module's own entry says it otherwise.
    host->ExecScreen(u"frm_RecBill000"_s);
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_TRUE(shown[1].text.startsWith(u"详细：因为"_s) && shown[1].text.endsWith(u"调用失败！"_s));
    EXPECT_EQ(shown[1].caption, u"DLL调用"_s);
    EXPECT_EQ(shown[1].icon, TMessageIcon::Error);
    Command("ReconnectAction")->trigger();
    EXPECT_EQ(shown.size(), 3u) << "still gone, still told";

    Listen(port);
    Command("ReconnectAction")->trigger();
    EXPECT_TRUE(ConnectionText().contains(u"已连接"_s));
    Command("QueryAction")->trigger();
    EXPECT_EQ(shown.size(), 3u);
}
