#include "server/storage/Backend.h"

namespace storage {

Backend::~Backend() = default;

void LoadTable(company::RowSink& sink, const company::Table& table, const std::vector<Row>& rows)
{
    sink.BeginTable(table);
    for (const Row& row : rows)
        sink.Row(row);
    sink.EndTable();
}

} // namespace storage
