#include "server/storage/Connection.h"

#include "server/refusal/UserTexts.h"

namespace storage {

StopSignal::~StopSignal() = default;
RowWriter::~RowWriter() = default;
ClientStatements::~ClientStatements() = default;
OwnStatements::~OwnStatements() = default;
TransactionControl::~TransactionControl() = default;

Connection::Connection(std::shared_ptr<const dialect::Catalog> catalog, dialect::Target target)
    : catalog_(std::move(catalog))
    , translator_(catalog_, target)
{
}

Connection::~Connection() = default;

void OwnStatements::SelectLater(std::string_view sql, std::span<const wire::Value> parameters,
    std::span<const wire::ColumnType> types, Taker take)
{
    take(Select(sql, parameters, types));
}

void OwnStatements::InsertLast(const company::Table& table, std::span<const wire::Value> values)
{
    if (!Insert(table, values))
        throw TryAgain(TryAgain::Cause::Conflict, wire::ErrorKind::Storage, server::texts::Busy());
}

} // namespace storage
