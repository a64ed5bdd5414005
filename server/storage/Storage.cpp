#include "server/storage/Storage.h"

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

} // namespace storage
