// Writes the first corpus of every fuzz target: frames of every kind, the texts of all screens, change logs.

#include "fuzz/ChangeRequest.h"
#include "fuzz/WritableTables.h"
#include "tests/server/conformance/Suite.h"
#include "wire/Codec.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;
using wire::ColumnType;
using wire::Packet;

namespace {

void Write(const QString& folder, const QByteArray& bytes)
{
    QDir().mkpath(folder);
    const QByteArray name = QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex().first(16);
    QFile file(folder + u'/' + QString::fromLatin1(name));
    if (!file.open(QFile::WriteOnly) || file.write(bytes) != bytes.size())
        throw wire::Error(wire::ErrorKind::Storage, file.fileName() + u": "_s + file.errorString());
}

QByteArray Bytes(const Packet& packet)
{
    return {packet.Data(), packet.Size()};
}

std::vector<wire::ColumnInfo> Infos()
{
    return {{u"TX_LOGISTIC_ID"_s, ColumnType::Text, 32, true, false, true},
        {u"STATUS"_s, ColumnType::Integer, 0, false, true, true},
        {u"TOTAL_WEIGHT"_s, ColumnType::Number, 0, false, false, true},
        {u"CREATE_DATE"_s, ColumnType::DateTime, 0, false, false, true},
        {u"SITE_TYPE"_s, ColumnType::Text, 10}};
}

// Every form that a column can take on the wire: dictionary and plain text, integers of any width, nulls of
// no, some and all rows.
std::vector<wire::Column> Block(int rows, int step)
{
    std::vector<wire::Column> block;
    for (const wire::ColumnInfo& info : Infos())
        block.emplace_back(info.type);
    for (int row = 0; row < rows; ++row) {
        block[0].AppendText("LP" + QByteArray::number(qint64(row) * step));
        row % 3 == 0 ? block[1].AppendNull() : block[1].AppendInteger(qint64(row) * row * step);
        step == 1 ? block[2].AppendNull() : block[2].AppendNumber(row / 8.0);
        block[3].AppendInteger(1'709'600'000 + row);
        block[4].AppendText(row % 2 == 0 ? "网点" : "");
    }
    return block;
}

// Rows as storage reads them; the texts have lengths of more than one byte.
std::vector<wire::CellBlock> Cells(int rows)
{
    std::vector<wire::CellBlock> block;
    for (const wire::ColumnInfo& info : Infos())
        block.emplace_back(info.type);
    for (int row = 0; row < rows; ++row) {
        const QByteArray text(row * 3, 'x');
        block[0].AddText(text.constData(), text.size());
        row % 3 == 0 ? block[1].AddNull() : block[1].AddInteger(qint64(row) * row);
        block[2].AddNumber(row / 8.0);
        block[3].AddInteger(1'709'600'000 + row);
        block[4].AddNull();
    }
    return block;
}

wire::Request ChangeRequest()
{
    wire::Request request;
    request.kind = wire::RequestKind::ApplyUpdates;
    request.name = {{7, 7, 7}, 12};
    request.maxErrors = 0;
    request.changes.commandText = u"select a.* from tab_zelmor_bill a"_s;
    request.changes.columns = Infos();
    const wire::Value key = u"L001"_s;
    request.changes.rows = {
        {wire::ChangeKind::Update, 1, {{0, key, key}, {1, qint64(0), qint64(1)}, {2, 1.5, {}}}},
        {wire::ChangeKind::Insert, 2, {{0, {}, u"新"_s}, {3, {}, wire::DateTime{1'709'600'000}}}},
        {wire::ChangeKind::Delete, 3, {{0, key, key}}},
    };
    return request;
}

wire::Reply SaveReply()
{
    wire::Reply reply;
    reply.serverTime = conformance::Now();
    reply.outcome.rows = {{1, true, {}}, {2, false, u"已被修改"_s, true, {u"L001"_s, qint64(1), {}, {}, {}}}};
    return reply;
}

void WriteFrames(const QString& folder)
{
    wire::Request login;
    login.kind = wire::RequestKind::Login;
    login.account = u"hefei1"_s;
    login.password = u"demo"_s;
    wire::Request query;
    query.kind = wire::RequestKind::Query;
    query.text = u"select a.* from tab_zelmor_bill a"_s;
    wire::Request execute = query;
    execute.kind = wire::RequestKind::Execute;
    const QByteArray opening =
        Bytes(wire::EncodeRequest(login, 1)) + Bytes(wire::EncodeRequest(query, 2, true));
    wire::Reply loggedIn;
    loggedIn.identity = {u"hefei1"_s, u"E1"_s, u"张三"_s, u"合肥一部"_s, u"2"_s, u"110"_s};
    const QByteArray result = Bytes(wire::EncodeColumns(Infos(), 2)) + Bytes(wire::EncodeRows(Block(3, 1), 2))
        + Bytes(wire::EncodeRows(Block(70, 1000), 2));
    const QByteArray cells = Bytes(wire::EncodeColumns(Infos(), 2)) + Bytes(wire::EncodeCells(Cells(70), 2));
    const QByteArray packed =
        Bytes(wire::EncodeColumns(Infos(), 2)) + Bytes(wire::EncodeRows(Block(300, 7), 2, true));
    const wire::Error error(wire::ErrorKind::Syntax, u"第1行第8列"_s, query.text);
    for (const QByteArray& stream : {opening, Bytes(wire::EncodeRequest(execute, 3)),
             Bytes(wire::EncodeRequest({}, 4)), Bytes(wire::EncodeRequest(ChangeRequest(), 5)),
             Bytes(wire::EncodeDone(loggedIn, 1)), Bytes(wire::EncodeDone(SaveReply(), 5)), result, cells,
             packed, Bytes(wire::EncodeError(error, 2))}) {
        Write(folder, '\0' + stream);
        Write(folder, '\5' + stream);
    }
}

// For each table: an update, a delete and an insert that are accepted, and one update that is not.
void WriteChanges(const QString& folder)
{
    for (const fuzz::TableState& state : fuzz::Pristine()) {
        fuzz::ChangeInput input;
        input.request.kind = wire::RequestKind::ApplyUpdates;
        input.request.maxErrors = -1;
        wire::ChangeLog& log = input.request.changes;
        log.commandText = u"select * from "_s + state.table->name;
        constexpr size_t kMostColumns = 12;
        for (size_t i = 0; i < std::min(kMostColumns, state.table->columns.size()); ++i) {
            const company::Column& column = state.table->columns[i];
            const bool key = std::ranges::count(state.table->primaryKey, column.name) > 0;
            log.columns.push_back({column.name, column.type, column.width, key, column.guarded, true});
        }
        for (const wire::ChangeKind kind : {wire::ChangeKind::Update, wire::ChangeKind::Insert,
                 wire::ChangeKind::Delete, wire::ChangeKind::Update}) {
            wire::RowChange& row = log.rows.emplace_back();
            row.kind = kind;
            row.rowId = static_cast<quint32>(log.rows.size());
            for (size_t i = 0; i < log.columns.size(); ++i) {
                const wire::Value& value = state.rows[log.rows.size() % 2][i];
                const auto column = static_cast<quint16>(i);
                const bool text = log.columns[i].type == ColumnType::Text;
                if (kind == wire::ChangeKind::Insert)
                    row.cells.push_back({column, {}, text ? wire::Value(u"新"_s) : wire::Value(qint64(7))});
                else if (log.columns[i].key || log.columns[i].guard)
                    row.cells.push_back({column, value, value});
                else if (kind == wire::ChangeKind::Update && text)
                    row.cells.push_back({column, value, u"改"_s});
            }
            Write(folder, input.Bytes());
        }
        input.account = 1;
        input.request.maxErrors = 1;
        Write(folder, input.Bytes());
    }
}

} // namespace

int main(int argc, char** argv)
try {
    const QString folder = QString::fromLocal8Bit(argc == 2 ? argv[1] : "fuzz/corpus");
    WriteFrames(folder + u"/fuzz_frame"_s);
    for (const conformance::Case& each : conformance::ReadCases())
        Write(folder + u"/fuzz_sql"_s, each.sql.toUtf8());
    WriteChanges(folder + u"/fuzz_changes"_s);
    return 0;
} catch (const wire::Error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
