#pragma once

#include "bench/system/Floor.h"
#include "wire/Value.h"

// The service statistics as one statement would have them, written by hand for SQLite: one pass over the
// orders, each waybill looked up once, sites and areas named after the sums are made. All sites, any source.
class HandWrittenStatistics {
public:
    explicit HandWrittenStatistics(const QString& dataDir);

    void Run(const wire::DateTime& from, const wire::DateTime& to);
    qint64 Rows() const noexcept { return rows_; } // of the last run

private:
    Floor floor_;
    qint64 rows_ = 0;
};
