#include "server/storage/sqlite/SqliteCreation.h"

#include "server/refusal/UserTexts.h"
#include "server/storage/OwnTables.h"
#include "server/storage/sqlite/SqliteRowWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace storage::sqlite {
namespace {

namespace texts = server::texts;

std::string TypeName(const company::Column& column)
{
    switch (column.type) {
    case wire::ColumnType::Text:
        return column.width > 0 ? "TEXT(" + std::to_string(column.width) + ")" : "TEXT";
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

std::string CreateTableText(const company::Table& table)
{
    std::string sql = "create table " + Quoted(table.name) + "(";
    for (const company::Column& column : table.columns) {
        const bool key = std::ranges::find(table.primaryKey, column.name) != table.primaryKey.end();
        sql += Quoted(column.name) + " " + TypeName(column) + (key ? " not null," : ",");
    }
    return sql + "constraint " + Quoted(table.primaryKeyName) + " primary key(" + NameList(table.primaryKey)
        + "))";
}

void CreateIndexes(Database& database, const company::Table& table)
{
    for (const company::Index& index : table.indexes) {
        database.Execute((index.unique ? "create unique index " : "create index ") + Quoted(index.name)
            + " on " + Quoted(table.name) + "(" + NameList(index.columns) + ")");
    }
}

// Takes generated rows straight into a database that nobody else sees yet.
class BulkLoader final : public company::RowSink {
public:
    explicit BulkLoader(Database& database)
        : database_(database)
    {
    }

    void BeginTable(const company::Table& table) override
    {
        insert_.emplace(database_.Prepare(InsertText(table, "insert into ")));
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

void CreateTables(Database& database, const std::vector<company::Table>& tables)
{
    for (const company::Table& table : tables)
        database.Execute(CreateTableText(table));
}

void Fill(const QString& file, const OpenOptions& options)
{
    Database database(file, OpenMode::Fill);
    database.Execute("begin exclusive");
    CreateTables(database, OwnTables());
    CreateTables(database, company::Tables());
    BulkLoader loader(database);
    if (!options.demo.isEmpty())
        options.fill(loader);
    for (const company::Table& table : OwnTables())
        CreateIndexes(database, table);
    for (const company::Table& table : company::Tables())
        CreateIndexes(database, table);
    database.Execute("commit; pragma analysis_limit=2000; analyze");
    // This last change is written with all the care that the rows before it went without: it takes everything
    // to the disk.
    database.Execute("pragma journal_mode=delete; pragma synchronous=full");
    LoadTable(loader, MetaTable(), MetaRows(options.demo));
}

void RemoveLeftovers(const QString& file)
{
    for (const QString& suffix : {u""_s, u"-journal"_s, u"-wal"_s, u"-shm"_s})
        QFile::remove(file + suffix);
}

// Raises where the file is not a database of ours, or one that this program is too old for.
int VersionOf(const QString& file)
{
    Database database(file, OpenMode::Look);
    Statement own = database.Prepare("select 1 from sqlite_schema where name = 'zelmor_meta'");
    if (!own.Step())
        throw wire::Error(wire::ErrorKind::Storage, texts::NotOurDatabase(file));
    Statement query = database.Prepare("select VALUE from zelmor_meta where NAME = 'version'");
    const QString version = query.Step() ? query.Text(0) : QString();
    if (version.toInt() > kSchemaVersion)
        throw wire::Error(wire::ErrorKind::Storage, texts::NewerDatabase(version));
    return version.toInt();
}

// Brings a database of an older program up to date, all or nothing.
void Upgrade(const QString& file)
{
    Database database(file, OpenMode::Serve);
    database.Execute("begin immediate");
    // Another program may have been faster.
    Statement query = database.Prepare("select VALUE from zelmor_meta where NAME = 'version'");
    const int version = query.Step() ? query.Text(0).toInt() : 0;
    query.Reset();
    if (version < 2) {
        // Outcomes were kept as bytes; what they are kept for is minutes old at most.
        database.Execute("drop table zelmor_request");
        database.Execute(CreateTableText(OutcomeTable()));
        CreateIndexes(database, OutcomeTable());
        database.Execute("alter table zelmor_account add column ROLE text");
    }
    database.Execute("update zelmor_meta set VALUE = '" + std::to_string(kSchemaVersion)
        + "' where NAME = 'version'; commit");
}

// What this account's umask left open to everybody: there are hashes of passwords in it.
void CloseToOthers(const QString& file)
{
    constexpr QFile::Permissions kOthers = QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    for (const QString& suffix : {u""_s, u"-wal"_s, u"-shm"_s}) {
        const QFile::Permissions permissions = QFile::permissions(file + suffix);
        if ((permissions & kOthers) != 0)
            QFile::setPermissions(file + suffix, permissions & ~kOthers);
    }
}

} // namespace

void MakeForOwnerAlone(const QString& path)
{
    QFile file(path);
    if (!file.open(QFile::WriteOnly | QFile::NewOnly, QFile::ReadOwner | QFile::WriteOwner))
        throw wire::Error(wire::ErrorKind::Storage, texts::CannotFinishDatabase(path));
}

QString EnsureDatabase(const QString& path, const OpenOptions& options)
{
    if (path.isEmpty() || !QDir().mkpath(path))
        throw wire::Error(wire::ErrorKind::Storage, texts::CannotMakeFolder(path));
    const QDir folder(path);
    const QString file = folder.absoluteFilePath(u"zelmor.db"_s);
    const QString unfinished = folder.absoluteFilePath(u"zelmor.db.unfinished"_s);
    // An empty one is refused, as any that is not ours, but where its making was cut short.
    const auto exists = [&] {
        const QFileInfo info(file);
        return info.size() > 0 || (info.exists() && !QFile::exists(unfinished));
    };
    if (exists()) {
        CloseToOthers(file);
        if (VersionOf(file) < kSchemaVersion)
            Upgrade(file);
        return file;
    }

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
        MakeForOwnerAlone(unfinished);
        Fill(unfinished, options);
    } catch (...) {
        RemoveLeftovers(unfinished);
        throw;
    }
    RemoveLeftovers(file);
    if (!QFile::rename(unfinished, file))
        throw wire::Error(wire::ErrorKind::Storage, texts::CannotFinishDatabase(file));
    return file;
}

} // namespace storage::sqlite
