#include "wire/Codec.h"

#include "wire/Budgets.h"
#include "wire/Reader.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace wire {
namespace {

// More of a message than a box can show.
constexpr qsizetype kMostShown = 16'384;

namespace columnFlag {
constexpr quint8 Key = 1;
constexpr quint8 Guard = 2;
constexpr quint8 Stored = 4;
} // namespace columnFlag

namespace verdictFlag {
constexpr quint8 Accepted = 1;
constexpr quint8 Present = 2;
} // namespace verdictFlag

void PutValue(Packet& out, const Value& value)
{
    struct {
        Packet& to;
        void operator()(std::monostate) const { }
        void operator()(const QString& text) const { to.PutText(text); }
        void operator()(qint64 integer) const { to.Put(integer); }
        void operator()(double number) const { to.Put(number); }
        void operator()(DateTime time) const { to.Put(time.seconds); }
    } visitor{out};
    out.Put(static_cast<quint8>(value.index()));
    std::visit(visitor, value);
}

Value GetValue(Reader& in)
{
    const auto form = in.Get<quint8>();
    switch (form) {
    case 0:
        return {};
    case 1:
        return TextValue(in.GetText());
    case 2:
        return in.Get<qint64>();
    case 3:
        return in.Get<double>();
    case 4:
        return DateTime{in.Get<qint64>()};
    default:
        Malformed(u"unknown form of value %1"_s.arg(form));
    }
}

void PutInfos(Packet& out, const std::vector<ColumnInfo>& infos)
{
    out.Put(static_cast<quint32>(infos.size()));
    for (const ColumnInfo& info : infos) {
        out.PutText(info.name);
        out.Put(static_cast<quint8>(info.type));
        out.Put(static_cast<qint32>(info.width));
        out.Put(static_cast<quint8>((info.key ? columnFlag::Key : 0) | (info.guard ? columnFlag::Guard : 0)
            | (info.stored ? columnFlag::Stored : 0)));
    }
}

QByteArray BodyOf(const std::vector<ColumnInfo>& infos)
{
    Packet out(FrameKind::Columns, 0);
    PutInfos(out, infos);
    return {out.Data() + kHeaderSize, out.Size() - kHeaderSize};
}

std::vector<ColumnInfo> GetInfos(Reader& in)
{
    const quint32 count = in.GetCount(10);
    if (count > kMaxColumns)
        Malformed(u"message has %1 columns, more than %2"_s.arg(count).arg(kMaxColumns));
    std::vector<ColumnInfo> infos(count);
    for (ColumnInfo& info : infos) {
        info.name = in.GetText();
        info.type = in.GetType();
        info.width = in.Get<qint32>();
        const auto flags = in.Get<quint8>();
        info.key = (flags & columnFlag::Key) != 0;
        info.guard = (flags & columnFlag::Guard) != 0;
        info.stored = (flags & columnFlag::Stored) != 0;
    }
    return infos;
}

// A cell may take three bytes on its way and twenty times as much in memory.
void RequireCells(qint64 total)
{
    if (total > kMaxChangedCells)
        throw Error(ErrorKind::Data, u"一次保存的修改超过%1项，请分批保存！"_s.arg(kMaxChangedCells));
}

// A row takes memory, too, with no cell in it.
qint64 CellsOf(qint64 count)
{
    return std::max<qint64>(count, 1);
}

[[noreturn]] void RaiseTooLarge(qint64 bytes)
{
    throw Error(ErrorKind::Data, u"一次保存的数据过大（%1 MB），请分批保存！"_s.arg(bytes >> 20));
}

// What a change log takes in memory, asked for some at a time before it is taken.
class ChangeMemory {
public:
    explicit ChangeMemory(MemoryBudget* budget = nullptr)
        : budget_(budget)
    {
    }
    void AddCells(qint64 count) { Add(count * qint64(sizeof(CellChange))); }
    void AddRows(qint64 count) { Add(count * qint64(sizeof(RowChange))); }
    // Characters of texts that take so many bytes on their way.
    void AddTextBytes(qint64 bytes) { Add(bytes * qint64(sizeof(QChar))); }
    void AddTextHead(const Value& value) { Add(std::holds_alternative<QString>(value) ? kTextHead : 0); }

private:
    void Add(qint64 bytes)
    {
        constexpr qint64 kAtATime = 64 << 10;
        if ((total_ += bytes) > kMaxChangeMemory)
            RaiseTooLarge(total_);
        if (budget_ != nullptr && (due_ += bytes) >= kAtATime)
            budget_->Take(std::exchange(due_, 0));
    }

