#include "server/provider/Outcomes.h"

#include "server/refusal/UserTexts.h"
#include "server/storage/OwnTables.h"

#include <QDataStream>
#include <QDateTime>

#include <array>

namespace server {
namespace {

using wire::ColumnType;

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

// Text, which every database keeps alike.
QString Encode(const wire::ApplyOutcome& outcome)
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
    return QString::fromLatin1(qCompress(bytes, 1).toBase64());
}

wire::ApplyOutcome Decode(const QString& text)
{
    QDataStream stream(qUncompress(QByteArray::fromBase64(text.toLatin1())));
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

storage::Row NameOf(const wire::ApplyName& name)
{
    const QByteArray client(
        reinterpret_cast<const char*>(name.client.data()), static_cast<qsizetype>(name.client.size()));
    return {QString::fromLatin1(client.toHex()), static_cast<qint64>(name.number)};
}

} // namespace

void RequireNew(storage::OwnStatements& statements, const wire::ApplyName& name, const QString& account)
{
    constexpr std::array types{ColumnType::Text, ColumnType::Text};
    statements.SelectLater("select ACCOUNT, OUTCOME from zelmor_outcome where CLIENT = ? and SERIAL = ?",
        NameOf(name), types, [account](const std::vector<storage::Row>& rows) {
            if (rows.empty())
                return;
            if (wire::ToText(rows.front()[0]) != account)
                throw wire::Error(wire::ErrorKind::Policy, texts::ForeignName());
            throw AppliedBefore{Decode(wire::ToText(rows.front()[1]))};
        });
}

void RememberOutcome(storage::OwnStatements& statements, const wire::ApplyName& name, const QString& account,
    const wire::ApplyOutcome& outcome)
{
    storage::Row row = NameOf(name);
    row.insert(row.end(), {account, QDateTime::currentSecsSinceEpoch(), Encode(outcome)});
    statements.InsertLast(storage::OutcomeTable(), row);
}

void ForgetOldOutcomes(storage::OwnStatements& statements)
{
    const wire::Value oldest = QDateTime::currentSecsSinceEpoch() - kKeptSeconds;
    statements.Change("delete from zelmor_outcome where APPLY_TIME < ?", {&oldest, 1});
}

} // namespace server
