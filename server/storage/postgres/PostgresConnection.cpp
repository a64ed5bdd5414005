#include "server/storage/postgres/PostgresConnection.h"

#include "server/refusal/UserTexts.h"
#include "server/storage/postgres/CopyOut.h"
#include "server/storage/postgres/PostgresSchema.h"

#include <algorithm>
#include <cstdlib>

namespace storage::postgres {
namespace {

// A statement that gave more rows than this the last time is copied: planning it anew costs less than a copy
// saves (from about 300 rows of 72 columns on).
constexpr qint64 kCopiedRows = 400;

constexpr qint64 kFewRows = 32; // keep next to nothing

constexpr auto kBegin = "begin";
constexpr auto kSetPoint = "savepoint zelmor_point";
constexpr auto kToPoint = "rollback to savepoint zelmor_point";

// "?" as PostgreSQL counts its parameters; the server's own texts have none in quotes.
std::string Numbered(std::string_view sql)
{
    std::string numbered;
    int number = 0;
    for (const char c : sql) {
        if (c == '?')
            numbered += '$' + std::to_string(++number);
        else
            numbered += c;
    }
    return numbered;
}

std::string InsertText(const company::Table& table, std::span<const wire::Value> values, Row& given)
{
    std::string names;
    std::string places;
    for (size_t i = 0; i < values.size(); ++i) {
        // The database gives the number that is missing.
        if (HasNumberedKey(table) && table.columns[i].name == table.primaryKey.front()
            && wire::IsNull(values[i]))
            continue;
        names += (names.empty() ? "" : ", ") + NameOf(table.columns[i].name);
        places += places.empty() ? "?" : ", ?";
        given.push_back(values[i]);
    }
    return "insert into " + NameOf(table.name) + "(" + names + ") values(" + places + ")";
}

std::vector<Row> RowsOf(const Result& result, const std::vector<wire::ColumnType>& types)
{
    const CellReaders readers(result.get(), types);
    std::vector<Row> rows(static_cast<size_t>(PQntuples(result.get())));
    for (size_t row = 0; row < rows.size(); ++row) {
        for (size_t column = 0; column < types.size(); ++column)
            rows[row].push_back(
                readers.ReadValue(result.get(), static_cast<int>(row), static_cast<int>(column)));
    }
    return rows;
}

// The rows of the statement whose results come next.
class RowReader final : public RowSource {
public:
    RowReader(Link& link, Prepared& statement, const std::vector<wire::ColumnInfo>& columns)
        : link_(link)
        , statement_(statement)
    {
        for (const wire::ColumnInfo& column : columns)
            types_.push_back(column.type);
        if (statement_.scratch.empty())
            statement_.scratch = MakeCellBlocks(columns);
    }

    bool Fill(CellBlocks& blocks) override
    {
        link_.CheckStop();
        do {
            const int here = PQntuples(rows_.get());
            if (next_ == here && !NextRows())
                return false;
            const qsizetype room = wire::CellBlock::kRows - blocks.front().RowCount();
            const int count = std::min({PQntuples(rows_.get()) - next_, int(room), CellReaders::kRowsAtOnce});
            statement_.readers->ReadRows(rows_.get(), next_, count, blocks);
            next_ += count;
        } while (!AreFullAfterRow(blocks));
        return true;
    }

    bool HasEnded() const noexcept { return ended_; }

private:
    // False at the end.
    bool NextRows()
    {
        if (PQresultStatus(rows_.get()) == PGRES_TUPLES_OK) {
            End(std::move(rows_));
            return false;
        }
        rows_ = link_.Next();
        next_ = 0;
        if (PQntuples(rows_.get()) == 0) {
            End(std::move(rows_));
            return false;
        }
        if (!statement_.readers)
            statement_.readers.emplace(rows_.get(), types_);
        return true;
    }

    void End(Result last)
    {
        if (!last)
            link_.RaiseLost();
        while (link_.Next()) { }
        ended_ = true;
        if (IsError(last))
            link_.Raise(last, QString::fromStdString(statement_.sql));
    }

