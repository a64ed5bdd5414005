#include "server/storage/Storage.h"

#include "server/Texts.h"

namespace storage {

StopSignal::~StopSignal() = default;
RowWriter::~RowWriter() = default;
Backend::~Backend() = default;

Connection::Connection(std::shared_ptr<const dialect::Catalog> catalog, dialect::Target target)
    : catalog_(std::move(catalog))
    , translator_(catalog_, target)
{
}

Connection::~Connection() = default;

void Connection::SelectLater(std::string_view sql, std::span<const wire::Value> parameters,
    std::span<const wire::ColumnType> types, Taker take)
{
    take(Select(sql, parameters, types));
}

void Connection::InsertLast(const company::Table& table, std::span<const wire::Value> values)
{
    if (!Insert(table, values))
        throw TryAgain(TryAgain::Cause::Conflict, wire::ErrorKind::Storage, server::texts::Busy());
}

} // namespace storage
