#include "server/provider/Outcomes.h"

#include "server/refusal/UserTexts.h"
#include "server/storage/OwnTables.h"
#include "wire/Codec.h"

#include <QDataStream>
#include <QDateTime>

#include <QtEndian>

#include <array>
#include <bit>

namespace server {
namespace {

using wire::ColumnType;

constexpr qint64 kKeptSeconds = 7 * 24 * 3600;
constexpr quint8 kFormat = 2;
constexpr quint8 kFormatWithoutDigest = 1; // of older servers over the same database
constexpr std::chrono::minutes kSecondLook(30);

void Write(QDataStream& stream, const wire::Value& value)
{
    stream << static_cast<quint8>(value.index());
    if (const auto* text = std::get_if<QString>(&value))
        stream << *text;
    else if (const auto* integer = std::get_if<qint64>(&value))
        stream << *integer;
    else if (const auto* number = std::get_if<double>(&value))
        stream << *number;
    else if (const auto* time = std::get_if<wire::DateTime>(&value))
        stream << time->seconds;
}

template <typename T> T Read(QDataStream& stream)
{
    T value{};
    stream >> value;
    return value;
}

wire::Value ReadValue(QDataStream& stream)
{
    switch (Read<quint8>(stream)) {
    case 1:
        return Read<QString>(stream);
    case 2:
        return Read<qint64>(stream);
    case 3:
        return Read<double>(stream);
    case 4:
        return wire::DateTime{Read<qint64>(stream)};
    default:
        return {};
    }
}

// The same on every machine: servers over one database read what others have kept.
class Digest {
public:
    void Add(quint64 number)
    {
        value_ = (value_ ^ number) * 0x9E37'79B9'7F4A'7C15;
        value_ ^= value_ >> 29;
    }
    void Add(QStringView text)
    {
        Add(static_cast<quint64>(text.size()));
        qsizetype at = 0;
        for (; at + 4 <= text.size(); at += 4)
            Add(qFromLittleEndian<quint64>(text.utf16() + at));
        for (; at < text.size(); ++at)
            Add(text[at].unicode());
    }
    void AddValue(const wire::Value& value)
    {
        Add(static_cast<quint64>(value.index()));
        if (const auto* text = std::get_if<QString>(&value))
            Add(*text);
        else if (const auto* integer = std::get_if<qint64>(&value))
            Add(static_cast<quint64>(*integer));
        else if (const auto* number = std::get_if<double>(&value))
            Add(std::bit_cast<quint64>(*number));
        else if (const auto* time = std::get_if<wire::DateTime>(&value))
            Add(static_cast<quint64>(time->seconds));
    }
    quint64 Value() const { return value_; }

private:
    quint64 value_ = 0x2545'F491'4F6C'DD1D;
};

// Text, which every database keeps alike.
QString Encode(quint64 digest, const wire::ApplyOutcome& outcome)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QDataStream::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_4);
    stream << kFormat << digest << outcome.rolledBack << static_cast<quint32>(outcome.rows.size());
    for (const wire::RowVerdict& row : outcome.rows) {
        stream << row.rowId << row.accepted;
        if (row.accepted)
            continue;
        stream << row.reason << row.present << static_cast<quint32>(row.presentValues.size());
        for (const wire::Value& value : row.presentValues)
            Write(stream, value);
    }
    return QString::fromLatin1(qCompress(bytes, 1).toBase64());
}

