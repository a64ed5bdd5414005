#include "server/storage/Creation.h"

#include "demo/Generator.h"
#include "server/Texts.h"
#include "server/accounts/PasswordHash.h"
#include "server/storage/Sqlite.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace storage {
namespace {

namespace texts = server::texts;

// Tables of the server's own. Clients reach none of them.
constexpr auto kOwnTables = R"(
create table zelmor_meta(
    NAME TEXT(40) not null primary key,
    VALUE TEXT(200));
create table zelmor_account(
    ACCOUNT TEXT(30) not null primary key,
    PASSWORD_HASH TEXT(128) not null,
    EMPLOYEE_CODE TEXT(20) not null,
    USER_TYPE TEXT(10),
    RIGHTS TEXT(3) not null,
    DESCRIPTION TEXT(100),
    CREATE_DATE DATE not null);
create table zelmor_audit(
    AUDIT_ID INTEGER primary key,
    AUDIT_DATE DATE not null,
    ACCOUNT TEXT(30) not null,
    EMPLOYEE_NAME TEXT(30),
    PEER TEXT(100),
    TABLE_NAME TEXT(40) not null,
    ACTION TEXT(10) not null,
    ROW_KEY TEXT(200),
    FIELDS TEXT(4000));
create index ZELMOR_AUDIT_I on zelmor_audit(AUDIT_DATE);
create table zelmor_request(
    CLIENT BLOB not null,
    NUMBER INTEGER not null,
    ACCOUNT TEXT(30) not null,
    APPLY_TIME INTEGER not null,
    OUTCOME BLOB not null,
    primary key(CLIENT, NUMBER));
create index ZELMOR_REQUEST_I on zelmor_request(APPLY_TIME);
)";

std::string TypeName(const demo::ColumnDef& column)
{
    switch (column.type) {
    case wire::ColumnType::Text:
        return "TEXT(" + std::to_string(column.width) + ")";
    case wire::ColumnType::Integer:
        return "INTEGER";
    case wire::ColumnType::Number:
        return "NUMBER";
    case wire::ColumnType::DateTime:
        return "DATE";
    }
    return {};
}

std::string NameList(const std::vector<QString>& names)
{
    std::string list;
    for (const QString& name : names)
        list += (list.empty() ? "" : ",") + Quoted(name);
    return list;
}

std::string CreateTableText(const demo::TableDef& table)
{
    std::string sql = "create table " + Quoted(table.name) + "(";
    for (const demo::ColumnDef& column : table.columns) {
        const bool key = std::ranges::find(table.primaryKey, column.name) != table.primaryKey.end();
        sql += Quoted(column.name) + " " + TypeName(column) + (key ? " not null," : ",");
    }
    return sql + "constraint " + Quoted(table.primaryKeyName) + " primary key(" + NameList(table.primaryKey)
        + "))";
}

void CreateIndexes(Database& database, const demo::TableDef& table)
{
    for (const demo::IndexDef& index : table.indexes) {
        database.Execute((index.unique ? "create unique index " : "create index ") + Quoted(index.name)
            + " on " + Quoted(table.name) + "(" + NameList(index.columns) + ")");
    }
}

// Takes generated rows straight into a database that nobody else sees yet.
class BulkLoader final : public demo::RowSink {
public:
    explicit BulkLoader(Database& database)
        : database_(database)
    {
    }

    void BeginTable(const demo::TableDef& table) override
    {
        std::string sql = "insert into " + Quoted(table.name) + " values(";
        for (size_t i = 0; i < table.columns.size(); ++i)
            sql += i == 0 ? "?" : ",?";
        insert_.emplace(database_.Prepare(sql + ")"));
    }

    void Row(std::span<const wire::Value> values) override
    {
        for (size_t i = 0; i < values.size(); ++i)
            insert_->Bind(static_cast<int>(i) + 1, values[i]);
        insert_->Execute();
    }

    void EndTable() override { insert_.reset(); }

private:
    Database& database_;
    std::optional<Statement> insert_;
};

void SetMeta(Database& database, const QString& name, const QString& value)
{
    Statement insert = database.Prepare("insert into zelmor_meta(NAME, VALUE) values(?1, ?2)");
    insert.Bind(1, name);
    insert.Bind(2, value);
    insert.Execute();
}

