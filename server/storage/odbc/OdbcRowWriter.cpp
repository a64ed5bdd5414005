#include "server/storage/odbc/OdbcRowWriter.h"

#include "server/refusal/UserTexts.h"
#include "server/storage/OwnTables.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace storage::odbc {
namespace {

QString ActionName(wire::ChangeKind kind)
{
    switch (kind) {
    case wire::ChangeKind::Insert:
        return u"insert"_s;
    case wire::ChangeKind::Update:
        return u"update"_s;
    case wire::ChangeKind::Delete:
        break;
    }
    return u"delete"_s;
}

const Cell* FindCell(const std::vector<Cell>& cells, const dialect::CatalogColumn* column)
{
    const auto found = std::ranges::find(cells, column, &Cell::column);
    return found == cells.end() ? nullptr : &*found;
}

} // namespace

QString InsertText(const QString& table, const QStringList& columns)
{
    return u"insert into %1(%2) values(%3)"_s.arg(
        table, columns.join(u", "_s), QStringList(columns.size(), u"?"_s).join(u", "_s));
}

OdbcRowWriter::OdbcRowWriter(
    Worker& worker, Database& database, const WriteTarget& target, bool needsSavepoints)
    : worker_(worker)
    , database_(database)
    , target_(target)
    , needsSavepoints_(needsSavepoints)
{
}

void OdbcRowWriter::Write(std::span<const RowWrite> rows, std::span<RowResult> results)
{
    worker_.Run([&] {
        for (size_t i = 0; i < rows.size(); ++i)
            results[i] = WriteRow(rows[i]);
    });
}

RowResult OdbcRowWriter::WriteRow(const RowWrite& row)
{
    if (row.kind == wire::ChangeKind::Insert && row.auditKey.empty()) {
        // Which number a new row was given, ODBC does not tell.
        return {RowResult::Outcome::Refused, server::texts::KeyNotNumbered(target_.keys.front()->name)};
    }
    Statement& statement = StatementFor(row);
    Savepoint("savepoint zelmor_row");
    for (const Cell& cell : row.sets)
        statement.Bind(cell.value, cell.column->type);
    for (const wire::Value& key : row.keys)
        statement.Bind(key);
    for (const Cell& check : row.checks) {
        if (!wire::IsNull(check.value))
            statement.Bind(check.value);
    }
    if (const auto fault = statement.TryRun())
        return Refuse(row, *fault);
    if (statement.ChangedRows() == 0) {
        Savepoint("release savepoint zelmor_row");
        return {RowResult::Outcome::NotThere, {}};
    }
    Audit(row);
    Savepoint("release savepoint zelmor_row");
    return {};
}

RowResult OdbcRowWriter::Refuse(const RowWrite& row, const Fault& fault)
{
    if (fault.kind != Fault::Kind::Row)
        Raise(fault);
    Savepoint("rollback to savepoint zelmor_row");
    Savepoint("release savepoint zelmor_row");
    if (fault.integrity && KeyIsTaken(row))
        return {RowResult::Outcome::DuplicateKey, {}};
    return {RowResult::Outcome::Refused, fault.message};
}

// Where a failed statement undoes only itself, no savepoint is needed.
void OdbcRowWriter::Savepoint(const char* statement)
{
    if (needsSavepoints_)
        database_.Prepared(QString::fromLatin1(statement)).Run();
}

void OdbcRowWriter::Audit(const RowWrite& row)
{
    static const QString text = [] {
        QStringList columns;
        for (const company::Column& column : AuditTable().columns)
            columns << column.name;
        columns.removeFirst(); // the number, which the database gives
        return InsertText(AuditTable().name, columns);
    }();
    Statement& insert = database_.Prepared(text);
    const AuditHeader& header = target_.audit;
    insert.Bind(header.date);
    for (const QString& value :
        {header.account, header.employeeName, header.peer, header.table, ActionName(row.kind),
            QString::fromStdString(row.auditKey), QString::fromStdString(row.auditFields)})
        insert.Bind(wire::TextValue(value));
    insert.Run();
}

bool OdbcRowWriter::KeyIsTaken(const RowWrite& row)
{
    Row keys = row.keys;
    keys.resize(target_.keys.size());
    bool given = false;
    for (size_t i = 0; i < keys.size(); ++i) {
        if (const Cell* cell = FindCell(row.sets, target_.keys[i])) {
            keys[i] = cell->value;
            given = true;
        }
    }
    if (!given)
        return false;
    Statement& statement =
        database_.Prepared(u"select count(*) from %1%2"_s.arg(target_.table->name, WhereKey()));
    for (const wire::Value& key : keys)
        statement.Bind(key);
    statement.Run();
    statement.ReadAs(std::array{wire::ColumnType::Integer});
    const bool taken = statement.Next() && statement.Value(0) != wire::Value(qint64(0));
    statement.Finish();
    return taken;
}

Row OdbcRowWriter::Present(std::span<const wire::Value> keys, Hold hold)
{
    return worker_.Run([&]() -> Row {
        QStringList names;
        std::vector<wire::ColumnType> types;
        for (const dialect::CatalogColumn* column : target_.read) {
            if (column == nullptr)
                continue;
            names << column->name;
            types.push_back(column->type);
        }
        // SQLite has one writer and no other way to keep a row.
        const bool locks = hold == Hold::Yes && database_.Product() != Product::Sqlite;
        const QString lock = locks ? u" for update"_s : QString();
        Statement& statement = database_.Prepared(
            u"select %1 from %2%3%4"_s.arg(names.join(u", "_s), target_.table->name, WhereKey(), lock));
        for (const wire::Value& key : keys)
            statement.Bind(key);
        statement.Run();
        statement.ReadAs(types);
        Row row;
        if (statement.Next()) {
            row.resize(target_.read.size());
            int column = 0;
            for (size_t i = 0; i < row.size(); ++i) {
                if (target_.read[i] != nullptr)
                    row[i] = statement.Value(column++);
            }
        }
        statement.Finish();
        return row;
    });
}

Statement& OdbcRowWriter::StatementFor(const RowWrite& row)
{
    key_ = row.statementKey;
    for (const Cell& check : row.checks)
        key_ += wire::IsNull(check.value) ? u'0' : u'1';
    if (statements_.size() >= kMostRowStatements && !statements_.contains(key_)) {
        statements_.clear();
        database_.ForgetStatements();
    }
    Statement*& statement = statements_[key_];
    if (statement == nullptr)
        statement = &database_.Prepared(TextFor(row));
    return *statement;
}

QString OdbcRowWriter::WhereKey() const
{
    QString text;
    for (const dialect::CatalogColumn* key : target_.keys)
        text += (text.isEmpty() ? u" where "_s : u" and "_s) + key->name + u" = ?"_s;
    return text;
}

QString OdbcRowWriter::TextFor(const RowWrite& row) const
{
    const QString& table = target_.table->name;
    QStringList names;
    for (const Cell& cell : row.sets)
        names << cell.column->name;
    if (row.kind == wire::ChangeKind::Insert)
        return InsertText(table, names);
    QString where = WhereKey();
    for (const Cell& check : row.checks)
        where += u" and "_s + check.column->name + (wire::IsNull(check.value) ? u" is null"_s : u" = ?"_s);
    if (row.kind == wire::ChangeKind::Delete)
        return u"delete from "_s + table + where;
    return u"update %1 set %2 = ?%3"_s.arg(table, names.join(u" = ?, "_s), where);
}

} // namespace storage::odbc
