#pragma once

#include "bench/system/OrderEdits.h"

#include <QString>
#include <QStringList>

#include <span>

struct sqlite3;

// What the database's own C interface costs for the work that is measured: the floor.
class Floor {
public:
    explicit Floor(const QString& file);
    ~Floor();
    Floor(const Floor&) = delete;
    Floor& operator=(const Floor&) = delete;

    void Run(const QString& sql);
    QStringList ColumnsOf(const QString& table);
    // Reads every cell of every row, keeping none; the number of rows.
    qint64 ReadEveryCell(const QString& sql);

    // One prepared look-up, bound and stepped once for each of `keys`; the number of hits.
    struct AreaKey {
        QString province, city, county, town, road;
        int number = 0;
    };
    int LookUp(std::span<const AreaKey> keys);

    // One prepared update in one transaction, with the old-value check that a save makes; the rows changed.
    int Update(std::span<const OrderEdit> edits);

private:
    sqlite3* database_ = nullptr;
};
