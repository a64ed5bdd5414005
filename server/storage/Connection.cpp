#include "server/storage/Connection.h"

#include "server/dialect/SqliteFunctions.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace storage {
namespace {

constexpr size_t kPreparedStatements = 200;
constexpr int kConnections = 16;

std::shared_ptr<const DatabaseCatalog> ReadCatalog(const QString& file)
{
    Database database(file, OpenMode::Serve);
    return std::make_shared<const DatabaseCatalog>(database);
}

} // namespace

PreparedStatement::PreparedStatement(Database& database, std::shared_ptr<const dialect::Translation> source)
    : translation(std::move(source))
    , statement(database.Prepare(translation->sql))
    , scratch(MakeCellBlocks(translation->columns))
{
}

void PreparedStatement::Bind(const std::vector<wire::Value>& literals, wire::DateTime now)
{
    int number = 0;
    for (const dialect::Parameter& parameter : translation->parameters) {
        ++number;
        if (parameter.source == dialect::Parameter::Source::Now)
            statement.BindInteger(number, now.seconds);
        else
            statement.Bind(number, literals[static_cast<size_t>(parameter.literal)]);
    }
}

Connection::Connection(const QString& file, std::shared_ptr<const DatabaseCatalog> catalog)
    : database_(file, OpenMode::Serve)
    , catalog_(std::move(catalog))
    , translator_(catalog_)
{
    const int code = dialect::RegisterFunctions(database_.Handle());
    if (code != SQLITE_OK)
        RaiseError(database_.Handle(), code);
}

PreparedStatement& Connection::Prepare(const dialect::Translated& translated, Policy* allow)
{
    auto found = prepared_.find(translated.translation.get());
    const bool known = found != prepared_.end();
    if (allow != nullptr && (!known || !found->second->openToClients))
        allow(*translated.translation);
    if (!known) {
        if (prepared_.size() >= kPreparedStatements)
            DropLeastUsed();
        auto statement = std::make_unique<PreparedStatement>(database_, translated.translation);
        found = prepared_.emplace(translated.translation.get(), std::move(statement)).first;
    }
    PreparedStatement& prepared = *found->second;
    prepared.openToClients |= allow != nullptr;
    prepared.lastUse = ++uses_;
    return prepared;
}

void Connection::DropLeastUsed()
{
    prepared_.erase(
        std::ranges::min_element(prepared_, {}, [](const auto& item) { return item.second->lastUse; }));
}

ConnectionPool::ConnectionPool(const QString& file)
    : file_(file)
    , catalog_(ReadCatalog(file))
    , checkpointer_(file)
{
}

ConnectionPool::Lease ConnectionPool::Lend()
{
    {
        std::unique_lock lock(mutex_);
        returned_.wait(lock, [this] { return !idle_.empty() || lent_ < kConnections; });
        ++lent_;
        if (!idle_.empty()) {
            std::unique_ptr<Connection> connection = std::move(idle_.back());
            idle_.pop_back();
            return {*this, std::move(connection)};
        }
    }
    try {
        auto connection = std::make_unique<Connection>(file_, catalog_);
        checkpointer_.Watch(connection->Base());
        return {*this, std::move(connection)};
    } catch (...) {
        GiveBack(nullptr);
        throw;
    }
}

void ConnectionPool::GiveBack(std::unique_ptr<Connection> connection) noexcept
{
    {
        const std::lock_guard lock(mutex_);
        --lent_;
        if (connection)
            idle_.push_back(std::move(connection));
    }
    returned_.notify_one();
}

WriteTransaction::WriteTransaction(ConnectionPool& pool)
    : turn_(pool.writer_)
    , lease_(pool.Lend())
{
    lease_->Base().Execute("begin immediate");
    open_ = true;
}

WriteTransaction::~WriteTransaction()
{
    // A failed rollback leaves nothing to do: SQLite has then undone the transaction itself.
    if (open_)
        sqlite3_exec(lease_->Base().Handle(), "rollback", nullptr, nullptr, nullptr);
}

void WriteTransaction::Commit()
{
    lease_->Base().Execute("commit");
    open_ = false;
}

} // namespace storage
