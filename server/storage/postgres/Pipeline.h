#pragma once

#include "server/storage/postgres/Binary.h"
#include "server/storage/postgres/Libpq.h"

#include <deque>
#include <functional>
#include <optional>
#include <unordered_map>

namespace storage::postgres {

inline constexpr qint64 kUnknownRows = -1;

// A statement that the database keeps prepared for this connection.
struct Prepared {
    std::string name;
    std::string sql;
    std::vector<Oid> types;
    bool sent = false; // for preparation, and has not failed since
    quint64 lastUse = 0;
    std::optional<CellReaders> readers; // once its first rows have come
    CellBlocks scratch;
    size_t keptBytes = 0; // by `scratch`
    qint64 rows = kUnknownRows; // the last time
};
using PreparedPtr = std::shared_ptr<Prepared>;

// The statements of a connection, sent ahead of their results. What a statement needs first (its preparation,
// a transaction's begin, a savepoint) travels with it, and nobody waits for it by itself.
class Pipeline {
public:
    explicit Pipeline(Link& link)
        : link_(link)
    {
    }

    // Keeps the last few hundred, by text and parameter types.
    PreparedPtr Prepare(const std::string& sql, const std::vector<Oid>& types);

    // Drops others where they keep too much between their runs. To be called after a run of this one.
    void Weigh(Prepared& statement);

    // Travels with what is sent next.
    void Defer(const char* command) { deferred_.emplace_back(command); }
    const std::vector<std::string>& Deferred() const noexcept { return deferred_; }
    // So does this statement, behind them. `take` gets its result, if it has one, out of the call that comes
    // upon it, and may raise.
    using Taker = std::function<void(const Result&)>;
    void DeferStatement(PreparedPtr statement, Parameters parameters, Taker take);
    bool HasDeferredStatement() const noexcept { return deferredStatement_.statement != nullptr; }
    // All of that by itself; gives what failed.
    Result RunDeferred();
    void DropDeferred() noexcept;

    // Prepared as well: most come again and again.
    void SendCommand(const std::string& sql);
    void Send(const PreparedPtr& statement, const Parameters& parameters);
    // What is sent up to here fails together.
    void Sync();

    // The result of the next prepared statement that was sent; none where it failed or was skipped.
    Result Receive();
    // Makes the rows of the next one come from Link::Next, one by one or (few) together; false where it
    // failed before it had any.
    bool ReceiveRows();
    // Reads on to the Sync; gives what failed first before it.
    Result Finish();
    // Forgets everything that is under way, whatever became of it.
    void Abandon() noexcept;

    // One statement and its result, in one round trip; raises.
    Result Run(const PreparedPtr& statement, const Parameters& parameters);
    void RunCommand(const std::string& sql);
    // Of the last command, which is not always what was sent.
    const std::string& LastTag() const noexcept { return lastTag_; }

private:
    struct Expected {
        enum class Kind : quint8 { Command, Preparation, Deferred, Statement, Sync } kind;
        PreparedPtr statement;
    };
    struct DeferredStatement {
        PreparedPtr statement; // until it is sent
        Parameters parameters;
        Taker take;
    };
    void SendDeferred();
    void SendAs(Expected::Kind kind, const PreparedPtr& statement, const Parameters& parameters);
    std::string NewName() { return "s" + std::to_string(++names_); }
    void DropLeastUsed();
    bool ReceiveUpTo(Expected::Kind kind);
    Result TakeOnly();
    void Note(Result result);

    Link& link_;
    std::unordered_map<std::string, PreparedPtr> statements_;
    size_t textBytes_ = 0; // of all of them
    size_t keptBytes_ = 0; // by all of them
    std::string key_; // memory for look-ups
    quint64 uses_ = 0;
    quint64 names_ = 0;
    std::vector<std::string> deferred_;
    DeferredStatement deferredStatement_;
    const Parameters noParameters_;
    std::vector<std::string> retired_; // travel with what is sent next, too
    std::deque<Expected> expected_;
    Result failure_; // the first since the last Sync
    std::string lastTag_;
};

} // namespace storage::postgres