void AddDemoAccounts(Database& database, wire::DateTime now)
{
    Statement insert = database.Prepare("insert into zelmor_account values(?1, ?2, ?3, ?4, ?5, ?6, ?7)");
    for (const demo::Login& login : demo::Logins()) {
        insert.Bind(1, login.account);
        insert.Bind(2, server::HashPassword(demo::DemoPassword()));
        insert.Bind(3, login.employeeCode);
        insert.Bind(4, wire::TextValue(login.userType));
        insert.Bind(5, login.rights);
        insert.Bind(6, wire::TextValue(login.description));
        insert.BindInteger(7, now.seconds);
        insert.Execute();
    }
}

void Fill(const QString& file, const server::Options& options, wire::DateTime now)
{
    Database database(file, OpenMode::Fill);
    database.Execute("begin exclusive");
    database.Execute(kOwnTables);
    for (const demo::TableDef& table : demo::Schema())
        database.Execute(CreateTableText(table));
    if (!options.demo.isEmpty()) {
        demo::GeneratorOptions generator;
        generator.orders = demo::OrdersOf(options.demo);
        generator.now = now;
        generator.onProgress = options.onProgress;
        BulkLoader loader(database);
        demo::Generate(generator, loader);
        AddDemoAccounts(database, now);
        if (options.onProgress)
            options.onProgress(texts::MakingIndexes(), 100);
    }
    for (const demo::TableDef& table : demo::Schema())
        CreateIndexes(database, table);
    database.Execute("commit; pragma analysis_limit=2000; analyze");
    // This last change is written with all the care that the rows before it went without: it takes everything
    // to the disk.
    database.Execute("pragma journal_mode=delete; pragma synchronous=full");
    SetMeta(database, u"version"_s, QString::number(kSchemaVersion));
    if (!options.demo.isEmpty())
        SetMeta(database, u"demo"_s, options.demo);
}

void RemoveLeftovers(const QString& file)
{
    for (const QString& suffix : {u""_s, u"-journal"_s, u"-wal"_s, u"-shm"_s})
        QFile::remove(file + suffix);
}

// Raises where the file is not a database of ours, or one that this program is too old for.
void CheckVersion(const QString& file)
{
    Database database(file, OpenMode::Look);
    Statement own = database.Prepare("select 1 from sqlite_schema where name = 'zelmor_meta'");
    if (!own.Step())
        throw wire::Error(wire::ErrorKind::Storage, texts::NotOurDatabase(file));
    Statement query = database.Prepare("select VALUE from zelmor_meta where NAME = 'version'");
    const QString version = query.Step() ? query.Text(0) : QString();
    if (version.toInt() > kSchemaVersion)
        throw wire::Error(wire::ErrorKind::Storage, texts::NewerDatabase(version));
}

} // namespace

QString EnsureDatabase(const server::Options& options, wire::DateTime now)
{
    if (options.dataDir.isEmpty() || !QDir().mkpath(options.dataDir))
        throw wire::Error(wire::ErrorKind::Storage, texts::CannotMakeFolder(options.dataDir));
    const QDir folder(options.dataDir);
    const QString file = folder.absoluteFilePath(u"zelmor.db"_s);
    const auto exists = [&file] { return QFileInfo(file).size() > 0; };
    if (exists()) {
        CheckVersion(file);
        return file;
    }

    const QString unfinished = folder.absoluteFilePath(u"zelmor.db.unfinished"_s);
    QLockFile lock(folder.absoluteFilePath(u"zelmor.lock"_s));
    lock.setStaleLockTime(0);
    if (!lock.tryLock(0)) {
        throw wire::Error(wire::ErrorKind::Storage,
            lock.error() == QLockFile::LockFailedError ? texts::BeingCreated()
                                                       : texts::CannotFinishDatabase(file));
    }
    if (exists())
        return file;
    RemoveLeftovers(unfinished);
    try {
        Fill(unfinished, options, now);
    } catch (...) {
        RemoveLeftovers(unfinished);
        throw;
    }
    RemoveLeftovers(file);
    if (!QFile::rename(unfinished, file))
        throw wire::Error(wire::ErrorKind::Storage, texts::CannotFinishDatabase(file));
    return file;
}

} // namespace storage
