#pragma once

#include "wire/ColumnData.h"
#include "wire/Messages.h"

// Keeps the rows of a reply, until the next one begins. Without rows there are no columns either.
class RowKeeper : public wire::ReplySink {
public:
    void Columns(const wire::ColumnInfos& infos) override
    {
        rows.columns.clear();
        blocks = 0;
        if (!infos_.IsSharedWith(infos)) {
            infos_ = infos;
            rows.infos = *infos;
        }
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

private:
    wire::ColumnInfos infos_;
};
