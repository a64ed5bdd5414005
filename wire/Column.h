#pragma once

#include "wire/Value.h"

#include <QByteArrayView>

#include <memory>
#include <vector>

namespace wire {

class CellBlock;

// What a column of a result is. Travels before the first rows.
struct ColumnInfo {
    QString name; // as the server names it: the alias, or the column's name
    ColumnType type = ColumnType::Text;
    int width = 0; // text: most characters the column may hold, 0 when unknown
    bool key = false; // part of the primary key of the table that change logs are resolved against
    bool guard = false; // its old value travels with every update of its row (STATUS, REC_SITE, …)
    bool stored = false; // a column of that table; others (joined, computed) are never written

    bool operator==(const ColumnInfo&) const = default;
};

// The cells of one column: a typed array with a null map. Text is held as UTF-8 in a pool that each distinct
// value enters once while values repeat often enough (dictionary), and row by row when they do not (plain).
// Rows are appended in blocks and never change afterwards.
//
// Thread use: written by one thread; read by any once it is no longer written.
class WIRE_EXPORT Column {
public:
    explicit Column(ColumnType type = ColumnType::Text);
    ~Column();
    Column(Column&&) noexcept;
    Column& operator=(Column&&) noexcept;
    Column(const Column&);
    Column& operator=(const Column&);

    ColumnType Type() const noexcept;
    qsizetype RowCount() const noexcept;

    bool IsNull(qsizetype row) const noexcept;
    // Integer and DateTime (seconds); 0 where null.
    qint64 IntegerAt(qsizetype row) const noexcept;
    // Number and Integer; 0 where null.
    double NumberAt(qsizetype row) const noexcept;
    // Text: the UTF-8 bytes, valid while the column lives and is not written; empty where null.
    QByteArrayView TextAt(qsizetype row) const noexcept;
    // Text: the number of the row's entry in the pool (equal entries mean equal text while `IsDictionary()`);
    // -1 where null. Other types: undefined.
    qint64 EntryAt(qsizetype row) const noexcept;
    qsizetype EntryCount() const noexcept;
    QByteArrayView Entry(qsizetype entry) const noexcept;
    // True while every distinct text stands once in the pool.
    bool IsDictionary() const noexcept;
    Value ValueAt(qsizetype row) const;

    void AppendNull();
    void AppendInteger(qint64 value);
    void AppendNumber(double value);
    void AppendText(QByteArrayView utf8); // empty becomes null
    void AppendValue(const Value& value); // converted to the column's type; raises Error(Data)
    // Takes the rows of `block` (a column of the same type) to the end of this one.
    void AppendColumn(Column&& block);
    // Takes the cells of a block that storage has read (see wire/ColumnData.h), of this column's type; the
    // block is not changed.
    void AppendCells(const CellBlock& cells);
    // Gives the rows so far as a column of their own and goes on empty: text that proved not worth a
    // dictionary is taken as plain from then on. For results that are handed on in parts.
    Column TakeRows();
    // A copy of some rows.
    Column Slice(qsizetype begin, qsizetype count) const;

    // Bytes held, capacity included.
    size_t MemoryUse() const noexcept;
    // Gives back capacity that appending left over.
    void Squeeze();

    // Storage, codec and builders reach the arrays themselves; defined in wire/ColumnData.h.
    struct Data;
    Data& Raw() noexcept { return *data_; }
    const Data& Raw() const noexcept { return *data_; }

private:
    std::unique_ptr<Data> data_;
};

// Rows as columns: a query's result or a part of it. All columns have the same number of rows.
struct WIRE_EXPORT RowSet {
    std::vector<ColumnInfo> infos;
    std::vector<Column> columns;

    qsizetype RowCount() const noexcept { return columns.empty() ? 0 : columns.front().RowCount(); }
    // Position of the column by name, case-insensitive; -1 when absent.
    int IndexOf(QStringView name) const noexcept;
};

} // namespace wire
