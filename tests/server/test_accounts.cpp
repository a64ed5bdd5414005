#include "server/accounts/LoginGuard.h"
#include "tests/server/AnyStorage.h"

namespace server::testing {
namespace {

using namespace std::chrono_literals;

class AccountsTest : public AnyStorageTest { };

TEST_P(AccountsTest, IdentityComesFromTheEmployee)
{
    const wire::Identity identity = Client(*server_).Login(u"clerk"_s, u"secret"_s);
    EXPECT_EQ(identity.account, u"clerk"_s);
    EXPECT_EQ(identity.employeeCode, u"E1"_s);
    EXPECT_EQ(identity.employeeName, u"张三"_s);
    EXPECT_EQ(identity.site, u"合肥一部"_s);
    EXPECT_EQ(identity.userType, u"2"_s);
    EXPECT_EQ(identity.rights, u"110"_s);
    EXPECT_FALSE(RawText("select PASSWORD_HASH from zelmor_account").contains(u"secret"_s));
}

TEST_P(AccountsTest, WrongLoginSaysNotWhatWasWrong)
{
    const wire::Error wrongPassword = ErrorOf([&] { Client(*server_).Login(u"clerk"_s, u"guess"_s); });
    const wire::Error unknown = ErrorOf([&] { Client(*server_).Login(u"nobody"_s, u"guess"_s); });
    // Not even the password that unknown accounts are compared with opens one.
    const wire::Error nobody = ErrorOf([&] { Client(*server_).Login(u"nobody"_s, u"nobody"_s); });
    EXPECT_EQ(wrongPassword.Kind(), wire::ErrorKind::Login);
    EXPECT_EQ(wrongPassword.Message(), unknown.Message());
    EXPECT_EQ(wrongPassword.Message(), nobody.Message());
    EXPECT_FALSE(wrongPassword.Message().contains(u'\n'));
}

TEST_P(AccountsTest, GuessingIsRefusedEvenWithTheRightPassword)
{
    for (int i = 0; i < 3; ++i)
        ErrorOf([&] { Client(*server_).Login(u"clerk"_s, u"guess"_s); });
    const wire::Error refused = ErrorOf([&] { Client(*server_).Login(u"clerk"_s, u"secret"_s); });
    EXPECT_TRUE(refused.Message().contains(u"秒后"_s)) << refused.what();
    EXPECT_NO_THROW(Client(*server_, u"10.0.0.2:1"_s).Login(u"clerk"_s, u"secret"_s))
        << "elsewhere it goes on";
}

TEST_P(AccountsTest, Administration)
{
    const auto dataError = [](auto&& call) { return ErrorOf(call).Kind() == wire::ErrorKind::Data; };
    EXPECT_TRUE(dataError([&] { server_->AddAccount({u"clerk"_s, u"x"_s, u"E1"_s, {}}); })) << "taken";
    EXPECT_TRUE(dataError([&] {
        server_->AddAccount({u"new"_s, u"x"_s, u"E9"_s, {}});
    })) << "no such employee";
    EXPECT_TRUE(dataError([&] { server_->AddAccount({u"new"_s, {}, u"E1"_s, {}}); })) << "no password";
    EXPECT_TRUE(dataError([&] {
        server_->AddAccount({u"new"_s, u"x"_s, u"E1"_s, {}, u"12"_s});
    })) << "bad rights";
    EXPECT_TRUE(dataError([&] { server_->SetPassword(u"new"_s, u"x"_s); }));
    EXPECT_TRUE(dataError([&] { server_->RemoveAccount(u"new"_s); }));
    EXPECT_EQ(server_->Accounts().size(), 1u);
    server_->SetPassword(u"clerk"_s, u"better"_s);
    ErrorOf([&] { Client(*server_).Login(u"clerk"_s, u"secret"_s); });
    EXPECT_NO_THROW(Client(*server_).Login(u"clerk"_s, u"better"_s));
    server_->RemoveAccount(u"clerk"_s);
    ErrorOf([&] { Client(*server_).Login(u"clerk"_s, u"better"_s); });
    EXPECT_TRUE(server_->DemoAccounts().empty());
}

TEST(DemoAccountsTest, EveryDemoAccountLogsInToItsSite)
{
    const QTemporaryDir folder;
    Options options;
    options.open = storage::SqliteIn(folder.path());
    options.demo = u"300"_s;
    options.now = wire::DateTime::FromParts(2024, 3, 1, 8);
    QStringList stages;
    options.onProgress = [&stages](const QString& stage, int) { stages << stage; };
    ApplicationServer server(options);
    EXPECT_FALSE(stages.isEmpty());
    EXPECT_EQ(
        server.QueryAsAdministrator(u"select a.TX_LOGISTIC_ID from tab_zelmor_bill a"_s).RowCount(), 300);
    const std::vector<DemoAccount> accounts = server.DemoAccounts();
    EXPECT_GE(accounts.size(), 4u);
    for (const DemoAccount& account : accounts) {
        Client client(server);
        const wire::Identity identity = client.Login(account.account, account.password);
        EXPECT_FALSE(identity.employeeName.isEmpty());
        EXPECT_FALSE(account.description.isEmpty());
        EXPECT_EQ(
            client.Query(u"select a.SITE_CODE from tab_site a where a.SITE_NAME='%1'"_s.arg(identity.site))
                .RowCount(),
            1)
            << account.account.toStdString();
    }
    // A database that is there is used as it is.
    options.demo = u"9"_s;
    stages.clear();
    const ApplicationServer again(options);
    EXPECT_TRUE(stages.isEmpty());
}

ZELMOR_FOR_EACH_STORAGE(AccountsTest);

class LoginGuardTest : public ::testing::Test {
protected:
    int Admit(const QString& account, const QString& peer = u"10.0.0.1:1"_s)
    {
        return guard_.Admit(account, peer, now_, {}).wait;
    }
    // One wrong login; how long it was told to wait, if it was.
    int Guess(const QString& account, const QString& peer = u"10.0.0.1:1"_s)
    {
        const int wait = Admit(account, peer);
        if (wait == 0)
            guard_.Failed(account, peer, now_);
        return wait;
    }
    void LogIn(const QString& account)
    {
        ASSERT_EQ(Admit(account), 0);
        guard_.Succeeded(account, u"10.0.0.1:1"_s, now_);
    }

