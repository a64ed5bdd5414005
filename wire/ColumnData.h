#pragma once

// The arrays behind a column, for those that fill or move columns in bulk: storage, codec, datasets.
// Everybody else reads columns by the calls in wire/Column.h.

#include "wire/Column.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

namespace wire {

// A growable array that leaves new elements unset and grows by realloc, which moves large arrays without
// copying them.
template <typename T> class Array {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    Array() = default;
    ~Array()
    {
        if (data_ != nullptr) // a call less for each of a column's arrays that it has no use for
            std::free(data_);
    }
    Array(Array&& other) noexcept { Swap(other); }
    Array& operator=(Array&& other) noexcept
    {
        Array taken(std::move(other));
        Swap(taken);
        return *this;
    }
    Array(const Array& other) { Append(other.data_, other.size_); }
    Array& operator=(const Array& other) // NOLINT(bugprone-unhandled-self-assignment): copy and swap
    {
        Array copy(other);
        Swap(copy);
        return *this;
    }

    qsizetype Size() const noexcept { return size_; }
    bool IsEmpty() const noexcept { return size_ == 0; }
    T* Begin() noexcept { return data_; }
    const T* Begin() const noexcept { return data_; }
    T& operator[](qsizetype i) noexcept { return data_[i]; }
    const T& operator[](qsizetype i) const noexcept { return data_[i]; }
    size_t MemoryUse() const noexcept { return static_cast<size_t>(capacity_) * sizeof(T); }

    // Makes room for `count` more elements and gives their place; the caller sets them.
    T* Extend(qsizetype count)
    {
        if (count > capacity_ - size_)
            Grow(count);
        T* const place = data_ + size_;
        size_ += count;
        return place;
    }
    void Append(T value) { *Extend(1) = value; }
    void Append(const T* values, qsizetype count)
    {
        if (count > 0)
            std::memcpy(Extend(count), values, static_cast<size_t>(count) * sizeof(T));
    }
    void AppendZeros(qsizetype count)
    {
        if (count > 0)
            std::memset(Extend(count), 0, static_cast<size_t>(count) * sizeof(T));
    }
    void Reserve(qsizetype capacity)
    {
        if (capacity > capacity_)
            Reallocate(capacity);
    }
    void Truncate(qsizetype size) noexcept { size_ = size; }
    void Squeeze()
    {
        if (capacity_ > size_)
            Reallocate(size_);
    }

private:
    void Swap(Array& other) noexcept
    {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }
    void Grow(qsizetype count)
    {
        // Exact the first time: blocks that arrive whole leave nothing over.
        const qsizetype needed = size_ + count;
        Reallocate(size_ == 0 ? needed : qMax(needed, size_ + size_ / 2));
    }
    void Reallocate(qsizetype capacity)
    {
        if (capacity == 0) {
            std::free(std::exchange(data_, nullptr));
        } else {
            void* const moved = std::realloc(data_, static_cast<size_t>(capacity) * sizeof(T));
            if (moved == nullptr)
                throw std::bad_alloc();
            data_ = static_cast<T*>(moved);
        }
        capacity_ = capacity;
    }

    T* data_ = nullptr;
    qsizetype size_ = 0;
    qsizetype capacity_ = 0;
};

// Integers held in as few bytes each as the largest of them needs: 0 (all are zero), 1, 2, 4 or 8.
class WIRE_EXPORT NarrowInts {
public:
    qsizetype Size() const noexcept { return size_; }
    int Width() const noexcept { return width_; }
    const char* Bytes() const noexcept { return bytes_.Begin(); }
    size_t MemoryUse() const noexcept { return bytes_.MemoryUse(); }

    qint64 At(qsizetype i) const noexcept
    {
        switch (width_) {
        case 1:
            return Read<qint8>(i);
        case 2:
            return Read<qint16>(i);
        case 4:
            return Read<qint32>(i);
        case 8:
            return Read<qint64>(i);
        default:
            return 0;
        }
    }
    // Calls `use(reader)`, the width being looked at once; `reader(i)` is At(i).
    template <typename F> void WithReader(F&& use) const
    {
        switch (width_) {
        case 1:
            return use([this](qsizetype i) { return Read<qint8>(i); });
        case 2:
            return use([this](qsizetype i) { return Read<qint16>(i); });
        case 4:
            return use([this](qsizetype i) { return Read<qint32>(i); });
        case 8:
            return use([this](qsizetype i) { return Read<qint64>(i); });
        default:
            return use([](qsizetype) { return qint64(0); });
        }
    }
    // Calls `each(value)` for every element, the width being looked at once.
    template <typename F> void ForEach(F&& each) const
    {
        switch (width_) {
        case 1:
            return Walk<qint8>(each);
        case 2:
            return Walk<qint16>(each);
        case 4:
            return Walk<qint32>(each);
        case 8:
            return Walk<qint64>(each);
        default:
            for (qsizetype i = 0; i < size_; ++i)
                each(qint64(0));
        }
    }

