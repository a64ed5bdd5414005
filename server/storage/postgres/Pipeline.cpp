#include "server/storage/postgres/Pipeline.h"

#include <algorithm>
#include <utility>

namespace storage::postgres {
namespace {

constexpr size_t kPreparedStatements = 300;
constexpr size_t kPreparedBytes = 8 << 20; // of their texts, here as there
constexpr size_t kKeptBytes = 24 << 20; // by what their last rows were read into
// So many rows, the last time, may come together.
constexpr qint64 kRowsTogether = wire::CellBlock::kRows;
constexpr int kMostReads = 256; // of 16 KB each: what rows that come together may take of the memory

} // namespace

PreparedPtr Pipeline::Prepare(const std::string& sql, const std::vector<Oid>& types)
{
    key_.assign(sql);
    key_.append(reinterpret_cast<const char*>(types.data()), types.size() * sizeof(Oid));
    PreparedPtr& statement = statements_[key_];
    if (!statement) {
        statement = std::make_shared<Prepared>();
        statement->name = NewName();
        statement->sql = sql;
        statement->types = types;
        textBytes_ += sql.size();
    }
    statement->lastUse = ++uses_;
    PreparedPtr found = statement;
    while (
        statements_.size() > kPreparedStatements || (textBytes_ > kPreparedBytes && statements_.size() > 1))
        DropLeastUsed();
    return found;
}

void Pipeline::Weigh(Prepared& statement)
{
    const size_t kept = MemoryUse(statement.scratch);
    keptBytes_ += kept - statement.keptBytes;
    statement.keptBytes = kept;
    while (keptBytes_ > kKeptBytes && statements_.size() > 1)
        DropLeastUsed();
}

void Pipeline::DropLeastUsed()
{
    const auto least =
        std::ranges::min_element(statements_, {}, [](const auto& item) { return item.second->lastUse; });
    if (least->second->sent)
        retired_.push_back("deallocate " + least->second->name);
    textBytes_ -= least->second->sql.size();
    keptBytes_ -= least->second->keptBytes;
    statements_.erase(least);
}

void Pipeline::DeferStatement(PreparedPtr statement, Parameters parameters, Taker take)
{
    deferredStatement_ = {std::move(statement), std::move(parameters), std::move(take)};
}

void Pipeline::DropDeferred() noexcept
{
    deferred_.clear();
    deferredStatement_ = {};
}

void Pipeline::SendDeferred()
{
    for (const std::string& command : std::exchange(deferred_, {}))
        SendAs(Expected::Kind::Command, Prepare(command, {}), noParameters_);
    if (const PreparedPtr statement = std::exchange(deferredStatement_.statement, nullptr))
        SendAs(Expected::Kind::Deferred, statement, deferredStatement_.parameters);
    for (const std::string& command : std::exchange(retired_, {})) {
        link_.SendCommand(command);
        expected_.push_back({Expected::Kind::Command, nullptr});
    }
}

Result Pipeline::RunDeferred()
{
    SendDeferred();
    Sync();
    return Finish();
}

void Pipeline::SendCommand(const std::string& sql)
{
    SendDeferred();
    SendAs(Expected::Kind::Command, Prepare(sql, {}), noParameters_);
}

void Pipeline::Send(const PreparedPtr& statement, const Parameters& parameters)
{
    SendDeferred();
    SendAs(Expected::Kind::Statement, statement, parameters);
}

void Pipeline::SendAs(Expected::Kind kind, const PreparedPtr& statement, const Parameters& parameters)
{
    if (!statement->sent) {
        link_.SendPrepare(statement->name, statement->sql, statement->types);
        statement->sent = true;
        expected_.push_back({Expected::Kind::Preparation, statement});
    }
    link_.SendExecute(statement->name, parameters);
    expected_.push_back({kind, statement});
}

void Pipeline::Sync()
{
    link_.Sync();
    expected_.push_back({Expected::Kind::Sync, nullptr});
}

Result Pipeline::TakeOnly()
{
    Result result = link_.Next();
    if (!result)
        link_.RaiseLost();
    while (link_.Next()) { }
    return result;
}

void Pipeline::Note(Result result)
{
    if (!failure_ && IsError(result))
        failure_ = std::move(result);
}

// Reads what comes before the next of that kind; false when the Sync comes first.
bool Pipeline::ReceiveUpTo(Expected::Kind kind)
{
    while (!expected_.empty() && expected_.front().kind != kind) {
        if (expected_.front().kind == Expected::Kind::Sync)
            return false;
        const Expected expected = std::move(expected_.front());
        expected_.pop_front();
        Result result = TakeOnly();
        if (expected.kind == Expected::Kind::Preparation && PQresultStatus(result.get()) != PGRES_COMMAND_OK)
            expected.statement->sent = false;
        lastTag_ = PQcmdStatus(result.get());
        if (expected.kind == Expected::Kind::Deferred && PQresultStatus(result.get()) == PGRES_TUPLES_OK) {
            if (const Taker take = std::exchange(deferredStatement_.take, nullptr))
                take(result);
        }
        Note(std::move(result));
    }
    return !expected_.empty();
}

Result Pipeline::Receive()
{
    if (!ReceiveUpTo(Expected::Kind::Statement))
        return {};
    expected_.pop_front();
    Result result = TakeOnly();
    const ExecStatusType status = PQresultStatus(result.get());
    if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK)
        return result;
    Note(std::move(result));
    return {};
}

bool Pipeline::ReceiveRows()
{
    if (!ReceiveUpTo(Expected::Kind::Statement) || failure_)
        return false;
    const qint64 rows = expected_.front().statement->rows;
    if (rows >= 0 && rows <= kRowsTogether)
        link_.ReadTogether(kMostReads);
    else
        link_.ReadRowByRow();
    expected_.pop_front();
    return true;
}

Result Pipeline::Finish()
{
    if (ReceiveUpTo(Expected::Kind::Sync)) {
        expected_.pop_front();
        if (!link_.Next())
            link_.RaiseLost();
    }
    return std::exchange(failure_, {});
}

void Pipeline::Abandon() noexcept
{
    deferredStatement_ = {};
    try {
        if (!expected_.empty() && expected_.back().kind != Expected::Kind::Sync)
            link_.Sync();
        link_.Drain();
    } catch (const wire::Error&) {
        link_.GiveUp(); // whoever lends it next is told so
    }
    for (const Expected& expected : expected_) {
        // It is not known whether the database has prepared it under this name.
        if (expected.kind == Expected::Kind::Preparation) {
            expected.statement->name = NewName();
            expected.statement->sent = false;
        }
    }
    expected_.clear();
    failure_.reset();
}

Result Pipeline::Run(const PreparedPtr& statement, const Parameters& parameters)
{
    Send(statement, parameters);
    Sync();
    Result result = Receive();
    const Result failure = Finish();
    if (failure)
        link_.Raise(failure, QString::fromStdString(statement->sql));
    return result;
}

void Pipeline::RunCommand(const std::string& sql)
{
    SendCommand(sql);
    Sync();
    const Result failure = Finish();
    if (failure)
        link_.Raise(failure, QString::fromStdString(sql));
}

} // namespace storage::postgres
