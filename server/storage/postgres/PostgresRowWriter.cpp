#include "server/storage/postgres/PostgresRowWriter.h"

#include "server/refusal/UserTexts.h"
#include "server/storage/OwnTables.h"
#include "server/storage/postgres/PostgresSchema.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace storage::postgres {
namespace {

using wire::ChangeKind;

constexpr size_t kRowsPerGroup = 128;
// Sent and not yet answered: enough that neither side waits for the other.
constexpr size_t kRowsAhead = 3 * kRowsPerGroup;

constexpr auto kSetPoint = "savepoint zelmor_rows";
constexpr auto kToPoint = "rollback to savepoint zelmor_rows";
constexpr auto kDropPoint = "release savepoint zelmor_rows";

std::string_view ActionOf(ChangeKind kind)
{
    switch (kind) {
    case ChangeKind::Insert:
        return "insert";
    case ChangeKind::Update:
        return "update";
    case ChangeKind::Delete:
        return "delete";
    }
    return {};
}

// A text under construction.
struct Text : WriteText {
    Text& operator+=(std::string_view part)
    {
        sql += part;
        return *this;
    }
    void AddParameter(wire::ColumnType type)
    {
        types.push_back(TypeOf(type));
        sql += '$' + std::to_string(types.size());
    }
    void AddKey(const std::vector<const dialect::CatalogColumn*>& keys)
    {
        const char* separator = " where ";
        for (const dialect::CatalogColumn* key : keys) {
            sql += std::exchange(separator, " and ") + NameOf(key->name) + " = ";
            AddParameter(key->type);
        }
    }
};

void AddSets(Text& text, const RowWrite& row)
{
    const char* separator = " set ";
    for (const Cell& cell : row.sets) {
        text += std::exchange(separator, ", ") + NameOf(cell.column->name) + " = ";
        text.AddParameter(cell.column->type);
    }
}

void AddChecks(Text& text, const RowWrite& row)
{
    for (const Cell& cell : row.checks) {
        text += " and " + NameOf(cell.column->name) + " is not distinct from ";
        text.AddParameter(cell.column->type);
    }
}

void AddInsert(Text& text, const RowWrite& row, const std::string& table, const std::string& keys)
{
    std::string names;
    for (const Cell& cell : row.sets)
        names += (names.empty() ? "" : ", ") + NameOf(cell.column->name);
    text += "insert into " + table + "(" + names + ") values(";
    const char* separator = "";
    for (const Cell& cell : row.sets) {
        text += std::exchange(separator, ", ");
        text.AddParameter(cell.column->type);
    }
    text += ") on conflict(" + keys + ") do nothing";
}

} // namespace

PostgresRowWriter::PostgresRowWriter(
    Link& link, Pipeline& pipeline, WriteTexts& texts, const WriteTarget& target, std::string primaryKey)
    : link_(link)
    , pipeline_(pipeline)
    , texts_(texts)
    , target_(target)
    , primaryKey_(std::move(primaryKey))
{
}

void PostgresRowWriter::Write(std::span<const RowWrite> rows, std::span<RowResult> results)
{
    try {
        WriteGroups(rows, results);
    } catch (...) {
        pipeline_.Abandon();
        throw;
    }
}

void PostgresRowWriter::WriteGroups(std::span<const RowWrite> rows, std::span<RowResult> results)
{
    unsent_.assign(rows.size(), false);
    std::deque<Group> ahead;
    size_t next = 0;
    size_t oneByOne = 0; // rows before this one go alone
    while (next < rows.size() || !ahead.empty()) {
        while (next < rows.size() && (ahead.empty() || next - ahead.front().begin < kRowsAhead)) {
            link_.CheckStop();
            const size_t length = next < oneByOne ? 1 : std::min(kRowsPerGroup, rows.size() - next);
            ahead.push_back({next, next + length});
            SendGroup(ahead.back(), rows, results);
            next += length;
        }
        const Group group = ahead.front();
        ahead.pop_front();
        const Result failure = ReceiveGroup(group, rows, results);
        if (!failure)
            continue;
        // The groups behind it have found the transaction failed, and left nothing.
        for (const Group& other : std::exchange(ahead, {}))
            ReceiveGroup(other, rows, results);
        if (!BlamesRow(failure))
            link_.Raise(failure);
        pipeline_.Defer(kToPoint);
        pipeline_.Defer(kDropPoint);
        next = group.begin;
        if (group.end - group.begin == 1)
            results[next++] = RefusalOf(failure);
        else
            oneByOne = group.end;
    }
}

void PostgresRowWriter::SendGroup(Group group, std::span<const RowWrite> rows, std::span<RowResult> results)
{
    pipeline_.SendCommand(kSetPoint);
    for (size_t i = group.begin; i < group.end; ++i) {
        try {
            pipeline_.Send(Bind(rows[i]), parameters_);
            unsent_[i] = false;
        } catch (const wire::Error& error) {
            // A value that no database holds says nothing about the other rows.
            if (error.Kind() != wire::ErrorKind::Data)
                throw;
            results[i] = {RowResult::Outcome::Refused, error.Message()};
            unsent_[i] = true;
        }
    }
    pipeline_.SendCommand(kDropPoint);
    pipeline_.Sync();
}