    Link& link_;
    Prepared& statement_;
    std::vector<wire::ColumnType> types_;
    Result rows_; // one, or all where they come together
    int next_ = 0; // of them
    bool ended_ = false;
};

// A transaction's end is never broken off half-way: whoever asked for it could not know what became of it.
class Unstoppable {
public:
    Unstoppable(Link& link, StopSignal* stop)
        : link_(link)
        , stop_(stop)
    {
        link_.SetStop(nullptr);
    }
    ~Unstoppable() { link_.SetStop(stop_); }
    Unstoppable(const Unstoppable&) = delete;
    Unstoppable& operator=(const Unstoppable&) = delete;

private:
    Link& link_;
    StopSignal* stop_;
};

} // namespace

// Whatever is raised, nothing of it is left under way.
template <typename Work> auto PostgresConnection::Clean(Work&& work)
{
    try {
        return work();
    } catch (...) {
        pipeline_.Abandon();
        throw;
    }
}

PostgresConnection::PostgresConnection(
    const QString& uri, const std::string& settings, std::shared_ptr<const PostgresCatalog> catalog)
    : Connection(catalog, dialect::Target::Postgres)
    , catalog_(std::move(catalog))
    , link_(uri)
    , pipeline_(link_)
{
    link_.Run(settings);
    link_.StartPipeline();
}

qint64 PostgresConnection::Query(
    const dialect::Translated& select, wire::DateTime now, const ReadLimits& limits, wire::ReplySink& sink)
{
    const PreparedPtr statement = Bind(select, now);
    if (statement->rows > kCopiedRows && pipeline_.Deferred().empty()) {
        if (const auto copyText = CopyText(select, now)) {
            CopyReader rows(link_, *copyText, *statement->readers);
            const qint64 count = StreamRows(rows, statement->scratch, limits, sink);
            if (HoldMuch(statement->scratch))
                statement->scratch = MakeCellBlocks(*select.translation->columns);
            pipeline_.Weigh(*statement);
            return statement->rows = count;
        }
    }
    try {
        return Read(statement, *select.translation->columns, limits, sink);
    } catch (const Link::TooMuch&) {
        // It was few rows the last time. None of these has been handed on.
        statement->rows = kUnknownRows;
        return Read(statement, *select.translation->columns, limits, sink);
    }
}

qint64 PostgresConnection::Read(const PreparedPtr& statement, const std::vector<wire::ColumnInfo>& columns,
    const ReadLimits& limits, wire::ReplySink& sink)
{
    return Clean([&] {
        pipeline_.Send(statement, parameters_);
        pipeline_.Sync();
        if (!pipeline_.ReceiveRows())
            link_.Raise(pipeline_.Finish(), QString::fromStdString(statement->sql));
        RowReader rows(link_, *statement, columns);
        try {
            const qint64 count = StreamRows(rows, statement->scratch, limits, sink);
            if (HoldMuch(statement->scratch))
                statement->scratch = MakeCellBlocks(columns);
            if (count > kFewRows)
                pipeline_.Weigh(*statement);
            pipeline_.Finish();
            return statement->rows = count;
        } catch (...) {
            if (!rows.HasEnded())
                link_.Cancel();
            throw;
        }
    });
}

qint64 PostgresConnection::Execute(const dialect::Translated& update, wire::DateTime now)
{
    const PreparedPtr statement = Bind(update, now);
    return Clean([&] {
        pipeline_.Send(statement, parameters_);
        pipeline_.Sync();
        const Result result = pipeline_.Receive();
        if (const Result failure = pipeline_.Finish())
            link_.Raise(failure, QString::fromStdString(statement->sql));
        return qint64(std::atoll(PQcmdTuples(result.get())));
    });
}

std::vector<Row> PostgresConnection::Select(
    std::string_view sql, std::span<const wire::Value> parameters, std::span<const wire::ColumnType> types)
{
    const PreparedPtr statement = Bind(sql, parameters);
    const Result result = Clean([&] { return pipeline_.Run(statement, parameters_); });
    return RowsOf(result, {types.begin(), types.end()});
}

void PostgresConnection::SelectLater(std::string_view sql, std::span<const wire::Value> parameters,
    std::span<const wire::ColumnType> types, Taker take)
{
    const PreparedPtr statement = Bind(sql, parameters);
    pipeline_.DeferStatement(statement, std::exchange(parameters_, {}),
        [types = std::vector(types.begin(), types.end()), take = std::move(take)](
            const Result& result) { take(RowsOf(result, types)); });
}

void PostgresConnection::FinishSelect()
{
    if (!pipeline_.HasDeferredStatement())
        return;
    Clean([this] {
        if (const Result failure = pipeline_.RunDeferred())
            link_.Raise(failure);
    });
}

qint64 PostgresConnection::Change(std::string_view sql, std::span<const wire::Value> parameters)
{
    const PreparedPtr statement = Bind(sql, parameters);
    const Result result = Clean([&] { return pipeline_.Run(statement, parameters_); });
    return std::atoll(PQcmdTuples(result.get()));
}

bool PostgresConnection::Insert(const company::Table& table, std::span<const wire::Value> values)
{
    Row given;
    const std::string text = InsertText(table, values, given);
    return Change(text + " on conflict do nothing", given) == 1;
}

void PostgresConnection::InsertLast(const company::Table& table, std::span<const wire::Value> values)
{
    Row given;
    const std::string text = InsertText(table, values, given);
    last_ = Bind(text, given);
    lastParameters_ = std::exchange(parameters_, {});
}

std::unique_ptr<RowWriter> PostgresConnection::WriteRows(const WriteTarget& target)
{
    return std::make_unique<PostgresRowWriter>(
        link_, pipeline_, writeTexts_, target, catalog_->PrimaryKeyOf(*target.table));
}

void PostgresConnection::Begin()
{
    Forget();
    pipeline_.Defer(kBegin);
}

void PostgresConnection::Commit()
{
    const auto& deferred = pipeline_.Deferred();
    if (!last_ && std::ranges::find(deferred, kBegin) != deferred.end()) {
        Forget(); // nothing has been done
        return;
    }
    const Unstoppable unstoppable(link_, stop_);
    Clean([this] {
        const PreparedPtr last = std::exchange(last_, nullptr);
        if (last)
            pipeline_.Send(last, lastParameters_); // where it fails, the commit is skipped
        pipeline_.SendCommand("commit");
        pipeline_.Sync();
        const bool refused = last && !pipeline_.Receive();
        const Result failure = pipeline_.Finish();
        if (refused && SqlStateOf(failure) == "23505")
            throw TryAgain(TryAgain::Cause::Conflict, wire::ErrorKind::Storage, server::texts::Busy());
        if (failure)
            link_.Raise(failure);
        // In a transaction that has failed, a commit reports success and commits nothing.
        if (pipeline_.LastTag() != "COMMIT")
            throw wire::Error(wire::ErrorKind::Storage, server::texts::DatabaseError());
    });
}

void PostgresConnection::Rollback() noexcept
{
    Forget();
    if (PQtransactionStatus(link_.Handle()) == PQTRANS_IDLE)
        return;
    const Unstoppable unstoppable(link_, stop_);
    try {
        Clean([this] { pipeline_.RunCommand("rollback"); });
    } catch (const wire::Error&) {
        link_.GiveUp(); // its end undoes the transaction as well
    }
}

void PostgresConnection::Forget() noexcept
{
    pipeline_.DropDeferred();
    last_ = nullptr;
}

void PostgresConnection::SetSavepoint()
{
    pipeline_.Defer(kSetPoint);
}

void PostgresConnection::RollbackToSavepoint()
{
    pipeline_.Defer(kToPoint);
}

void PostgresConnection::SetStop(StopSignal* stop) noexcept
{
    stop_ = stop;
    link_.SetStop(stop);
}

PreparedPtr PostgresConnection::Bind(const dialect::Translated& translated, wire::DateTime now)
{
    link_.CheckStop();
    parameters_.Clear();
    std::vector<Oid> types;
    for (const dialect::Parameter& parameter : translated.translation->parameters) {
        types.push_back(TypeOf(parameter.type));
        if (parameter.source == dialect::Parameter::Source::Now)
            parameters_.Add(now, parameter.type);
        else
            parameters_.Add(translated.literals[static_cast<size_t>(parameter.literal)], parameter.type);
    }
    return pipeline_.Prepare(translated.translation->sql, types);
}

PreparedPtr PostgresConnection::Bind(std::string_view sql, std::span<const wire::Value> values)
{
    link_.CheckStop();
    parameters_.Clear();
    std::vector<Oid> types;
    for (const wire::Value& value : values) {
        // A null takes the type that stands there.
        types.push_back(wire::IsNull(value) ? 0 : TypeOf(static_cast<wire::ColumnType>(value.index())));
        parameters_.Add(value);
    }
    return pipeline_.Prepare(Numbered(sql), types);
}

} // namespace storage::postgres
