#include "host/HostOptions.h"
#include "host/HostSettings.h"
#include "host/PublishedData.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

std::optional<TOptionsProblem> Read(QStringList arguments, THostOptions& options, bool headless = false)
{
    arguments.prepend(u"zelmor-host"_s);
    return ReadOptions(arguments, headless, options);
}

} // namespace

TEST(ServerAddress, ReadsNamesAddressesAndPorts)
{
    EXPECT_EQ(ParseServerAddress(u" db.example "_s), (TServerAddress{u"db.example"_s, 8866}));
    EXPECT_EQ(ParseServerAddress(u"10.0.0.8:9000"_s), (TServerAddress{u"10.0.0.8"_s, 9000}));
    EXPECT_EQ(ParseServerAddress(u"[::1]:9000"_s), (TServerAddress{u"::1"_s, 9000}));
    EXPECT_EQ(ParseServerAddress(u"[::1]"_s), (TServerAddress{u"::1"_s, 8866}));
    for (const QString& wrong : {u""_s, u":8866"_s, u"host:"_s, u"host:0"_s, u"host:65536"_s, u"host:x"_s,
             u"a b"_s, u"[::1"_s, u"[::1]9000"_s, u"[::1]:"_s})
        EXPECT_FALSE(ParseServerAddress(wrong)) << qPrintable(wrong);
}

TEST(HostOptions, RefusesWhatItCannotUnderstand)
{
    THostOptions options;
    EXPECT_TRUE(Read({u"--nonsense"_s}, options));
    EXPECT_TRUE(Read({u"stray"_s}, options));
    EXPECT_TRUE(Read({u"--now"_s, u"yesterday"_s}, options));
    EXPECT_TRUE(Read({u"--server"_s, u"host:0"_s}, options));
    EXPECT_TRUE(Read({u"--server"_s, u"one:1,"_s}, options));
    EXPECT_TRUE(Read({u"--tls"_s, u"--plain-network"_s}, options));
    EXPECT_TRUE(Read({u"--tour"_s, u"--script"_s, u"a.js"_s}, options));
    const auto help = Read({u"--help"_s}, options);
    ASSERT_TRUE(help);
    EXPECT_TRUE(help->isHelp);
    EXPECT_TRUE(help->message.contains(u"--trace-sql"_s));
}

TEST(HostOptions, TourPlaysOnDataOfItsOwnUnlessAFolderIsNamed)
{
    THostOptions own;
    ASSERT_FALSE(Read({u"--tour"_s}, own));
    EXPECT_TRUE(own.freshData);
    EXPECT_NE(own.dataDir, DefaultDataDir());

    THostOptions named;
    ASSERT_FALSE(Read({u"--tour"_s, u"--data"_s, u"/tmp/somewhere"_s}, named));
    EXPECT_FALSE(named.freshData);
    EXPECT_EQ(named.dataDir, u"/tmp/somewhere"_s);
}

TEST(HostOptions, WithoutADisplayTheTourIsPlayedUnlessThereIsAScript)
{
    THostOptions options;
    ASSERT_FALSE(Read({}, options, true));
    EXPECT_TRUE(options.tour);
    THostOptions scripted;
    ASSERT_FALSE(Read({u"--script"_s, u"a.js"_s}, scripted, true));
    EXPECT_FALSE(scripted.tour);
}

TEST(HostSettings, RememberTheLastServersFirstAndEachOnce)
{
    const QTemporaryDir folder;
    const auto way = [](const TServerAddresses& servers, TTlsUse tls) {
        TConnectOptions to;
        to.addresses = servers;
        to.tls = tls;
        to.caFile = u"/etc/ca.pem"_s;
        return to;
    };
    const TServerAddresses pair{{u"one"_s, 1}, {u"spare"_s, 1}};
    const TServerAddresses single{{u"two"_s, 2}};
    {
        THostSettings settings(folder.path(), {});
        EXPECT_EQ(settings.Tls(), TTlsUse::Network);
        settings.RememberLogin(u"hefei1"_s, way(pair, TTlsUse::Always));
        settings.RememberLogin(u"hefei1"_s, way(single, TTlsUse::Network));
        settings.RememberLogin(u"benbu"_s, way(pair, TTlsUse::Never));
    }
    THostSettings settings(folder.path(), {});
    EXPECT_EQ(settings.LastAccount(), u"benbu"_s);
    EXPECT_TRUE(settings.UsesServer());
    EXPECT_EQ(settings.Servers(), (std::vector<TServerAddresses>{pair, single}));
    EXPECT_EQ(settings.Tls(), TTlsUse::Never);
    EXPECT_EQ(settings.CaFile(), u"/etc/ca.pem"_s);
    settings.RememberLogin(u"benbu"_s, std::nullopt);
    EXPECT_FALSE(settings.UsesServer());
    EXPECT_EQ(settings.Servers().size(), 2u);
}

TEST(HostSettings, DamagedFileIsSetAsideAndReadsAsEmpty)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"host.ini"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray("\x00\xff\xfe[log\x01in\nplace", 16));
    file.close();
    THostSettings settings(folder.path(), {});
    EXPECT_FALSE(settings.UsesServer());
    EXPECT_TRUE(settings.Servers().empty());
    settings.RememberLogin(u"hefei1"_s, std::nullopt);
    EXPECT_EQ(THostSettings(folder.path(), {}).LastAccount(), u"hefei1"_s);
}

TEST(PublishedRules, AcceptWhatTheTradeWrites)
{
    const QRegularExpression waybill(kMainBillRule.toString());
    for (const QString& number : {u"12345678"_s, u"123456789012"_s, u"16812345678901"_s, u"36812345678901"_s})
        EXPECT_TRUE(waybill.match(number).hasMatch()) << qPrintable(number);
    for (const QString& number :
        {u""_s, u"1234567"_s, u"1234567890"_s, u"12345678901234"_s, u"1234567a"_s, u" 12345678"_s})
        EXPECT_FALSE(waybill.match(number).hasMatch()) << qPrintable(number);

    const QRegularExpression phone(kPhoneRule.toString());
    for (const QString& number : {u"13855512345"_s, u"+86-13855512345"_s, u"0551-65551234"_s,
             u"0551-65551234-802"_s, u"65551234"_s, u"400-820-8820"_s, u"4008208820"_s})
        EXPECT_TRUE(phone.match(number).hasMatch()) << qPrintable(number);
    for (const QString& number : {u""_s, u"12855512345"_s, u"138555"_s, u"1385551234x"_s, u"abc"_s})
        EXPECT_FALSE(phone.match(number).hasMatch()) << qPrintable(number);
}
