#include "tests/host/HostFixture.h"

#include "server/net/Listener.h"
#include "server/provider/ApplicationServer.h"
#include "server/storage/sqlite/SqliteStorage.h"
#include "tests/support/TestAuthority.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QListWidget>
#include <QProgressBar>
#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;

class LoginTest : public HostTest { };

TEST_F(LoginTest, WrongLoginIsOneLineThatSaysNeitherWhichPartWasWrong)
{
    ASSERT_TRUE(WaitUntilReady());
    const auto* error = OnLogin<QLabel>("ErrorLabel");
    QStringList lines;
    for (const QString& account : {u"hefei1"_s, u"nobody"_s}) {
        TypeLogin(account, u"wrong"_s);
        ASSERT_TRUE(QTest::qWaitFor([&] { return !error->text().isEmpty(); }, 20'000));
        lines.append(error->text());
    }
    EXPECT_EQ(lines[0], lines[1]);
    EXPECT_FALSE(lines[0].contains(u'\n'));
    EXPECT_EQ(host->LoggedInForm(), nullptr);
    EXPECT_TRUE(OnLogin<QLineEdit>("PasswordEdit")->hasSelectedText());
}

TEST_F(LoginTest, RightLoginOpensTheFrameAndForgetsThePasswordOnLeaving)
{
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    EXPECT_TRUE(host->MainForm()->isVisible());
    EXPECT_FALSE(host->LoginWindow()->isVisible());

    host->OpenLoginWindow();
    EXPECT_FALSE(host->MainForm()->isVisible());
    EXPECT_TRUE(host->LoginWindow()->isVisible());
    EXPECT_TRUE(OnLogin<QLineEdit>("PasswordEdit")->text().isEmpty());
    EXPECT_EQ(OnLogin<QLineEdit>("AccountEdit")->text(), u"hefei1"_s);
    EXPECT_TRUE(host->PublishedData().Value(u"site").isEmpty());
}

TEST_F(LoginTest, DemoAccountsAreOfferedAndFillTheFields)
{
    ASSERT_TRUE(WaitUntilReady());
    auto* offered = OnLogin<QListWidget>("OfferedList");
    ASSERT_TRUE(offered->isVisible());
    ASSERT_GE(offered->count(), 4);
    offered->setCurrentRow(1);
    EXPECT_FALSE(OnLogin<QLineEdit>("AccountEdit")->text().isEmpty());
    EXPECT_FALSE(OnLogin<QLineEdit>("PasswordEdit")->text().isEmpty());
}

TEST_F(LoginTest, EnterGoesFromTheAccountToThePasswordAndAsksForWhatIsMissing)
{
    ASSERT_TRUE(WaitUntilReady());
    QSignalSpy tried(host->LoginWindow(), &TLoginWindow::LoginRequested);
    auto* account = OnLogin<QLineEdit>("AccountEdit");
    auto* password = OnLogin<QLineEdit>("PasswordEdit");
    const auto* hint = OnLogin<QLabel>("ErrorLabel");
    account->clear();
    account->setFocus();
    QTest::keyClick(account, Qt::Key_Return);
    EXPECT_EQ(hint->text(), u"请输入账号。"_s);
    QTest::keyClicks(account, u"hefei1"_s);
    QTest::keyClick(account, Qt::Key_Return);
    EXPECT_EQ(host->LoginWindow()->focusWidget(), password);
    EXPECT_TRUE(hint->text().isEmpty()) << "nothing was wrong so far";
    QTest::keyClick(password, Qt::Key_Return);
    EXPECT_EQ(hint->text(), u"请输入密码。"_s);
    EXPECT_EQ(tried.count(), 0);
}

TEST_F(LoginTest, OnALowScreenTheFieldsScrollAndTheButtonsStay)
{
    ASSERT_TRUE(WaitUntilReady());
    TLoginWindow& window = *host->LoginWindow();
    window.resize(640, 300);
    QCoreApplication::processEvents();
    EXPECT_LE(window.height(), 300);
    auto* login = OnLogin<QPushButton>("LoginButton");
    EXPECT_EQ(login->visibleRegion().boundingRect(), login->rect());
    auto* list = OnLogin<QListWidget>("OfferedList");
    list->setFocus();
    EXPECT_FALSE(list->visibleRegion().isEmpty());
}

class EncryptedLoginTest : public HostTest {
protected:
    void Change(THostOptions& options) override { options.dataDir = Folder().filePath(u"encrypted"_s); }
};

TEST_F(EncryptedLoginTest, AServerIsTrustedByTheAuthorityThatWasChosen)
{
    TestAuthority authority;
    const TestAuthority::Files files = authority.Issue();
    server::Options options;
    options.open = storage::SqliteIn(Folder().filePath(u"remote-tls"_s));
    options.demo = u"50"_s;
    server::ApplicationServer server(options);
    server::ListenerOptions listening;
    listening.port = 0;
    listening.tls = {files.certificates, files.key};
    server::Listener listener([&](const QString& peer) { return server.NewSession(peer); }, listening);
    listener.Start();

    OnLogin<QRadioButton>("ServerButton")->click();
    // The first of the two is gone.
    OnLogin<QComboBox>("ServerEdit")->setEditText(u"127.0.0.1:1，127.0.0.1:%1"_s.arg(listener.Port()));
    OnLogin<QComboBox>("TlsBox")->setCurrentIndex(int(TTlsUse::Always));
    TypeLogin(u"hefei1"_s, u"demo"_s);
    const auto* error = OnLogin<QLabel>("ErrorLabel");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !error->text().isEmpty(); }, 30'000));
    EXPECT_TRUE(error->text().contains(u"请向管理员索取机构证书文件"_s)) << qUtf8Printable(error->text());
    OnLogin<QLineEdit>("CaEdit")->setText(authority.CaFile());
    TypeLogin(u"hefei1"_s, u"demo"_s);
    ASSERT_TRUE(QTest::qWaitFor([this] { return host->PublishedData().IsLoaded(); }, 20'000))
        << qUtf8Printable(error->text());
    host.reset();
    const THostSettings settings(Folder().filePath(u"encrypted"_s), {});
    EXPECT_EQ(settings.Tls(), TTlsUse::Always);
    EXPECT_EQ(settings.CaFile(), authority.CaFile());
}

class BadFolderTest : public HostTest {
protected:
    void Change(THostOptions& options) override
    {
        // A file where the folder should be.
        QFile file(Folder().filePath(u"occupied"_s));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        options.dataDir = file.fileName();
    }
};

TEST_F(BadFolderTest, DatabaseThatCannotBeOpenedIsToldAndAServerCanStillBeChosen)
{
    ASSERT_TRUE(QTest::qWaitFor([this] { return host->LoginWindow()->DatabaseFailed(); }, 20'000));
    EXPECT_TRUE(OnLogin<QLabel>("StateLabel")->isVisible());
    EXPECT_FALSE(OnLogin<QPushButton>("LoginButton")->isEnabled());
    OnLogin<QRadioButton>("ServerButton")->click();
    EXPECT_TRUE(OnLogin<QPushButton>("LoginButton")->isEnabled());
}

class AbandonedCreationTest : public HostTest {
protected:
    void Change(THostOptions& options) override
    {
        options.dataDir = Folder().filePath(u"abandoned"_s);
        options.demo = demo;
    }
    QString demo = u"medium"_s;
};

TEST_F(AbandonedCreationTest, LeavingWhileTheDatabaseIsMadeTakesNoTimeAndLeavesNoHalf)
{
    const auto* progress = OnLogin<QProgressBar>("ProgressBar");
    ASSERT_TRUE(QTest::qWaitFor([&] { return progress->isVisible(); }, 20'000));
    QElapsedTimer leaving;
    leaving.start();
    host.reset();
    EXPECT_LT(leaving.elapsed(), 5'000);

    demo = u"50"_s;
    HostTest::SetUp();
    ASSERT_TRUE(LogIn(u"hefei1"_s));
    const wire::RowSet orders = host->ServerRows(u"select count(*) as N from tab_zelmor_bill"_s);
    EXPECT_EQ(orders.columns[0].IntegerAt(0), 50);
}