    void Append(qint64 value) { Append(&value, 1); }
    void Append(const qint64* values, qsizetype count);
    void AppendZeros(qsizetype count);
    void Append(const NarrowInts& other);
    // Takes `count` elements of `width` bytes each as they lie in memory.
    void AppendBytes(const char* bytes, int width, qsizetype count);
    void Squeeze() { bytes_.Squeeze(); }

    static int WidthFor(qint64 least, qint64 most) noexcept;

private:
    template <typename T> qint64 Read(qsizetype i) const noexcept
    {
        T value;
        std::memcpy(&value, bytes_.Begin() + i * qsizetype(sizeof(T)), sizeof(T));
        return value;
    }
    template <typename T, typename F> void Walk(F&& each) const
    {
        for (qsizetype i = 0; i < size_; ++i)
            each(Read<T>(i));
    }
    void Widen(int width);

    Array<char> bytes_;
    qsizetype size_ = 0;
    int width_ = 0;
};

// Which rows are null: a bit a row, held only where some rows are and others are not.
class WIRE_EXPORT NullMap {
public:
    qsizetype Rows() const noexcept { return rows_; }
    qsizetype Nulls() const noexcept { return nulls_; }
    bool IsNull(qsizetype row) const noexcept
    {
        return nulls_ != 0 && (nulls_ == rows_ || ((words_[row >> 6] >> (row & 63)) & 1) != 0);
    }
    // The bits, 64 to a word, lowest first; empty where all rows are alike.
    const Array<quint64>& Words() const noexcept { return words_; }
    size_t MemoryUse() const noexcept { return words_.MemoryUse(); }

    void Append(bool null) { AppendSame(null, 1); }
    void AppendSame(bool null, qsizetype count);
    // One flag a row, not 0 where null.
    void Append(const uchar* flags, qsizetype count, qsizetype nulls);
    void Append(const NullMap& other);
    // Takes a whole map; `words` as `Words()` gives them.
    void Assign(qsizetype rows, qsizetype nulls, Array<quint64> words);
    void Squeeze() { words_.Squeeze(); }

private:
    void Materialise();
    void SetBit(qsizetype row) noexcept { words_[row >> 6] |= quint64(1) << (row & 63); }

    Array<quint64> words_;
    qsizetype rows_ = 0;
    qsizetype nulls_ = 0;
};

// Texts, one behind the other: entry i ends at ends[i] and begins where its predecessor ends.
struct WIRE_EXPORT TextPool {
    Array<char> bytes;
    Array<quint32> ends;

    qsizetype Count() const noexcept { return ends.Size(); }
    QByteArrayView At(qsizetype entry) const noexcept
    {
        const quint32 begin = entry == 0 ? 0 : ends[entry - 1];
        return {bytes.Begin() + begin, qsizetype(ends[entry] - begin)};
    }
    // These raise Error(Limit) where the texts of one column would pass 4 GiB.
    void CheckRoom(qsizetype size) const;
    void Append(const char* text, qsizetype size);
    void Append(const TextPool& other);
};

// Finds the entry of a text in a pool of distinct texts.
class WIRE_EXPORT TextIndex {
public:
    // The entry of the text (not empty), which is added to the pool where it is new.
    quint32 Find(TextPool& pool, const char* text, qsizetype size);
    // The same for many, one behind the other as in a pool: gives entry + 1 of each, 0 where it is empty.
    void FindAll(
        TextPool& pool, const char* texts, const quint32* ends, qsizetype count, qint64* entriesPlusOne);
    // Makes the index anew for what the pool holds.
    void Rebuild(const TextPool& pool);
    size_t MemoryUse() const noexcept { return slots_.MemoryUse(); }

private:
    // With the place of the text: the pool is not looked at for others that fall on the same slot.
    struct Slot {
        quint32 hash;
        quint32 entryPlusOne; // 0: free
        quint32 begin;
        quint32 size;
    };
    quint32 Find(TextPool& pool, const char* text, quint32 size, quint32 hash);
    void MakeRoom(qsizetype more);
    void Resize(qsizetype slots);

    Array<Slot> slots_; // a power of two, at most three quarters of them taken
    qsizetype taken_ = 0;
};

struct Column::Data {
    explicit Data(ColumnType columnType)
        : type(columnType)
    {
    }
    Data(const Data& other);

    ColumnType type;
    bool plain = false; // text: row i is entry i of the pool, `ints` is unused, null is an empty entry
    qsizetype rows = 0;
    NarrowInts ints; // Integer, DateTime: the values; text that is not plain: entry + 1, 0 where null
    Array<double> numbers; // Number; empty while all rows are null
    NullMap nulls; // all but text
    TextPool pool;
    std::unique_ptr<TextIndex> index; // while text is being appended; made again when needed

