#pragma once

#include "server/storage/RowStream.h"

#include <libpq-fe.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

// Values as PostgreSQL sends and takes them: binary, in network byte order.
namespace storage::postgres {

// The type that a parameter of a column type is declared with.
Oid TypeOf(wire::ColumnType type);

// The parameters of one execution; the memory is used again by the next.
class Parameters {
public:
    void Clear() noexcept;
    // Empty text is null. Raises wire::Error (Data): a text with a NUL in it, a date out of range, a value
    // that cannot be converted.
    void Add(const wire::Value& value, wire::ColumnType type);
    // By the value's own type.
    void Add(const wire::Value& value);
    void AddNull();
    void AddInteger(qint64 value);
    void AddNumber(double value);
    void AddDateTime(wire::DateTime value);
    void AddText(const QString& text);
    void AddUtf8(std::string_view text);

    int Count() const noexcept { return static_cast<int>(ends_.size()); }
    // Parallel arrays, valid until something is added or sent from another place.
    struct Arrays {
        const char* const* values;
        const int* lengths;
        const int* formats;
    };
    Arrays ForSending() const;
    // One row of a binary COPY.
    void AppendCopyRow(std::string& buffer) const;

private:
    template <typename T> void AddBigEndian(T value);
    void End(bool null = false);

    std::string bytes_;
    std::vector<size_t> ends_;
    std::vector<bool> nulls_;
    mutable std::vector<const char*> values_;
    mutable std::vector<int> lengths_;
    mutable std::vector<int> formats_;
};

// How the cells of a result's columns are read.
class CellReaders {
public:
    // Raises wire::Error (Storage) where the database gives a type that cannot be read as what is wanted.
    CellReaders(const PGresult* result, const std::vector<wire::ColumnType>& wanted);

    int Count() const noexcept { return static_cast<int>(readers_.size()); }
    // So many rows are read column by column: the type is looked at once for all of them.
    static constexpr int kRowsAtOnce = 32;
    using Cells = std::span<const std::string_view>;
    // At most kRowsAtOnce.
    void ReadRows(const PGresult* result, int first, int count, CellBlocks& blocks) const;
    // The column's cells of the next rows; an empty one has no value, or is empty text: null both.
    void ReadCells(int column, Cells cells, CellBlocks& blocks) const;
    wire::Value ReadValue(const PGresult* result, int row, int column) const;

private:
    enum class Form : quint8 { Text, Boolean, Int2, Int4, Int8, Float4, Float8, Numeric, Timestamp, Date };
    struct Reader {
        wire::ColumnType wanted;
        Form form;
    };
    static bool FormOf(Oid type, Form& form);
    static qint64 IntegerOf(Form form, std::string_view cell);
    static double NumberOf(Form form, std::string_view cell);

    std::vector<Reader> readers_;
};

} // namespace storage::postgres
