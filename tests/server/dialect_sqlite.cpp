#include "server/dialect/SqliteFunctions.h"
#include "tests/server/dialect_database.h"

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QString TypeText(const demo::ColumnDef& column)
{
    switch (column.type) {
    case wire::ColumnType::Integer:
        return u"INTEGER"_s;
    case wire::ColumnType::Number:
        return u"NUMBER"_s;
    case wire::ColumnType::DateTime:
        return u"DATE"_s;
    case wire::ColumnType::Text:
        break;
    }
    return u"TEXT"_s;
}

QString List(const std::vector<QString>& names)
{
    return QStringList(names.begin(), names.end()).join(u',');
}

void Bind(sqlite3_stmt* statement, int parameter, const wire::Value& value)
{
    if (const auto* text = std::get_if<QString>(&value)) {
        const QByteArray utf8 = text->toUtf8();
        sqlite3_bind_text(
            statement, parameter, utf8.constData(), static_cast<int>(utf8.size()), SQLITE_TRANSIENT);
    } else if (const auto* integer = std::get_if<qint64>(&value)) {
        sqlite3_bind_int64(statement, parameter, *integer);
    } else if (const auto* number = std::get_if<double>(&value)) {
        sqlite3_bind_double(statement, parameter, *number);
    } else if (const auto* date = std::get_if<wire::DateTime>(&value)) {
        sqlite3_bind_int64(statement, parameter, date->seconds);
    }
}

wire::Value CellOf(sqlite3_stmt* statement, int column, wire::ColumnType type)
{
    if (sqlite3_column_type(statement, column) == SQLITE_NULL)
        return {};
    switch (type) {
    case wire::ColumnType::Integer:
        return static_cast<qint64>(sqlite3_column_int64(statement, column));
    case wire::ColumnType::Number:
        return sqlite3_column_double(statement, column);
    case wire::ColumnType::DateTime:
        return wire::DateTime{sqlite3_column_int64(statement, column)};
    case wire::ColumnType::Text:
        break;
    }
    // Not through TextValue: an empty text among the results is a fault that must show.
    return QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, column)));
}

class SqliteDialect final : public DialectDatabase {
public:
    SqliteDialect();

    void Load(const std::vector<conformance::TableRows>& tables, wire::DateTime now) override;
    wire::RowSet Query(const QString& sql) override;
    qint64 Execute(const QString& sql) override;
    QString Plan(const QString& sql) override;

private:
    struct Closer {
        void operator()(sqlite3* database) const { sqlite3_close(database); }
    };
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    using StatementPtr = std::unique_ptr<sqlite3_stmt, Finalizer>;

    StatementPtr Prepare(const std::string& sql);
    StatementPtr Prepare(const dialect::Translated& translated, const std::string& before = {});
    bool Step(const StatementPtr& statement);
    [[noreturn]] void Raise(int code) const;

    std::unique_ptr<sqlite3, Closer> database_;
};

SqliteDialect::SqliteDialect()
    : DialectDatabase(std::make_shared<SchemaCatalog>(), dialect::Target::Sqlite)
{
    Load({}, conformance::Now());
}

void SqliteDialect::Load(const std::vector<conformance::TableRows>& tables, wire::DateTime now)
{
    now_ = now;
    sqlite3* database = nullptr;
    sqlite3_open(":memory:", &database);
    database_.reset(database);
    dialect::RegisterFunctions(database);
    const auto run = [this](const QString& sql) { Step(Prepare(sql.toStdString())); };
    for (const demo::TableDef& table : demo::Schema()) {
        QStringList columns;
        for (const demo::ColumnDef& column : table.columns)
            columns.push_back(column.name + u' ' + TypeText(column));
        run(u"create table \"%1\"(%2, primary key(%3))"_s.arg(
            table.name, columns.join(u','), List(table.primaryKey)));
        for (const demo::IndexDef& index : table.indexes)
            run(u"create index \"%1\" on \"%2\"(%3)"_s.arg(index.name, table.name, List(index.columns)));
    }
    for (const conformance::TableRows& rows : tables) {
        const auto width = static_cast<qsizetype>(rows.table->columns.size());
        const StatementPtr insert = Prepare(
            u"insert into \"%1\" values(%2)"_s.arg(rows.table->name, QStringList(width, u"?"_s).join(u','))
                .toStdString());
        for (const std::vector<wire::Value>& row : rows.rows) {
            for (size_t i = 0; i < row.size(); ++i)
                Bind(insert.get(), static_cast<int>(i) + 1, row[i]);
            Step(insert);
            sqlite3_reset(insert.get());
            sqlite3_clear_bindings(insert.get());
        }
    }
}

wire::RowSet SqliteDialect::Query(const QString& sql)
{
    const dialect::Translated translated = translator_.Translate(sql);
    const StatementPtr statement = Prepare(translated);
    wire::RowSet result;
    result.infos = *translated.translation->columns;
    for (const wire::ColumnInfo& info : result.infos)
        result.columns.emplace_back(info.type);
    while (Step(statement)) {
        for (size_t i = 0; i < result.columns.size(); ++i) {
            const wire::Value value = CellOf(statement.get(), static_cast<int>(i), result.infos[i].type);
            if (const auto* text = std::get_if<QString>(&value); text && text->isEmpty())
                throw wire::Error(wire::ErrorKind::Usage, u"an empty text that is not null"_s);
            result.columns[i].AppendValue(value);
        }
    }
    return result;
}

qint64 SqliteDialect::Execute(const QString& sql)
{
    Step(Prepare(translator_.Translate(sql)));
    return sqlite3_changes64(database_.get());
}

QString SqliteDialect::Plan(const QString& sql)
{
    const StatementPtr statement = Prepare(translator_.Translate(sql), "explain query plan ");
    QString plan;
    while (Step(statement))
        plan +=
            QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 3))) + u'\n';
    return plan;
}

SqliteDialect::StatementPtr SqliteDialect::Prepare(const std::string& sql)
{
    sqlite3_stmt* statement = nullptr;
    const int code =
        sqlite3_prepare_v2(database_.get(), sql.c_str(), static_cast<int>(sql.size()), &statement, nullptr);
    if (code != SQLITE_OK)
        throw wire::Error(wire::ErrorKind::Storage,
            QString::fromUtf8(sqlite3_errmsg(database_.get())) + u"\n"_s + QString::fromStdString(sql));
    return StatementPtr(statement);
}

SqliteDialect::StatementPtr SqliteDialect::Prepare(
    const dialect::Translated& translated, const std::string& before)
{
    StatementPtr statement = Prepare(before + translated.translation->sql);
    for (size_t i = 0; i < translated.translation->parameters.size(); ++i)
        Bind(statement.get(), static_cast<int>(i) + 1, Bound(translated, i));
    return statement;
}

bool SqliteDialect::Step(const StatementPtr& statement)
{
    const int code = sqlite3_step(statement.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        Raise(code);
    return code == SQLITE_ROW;
}

void SqliteDialect::Raise(int code) const
{
    throw wire::Error(code == dialect::kDataErrorCode ? wire::ErrorKind::Data : wire::ErrorKind::Storage,
        QString::fromUtf8(sqlite3_errmsg(database_.get())));
}

} // namespace

std::unique_ptr<DialectDatabase> MakeSqlite()
{
    return std::make_unique<SqliteDialect>();
}
