#include "server/provider/Outcomes.h"

#include "server/Texts.h"

#include <QDataStream>
#include <QDateTime>

namespace server {
namespace {

using storage::Statement;

constexpr qint64 kKeptSeconds = 7 * 24 * 3600;
constexpr quint8 kFormat = 1;

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

QByteArray Encode(const wire::ApplyOutcome& outcome)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QDataStream::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_4);
    stream << kFormat << outcome.rolledBack << static_cast<quint32>(outcome.rows.size());
    for (const wire::RowVerdict& row : outcome.rows) {
        stream << row.rowId << row.accepted;
        if (row.accepted)
            continue;
        stream << row.reason << row.present << static_cast<quint32>(row.presentValues.size());
        for (const wire::Value& value : row.presentValues)
            Write(stream, value);
    }
    return bytes;
}

wire::ApplyOutcome Decode(const QByteArray& bytes)
{
    QDataStream stream(bytes);
    stream.setVersion(QDataStream::Qt_6_4);
    wire::ApplyOutcome outcome;
    if (Read<quint8>(stream) != kFormat)
        throw wire::Error(wire::ErrorKind::Storage, texts::Damaged());
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

void BindName(Statement& statement, const wire::ApplyName& name)
{
    statement.BindBlob(1, {reinterpret_cast<const char*>(name.client.data()), name.client.size()});
    statement.BindInteger(2, static_cast<qint64>(name.number));
}

} // namespace

std::optional<wire::ApplyOutcome> FindOutcome(
    storage::Database& database, const wire::ApplyName& name, const QString& account)
{
    Statement query =
        database.Prepare("select ACCOUNT, OUTCOME from zelmor_request where CLIENT = ?1 and NUMBER = ?2");
    BindName(query, name);
    if (!query.Step())
        return std::nullopt;
    if (query.Text(0) != account)
        throw wire::Error(wire::ErrorKind::Policy, texts::ForeignName());
    return Decode(query.Blob(1));
}

void RememberOutcome(storage::Database& database, const wire::ApplyName& name, const QString& account,
    const wire::ApplyOutcome& outcome)
{
    const QByteArray bytes = Encode(outcome);
    Statement insert = database.Prepare("insert into zelmor_request(CLIENT, NUMBER, ACCOUNT, APPLY_TIME, "
                                        "OUTCOME) values(?1, ?2, ?3, ?4, ?5)");
    BindName(insert, name);
    insert.Bind(3, account);
    insert.BindInteger(4, QDateTime::currentSecsSinceEpoch());
    insert.BindBlob(5, {bytes.constData(), static_cast<size_t>(bytes.size())});
    insert.Execute();
}

void PruneOutcomes(storage::Database& database)
{
    Statement remove = database.Prepare("delete from zelmor_request where APPLY_TIME < ?1");
    remove.BindInteger(1, QDateTime::currentSecsSinceEpoch() - kKeptSeconds);
    remove.Execute();
}

} // namespace server