    MemoryBudget* budget_;
    qint64 total_ = 0;
    qint64 due_ = 0;
};

void PutChanges(Packet& out, const ChangeLog& changes)
{
    qint64 cells = 0;
    ChangeMemory memory;
    memory.AddRows(static_cast<qint64>(changes.rows.size()));
    out.PutText(changes.commandText);
    PutInfos(out, changes.columns);
    out.Put(static_cast<quint32>(changes.rows.size()));
    for (const RowChange& row : changes.rows) {
        RequireCells(cells += CellsOf(static_cast<qint64>(row.cells.size())));
        memory.AddCells(static_cast<qint64>(row.cells.size()));
        out.Put(static_cast<quint8>(row.kind));
        out.Put(row.rowId);
        out.Put(static_cast<quint32>(row.cells.size()));
        for (const CellChange& cell : row.cells) {
            out.Put(cell.column);
            PutValue(out, cell.original);
            PutValue(out, cell.current);
            memory.AddTextHead(cell.original);
            memory.AddTextHead(cell.current);
        }
    }
    const qint64 bytes = out.Size() - kHeaderSize;
    if (bytes > kMaxRequestBody)
        RaiseTooLarge(bytes);
    memory.AddTextBytes(bytes);
}

ChangeLog GetChanges(Reader& in, MemoryBudget* budget)
{
    ChangeMemory memory(budget);
    memory.AddTextBytes(in.Left()); // more than all of them
    ChangeLog changes;
    changes.commandText = in.GetText();
    changes.columns = GetInfos(in);
    const quint32 rows = in.GetCount(9);
    RequireCells(rows);
    memory.AddRows(rows);
    qint64 cells = 0;
    changes.rows.resize(rows);
    for (RowChange& row : changes.rows) {
        const auto kind = in.Get<quint8>();
        if (kind < quint8(ChangeKind::Insert) || kind > quint8(ChangeKind::Delete))
            Malformed(u"unknown kind of change %1"_s.arg(kind));
        row.kind = static_cast<ChangeKind>(kind);
        row.rowId = in.Get<quint32>();
        const quint32 count = in.GetCount(4);
        RequireCells(cells += CellsOf(count));
        memory.AddCells(count);
        row.cells.resize(count);
        for (CellChange& cell : row.cells) {
            cell.column = in.Get<quint16>();
            if (cell.column >= changes.columns.size())
                Malformed(u"change of column %1 of %2"_s.arg(cell.column).arg(changes.columns.size()));
            cell.original = GetValue(in);
            cell.current = GetValue(in);
            memory.AddTextHead(cell.original);
            memory.AddTextHead(cell.current);
        }
    }
    return changes;
}

void PutOutcome(Packet& out, const ApplyOutcome& outcome)
{
    out.Put(static_cast<quint8>(outcome.rolledBack ? 1 : 0));
    out.Put(static_cast<quint32>(outcome.rows.size()));
    for (const RowVerdict& verdict : outcome.rows) {
        out.Put(verdict.rowId);
        out.Put(static_cast<quint8>(
            (verdict.accepted ? verdictFlag::Accepted : 0) | (verdict.present ? verdictFlag::Present : 0)));
        out.PutText(verdict.reason);
        out.Put(static_cast<quint32>(verdict.presentValues.size()));
        for (const Value& value : verdict.presentValues)
            PutValue(out, value);
    }
}

ApplyOutcome GetOutcome(Reader& in)
{
    ApplyOutcome outcome;
    outcome.rolledBack = in.Get<quint8>() != 0;
    outcome.rows.resize(in.GetCount(13));
    qint64 values = 0;
    for (RowVerdict& verdict : outcome.rows) {
        verdict.rowId = in.Get<quint32>();
        const auto flags = in.Get<quint8>();
        verdict.accepted = (flags & verdictFlag::Accepted) != 0;
        verdict.present = (flags & verdictFlag::Present) != 0;
        verdict.reason = in.GetText();
        const quint32 count = in.GetCount(1);
        if ((values += count) > kMaxPresentValues)
            Malformed(u"outcome of more than %1 values"_s.arg(kMaxPresentValues));
        verdict.presentValues.resize(count);
        for (Value& value : verdict.presentValues)
            value = GetValue(in);
    }
    return outcome;
}

} // namespace

Packet EncodeRequest(const Request& request, quint32 number, bool compressionWelcome)
{
    Packet out(static_cast<FrameKind>(request.kind), number,
        compressionWelcome ? frameFlag::CompressionWelcome : quint8(0));
    switch (request.kind) {
    case RequestKind::Login:
        out.PutText(request.account);
        out.PutText(request.password);
        break;
    case RequestKind::Query:
    case RequestKind::Execute:
        out.PutText(request.text);
        break;
    case RequestKind::ApplyUpdates:
        out.Put(request.name.client.data(), qsizetype(request.name.client.size()));
        out.Put(request.name.number);
        out.Put(static_cast<qint32>(request.maxErrors));
        PutChanges(out, request.changes);
        break;
    case RequestKind::Clock:
        break;
    }
    // What clients send is small, or small beside the work that it causes.
    out.Seal();
    return out;
}