    LoginGuard guard_;
    LoginGuard::Clock::time_point now_{1h};
};

TEST_F(LoginGuardTest, DelayDoublesUpToALimitAndIsForgotten)
{
    EXPECT_EQ(Guess(u"a"_s), 0);
    EXPECT_EQ(Guess(u"a"_s), 0);
    for (const int expected : {1, 2, 4, 8, 16, 32, 64, 128, 256, 300, 300}) {
        ASSERT_EQ(Guess(u"a"_s), 0);
        ASSERT_EQ(Guess(u"A"_s, u"10.0.0.1:99"_s), expected) << "another port, other case: still the same";
        now_ += std::chrono::seconds(expected) - 1ms;
        ASSERT_EQ(Guess(u"a"_s), 1);
        now_ += 1ms;
    }
    LogIn(u"a"_s);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Guess(u"a"_s), 0);
    EXPECT_EQ(Guess(u"a"_s), 1);
    now_ += 20min;
    EXPECT_EQ(Guess(u"a"_s), 0);
}

TEST_F(LoginGuardTest, NamesInventedByThousandsClearNothingAndFillNothing)
{
    for (int i = 0; i < 3; ++i)
        Guess(u"boss"_s);
    int admitted = 0;
    for (int i = 0; i < 30'000; ++i)
        admitted += Guess(u"account%1"_s.arg(i)) == 0 ? 1 : 0;
    EXPECT_LT(admitted, 30);
    EXPECT_GT(Guess(u"boss"_s), 0);
    EXPECT_LT(guard_.Records(), 100);
    EXPECT_EQ(Guess(u"account1"_s, u"10.0.0.2:1"_s), 0) << "another place";
}

// More places than can be told apart: whoever comes from one more shares what is left, and who is known does
// not.
TEST_F(LoginGuardTest, PlacesInventedByTensOfThousandsOpenNothing)
{
    LogIn(u"clerk"_s);
    const auto place = [](int i) {
        return u"10.%1.%2.%3:1"_s.arg(1 + i / 65'536).arg(i / 256 % 256).arg(i % 256);
    };
    for (int i = 0; i < 34'000; ++i)
        Guess(u"account%1"_s.arg(i), place(i));
    EXPECT_LE(guard_.Records(), 100'100);
    int admitted = 0;
    for (int i = 34'000; i < 34'500; ++i)
        admitted += Guess(u"boss"_s, place(i)) == 0 ? 1 : 0;
    EXPECT_LE(admitted, 50);
    EXPECT_EQ(Admit(u"clerk"_s), 0);
    now_ += 20min;
    EXPECT_EQ(Guess(u"boss"_s, place(1)), 0);
}

TEST_F(LoginGuardTest, ARightPasswordExcusesNoGuessingOfOthers)
{
    for (int i = 0; i < 3; ++i)
        Guess(u"boss"_s);
    ASSERT_GT(Guess(u"boss"_s), 0);
    LogIn(u"clerk"_s);
    EXPECT_GT(Guess(u"boss"_s), 0);
}

TEST_F(LoginGuardTest, LoginsUnderWayCountAsWrongOnes)
{
    int admitted = 0;
    for (int i = 0; i < 900; ++i)
        admitted += Admit(u"account%1"_s.arg(i)) == 0 ? 1 : 0;
    EXPECT_LE(admitted, 20);
    for (int i = 0; i < 100; ++i)
        admitted += Admit(u"a"_s, u"10.0.0.2:1"_s) == 0 ? 1 : 0;
    EXPECT_LE(admitted, 22);
}

TEST_F(LoginGuardTest, WhoIsKnownThereDoesNotWaitForOthers)
{
    LogIn(u"clerk"_s);
    for (int i = 0; i < 100; ++i)
        Guess(u"account%1"_s.arg(i));
    EXPECT_EQ(Admit(u"clerk"_s), 0);
    // Nor for those who guess the same account from elsewhere.
    for (int i = 0; i < 200; ++i)
        Guess(u"clerk"_s, u"10.0.%1.%2:1"_s.arg(i).arg(i % 2));
    EXPECT_EQ(Admit(u"clerk"_s), 0);
    EXPECT_GT(Admit(u"clerk"_s, u"10.9.9.9:1"_s), 0);
}

TEST_F(LoginGuardTest, ANetworkOfIpv6AddressesIsOnePlace)
{
    int admitted = 0;
    for (int i = 0; i < 100; ++i)
        admitted += Guess(u"account%1"_s.arg(i), u"2001:db8::%1:5000"_s.arg(i)) == 0 ? 1 : 0;
    EXPECT_LT(admitted, 30);
}

} // namespace
} // namespace server::testing
