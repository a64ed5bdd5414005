#include "server/storage/sqlite/SqliteConnection.h"

#include "server/storage/sqlite/SqliteRowWriter.h"
#include "server/storage/sqlite/TemporaryFiles.h"

#include <algorithm>
#include <cmath>

namespace storage::sqlite {
namespace {

constexpr size_t kPreparedStatements = 200;
constexpr size_t kPreparedBytes = 32 << 20; // of all of them, far more than the screens' need
constexpr qint64 kFewRows = 32; // keep next to nothing
constexpr std::chrono::seconds kLongRead(3);
// Virtual machine instructions between two questions whether to stop.
constexpr int kStopInterval = 5000;

void ReadCell(sqlite3_value* value, wire::CellBlock& cells)
{
    if (cells.Type() == wire::ColumnType::Text) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
        if (text)
            cells.AddText(text, sqlite3_value_bytes(value));
        else
            cells.AddNull();
        return;
    }
    const int type = sqlite3_value_type(value);
    if (type == SQLITE_NULL)
        cells.AddNull();
    else if (cells.Type() == wire::ColumnType::Number)
        cells.AddNumber(sqlite3_value_double(value));
    else if (type == SQLITE_INTEGER)
        cells.AddInteger(sqlite3_value_int64(value));
    else // computed: half a second more or less is rounding
        cells.AddInteger(std::llround(sqlite3_value_double(value)));
}

// A run of a prepared statement; what it needed more than others is not kept for the next.
class Run {
public:
    explicit Run(Statement& statement)
        : statement_(statement)
    {
    }
    ~Run()
    {
        statement_.Reset();
        statement_.ForgetLongTexts();
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

private:
    Statement& statement_;
};

// The rows of a bound statement.
class StatementRows final : public RowSource {
public:
    StatementRows(Statement& statement, const QString& account)
        : statement_(statement)
        , account_(account)
        , run_(statement)
    {
    }