Request DecodeRequest(const Frame& frame, MemoryBudget* budget)
{
    Reader in(frame);
    Request request;
    switch (frame.header.kind) {
    case FrameKind::Login:
        request.account = in.GetText();
        request.password = in.GetText();
        break;
    case FrameKind::Query:
    case FrameKind::Execute:
        if (budget != nullptr)
            budget->Take(in.Left() * qint64(sizeof(QChar)));
        request.text = in.GetText();
        break;
    case FrameKind::ApplyUpdates:
        std::memcpy(request.name.client.data(), in.Take(qsizetype(request.name.client.size())),
            request.name.client.size());
        request.name.number = in.Get<quint64>();
        request.maxErrors = in.Get<qint32>();
        request.changes = GetChanges(in, budget);
        break;
    case FrameKind::Clock:
        break;
    default:
        Malformed(u"frame of kind %1 is no request"_s.arg(int(frame.header.kind)));
    }
    request.kind = static_cast<RequestKind>(frame.header.kind);
    in.Finish();
    return request;
}

ColumnInfos::ColumnInfos()
{
    static const auto none = std::make_shared<const Shared>(Shared{{}, BodyOf({})});
    shared_ = none;
}

ColumnInfos::ColumnInfos(std::vector<ColumnInfo> infos, QByteArray body)
    : shared_(std::make_shared<const Shared>(Shared{std::move(infos), std::move(body)}))
{
}

ColumnInfos::ColumnInfos(std::vector<ColumnInfo> infos)
{
    QByteArray body = BodyOf(infos);
    *this = ColumnInfos(std::move(infos), std::move(body));
}

ColumnInfos::ColumnInfos(std::initializer_list<ColumnInfo> infos)
    : ColumnInfos(std::vector<ColumnInfo>(infos))
{
}

Packet EncodeColumns(const ColumnInfos& infos, quint32 number)
{
    const QByteArray& body = infos.Body();
    Packet out(FrameKind::Columns, number, 0, body.size());
    out.Put(body.constData(), body.size());
    out.Seal();
    return out;
}

ColumnInfos DecodeColumns(const Frame& frame)
{
    Reader in(frame, FrameKind::Columns);
    std::vector<ColumnInfo> infos = GetInfos(in);
    in.Finish();
    return {std::move(infos), QByteArray(frame.body.Begin(), frame.body.Size())};
}

ColumnInfos KnownColumns::Decode(const Frame& frame)
{
    constexpr size_t kMost = 32;
    constexpr qsizetype kMostBytes = 64 * 1024; // of one of them
    const QByteArrayView body(frame.body.Begin(), frame.body.Size());
    auto at = known_.end();
    if (frame.header.kind == FrameKind::Columns)
        at = std::ranges::find_if(known_, [&](const ColumnInfos& known) { return known.Body() == body; });
    if (at == known_.end()) {
        ColumnInfos infos = DecodeColumns(frame);
        if (body.size() > kMostBytes)
            return infos;
        if (known_.size() == kMost)
            known_.pop_back();
        at = known_.insert(known_.end(), std::move(infos));
    }
    std::rotate(known_.begin(), at, at + 1);
    return known_.front();
}

Packet EncodeDone(const Reply& reply, quint32 number)
{
    Packet out(FrameKind::Done, number);
    const Identity& who = reply.identity;
    out.Put(reply.rowCount);
    out.Put(reply.serverTime.seconds);
    for (const QString* text :
        {&who.account, &who.employeeCode, &who.employeeName, &who.site, &who.userType, &who.rights})
        out.PutText(*text);
    PutOutcome(out, reply.outcome);
    out.Seal();
    return out;
}

Reply DecodeDone(const Frame& frame)
{
    Reader in(frame, FrameKind::Done);
    Reply reply;
    Identity& who = reply.identity;
    reply.rowCount = in.Get<qint64>();
    reply.serverTime.seconds = in.Get<qint64>();
    for (QString* text :
        {&who.account, &who.employeeCode, &who.employeeName, &who.site, &who.userType, &who.rights})
        *text = in.GetText();
    reply.outcome = GetOutcome(in);
    in.Finish();
    return reply;
}

Packet EncodeError(const Error& error, quint32 number)
{
    Packet out(FrameKind::Error, number);
    out.Put(static_cast<quint8>(error.Kind()));
    out.PutText(error.Message());
    out.PutText(error.SqlText());
    out.Seal();
    return out;
}

Error DecodeError(const Frame& frame)
{
    Reader in(frame, FrameKind::Error);
    const auto kind = in.Get<quint8>();
    if (kind < quint8(ErrorKind::Connection) || kind > quint8(ErrorKind::Usage))
        Malformed(u"unknown kind of error %1"_s.arg(kind));
    QString message = in.GetText();
    const QString sqlText = in.GetText();
    in.Finish();
    if (message.size() > kMostShown)
        message = message.first(kMostShown) + u"……"_s;
    return Error(static_cast<ErrorKind>(kind), message, sqlText);
}

} // namespace wire
