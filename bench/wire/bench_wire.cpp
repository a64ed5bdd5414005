// What the way over TCP costs, beside the least that any way could cost on this machine: small requests
// against an echo of as many bytes over bare sockets, and a large result against sending as many bytes.

#include "runtime/data/SocketConnection.h"
#include "runtime/data/TcpTransport.h"
#include "server/net/Listener.h"
#include "tests/support/RowKeeper.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <random>
#include <thread>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRounds = 5;
constexpr int kRequests = 10'000;
constexpr int kRows = 100'000;
constexpr qsizetype kBlock = 8192;
constexpr int kColumns = 70;
// About what an address look-up and its reply of one row take.
constexpr size_t kRequestBytes = 150;
constexpr size_t kReplyBytes = 200;

// Milliseconds that the work takes: the median of some rounds.
double Median(const std::function<void()>& work)
{
    std::vector<double> times;
    for (int round = 0; round < kRounds; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        times.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count());
    }
    std::nth_element(times.begin(), times.begin() + kRounds / 2, times.end());
    return times[kRounds / 2];
}

// An order table's mix of columns: few different texts, all different texts, flags, numbers, dates, nulls.
std::vector<std::vector<wire::Column>> MakeBlocks()
{
    std::mt19937 random(1);
    const auto typeOf = [](int column) {
        switch (column % 10) {
        case 6:
            return wire::ColumnType::Integer;
        case 7:
            return wire::ColumnType::Number;
        case 8:
            return wire::ColumnType::DateTime;
        default:
            return wire::ColumnType::Text;
        }
    };
    std::vector<wire::Column> columns;
    for (int column = 0; column < kColumns; ++column)
        columns.emplace_back(typeOf(column));
    std::vector<std::vector<wire::Column>> blocks;
    for (int begin = 0; begin < kRows; begin += int(kBlock)) {
        const int rows = std::min<int>(int(kBlock), kRows - begin);
        std::vector<wire::Column> block;
        for (int column = 0; column < kColumns; ++column) {
            for (int row = 0; row < rows; ++row) {
                const unsigned pick = unsigned(random());
                switch (column % 10) {
                case 6:
                    columns[size_t(column)].AppendInteger(pick % 3);
                    break;
                case 7:
                    columns[size_t(column)].AppendNumber(pick % 10000 / 100.0);
                    break;
                case 8:
                    columns[size_t(column)].AppendInteger(1'700'000'000 + pick % 2'592'000);
                    break;
                case 9:
                    columns[size_t(column)].AppendNull();
                    break;
                case 5:
                    columns[size_t(column)].AppendText(
                        "浙江省杭州市余杭区文一西路" + QByteArray::number(pick));
                    break;
                default:
                    columns[size_t(column)].AppendText("安徽合肥" + QByteArray::number(pick % 400));
                    break;
                }
            }
            block.push_back(columns[size_t(column)].TakeRows());
        }
        blocks.push_back(std::move(block));
    }
    return blocks;
}

std::vector<wire::ColumnInfo> InfosOf(const std::vector<wire::Column>& block)
{
    std::vector<wire::ColumnInfo> infos;
    for (const wire::Column& column : block)
        infos.push_back({u"COLUMN_%1"_s.arg(infos.size()), column.Type()});
    return infos;
}

// Answers "large" with the large result, everything else with one small row.
class BenchSession : public server::Session {
public:
    explicit BenchSession(const std::vector<std::vector<wire::Column>>& large)
        : large_(large)
    {
    }
    wire::Reply Handle(const wire::Request& request, wire::ReplySink& sink) override
    {
        if (request.kind == wire::RequestKind::Query && request.text == u"large") {
            sink.Columns(InfosOf(large_.front()));
            for (const std::vector<wire::Column>& block : large_)
                sink.Rows(block);
        } else if (request.kind == wire::RequestKind::Query) {
            sink.Columns({{u"SITE_NAME"_s, wire::ColumnType::Text, 60}});
            std::vector<wire::Column> row;
            row.emplace_back(wire::ColumnType::Text).AppendText("安徽合肥一部");
            sink.Rows(std::move(row));
        }
        return {};
    }
    const wire::Identity& Identity() const noexcept override { return identity_; }
    void Interrupt() noexcept override { }

private:
    const std::vector<std::vector<wire::Column>>& large_;
    wire::Identity identity_;
};

void ReadAll(int socket, char* to, size_t size)
{
    while (size > 0) {
        const ssize_t got = recv(socket, to, size, 0);
        if (got <= 0)
            std::exit(1);
        to += got;
        size -= size_t(got);
    }
}

void WriteAll(int socket, const char* from, size_t size)
{
    while (size > 0) {
        const ssize_t sent = send(socket, from, size, 0);
        if (sent <= 0)
            std::exit(1);
        from += sent;
        size -= size_t(sent);
    }
}

// Two connected TCP sockets over loopback.
struct BarePair {
    BarePair()
    {
        const int acceptor = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        client = socket(AF_INET, SOCK_STREAM, 0);
        if (bind(acceptor, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(acceptor, 1) != 0
            || getsockname(acceptor, reinterpret_cast<sockaddr*>(&address), &size) != 0
            || connect(client, reinterpret_cast<sockaddr*>(&address), size) != 0)
            std::exit(1);
        server = accept(acceptor, nullptr, nullptr);
        close(acceptor);
        const int on = 1;
        setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        setsockopt(server, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    ~BarePair()
    {
        close(client);
        close(server);
    }
    int client;
    int server;
};

double BareRoundTrips()
{
    BarePair pair;
    std::thread echo([&] {
        std::vector<char> bytes(kReplyBytes);
        for (int i = 0; i < kRounds * kRequests; ++i) {
            ReadAll(pair.server, bytes.data(), kRequestBytes);
            WriteAll(pair.server, bytes.data(), kReplyBytes);
        }
    });
    std::vector<char> bytes(kReplyBytes);
    const double time = Median([&] {
        for (int i = 0; i < kRequests; ++i) {
            WriteAll(pair.client, bytes.data(), kRequestBytes);
            ReadAll(pair.client, bytes.data(), kReplyBytes);
        }
    });
    echo.join();
    return time;
}

double BareTransfer(size_t size)
{
    BarePair pair;
    const std::vector<char> from(size, 'x');
    std::thread sender([&] {
        for (int i = 0; i < kRounds; ++i) {
            char go;
            ReadAll(pair.server, &go, 1);
            WriteAll(pair.server, from.data(), size);
        }
    });
    std::vector<char> to(size);
    const double time = Median([&] {
        WriteAll(pair.client, "g", 1);
        ReadAll(pair.client, to.data(), size);
    });
    sender.join();
    return time;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const std::vector<std::vector<wire::Column>> large = MakeBlocks();
    server::ListenerOptions options;
    options.port = 0;
    server::Listener listener([&](const QString&) { return std::make_unique<BenchSession>(large); }, options);
    listener.Start();
    const auto client = MakeTcpTransport(u"127.0.0.1"_s, listener.Port());
    client->Connect();
    RowKeeper keeper;
    wire::Request request;
    request.kind = wire::RequestKind::Login;
    client->Exchange(request, keeper);

    request.kind = wire::RequestKind::Query;
    request.text = QString(int(kRequestBytes), u'x');
    const double small = Median([&] {
        for (int i = 0; i < kRequests; ++i)
            client->Exchange(request, keeper);
    });
    const double bare = BareRoundTrips();
    std::printf("small request and reply, %d times: %.1f us, bare echo %.1f us, ratio %.2f\n", kRequests,
        small * 1000 / kRequests, bare * 1000 / kRequests, small / bare);

    request.text = u"large"_s;
    const double transfer = Median([&] { client->Exchange(request, keeper); });
    size_t bytes = 0;
    for (wire::Column& column : keeper.rows.columns) {
        column.Squeeze();
        bytes += column.MemoryUse();
    }
    const double merged = Median([&] {
        keeper.Columns(InfosOf(large.front()));
        for (const std::vector<wire::Column>& block : large)
            keeper.Rows(block);
    });
    std::printf(
        "%d rows of %d columns, %zu bytes a row: encoded, sent, decoded, joined in %.0f ms; sending as many "
        "bytes bare %.0f ms; copying and joining them in process %.0f ms\n",
        kRows, kColumns, bytes / kRows, transfer, BareTransfer(bytes), merged);
    client->Disconnect();
    listener.Stop();
    return 0;
}
