#pragma once

#include "server/storage/Connection.h"

#include <libpq-fe.h>

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

// The C interface of PostgreSQL, with owners and errors.
namespace storage::postgres {

struct ResultDeleter {
    void operator()(PGresult* result) const noexcept { PQclear(result); }
};
using Result = std::unique_ptr<PGresult, ResultDeleter>;

inline bool IsError(const Result& result)
{
    return result && PQresultStatus(result.get()) == PGRES_FATAL_ERROR;
}
// "23505" and so on; empty where the result carries none.
std::string_view SqlStateOf(const Result& result);
// The database's own words, in one line.
QString ReasonOf(const Result& result);
// The row is at fault, not the statement: a constraint, or a value that the column cannot hold.
bool BlamesRow(const Result& result);

// `name` as an SQL identifier in double quotes.
std::string Quoted(std::string_view name);

class Parameters;

// A connection, never waited for longer than its stop signal allows. Statements are sent ahead and their
// results read afterwards, in the same order: of each statement its results and then an empty one, after each
// Sync one of status PGRES_PIPELINE_SYNC. After an error everything up to the next Sync is skipped.
// Raises wire::Error; TryAgain where it is lost.
class Link {
public:
    explicit Link(const QString& uri);
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    PGconn* Handle() const noexcept { return connection_.get(); }
    void SetStop(StopSignal* stop) noexcept { stop_ = stop; }
    // As Connection's.
    bool IsUsable() const noexcept;
    bool IsStillUsable() noexcept;
    // Of no more use, whatever libpq thinks of it.
    void GiveUp() noexcept { givenUp_ = true; }
    // In an open transaction, whether it has failed or not.
    bool InTransaction() const noexcept;

    // One or more statements, not ahead of anything; gives the last result. Only before StartPipeline.
    Result Run(const std::string& sql);
    void StartPipeline();

    void SendCommand(const std::string& sql);
    void SendPrepare(const std::string& name, const std::string& sql, const std::vector<Oid>& types);
    // Results come in binary.
    void SendExecute(const std::string& name, const Parameters& parameters);
    void Sync();
    Result Next();
    // Reads and drops everything up to the last Sync.
    void Drain();
    // Rows one by one, for the statement whose results come next.
    void ReadRowByRow();
    // Or all together, which is less work for few; Next raises TooMuch where it takes more than so many
    // reads.
    struct TooMuch { };
    void ReadTogether(int mostReads) noexcept { readsLeft_ = mostReads; }
    // Rows in bulk: "copy … to stdout", while nothing else is under way. NextCopied gives the bytes of one
    // message, valid until the next, and nothing at the end; it raises what the copy fails with.
    void StartCopy(const std::string& copyText);
    std::string_view NextCopied();
    // Breaks off what is not read to its end. Statements may be sent again, or the link is given up.
    void EndCopy() noexcept;
    // Raises Limit where the stop signal says so.
    void CheckStop();
    // Asks the database to break off what is running; its error is read as that of any statement.
    void Cancel() noexcept;

    // What an error result means for clients; a lost connection is given up.
    [[noreturn]] void Raise(const Result& result, const QString& sqlText = {});
    [[noreturn]] void RaiseLost();

private:
    void Require(int sent);
    void WaitForInput();
    bool WaitOnce();
    void AskStop();

    struct Closer {
        void operator()(PGconn* connection) const noexcept { PQfinish(connection); }
    };
    struct Freer {
        void operator()(char* memory) const noexcept { PQfreemem(memory); }
    };
    std::unique_ptr<PGconn, Closer> connection_;
    std::unique_ptr<char, Freer> copied_;
    StopSignal* stop_ = nullptr;
    int syncs_ = 0; // sent and not yet read
    int readsLeft_ = 0; // until the next result; 0: as many as it takes
    bool copying_ = false; // and not at its end
    bool givenUp_ = false;
    bool cancelled_ = false; // since the last Sync
    std::chrono::steady_clock::time_point cancelledAt_;
};

} // namespace storage::postgres
