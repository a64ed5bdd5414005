#pragma once

#include "server/storage/Backend.h"
#include "wire/Messages.h"

#include <functional>
#include <optional>

namespace server {

// Rows of a change log that were refused because the account may not write them.
struct RefusedRows {
    const wire::Identity& who;
    const QString& peer;
    const QString& table;
    int count;
    const QString& firstRow; // its key
};

// What an application server is made with.
struct Options {
    storage::Opener open; // the database: storage::SqliteIn, PostgresAt or OdbcThrough
    int connections = 16; // to the database, at most
    int waitSeconds = 30; // for one of them, before a request is refused (Limit)
    QString demo; // "small", "medium", "large" or a number of orders: fills a new
                  // database; empty, or a database that is there already: nothing
    std::optional<wire::DateTime> now; // fixes the clock at start-up; it then runs on from there
    std::function<void(const QString& stage, int percent)>
        onProgress; // while filling, on the caller's thread
    qint64 maxRows = 2'000'000; // a query that would return more is refused (Limit)
    int maxSeconds = 300; // a request that runs longer is stopped (Limit)
    qint64 savedBytesADay = qint64(1) << 30; // what one account's saves leave in audit and outcomes (Limit)
    qint64 diskReserve =
        qint64(512) << 20; // with less of the database's disk free, nothing is saved (Storage)
    int permissionSeconds = 300; // so long may an account or a site that was changed still count as before
    std::function<void(const RefusedRows&)> onRefusedRows; // for the log; on the session's thread
};

} // namespace server