// Raises where it is the outcome of another log than the digest's.
wire::ApplyOutcome Decode(const QString& text, quint64 digest)
{
    QDataStream stream(qUncompress(QByteArray::fromBase64(text.toLatin1())));
    stream.setVersion(QDataStream::Qt_6_4);
    wire::ApplyOutcome outcome;
    const auto format = Read<quint8>(stream);
    if (format != kFormat && format != kFormatWithoutDigest)
        throw wire::Error(wire::ErrorKind::Storage, texts::Damaged());
    if (format == kFormat && Read<quint64>(stream) != digest)
        throw wire::Error(wire::ErrorKind::Data, texts::NameUsedAgain());
    outcome.rolledBack = Read<bool>(stream);
    const auto rows = Read<quint32>(stream);
    for (quint32 i = 0; i < rows && stream.status() == QDataStream::Ok; ++i) {
        wire::RowVerdict& row = outcome.rows.emplace_back();
        row.rowId = Read<quint32>(stream);
        row.accepted = Read<bool>(stream);
        if (row.accepted)
            continue;
        row.reason = Read<QString>(stream);
        row.present = Read<bool>(stream);
        const auto values = Read<quint32>(stream);
        for (quint32 v = 0; v < values && stream.status() == QDataStream::Ok; ++v)
            row.presentValues.push_back(ReadValue(stream));
    }
    if (stream.status() != QDataStream::Ok)
        throw wire::Error(wire::ErrorKind::Storage, texts::Damaged());
    return outcome;
}

storage::Row NameOf(const wire::ApplyName& name)
{
    const QByteArray client(
        reinterpret_cast<const char*>(name.client.data()), static_cast<qsizetype>(name.client.size()));
    return {QString::fromLatin1(client.toHex()), static_cast<qint64>(name.number)};
}

} // namespace

quint64 DigestOf(const wire::ChangeLog& log, int maxErrors)
{
    Digest digest;
    digest.Add(static_cast<quint64>(maxErrors));
    digest.Add(log.commandText);
    for (const wire::ColumnInfo& column : log.columns) {
        digest.Add(column.name);
        digest.Add(static_cast<quint64>(column.type));
    }
    for (const wire::RowChange& row : log.rows) {
        digest.Add(row.rowId);
        digest.Add(static_cast<quint64>(row.kind) << 32 | row.cells.size());
        for (const wire::CellChange& cell : row.cells) {
            digest.Add(cell.column);
            digest.AddValue(cell.original);
            digest.AddValue(cell.current);
        }
    }
    return digest.Value();
}

void RequireNew(
    storage::OwnStatements& statements, const wire::ApplyName& name, const QString& account, quint64 digest)
{
    constexpr std::array types{ColumnType::Text, ColumnType::Text};
    statements.SelectLater("select ACCOUNT, OUTCOME from zelmor_outcome where CLIENT = ? and SERIAL = ?",
        NameOf(name), types, [account, digest](const std::vector<storage::Row>& rows) {
            if (rows.empty())
                return;
            if (wire::ToText(rows.front()[0]) != account)
                throw wire::Error(wire::ErrorKind::Policy, texts::ForeignName());
            throw AppliedBefore{Decode(wire::ToText(rows.front()[1]), digest)};
        });
}

void RequireSendable(const wire::ApplyOutcome& outcome)
{
    if (outcome.Rejected() == 0)
        return; // some bytes a row
    wire::Reply reply;
    reply.outcome = outcome;
    try {
        wire::EncodeDone(reply, 0);
    } catch (const wire::Error& error) {
        throw wire::Error(error.Kind(), texts::TooManyRefusals(outcome.Rejected()));
    }
}

qint64 RememberOutcome(storage::OwnStatements& statements, const wire::ApplyName& name,
    const QString& account, quint64 digest, const wire::ApplyOutcome& outcome)
{
    constexpr qint64 kRowBytes = 200; // beside the outcome itself
    const QString text = Encode(digest, outcome);
    storage::Row row = NameOf(name);
    row.insert(row.end(), {account, QDateTime::currentSecsSinceEpoch(), text});
    statements.InsertLast(storage::OutcomeTable(), row);
    return kRowBytes + text.size();
}

void OutcomeTidier::Tidy(storage::ConnectionPool& pool, Clock::time_point now, qint64 unixNow)
{
    if (old_ && now < from_)
        return;
    if (old_) {
        storage::InTransaction(pool, true, [this](storage::OwnStatements& statements) {
            const wire::Value oldest = *old_;
            statements.Change("delete from zelmor_outcome where APPLY_TIME < ?", {&oldest, 1});
        });
    }
    old_ = unixNow - kKeptSeconds;
    from_ = now + kSecondLook;
}

} // namespace server
