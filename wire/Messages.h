#pragma once

#include "wire/ColumnInfos.h"
#include "wire/Error.h"

#include <array>
#include <functional>

namespace wire {

enum class ChangeKind : quint8 { Insert = 1, Update = 2, Delete = 3 };

// One cell of a changed row.
struct CellChange {
    quint16 column = 0; // position in ChangeLog::columns
    Value original; // as read from the server; null for inserts
    Value current; // as edited; equal to `original` for keys and guards that were not changed
};

// One row of a change log. Updates carry the key columns, the guard columns and the changed columns; deletes
// the key and guard columns; inserts every column that is not null.
struct RowChange {
    ChangeKind kind = ChangeKind::Update;
    quint32 rowId = 0; // the sender's name for the row; comes back in its verdict
    std::vector<CellChange> cells;
};

// The largest change log: a row counts as the cells it carries, at least one.
inline constexpr qint64 kMaxChangedCells = 2'000'000;
inline constexpr qint64 kMaxColumns = 65'536; // what CellChange::column can tell apart, of results too

struct ChangeLog {
    QString commandText; // the query that the rows were read with; names the table
    std::vector<ColumnInfo> columns;
    std::vector<RowChange> rows;
};

// What became of one row of a change log.
struct RowVerdict {
    quint32 rowId = 0;
    bool accepted = false;
    QString reason; // why it was refused
    bool present = false; // the row still exists; `presentValues` holds it
    std::vector<Value> presentValues{}; // parallel to ChangeLog::columns; only for refused rows that exist
};

struct ApplyOutcome {
    std::vector<RowVerdict> rows; // in the order of the change log
    bool rolledBack = false; // more refusals than allowed: nothing was stored
    WIRE_EXPORT int Rejected() const noexcept;
};

// Names one apply-updates for ever: a connection's random identity and its counter. Sent again under the same
// name, the server answers with the remembered outcome and applies nothing.
struct ApplyName {
    std::array<quint8, 16> client{};
    quint64 number = 0;
    bool operator==(const ApplyName&) const = default;
};

// Who is logged in, as the server knows it.
struct Identity {
    QString account;
    QString employeeCode;
    QString employeeName;
    QString site;
    QString userType; // "2": may open sites for marketplace orders
    QString rights; // three characters, each 0 or 1: the rights code of the account's screens
};

// Numbers are part of the protocol.
enum class RequestKind : quint8 { Login = 1, Query = 2, Execute = 3, ApplyUpdates = 4, Clock = 5 };

struct Request {
    RequestKind kind = RequestKind::Clock;
    QString text; // Query and Execute: the SQL text
    QString account; // Login
    QString password; // Login
    ChangeLog changes; // ApplyUpdates
    ApplyName name; // ApplyUpdates
    int maxErrors = -1; // ApplyUpdates: -1 every row on its own; N >= 0: more than N refusals undo all
};

// Receives the reply to one request, in order: for a query one `Columns`, then any number of `Rows`, then
// `Done`; for the others `Done` alone. A failure is thrown by the exchange, at any point, as Error.
class WIRE_EXPORT ReplySink {
public:
    virtual ~ReplySink();
    virtual void Columns(const ColumnInfos& infos) = 0;
    virtual void Rows(std::vector<Column> block) = 0;
    // `Rows` for all rows of a short result, as storage has read them: a sink that has no use for columns
    // spares making them. By default they become columns for `Rows`.
    virtual void Cells(const std::vector<CellBlock>& block);
};

struct Reply {
    qint64 rowCount = 0; // Query: rows sent; Execute: rows changed
    Identity identity; // Login
    ApplyOutcome outcome; // ApplyUpdates
    DateTime serverTime; // every reply
};

// One side's view of the other: sends a request, returns when the reply is complete. Implementations: in
// process (server/), TCP (runtime/). Used by one thread at a time. Raises Error: the server's own, or
// Connection when the way to it failed.
class WIRE_EXPORT Transport {
public:
    virtual ~Transport();
    virtual void Connect() = 0; // does nothing when connected
    // How many servers `Connect` has to choose from; after a failure it begins with another one.
    virtual int ServerCount() const noexcept { return 1; }
    virtual void Disconnect() noexcept = 0;
    virtual bool IsConnected() const noexcept = 0;
    virtual Reply Exchange(const Request& request, ReplySink& sink) = 0;

    // Asked about every 50 ms, on the waiting thread, while a connection or a reply is waited for; not at all
    // where either comes sooner. False gives it up with Error(Cancelled); the server's work on it is stopped.
    std::function<bool()> KeepWaiting;
};

} // namespace wire