    bool Fill(CellBlocks& blocks) override
    {
        const TemporaryFilesOf files(account_);
        sqlite3_stmt* const handle = statement_.Handle();
        const int columns = static_cast<int>(blocks.size());
        while (!AreFullAfterRow(blocks)) {
            if (!statement_.Step())
                return false;
            // The connection belongs to this thread, so its values are as good as protected ones.
            for (int i = 0; i < columns; ++i)
                ReadCell(sqlite3_column_value(handle, i), blocks[static_cast<size_t>(i)]);
        }
        return true;
    }

private:
    Statement& statement_;
    const QString& account_;
    Run run_;
};

} // namespace

SqliteConnection::SqliteConnection(
    const QString& file, std::shared_ptr<const dialect::Catalog> catalog, Checkpointer& checkpointer)
    : Connection(std::move(catalog), dialect::Target::Sqlite)
    , checkpointer_(checkpointer)
    , database_(file, OpenMode::Serve)
{
    const int code = dialect::RegisterFunctions(database_.Handle(), &functionWatch_);
    if (code != SQLITE_OK)
        RaiseError(database_.Handle(), code);
    checkpointer.Watch(database_);
}

SqliteConnection::~SqliteConnection() = default;

qint64 SqliteConnection::Query(
    const dialect::Translated& select, wire::DateTime now, const ReadLimits& limits, wire::ReplySink& sink)
{
    Prepared& prepared = Prepare(select, now);
    StatementRows rows(prepared.statement, Account());
    const qint64 count = StreamRows(rows, prepared.scratch, limits, sink);
    if (HoldMuch(prepared.scratch))
        prepared.scratch = MakeCellBlocks(*prepared.translation->columns);
    if (count > kFewRows)
        Weigh(prepared);
    return count;
}

qint64 SqliteConnection::Execute(const dialect::Translated& update, wire::DateTime now)
{
    Statement& statement = Prepare(update, now).statement;
    const Run run(statement);
    const TemporaryFilesOf files(Account());
    statement.Execute();
    return database_.Changes();
}

std::vector<Row> SqliteConnection::Select(
    std::string_view sql, std::span<const wire::Value> parameters, std::span<const wire::ColumnType> types)
{
    Statement& statement = Own(sql, parameters);
    const ResetGuard reset(statement);
    std::vector<Row> rows;
    while (statement.Step()) {
        Row& row = rows.emplace_back();
        for (size_t i = 0; i < types.size(); ++i)
            row.push_back(statement.Value(static_cast<int>(i), types[i]));
    }
    return rows;
}

qint64 SqliteConnection::Change(std::string_view sql, std::span<const wire::Value> parameters)
{
    Own(sql, parameters).Execute();
    return database_.Changes();
}

bool SqliteConnection::Insert(const company::Table& table, std::span<const wire::Value> values)
{
    Statement& statement = Own(InsertText(table, "insert or ignore into "), values);
    statement.Execute();
    return database_.Changes() > 0;
}

std::unique_ptr<RowWriter> SqliteConnection::WriteRows(const WriteTarget& target)
{
    return std::make_unique<SqliteRowWriter>(database_, target);
}

void SqliteConnection::Begin()
{
    database_.RequireSound();
    database_.Execute("begin immediate");
}

void SqliteConnection::Commit()
{
    database_.Execute("commit");
}

void SqliteConnection::Rollback() noexcept
{
    // One that fails leaves nothing to do: SQLite has then undone the transaction itself.
    sqlite3_exec(database_.Handle(), "rollback", nullptr, nullptr, nullptr);
}

void SqliteConnection::SetSavepoint()
{
    database_.Execute("savepoint change_log");
}

void SqliteConnection::RollbackToSavepoint()
{
    database_.Execute("rollback to change_log");
}

void SqliteConnection::SetStop(StopSignal* stop) noexcept
{
    stop_ = stop;
    begin_ = std::chrono::steady_clock::now();
    functionWatch_.bytes = 0;
    functionWatch_.shouldStop = nullptr;
    if (stop == nullptr) {
        sqlite3_progress_handler(database_.Handle(), 0, nullptr, nullptr);
        return;
    }
    const auto ask = [](void* self) { return static_cast<SqliteConnection*>(self)->ShouldStop() ? 1 : 0; };
    sqlite3_progress_handler(database_.Handle(), kStopInterval, ask, this);
    functionWatch_.shouldStop = [this] { return ShouldStop(); };
}

bool SqliteConnection::ShouldStop() noexcept
{
    return stop_->ShouldStop()
        || (checkpointer_.NeedsRoom() && std::chrono::steady_clock::now() - begin_ > kLongRead);
}

SqliteConnection::Prepared& SqliteConnection::Prepare(
    const dialect::Translated& translated, wire::DateTime now)
{
    auto found = prepared_.find(translated.translation.get());
    if (found == prepared_.end()) {
        const auto& translation = translated.translation;
        auto prepared = std::make_unique<Prepared>(Prepared{
            translation, database_.Prepare(translation->sql), MakeCellBlocks(*translation->columns)});
        prepared->bytes = prepared->statement.Memory();
        preparedBytes_ += prepared->bytes;
        while (!prepared_.empty()
            && (prepared_.size() >= kPreparedStatements || preparedBytes_ > kPreparedBytes))
            DropLeastUsed();
        found = prepared_.emplace(translation.get(), std::move(prepared)).first;
    }
    Prepared& prepared = *found->second;
    prepared.lastUse = ++uses_;
    int number = 0;
    for (const dialect::Parameter& parameter : prepared.translation->parameters) {
        ++number;
        if (parameter.source == dialect::Parameter::Source::Now)
            prepared.statement.BindInteger(number, now.seconds);
        else
            prepared.statement.Bind(number, translated.literals[static_cast<size_t>(parameter.literal)]);
    }
    return prepared;
}

// What it keeps for its next run may be many times what it is itself.
void SqliteConnection::Weigh(Prepared& prepared)
{
    const size_t kept = MemoryUse(prepared.scratch);
    prepared.bytes += kept - prepared.keptBytes;
    preparedBytes_ += kept - prepared.keptBytes;
    prepared.keptBytes = kept;
    while (preparedBytes_ > kPreparedBytes && prepared_.size() > 1)
        DropLeastUsed();
}

void SqliteConnection::DropLeastUsed()
{
    const auto least =
        std::ranges::min_element(prepared_, {}, [](const auto& item) { return item.second->lastUse; });
    preparedBytes_ -= least->second->bytes;
    prepared_.erase(least);
}

Statement& SqliteConnection::Own(std::string_view sql, std::span<const wire::Value> parameters)
{
    std::string text(sql);
    auto found = own_.find(text);
    if (found == own_.end())
        found = own_.emplace(std::move(text), database_.Prepare(sql)).first;
    int number = 0;
    for (const wire::Value& parameter : parameters)
        found->second.Bind(++number, parameter);
    return found->second;
}

} // namespace storage::sqlite
