#include "siege/chaos/Ledger.h"

#include "wire/Error.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace chaos {
namespace {

[[noreturn]] void RaiseData(const QString& message)
{
    throw wire::Error(wire::ErrorKind::Data, message);
}

QString TextOf(const QJsonValue& value)
{
    if (value.isDouble())
        return wire::ToText(value.toDouble());
    return value.toString();
}

QString NameOf(const wire::ApplyName& name)
{
    const QByteArray client(reinterpret_cast<const char*>(name.client.data()), qsizetype(name.client.size()));
    return QString::fromLatin1(client.toHex()) + u'-' + QString::number(name.number);
}

QJsonObject RowToJson(const wire::ChangeLog& log, const wire::RowChange& row)
{
    QStringList keys;
    QJsonObject fields;
    for (const wire::CellChange& cell : row.cells) {
        const wire::ColumnInfo& column = log.columns[cell.column];
        if (column.key)
            keys.append(wire::ToText(cell.original));
        if (!wire::SameValue(cell.original, cell.current))
            fields[column.name] = QJsonArray{wire::ToText(cell.original), wire::ToText(cell.current)};
    }
    return {{u"key"_s, keys.join(u';')}, {u"fields"_s, fields}};
}

constexpr const char* kToldNames[] = {"nothing", "saved", "rejected", "failed"};

Told ToldOf(const QString& name)
{
    const auto found =
        std::ranges::find(kToldNames, name, [](const char* text) { return QString::fromLatin1(text); });
    if (found == std::end(kToldNames))
        RaiseData(u"“%1” is nothing that a desk is told"_s.arg(name));
    return static_cast<Told>(found - kToldNames);
}

// Reads the lines of one ledger.
class Reader {
public:
    void Take(const QJsonObject& line)
    {
        const QString event = line[u"event"].toString();
        if (event == u"desk")
            ledger.account = line[u"account"].toString();
        else if (event == u"sent")
            Sent(line);
        else if (event == u"answered")
            Answered(line);
        else if (event == u"told")
            Last().told = ToldOf(line[u"what"].toString());
        else if (event == u"shown")
            Shown(line);
        else if (event == u"failed")
            ++ledger.failures;
        else if (event == u"ended")
            End(line);
        else
            RaiseData(u"“%1” is no event"_s.arg(event));
    }

    Ledger ledger;

private:
    void Sent(const QJsonObject& line)
    {
        std::vector<SentRow> rows;
        for (const QJsonValue& row : line[u"rows"].toArray())
            rows.push_back({row[u"key"].toString(), FieldsFromJson(row[u"fields"].toObject())});
        const QString name = line[u"name"].toString();
        if (ledger.saves.empty() || Last().name != name)
            ledger.saves.push_back({name, rows});
        const auto same = [](const SentRow& a, const SentRow& b) {
            return a.key == b.key && a.fields == b.fields;
        };
        if (++Last().sendings > 1 && !std::ranges::equal(Last().rows, rows, same))
            ledger.contradictions.push_back(u"save %1 was sent again with other rows"_s.arg(name));
    }

    void Answered(const QJsonObject& line)
    {
        Save& save = Last();
        const QJsonArray verdicts = line[u"rows"].toArray();
        if (line[u"name"].toString() != save.name || size_t(verdicts.size()) != save.rows.size())
            RaiseData(u"an answer to what was not asked"_s);
        for (size_t i = 0; i < save.rows.size(); ++i) {
            const QJsonObject verdict = verdicts[qsizetype(i)].toObject();
            SentRow& row = save.rows[i];
            row.fate = verdict[u"accepted"].toBool() ? RowFate::Accepted : RowFate::Refused;
            row.reason = verdict[u"reason"].toString();
        }
    }

    void Shown(const QJsonObject& line)
    {
        const QString key = line[u"key"].toString();
        const auto row = std::ranges::find(Last().rows, key, &SentRow::key);
        if (row == Last().rows.end())
            ledger.contradictions.push_back(u"%1 was shown as refused, but was not sent"_s.arg(key));
        else
            row->shown = line[u"reason"].toString();
    }

