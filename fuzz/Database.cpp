#include "fuzz/Database.h"

#include "server/storage/sqlite/SqliteCreation.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace fuzz {
namespace {

QString FolderPattern()
{
    const QString inMemory = u"/dev/shm"_s;
    return QDir(QDir(inMemory).exists() ? inMemory : QDir::tempPath()).filePath(u"zelmor-fuzz-XXXXXX"_s);
}

} // namespace

Database::Database()
    : folder_(FolderPattern())
{
    const QString file = storage::sqlite::EnsureDatabase(folder_.path(), {});
    base_ = std::make_unique<storage::sqlite::Database>(file, storage::sqlite::OpenMode::Serve);
    catalog_ = std::make_shared<storage::sqlite::SqliteCatalog>(*base_);
}

void Database::Insert(const company::Table& table, const std::vector<std::vector<wire::Value>>& rows)
{
    std::string places;
    for (size_t i = 0; i < table.columns.size(); ++i)
        places += places.empty() ? "?" : ",?";
    storage::sqlite::Statement insert =
        base_->Prepare("insert into " + storage::sqlite::Quoted(table.name) + " values(" + places + ")");
    for (const std::vector<wire::Value>& row : rows) {
        for (size_t i = 0; i < row.size(); ++i)
            insert.Bind(static_cast<int>(i) + 1, row[i]);
        insert.Execute();
    }
}

std::vector<TableState> Database::Tables()
{
    std::vector<TableState> states;
    for (const TableState& pristine : Pristine()) {
        TableState& state = states.emplace_back(TableState{pristine.table, {}});
        storage::sqlite::Statement query =
            base_->Prepare("select * from " + storage::sqlite::Quoted(state.table->name));
        while (query.Step()) {
            std::vector<wire::Value>& row = state.rows.emplace_back();
            for (const company::Column& column : state.table->columns)
                row.push_back(query.Value(static_cast<int>(row.size()), column.type));
        }
    }
    return states;
}

std::vector<AuditEntry> Database::Audit()
{
    std::vector<AuditEntry> entries;
    storage::sqlite::Statement query =
        base_->Prepare("select TABLE_NAME, ACTION, ROW_KEY, FIELDS from zelmor_audit order by AUDIT_ID");
    while (query.Step()) {
        const QStringList columns = QJsonDocument::fromJson(query.Text(3).toUtf8()).object().keys();
        entries.push_back({query.Text(0), query.Text(1), query.Text(2), {columns.begin(), columns.end()}});
    }
    return entries;
}

void Database::Restore()
{
    base_->Execute("begin immediate; delete from zelmor_audit; delete from zelmor_outcome");
    for (const TableState& pristine : Pristine()) {
        base_->Execute(("delete from " + storage::sqlite::Quoted(pristine.table->name)).c_str());
        Insert(*pristine.table, pristine.rows);
    }
    base_->Execute("commit");
}

} // namespace fuzz
