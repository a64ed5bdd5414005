#include "server/storage/odbc/OdbcConnection.h"

#include "server/storage/odbc/OdbcRowWriter.h"

using namespace Qt::Literals::StringLiterals;

namespace storage::odbc {
namespace {

QString ToQString(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// The rows of a client's query, which runs from the beginning of this object to its end.
class QueryRows final : public RowSource {
public:
    QueryRows(Worker& worker, Database& database, const dialect::Translation& select)
        : worker_(worker)
        , database_(database)
    {
        std::vector<wire::ColumnType> types;
        for (const wire::ColumnInfo& info : *select.columns)
            types.push_back(info.type);
        worker_.Run([&] {
            statement_.emplace(database_.Prepare(ToQString(select.sql)));
            try {
                statement_->Run();
                statement_->ReadAs(types);
            } catch (...) {
                statement_.reset();
                throw;
            }
        });
    }
    ~QueryRows() override
    {
        worker_.Run([this] { statement_.reset(); });
    }
    QueryRows(const QueryRows&) = delete;
    QueryRows& operator=(const QueryRows&) = delete;

    bool Fill(CellBlocks& blocks) override
    {
        return worker_.Run([&] {
            const Database::Running running(database_, statement_->Handle());
            while (!AreFullAfterRow(blocks)) {
                if (!statement_->Next())
                    return false;
                statement_->AddCells(blocks);
            }
            return true;
        });
    }

private:
    Worker& worker_;
    Database& database_;
    std::optional<Statement> statement_;
};

} // namespace

OdbcConnection::OdbcConnection(
    std::shared_ptr<const Profile> profile, std::shared_ptr<const dialect::Catalog> catalog)
    : Connection(std::move(catalog), dialect::Target::Verbatim)
    , profile_(std::move(profile))
    , worker_([this] { AskWhetherToStop(); })
{
    worker_.Run([this] { database_ = std::make_unique<Database>(profile_->settings, profile_->maxSeconds); });
}

OdbcConnection::~OdbcConnection()
{
    worker_.Run([this] { database_.reset(); });
}

qint64 OdbcConnection::Query(const dialect::Translated& select, wire::DateTime /*now*/,
    const ReadLimits& limits, wire::ReplySink& sink)
{
    QueryRows rows(worker_, *database_, *select.translation);
    CellBlocks scratch = MakeCellBlocks(*select.translation->columns);
    return StreamRows(rows, scratch, limits, sink);
}

qint64 OdbcConnection::Execute(const dialect::Translated& update, wire::DateTime /*now*/)
{
    return worker_.Run([&] {
        Statement statement = database_->Prepare(ToQString(update.translation->sql));
        statement.Run();
        return statement.ChangedRows();
    });
}

std::vector<Row> OdbcConnection::Select(
    std::string_view sql, std::span<const wire::Value> parameters, std::span<const wire::ColumnType> types)
{
    return worker_.Run([&] {
        Statement& statement = database_->Prepared(ToQString(sql));
        for (const wire::Value& parameter : parameters)
            statement.Bind(parameter);
        statement.Run();
        statement.ReadAs(types);
        std::vector<Row> rows;
        while (statement.Next()) {
            Row& row = rows.emplace_back();
            for (size_t i = 0; i < types.size(); ++i)
                row.push_back(statement.Value(static_cast<int>(i)));
        }
        statement.Finish();
        return rows;
    });
}

qint64 OdbcConnection::Change(std::string_view sql, std::span<const wire::Value> parameters)
{
    return worker_.Run([&] {
        Statement& statement = database_->Prepared(ToQString(sql));
        for (const wire::Value& parameter : parameters)
            statement.Bind(parameter);
        statement.Run();
        return statement.ChangedRows();
    });
}

bool OdbcConnection::Insert(const company::Table& table, std::span<const wire::Value> values)
{
    return worker_.Run([&] {
        QStringList names;
        std::vector<size_t> given;
        for (size_t i = 0; i < values.size(); ++i) {
            // A key that is not given is numbered by the database.
            const QString& name = table.columns[i].name;
            if (wire::IsNull(values[i]) && table.primaryKey.size() == 1 && table.primaryKey.front() == name)
                continue;
            names << name;
            given.push_back(i);
        }
        Statement& insert = database_->Prepared(InsertText(table.name, names));
        for (const size_t i : given)
            insert.Bind(values[i], table.columns[i].type);
        const auto fault = insert.TryRun();
        if (fault && fault->kind == Fault::Kind::Row && fault->integrity)
            return false;
        if (fault)
            Raise(*fault);
        return true;
    });
}

std::unique_ptr<RowWriter> OdbcConnection::WriteRows(const WriteTarget& target)
{
    return std::make_unique<OdbcRowWriter>(worker_, *database_, target, profile_->needsSavepoints);
}

void OdbcConnection::Begin()
{
    worker_.Run([this] { database_->Begin(); });
}

void OdbcConnection::Commit()
{
    worker_.Run([this] { database_->Commit(); });
}

void OdbcConnection::Rollback() noexcept
{
    worker_.Run([this] { database_->Rollback(); });
}

void OdbcConnection::SetSavepoint()
{
    worker_.Run([this] { database_->Execute(u"savepoint zelmor_log"_s); });
}

void OdbcConnection::RollbackToSavepoint()
{
    worker_.Run([this] { database_->Execute(u"rollback to savepoint zelmor_log"_s); });
}

void OdbcConnection::SetStop(StopSignal* stop) noexcept
{
    stop_ = stop;
    database_->Resume();
}

void OdbcConnection::AskWhetherToStop() noexcept
{
    StopSignal* const stop = stop_;
    if (stop != nullptr && database_ != nullptr && stop->ShouldStop())
        database_->Cancel();
}

} // namespace storage::odbc
