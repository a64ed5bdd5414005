// What encrypting costs a server program: throughput of one mix of requests, plain and with TLS, in turns in
// the same run; and the server's memory for each of many logged-in sessions, idle after some requests. Usage:
// bench_tls [throughput|memory]

#include "demo/Generator.h"
#include "runtime/data/TcpTransport.h"
#include "tests/support/RowKeeper.h"
#include "tests/support/ServerProcess.h"
#include "tests/support/TestAuthority.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kRounds = 5;
constexpr auto kRoundTime = std::chrono::seconds(2);
constexpr int kClients = 8;
constexpr int kSessions = 500;
constexpr auto kQuiet = std::chrono::seconds(10); // until a server counts as idle

// The server program over a small database.
class Program {
public:
    explicit Program(const QStringList& options = {})
        : process_(
            folder_.path(), QStringList{u"--demo"_s, u"small"_s, u"--log-level"_s, u"error"_s} + options)
    {
    }
    quint16 Port() const { return quint16(process_.Port()); }
    // Kilobytes; proportional, without what others share.
    qint64 Memory() const
    {
        QFile file(u"/proc/%1/smaps_rollup"_s.arg(process_.ProcessId()));
        if (file.open(QFile::ReadOnly))
            for (const QByteArray& line : file.readAll().split('\n'))
                if (line.startsWith("Pss:"))
                    return line.simplified().split(' ')[1].toLongLong();
        return 0;
    }

private:
    QTemporaryDir folder_;
    ServerProcess process_;
};

class Client {
public:
    explicit Client(TConnectOptions way, int number)
        : transport_(MakeTcpTransport(std::move(way)))
        , number_(number)
    {
        transport_->Connect();
        wire::Request login;
        login.kind = wire::RequestKind::Login;
        // No account has more than half of the sessions. The few that are timed are the first one's.
        const auto& logins = demo::Logins();
        login.account = (number < kClients ? logins.front() : logins[size_t(number) % logins.size()]).account;
        login.password = demo::DemoPassword();
        transport_->Exchange(login, keeper_);
    }

    void Query(const QString& text)
    {
        wire::Request request;
        request.kind = wire::RequestKind::Query;
        request.text = text;
        transport_->Exchange(request, keeper_);
    }
    // Eight look-ups, a query of 500 rows, a save of five.
    int Mix(int turn)
    {
        for (int i = 0; i < 8; ++i)
            Query(
                u"select a.SITE_NAME from TAB_AREA_DETAIL a where a.COUNTY = '%1' and a.STARTNO <= %2 and rownum=1"_s
                    .arg(turn % 7)
                    .arg(i));
        Query(u"select a.* from tab_zelmor_bill a where rownum<=500"_s);
        Save(turn);
        return 10;
    }

private:
    void Save(int turn)
    {
        wire::Request request;
        request.kind = wire::RequestKind::ApplyUpdates;
        request.changes.commandText = u"select a.* from tab_zelmor_bill a where rownum<=500"_s;
        request.changes.columns = keeper_.rows.infos;
        request.name.client[0] = quint8(number_);
        request.name.number = quint64(Clock::now().time_since_epoch().count());
        const qsizetype count = keeper_.rows.RowCount();
        for (int i = 0; i < 5; ++i) {
            wire::RowChange& row = request.changes.rows.emplace_back();
            row.rowId = quint32(i + 1);
            // Each client has rows of its own.
            const qsizetype at = (number_ * 5 + i) % std::max<qsizetype>(count, 1);
            for (size_t column = 0; column < keeper_.rows.infos.size(); ++column) {
                const wire::ColumnInfo& info = keeper_.rows.infos[column];
                const wire::Value value = keeper_.rows.columns[column].ValueAt(at);
                if (info.name == u"REMARK")
                    row.cells.push_back({quint16(column), value, u"第%1次"_s.arg(turn)});
                else if (info.key || info.guard)
                    row.cells.push_back({quint16(column), value, value});
            }
        }
        transport_->Exchange(request, keeper_);
    }

    std::unique_ptr<wire::Transport> transport_;
    RowKeeper keeper_;
    int number_;
};

TConnectOptions WayTo(const Program& program, TTlsUse tls, const QString& caFile)
{
    TConnectOptions way;
    way.addresses = {{u"127.0.0.1"_s, program.Port()}};
    way.tls = tls;
    way.caFile = caFile;
    return way;
}

// Requests a second.
double Throughput(const TConnectOptions& way)
{
    std::atomic<qint64> done{0};
    std::atomic<bool> stop{false};
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < kClients; ++number) {
        threads.emplace_back([&, number] {
            Client client(way, number);
            client.Mix(-1);
            ++ready;
            for (int turn = 0; !stop; ++turn)
                done += client.Mix(turn);
        });
    }
    while (ready < kClients)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const qint64 before = done;
    const auto begin = Clock::now();
    std::this_thread::sleep_for(kRoundTime);
    const double count = double(done - before) / std::chrono::duration<double>(Clock::now() - begin).count();
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    return count;
}

double Median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + qsizetype(values.size() / 2), values.end());
    return values[values.size() / 2];
}

void BenchThroughput(const TConnectOptions& plain, const TConnectOptions& encrypted)
{
    std::vector<double> plainRates;
    std::vector<double> tlsRates;
    std::vector<double> ratios;
    for (int round = 0; round < kRounds; ++round) {
        plainRates.push_back(Throughput(plain));
        tlsRates.push_back(Throughput(encrypted));
        ratios.push_back(tlsRates.back() / plainRates.back());
    }
    std::printf(
        "%d clients, eight look-ups, 500 rows, a save of five: plain %.0f requests/s, TLS %.0f, ratio %.2f\n",
        kClients, Median(plainRates), Median(tlsRates), Median(ratios));
}

void BenchMemory(const char* name, const Program& program, const TConnectOptions& way)
{
    std::vector<std::unique_ptr<Client>> clients;
    // What is there once, whatever the number of sessions.
    for (int i = 0; i < 20; ++i)
        clients.push_back(std::make_unique<Client>(way, i));
    for (const auto& client : clients)
        client->Mix(0);
    const qint64 before = program.Memory();
    while (clients.size() < 20 + kSessions)
        clients.push_back(std::make_unique<Client>(way, int(clients.size())));
    const qint64 loggedIn = program.Memory();
    for (const auto& client : clients)
        client->Mix(1);
    std::this_thread::sleep_for(kQuiet);
    const qint64 used = program.Memory();
    std::printf(
        "%d sessions, %s: %lld KB each after login, %lld KB idle after a round of the mix (server %lld MB)\n",
        kSessions, name, (loggedIn - before) / kSessions, (used - before) / kSessions, used / 1024);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const auto wanted = [&](const QString& work) { return arguments.size() < 2 || arguments.contains(work); };
    TestAuthority authority;
    const TestAuthority::Files files = authority.Issue();
    const QStringList tlsOptions{u"--tls-certificate"_s, files.certificates, u"--tls-key"_s, files.key};
    if (wanted(u"throughput"_s)) {
        const Program plain;
        const Program encrypted(tlsOptions);
        BenchThroughput(
            WayTo(plain, TTlsUse::Never, {}), WayTo(encrypted, TTlsUse::Always, authority.CaFile()));
    }
    if (wanted(u"memory"_s)) {
        const Program plain;
        BenchMemory("plain", plain, WayTo(plain, TTlsUse::Never, {}));
        const Program encrypted(tlsOptions);
        BenchMemory("TLS", encrypted, WayTo(encrypted, TTlsUse::Always, authority.CaFile()));
    }
    return 0;
}