Result PostgresRowWriter::ReceiveGroup(
    Group group, std::span<const RowWrite> rows, std::span<RowResult> results)
{
    for (size_t i = group.begin; i < group.end; ++i) {
        if (unsent_[i])
            continue;
        const Result result = pipeline_.Receive();
        if (!result)
            break;
        using Outcome = RowResult::Outcome;
        const bool written = std::string_view(PQcmdTuples(result.get())) == "1";
        const Outcome otherwise =
            rows[i].kind == ChangeKind::Insert ? Outcome::DuplicateKey : Outcome::NotThere;
        results[i] = {written ? Outcome::Written : otherwise, {}};
    }
    return pipeline_.Finish();
}

RowResult PostgresRowWriter::RefusalOf(const Result& failure) const
{
    const char* const constraint = PQresultErrorField(failure.get(), PG_DIAG_CONSTRAINT_NAME);
    const bool duplicate = SqlStateOf(failure) == "23505" && constraint && constraint == primaryKey_;
    return {duplicate ? RowResult::Outcome::DuplicateKey : RowResult::Outcome::Refused, ReasonOf(failure)};
}

PreparedPtr PostgresRowWriter::Bind(const RowWrite& row)
{
    parameters_.Clear();
    for (const Cell& cell : row.sets)
        parameters_.Add(cell.value, cell.column->type);
    if (row.kind != ChangeKind::Insert) {
        for (size_t i = 0; i < row.keys.size(); ++i)
            parameters_.Add(row.keys[i], target_.keys[i]->type);
        for (const Cell& cell : row.checks)
            parameters_.Add(cell.value, cell.column->type);
    }
    const AuditHeader& audit = target_.audit;
    parameters_.AddDateTime(audit.date);
    for (const QString* text : {&audit.account, &audit.employeeName, &audit.peer, &audit.table})
        parameters_.AddText(*text);
    parameters_.AddUtf8(ActionOf(row.kind));
    if (!row.auditKey.empty())
        parameters_.AddUtf8(row.auditKey);
    parameters_.AddUtf8(row.auditFields);
    const WriteText& text = TextFor(row);
    return pipeline_.Prepare(text.sql, text.types);
}

const WriteText& PostgresRowWriter::TextFor(const RowWrite& row)
{
    textKey_.assign(target_.table->name.toStdU16String()).append(1, u'\0').append(row.statementKey);
    const auto found = texts_.find(textKey_);
    if (found != texts_.end())
        return found->second;
    if (texts_.size() >= kMostRowStatements)
        texts_.clear();
    return texts_.emplace(textKey_, MakeText(row)).first->second;
}

// The change as a part of the insert of its audit entry: both or neither, and the number of rows inserted
// tells which.
WriteText PostgresRowWriter::MakeText(const RowWrite& row) const
{
    const std::string table = NameOf(target_.table->name);
    std::vector<QString> keyNames;
    for (const dialect::CatalogColumn* key : target_.keys)
        keyNames.push_back(key->name);
    Text text{{"with written as (", {}}};
    switch (row.kind) {
    case ChangeKind::Insert:
        AddInsert(text, row, table, NamesOf(keyNames));
        break;
    case ChangeKind::Update:
        text += "update " + table;
        AddSets(text, row);
        text.AddKey(target_.keys);
        AddChecks(text, row);
        break;
    case ChangeKind::Delete:
        text += "delete from " + table;
        text.AddKey(target_.keys);
        AddChecks(text, row);
        break;
    }
    text += " returning " + NameOf(keyNames.front()) + ") insert into " + NameOf(AuditTable().name);

    std::string names;
    Text values{{{}, std::move(text.types)}};
    for (const company::Column& column : AuditTable().columns) {
        if (column.name == AuditTable().primaryKey.front())
            continue;
        names += (names.empty() ? "" : ", ") + NameOf(column.name);
        values += values.sql.empty() ? "" : ", ";
        if (column.name == u"ROW_KEY"_s && row.auditKey.empty())
            values += NameOf(keyNames.front());
        else
            values.AddParameter(column.type);
        // Too long for its column, it is cut: no save is refused because of it.
        if (column.width > 0)
            values += "::varchar(" + std::to_string(column.width) + ")";
    }
    text += "(" + names + ") select " + values.sql + " from written";
    return {std::move(text.sql), std::move(values.types)};
}

Row PostgresRowWriter::Present(std::span<const wire::Value> keys, Hold hold)
{
    link_.CheckStop(); // answers that come at once leave no time to ask
    // A column that is not there is no part of the query.
    Text text{{"select 1", {}}};
    std::vector<wire::ColumnType> types{wire::ColumnType::Integer};
    for (const dialect::CatalogColumn* column : target_.read) {
        if (column == nullptr)
            continue;
        text += ", " + NameOf(column->name);
        types.push_back(column->type);
    }
    text += " from " + NameOf(target_.table->name);
    text.AddKey(target_.keys);
    if (hold == Hold::Yes)
        text += " for update";
    parameters_.Clear();
    for (size_t i = 0; i < keys.size(); ++i)
        parameters_.Add(keys[i], target_.keys[i]->type);
    Result result;
    try {
        result = pipeline_.Run(pipeline_.Prepare(text.sql, text.types), parameters_);
    } catch (...) {
        pipeline_.Abandon();
        throw;
    }
    if (PQntuples(result.get()) == 0)
        return {};
    const CellReaders readers(result.get(), types);
    Row row;
    int position = 0;
    for (const dialect::CatalogColumn* column : target_.read)
        row.push_back(column != nullptr ? readers.ReadValue(result.get(), 0, ++position) : wire::Value());
    return row;
}

} // namespace storage::postgres
