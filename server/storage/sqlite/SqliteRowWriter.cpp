#include "server/storage/sqlite/SqliteRowWriter.h"

#include "server/storage/OwnTables.h"

namespace storage::sqlite {
namespace {

constexpr int kHead = 5; // parameters that all entries of a save share
constexpr int kEntriesAtOnce = 8;

std::string_view ActionName(wire::ChangeKind kind)
{
    switch (kind) {
    case wire::ChangeKind::Insert:
        return "insert";
    case wire::ChangeKind::Update:
        return "update";
    case wire::ChangeKind::Delete:
        break;
    }
    return "delete";
}

int BindAll(Statement& statement, std::span<const Cell> cells, int parameter)
{
    for (const Cell& cell : cells)
        statement.Bind(++parameter, cell.value);
    return parameter;
}

int BindAll(Statement& statement, std::span<const wire::Value> values, int parameter)
{
    for (const wire::Value& value : values)
        statement.Bind(++parameter, value);
    return parameter;
}

} // namespace

std::string InsertText(const company::Table& table, std::string_view verb)
{
    std::string names;
    std::string places;
    for (const company::Column& column : table.columns) {
        names += (names.empty() ? "" : ", ") + Quoted(column.name);
        places += places.empty() ? "?" : ", ?";
    }
    return std::string(verb) + Quoted(table.name) + "(" + names + ") values(" + places + ")";
}

SqliteRowWriter::SqliteRowWriter(Database& database, const WriteTarget& target)
    : database_(database)
    , target_(target)
    , audit_(PrepareAudit(1))
{
}

void SqliteRowWriter::Write(std::span<const RowWrite> rows, std::span<RowResult> results)
{
    entries_.clear();
    for (size_t i = 0; i < rows.size(); ++i) {
        results[i] = Write(rows[i]);
        if (results[i].outcome != RowResult::Outcome::Written)
            continue;
        entries_.push_back({&rows[i], {}});
        if (rows[i].auditKey.empty())
            entries_.back().given = std::to_string(sqlite3_last_insert_rowid(database_.Handle()));
    }
    WriteAudit();
}

RowResult SqliteRowWriter::Write(const RowWrite& row)
{
    Statement& statement = PreparedFor(row);
    const ResetGuard reset(statement);
    int parameter = BindAll(statement, row.sets, 0);
    parameter = BindAll(statement, row.keys, parameter);
    BindAll(statement, row.checks, parameter);
    // A constraint refuses the row alone: SQLite has then undone that statement and nothing else.
    const int code = statement.TryStep();
    if (code == SQLITE_CONSTRAINT_PRIMARYKEY || code == SQLITE_CONSTRAINT_ROWID)
        return {RowResult::Outcome::DuplicateKey, {}};
    if (code != SQLITE_DONE)
        return {RowResult::Outcome::Refused, QString::fromUtf8(sqlite3_errmsg(database_.Handle()))};
    if (database_.Changes() == 0)
        return {RowResult::Outcome::NotThere, {}};
    return {};
}

Statement SqliteRowWriter::PrepareAudit(int entries) const
{
    std::string sql = "insert into " + Quoted(AuditTable().name)
        + "(AUDIT_DATE, ACCOUNT, EMPLOYEE_NAME, PEER, TABLE_NAME, ACTION, ROW_KEY, FIELDS) values";
    for (int i = 0; i < entries; ++i)
        sql += std::string(i == 0 ? "" : ",") + "(?1, ?2, ?3, ?4, ?5, ?, ?, ?)";
    Statement statement = database_.Prepare(sql);
    const AuditHeader& header = target_.audit;
    statement.BindInteger(1, header.date.seconds);
    statement.Bind(2, header.account);
    statement.Bind(3, wire::TextValue(header.employeeName));
    statement.Bind(4, wire::TextValue(header.peer));
    statement.Bind(kHead, header.table);
    return statement;
}

void SqliteRowWriter::Write(Statement& statement, std::span<const Entry> entries)
{
    int parameter = kHead;
    for (const Entry& entry : entries) {
        statement.BindUtf8(++parameter, ActionName(entry.row->kind));
        statement.BindUtf8(++parameter, entry.row->auditKey.empty() ? entry.given : entry.row->auditKey);
        statement.BindUtf8(++parameter, entry.row->auditFields);
    }
    statement.Execute();
}

// A statement for many costs less than as many statements.
void SqliteRowWriter::WriteAudit()
{
    std::span<const Entry> rest(entries_);
    if (rest.size() >= kEntriesAtOnce && !manyAudits_)
        manyAudits_.emplace(PrepareAudit(kEntriesAtOnce));
    for (; rest.size() >= kEntriesAtOnce; rest = rest.subspan(kEntriesAtOnce))
        Write(*manyAudits_, rest.first(kEntriesAtOnce));
    for (; !rest.empty(); rest = rest.subspan(1))
        Write(audit_, rest.first(1));
}

Row SqliteRowWriter::Present(std::span<const wire::Value> keys, Hold)
{
    if (!present_) {
        std::string list;
        for (const dialect::CatalogColumn* column : target_.read)
            list += (list.empty() ? "" : ", ") + (column ? Quoted(column->name) : "null");
        present_.emplace(
            database_.Prepare("select " + list + " from " + Quoted(target_.table->name) + WhereKey({})));
    }
    const ResetGuard reset(*present_);
    BindAll(*present_, keys, 0);
    if (!present_->Step())
        return {};
    Row row(target_.read.size());
    for (size_t i = 0; i < row.size(); ++i) {
        if (target_.read[i])
            row[i] = present_->Value(static_cast<int>(i), target_.read[i]->type);
    }
    return row;
}

Statement& SqliteRowWriter::PreparedFor(const RowWrite& row)
{
    if (last_ != nullptr && row.statementKey == lastKey_)
        return *last_;
    auto found = statements_.find(row.statementKey);
    if (found == statements_.end()) {
        if (statements_.size() >= kMostRowStatements)
            statements_.clear();
        const std::string sql = row.kind == wire::ChangeKind::Insert ? InsertText(row)
            : row.kind == wire::ChangeKind::Update                   ? UpdateText(row)
                                                                     : DeleteText(row);
        found = statements_.emplace(row.statementKey, database_.Prepare(sql)).first;
    }
    lastKey_ = found->first;
    last_ = &found->second;
    return *last_;
}

std::string SqliteRowWriter::WhereKey(std::span<const Cell> checks) const
{
    std::string sql;
    for (const dialect::CatalogColumn* key : target_.keys)
        sql += (sql.empty() ? " where " : " and ") + Quoted(key->name) + " = ?";
    // The plus keeps the planner to the key's index.
    for (const Cell& check : checks)
        sql += " and +" + Quoted(check.column->name) + " is ?";
    return sql;
}

std::string SqliteRowWriter::UpdateText(const RowWrite& row) const
{
    std::string list;
    for (const Cell& cell : row.sets)
        list += (list.empty() ? "" : ", ") + Quoted(cell.column->name) + " = ?";
    return "update " + Quoted(target_.table->name) + " set " + list + WhereKey(row.checks);
}

std::string SqliteRowWriter::InsertText(const RowWrite& row) const
{
    std::string names;
    std::string places;
    for (const Cell& cell : row.sets) {
        names += (names.empty() ? "" : ", ") + Quoted(cell.column->name);
        places += places.empty() ? "?" : ", ?";
    }
    return "insert into " + Quoted(target_.table->name) + "(" + names + ") values(" + places + ")";
}

std::string SqliteRowWriter::DeleteText(const RowWrite& row) const
{
    return "delete from " + Quoted(target_.table->name) + WhereKey(row.checks);
}

} // namespace storage::sqlite
