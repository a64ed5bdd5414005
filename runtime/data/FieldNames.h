#pragma once

#include "wire/Column.h"

#include <vector>

// Positions of columns by name, without regard to case. Built once an open; looked up without allocating.
class FieldNames {
public:
    void Build(const std::vector<wire::ColumnInfo>& infos);
    // The first column of that name; -1 when absent.
    int Find(const std::vector<wire::ColumnInfo>& infos, QStringView name) const noexcept;

private:
    static size_t Hash(QStringView name) noexcept;

    std::vector<qint32> table_; // open addressing, a power of two; -1 free
};
