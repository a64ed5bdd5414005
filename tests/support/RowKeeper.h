#pragma once

#include "wire/ColumnData.h"
#include "wire/Messages.h"

// Keeps the rows of a reply, until the next one begins.
class RowKeeper : public wire::ReplySink {
public:
    void Columns(const wire::ColumnInfos& infos) override
    {
        rows.columns.clear();
        blocks = 0;
        for (const wire::ColumnInfo& info : *infos)
            rows.columns.emplace_back(info.type);
        rows.infos = *infos;
    }
    void Rows(std::vector<wire::Column> block) override
    {
        if (blocks++ == 0) {
            rows.columns = std::move(block);
            return;
        }
        for (size_t i = 0; i < block.size(); ++i)
            rows.columns[i].AppendColumn(std::move(block[i]));
    }

    wire::RowSet rows;
    int blocks = 0;
};