    void End(const QJsonObject& line)
    {
        ledger.ended = true;
        ledger.longestWait = line[u"longestWait"].toInteger();
    }

    Save& Last()
    {
        if (ledger.saves.empty())
            RaiseData(u"nothing was sent yet"_s);
        return ledger.saves.back();
    }
};

} // namespace

Fields FieldsFromJson(const QJsonObject& object)
{
    Fields fields;
    for (auto field = object.begin(); field != object.end(); ++field) {
        const QJsonArray values = field->toArray();
        if (field->isArray() && values.size() != 2)
            RaiseData(u"%1 has not two values"_s.arg(field.key()));
        fields[field.key()] = field->isArray() ? FieldChange{TextOf(values[0]), TextOf(values[1])}
                                               : FieldChange{{}, TextOf(*field), true};
    }
    return fields;
}

LedgerWriter::LedgerWriter(const QString& path, const QString& account)
    : file_(path)
{
    if (!file_.open(QIODevice::WriteOnly | QIODevice::Truncate))
        throw wire::Error(wire::ErrorKind::Storage, u"%1: %2"_s.arg(path, file_.errorString()));
    clock_.start();
    Write({{u"event"_s, u"desk"_s}, {u"account"_s, account}});
}

void LedgerWriter::Sent(const wire::Request& request)
{
    QJsonArray rows;
    for (const wire::RowChange& row : request.changes.rows)
        rows.append(RowToJson(request.changes, row));
    lastName_ = NameOf(request.name);
    Write({{u"event"_s, u"sent"_s}, {u"name"_s, lastName_}, {u"rows"_s, rows}});
}

void LedgerWriter::Answered(const wire::Request& request, const wire::ApplyOutcome& outcome)
{
    QJsonArray rows;
    for (const wire::RowVerdict& row : outcome.rows)
        rows.append(QJsonObject{{u"accepted"_s, row.accepted}, {u"reason"_s, row.reason}});
    Write({{u"event"_s, u"answered"_s}, {u"name"_s, NameOf(request.name)}, {u"rows"_s, rows}});
}

void LedgerWriter::RefusedWhole(const wire::Request& request, const QString& reason)
{
    wire::ApplyOutcome outcome;
    for (const wire::RowChange& row : request.changes.rows)
        outcome.rows.push_back({row.rowId, false, reason});
    Answered(request, outcome);
}

void LedgerWriter::ToldOfSave(Told told)
{
    Write({{u"event"_s, u"told"_s}, {u"what"_s, QString::fromLatin1(kToldNames[static_cast<int>(told)])}});
}

void LedgerWriter::Shown(const QString& key, const QString& reason)
{
    Write({{u"event"_s, u"shown"_s}, {u"key"_s, key}, {u"reason"_s, reason}});
}

void LedgerWriter::Failed(const QString& what, const QString& message)
{
    Write({{u"event"_s, u"failed"_s}, {u"what"_s, what}, {u"message"_s, message}});
}

void LedgerWriter::Ended(qint64 longestWait)
{
    Write({{u"event"_s, u"ended"_s}, {u"longestWait"_s, longestWait}});
}

void LedgerWriter::Write(QJsonObject line)
{
    line[u"ms"_s] = clock_.elapsed();
    file_.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
    if (!file_.flush())
        throw wire::Error(wire::ErrorKind::Storage, file_.errorString());
}

Ledger ReadLedger(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw wire::Error(wire::ErrorKind::Storage, u"%1: %2"_s.arg(path, file.errorString()));
    Reader reader;
    for (int number = 1; !file.atEnd(); ++number) {
        const QJsonDocument line = QJsonDocument::fromJson(file.readLine());
        try {
            if (!line.isObject())
                RaiseData(u"no JSON"_s);
            reader.Take(line.object());
        } catch (const wire::Error& error) {
            RaiseData(u"%1:%2: %3"_s.arg(path).arg(number).arg(error.Message()));
        }
    }
    return std::move(reader.ledger);
}

} // namespace chaos
