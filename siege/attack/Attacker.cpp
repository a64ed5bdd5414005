#include "siege/attack/Attacker.h"

#include "demo/Generator.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QTcpSocket>

using wire::Error;
using wire::ErrorKind;

namespace attack {
namespace {

constexpr int kPatience = 60'000; // milliseconds; whoever waits longer has been frozen out

} // namespace

wire::Request Login(const QString& account, const QString& password)
{
    wire::Request request;
    request.kind = wire::RequestKind::Login;
    request.account = account;
    request.password = password;
    return request;
}

wire::Request Query(const QString& text)
{
    wire::Request request;
    request.kind = wire::RequestKind::Query;
    request.text = text;
    return request;
}

wire::Request Execute(const QString& text)
{
    wire::Request request = Query(text);
    request.kind = wire::RequestKind::Execute;
    return request;
}

wire::Packet Compressed(const wire::Packet& packet)
{
    wire::Packet smaller(static_cast<wire::FrameKind>(packet.Data()[6]), 1);
    smaller.Put(packet.Data() + wire::kHeaderSize, packet.Size() - wire::kHeaderSize);
    smaller.Seal(true);
    return smaller;
}

wire::Request Save(const QString& query, const wire::RowSet& rows, qsizetype row,
    const std::vector<std::pair<QString, wire::Value>>& edits, quint64 number)
{
    wire::Request request;
    request.kind = wire::RequestKind::ApplyUpdates;
    request.name.client = {9, 9, 9};
    request.name.number = number;
    request.changes.commandText = query;
    request.changes.columns = rows.infos;
    wire::RowChange change{wire::ChangeKind::Update, 1, {}};
    for (size_t i = 0; i < rows.infos.size(); ++i) {
        const wire::Value read = rows.columns[i].ValueAt(row);
        const auto edit =
            std::ranges::find_if(edits, [&](const auto& item) { return item.first == rows.infos[i].name; });
        if (edit != edits.end())
            change.cells.push_back({quint16(i), read, edit->second});
        else if (rows.infos[i].key || rows.infos[i].guard)
            change.cells.push_back({quint16(i), read, read});
    }
    request.changes.rows = {change};
    return request;
}

Attacker::Attacker(int port, const QString& from)
{
    auto socket = std::make_unique<QTcpSocket>();
    socket->bind(QHostAddress(from));
    socket->connectToHost(QHostAddress(QHostAddress::LocalHost), quint16(port));
    if (!socket->waitForConnected(5000))
        throw Error(ErrorKind::Connection, socket->errorString());
    stream_.emplace(std::move(socket));
}

Answer Attacker::Ask(const wire::Request& request, bool compressed)
{
    QElapsedTimer time;
    time.start();
    Answer answer;
    try {
        const wire::Packet packet = wire::EncodeRequest(request, ++number_);
        Send(compressed ? Compressed(packet) : packet);
    } catch (const Error& error) {
        answer.reason = error.Message();
        return answer;
    }
    answer = Receive();
    answer.seconds = double(time.elapsed()) / 1000;
    return answer;
}

Answer Attacker::Receive()
{
    Answer answer;
    try {
        wire::Frame frame;
        while (Read(frame, wire::kMaxBody)) {
            switch (frame.header.kind) {
            case wire::FrameKind::Columns:
                answer.rows.infos = *wire::DecodeColumns(frame);
                answer.rows.columns.clear();
                for (const wire::ColumnInfo& info : answer.rows.infos)
                    answer.rows.columns.emplace_back(info.type);
                break;
            case wire::FrameKind::Rows: {
                std::vector<wire::Column> block = wire::DecodeRows(frame, answer.rows.infos);
                for (size_t i = 0; i < block.size(); ++i)
                    answer.rows.columns[i].AppendColumn(std::move(block[i]));
                break;
            }
            case wire::FrameKind::Done:
                answer.reply = wire::DecodeDone(frame);
                answer.accepted = true;
                return answer;
            default: {
                const Error error = wire::DecodeError(frame);
                answer.kind = error.Kind();
                answer.reason = error.Message();
                return answer;
            }
            }
        }
        answer.reason = QStringLiteral("closed");
    } catch (const Error& error) {
        answer.reason = error.Message();
    }
    return answer;
}

wire::Identity Attacker::LogIn(const QString& account)
{
    const Answer answer = Ask(Login(account, demo::DemoPassword()));
    if (!answer.accepted)
        throw Error(answer.kind, answer.reason);
    return answer.reply.identity;
}

qsizetype Attacker::ReadSome(char* to, qsizetype size, bool /*idle*/)
{
    const qsizetype got = stream_->Receive(to, size, kPatience);
    if (got == wire::SocketStream::kTimedOut)
        throw Error(ErrorKind::Cancelled, QStringLiteral("no answer"));
    return got;
}

void Attacker::WriteAll(const char* bytes, qsizetype size)
{
    if (!stream_->Send(bytes, size, kPatience))
        throw Error(ErrorKind::Cancelled, QStringLiteral("nothing is taken"));
}

} // namespace attack