    void AppendTextRow(const char* text, qsizetype size);
    TextIndex& Index();
    void MakePlain();
    // Gives up a dictionary whose entries repeat too seldom to be worth looking up.
    void Settle();
};

// The cells of one column for a block of rows, just as they were read: filling it copies bytes and nothing
// more, so that one thread reads the next block while another appends this one to its column.
class WIRE_EXPORT CellBlock {
public:
    // A block this long stays in the cache until it is encoded.
    static constexpr qsizetype kRows = 1024;

    explicit CellBlock(ColumnType type)
        : type_(type)
    {
    }

    ColumnType Type() const noexcept { return type_; }
    qsizetype RowCount() const noexcept { return rows_; }
    void Clear() noexcept;

    void AddNull()
    {
        ++nulls_;
        switch (type_) {
        case ColumnType::Text:
            ends_.Append(static_cast<quint32>(bytes_.Size()));
            break;
        case ColumnType::Number:
            numbers_.Append(0);
            break;
        default:
            ints_.Append(0);
            break;
        }
        if (type_ != ColumnType::Text)
            flags_.Append(1);
        ++rows_;
    }
    // Bytes of its texts.
    qsizetype TextBytes() const noexcept { return bytes_.Size(); }
    // Bytes held, those that wait for the next rows included.
    size_t MemoryUse() const noexcept
    {
        return flags_.MemoryUse() + ints_.MemoryUse() + numbers_.MemoryUse() + bytes_.MemoryUse()
            + ends_.MemoryUse();
    }

    qsizetype Nulls() const noexcept { return nulls_; }
    // The cells in order: of a text its bytes, and where each ends in them (a null is empty); of other types
    // the values (0 where null), and 1 for each null.
    const Array<char>& Texts() const noexcept { return bytes_; }
    const Array<quint32>& Ends() const noexcept { return ends_; }
    const Array<qint64>& Integers() const noexcept { return ints_; }
    const Array<double>& Numbers() const noexcept { return numbers_; }
    const Array<uchar>& NullFlags() const noexcept { return flags_; }

    // Text only; empty is null. Raises Error(Limit) where the block would hold more than anybody reads.
    void AddText(const char* utf8, qsizetype size)
    {
        if (size > kMostBytes - bytes_.Size())
            RaiseTooLarge();
        nulls_ += size == 0 ? 1 : 0;
        if (size > 0)
            std::memcpy(bytes_.Extend(size), utf8, static_cast<size_t>(size));
        ends_.Append(static_cast<quint32>(bytes_.Size()));
        ++rows_;
    }
    // Integer and DateTime (seconds) only.
    void AddInteger(qint64 value)
    {
        ints_.Append(value);
        flags_.Append(0);
        ++rows_;
    }
    // Number only.
    void AddNumber(double value)
    {
        numbers_.Append(value);
        flags_.Append(0);
        ++rows_;
    }

    // The same for some rows at once, as storage holds them: room is made once, and an empty cell is null.
    // `valueOf` gives the value of one that is not.
    void AddTexts(std::span<const std::string_view> cells);
    template <typename ValueOf>
    void AddIntegers(std::span<const std::string_view> cells, const ValueOf& valueOf)
    {
        AddValues(ints_, cells, valueOf);
    }
    template <typename ValueOf>
    void AddNumbers(std::span<const std::string_view> cells, const ValueOf& valueOf)
    {
        AddValues(numbers_, cells, valueOf);
    }

private:
    friend class Column;
    template <typename T, typename ValueOf>
    void AddValues(Array<T>& values, std::span<const std::string_view> cells, const ValueOf& valueOf)
    {
        const auto count = static_cast<qsizetype>(cells.size());
        T* value = values.Extend(count);
        uchar* flag = flags_.Extend(count);
        qsizetype nulls = 0;
        for (const std::string_view cell : cells) {
            const bool null = cell.empty();
            *value++ = null ? T(0) : valueOf(cell);
            *flag++ = null ? 1 : 0;
            nulls += null ? 1 : 0;
        }
        nulls_ += nulls;
        rows_ += count;
    }
    static constexpr qsizetype kMostBytes = 256 << 20; // `ends_` could count more, memory could not
    static constexpr size_t kKeptBytes = 1 << 20; // for the next rows
    [[noreturn]] static void RaiseTooLarge();

    ColumnType type_;
    qsizetype rows_ = 0;
    qsizetype nulls_ = 0;
    Array<uchar> flags_;
    Array<qint64> ints_;
    Array<double> numbers_;
    Array<char> bytes_;
    Array<quint32> ends_;
};

} // namespace wire
