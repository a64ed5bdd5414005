#pragma once

#include <QString>
#include <QStringList>

#include <optional>
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
    struct Edit {
        QString order;
        std::optional<qint64> status;
        QString receivingSite, candidates;
        QString oldRemark, oldModifier, remark, modifier;
        std::optional<double> oldWeight;
        double weight = 0;
    };
    int Update(std::span<const Edit> edits);

private:
    sqlite3* database_ = nullptr;
};
