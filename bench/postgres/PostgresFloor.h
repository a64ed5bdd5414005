#pragma once

#include "bench/system/OrderEdits.h"

#include <QString>

#include <libpq-fe.h>

#include <memory>
#include <span>

// What libpq by itself costs for the work that is measured: the floor.
class PostgresFloor {
public:
    explicit PostgresFloor(const QString& uri);

    // Row by row, in binary, keeping nothing; the number of rows.
    qint64 ReadEveryCell(const QString& sql);

    // One prepared update a row, sent ahead in one transaction, each with a savepoint of its own; the rows
    // changed. With the old-value check that a save makes, but without its audit.
    int Update(std::span<const OrderEdit> edits);

private:
    struct Closer {
        void operator()(PGconn* connection) const noexcept { PQfinish(connection); }
    };
    struct ResultDeleter {
        void operator()(PGresult* result) const noexcept { PQclear(result); }
    };
    using Result = std::unique_ptr<PGresult, ResultDeleter>;
    void Require(bool done) const;
    Result Next();
    int ReadRows(int rows);

    std::unique_ptr<PGconn, Closer> connection_;
};
