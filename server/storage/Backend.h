#pragma once

#include "company/RowSink.h"
#include "server/storage/Connection.h"

#include <functional>

namespace storage {

// One database. Safe to use from any thread.
class Backend {
public:
    virtual ~Backend();
    virtual std::shared_ptr<const dialect::Catalog> Catalog() const = 0;
    // Raises wire::Error (Storage, TryAgain).
    virtual std::unique_ptr<Connection> Connect() = 0;
    // Takes one writing transaction at a time: the pool lets them queue.
    virtual bool HasOneWriter() const noexcept = 0;
    // Raises wire::Error (Storage) where too little of its disk is free for a save; does nothing where a
    // server of its own looks after that.
    virtual void RequireRoom() const { }
    // For administrators: kind, version and place; never a password.
    virtual QString Description() const = 0;
};

// All rows of one table.
void LoadTable(company::RowSink& sink, const company::Table& table, const std::vector<Row>& rows);

// What a database is opened with, besides its address.
struct OpenOptions {
    int maxSeconds = 300; // no statement runs longer, but for a grace
    qint64 diskReserve = 0; // bytes of the disk that saves leave free, where it is known
    QString demo; // size of the demo data that a new database is filled with; empty: none
    std::function<void(company::RowSink&)> fill; // fills it, where `demo` says so
};

// Opens a database, or makes it. Raises wire::Error (Storage, Usage), TryAgain where it cannot be reached.
using Opener = std::function<std::unique_ptr<Backend>(const OpenOptions&)>;

} // namespace storage
