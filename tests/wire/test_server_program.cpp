#include "runtime/data/SocketConnection.h"
#include "tests/wire/FakeServer.h"

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QString Program()
{
    return QCoreApplication::applicationDirPath() + u"/zelmor-server"_s;
}

struct Outcome {
    int code;
    QString output;
    QString complaint;
};

Outcome RunServer(const QStringList& arguments, const QByteArray& input = {})
{
    QProcess process;
    process.start(Program(), arguments);
    process.write(input);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(60'000)) << arguments.join(u' ').toStdString();
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
        QString::fromUtf8(process.readAllStandardOutput()),
        QString::fromUtf8(process.readAllStandardError())};
}

} // namespace

TEST(ServerProgramTest, SaysWhatIsWrongWithItsArguments)
{
    const QTemporaryDir folder;
    const QString data = folder.filePath(u"data"_s);
    const std::pair<QStringList, QString> cases[] = {
        {{}, u"which database"_s},
        {{u"--data"_s, data, u"--listen"_s, u"127.0.0.1:70000"_s}, u"port between 0 and 65535"_s},
        {{u"--data"_s, data, u"--listen"_s, u"somewhere:1"_s}, u"not an address"_s},
        {{u"--data"_s, data, u"--listen"_s, u"0.0.0.0:0"_s}, u"--plain-network"_s},
        {{u"--data"_s, data, u"--listen"_s, u"[::]:0"_s}, u"--plain-network"_s},
        {{u"--data"_s, data, u"--now"_s, u"noon"_s}, u"--now takes a time"_s},
        {{u"--data"_s, data, u"serve"_s}, u"“serve” is not understood"_s},
        {{u"--port"_s, u"1"_s}, u"Unknown option"_s},
        {{u"account"_s, u"--data"_s, data}, u"add, passwd, role, remove or list"_s},
        {{u"account"_s, u"add"_s, u"x"_s, u"--data"_s, data}, u"takes 2 arguments"_s},
        {{u"account"_s, u"passwd"_s, u"x"_s, u"--data"_s, data}, u"no password"_s},
    };
    for (const auto& [arguments, complaint] : cases) {
        const Outcome outcome = RunServer(arguments);
        EXPECT_GT(outcome.code, 0) << complaint.toStdString();
        EXPECT_TRUE(outcome.complaint.contains(complaint)) << outcome.complaint.toStdString();
    }
    EXPECT_FALSE(QFile::exists(data)) << "made a database all the same";
    EXPECT_EQ(RunServer({u"--help"_s}).code, 0);
}

TEST(ServerProgramTest, ServesAnAccountThatWasAddedAndStopsWhenTold)
{
    const QTemporaryDir folder;
    const QStringList data{u"--data"_s, folder.path()};
    QProcess server;
    server.setProcessChannelMode(QProcess::MergedChannels);
    server.start(Program(),
        data
            + QStringList{
                u"--demo"_s, u"50"_s, u"--listen"_s, u"127.0.0.1:0"_s, u"--now"_s, u"2026-03-14 09:30:00"_s});
    QString log;
    QRegularExpressionMatch listening;
    static const QRegularExpression kListening(u"event=listening address=127\\.0\\.0\\.1 port=(\\d+)"_s);
    while (!(listening = kListening.match(log)).hasMatch()) {
        ASSERT_TRUE(server.bytesAvailable() > 0 || server.waitForReadyRead(60'000)) << log.toStdString();
        log += QString::fromUtf8(server.readAll());
    }

    const QStringList list = QStringList{u"account"_s, u"list"_s} + data;
    const QString employee = RunServer(list).output.section(u'\t', 1, 1);
    ASSERT_FALSE(employee.isEmpty());
    EXPECT_EQ(
        RunServer(QStringList{u"account"_s, u"add"_s, u"checker"_s, employee} + data, "sesame 1234\n").code,
        0);
    EXPECT_TRUE(RunServer(list).output.contains(u"checker\t"_s + employee));

    TSocketConnectionEx connection;
    connection.Host = u"127.0.0.1"_s;
    connection.Port = listening.captured(1).toInt();
    EXPECT_THROW(connection.Open(u"checker"_s, u"sesame"_s), wire::Error);
    connection.Open(u"checker"_s, u"sesame 1234"_s);
    EXPECT_EQ(connection.Identity().employeeCode, employee);
    EXPECT_EQ(connection.ServerTime().Format(u"yyyy-mm-dd hh"), u"2026-03-14 09"_s);
    RowKeeper rows;
    EXPECT_EQ(connection.Send(QueryRequest(u"select * from tab_zelmor_bill a"_s), rows).rowCount, 50);
    EXPECT_EQ(rows.rows.RowCount(), 50);

    EXPECT_EQ(RunServer(QStringList{u"account"_s, u"remove"_s, u"checker"_s} + data).code, 0);
#ifdef Q_OS_UNIX
    server.terminate();
    ASSERT_TRUE(server.waitForFinished(30'000));
    EXPECT_EQ(server.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(server.exitCode(), 0);
    EXPECT_TRUE(server.readAll().contains("stopped"));
#endif
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
