#pragma once

#include "server/storage/RowStream.h"

#include <libpq-fe.h>

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
    void ReadRow(const PGresult* result, int row, CellBlocks& blocks) const;
    // One cell of the next row; without a length it has no value, or is empty text: null both.
    void ReadCell(int column, const char* bytes, int length, CellBlocks& blocks) const
    {
        const Reader reader = readers_[static_cast<size_t>(column)];
        wire::CellBlock& cells = blocks[static_cast<size_t>(column)];
        if (length == 0)
            cells.AddNull();
        else if (reader.wanted == wire::ColumnType::Text)
            cells.AddText(bytes, length);
        else if (reader.wanted == wire::ColumnType::Number)
            cells.AddNumber(NumberOf(reader.form, bytes, length));
        else
            cells.AddInteger(IntegerOf(reader.form, bytes, length));
    }
    wire::Value ReadValue(const PGresult* result, int row, int column) const;

private:
    enum class Form : quint8 { Text, Boolean, Int2, Int4, Int8, Float4, Float8, Numeric, Timestamp, Date };
    struct Reader {
        wire::ColumnType wanted;
        Form form;
    };
    static bool FormOf(Oid type, Form& form);
    static qint64 IntegerOf(Form form, const char* bytes, int length);
    static double NumberOf(Form form, const char* bytes, int length);

    std::vector<Reader> readers_;
};

} // namespace storage::postgres
