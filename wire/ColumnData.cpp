#include "wire/ColumnData.h"

#include "wire/Error.h"

#include <QHashSeed>

#include <algorithm>
#include <array>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace wire {
namespace {

template <typename T> void Store(char* to, const qint64* values, qsizetype count)
{
    for (qsizetype i = 0; i < count; ++i) {
        const T value = static_cast<T>(values[i]);
        std::memcpy(to + i * qsizetype(sizeof(T)), &value, sizeof(T));
    }
}

void Store(char* to, int width, const qint64* values, qsizetype count)
{
    switch (width) {
    case 1:
        return Store<qint8>(to, values, count);
    case 2:
        return Store<qint16>(to, values, count);
    case 4:
        return Store<qint32>(to, values, count);
    case 8:
        return Store<qint64>(to, values, count);
    default:
        return;
    }
}

template <typename T> T Load(const char* from) noexcept
{
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

// Sixteen bytes a step, the last ones read with some of those before; seeded by process, so that nobody can
// prepare texts that collide.
inline quint32 HashText(const char* text, quint32 size, quint64 seed) noexcept
{
    constexpr quint64 kFactor = 0x9E3779B97F4A7C15ULL;
    quint64 hash = (seed ^ size) * kFactor;
    const auto mix = [&](quint64 word) {
        hash = (hash ^ word) * kFactor;
        hash ^= hash >> 32;
    };
    const char* const end = text + size;
    if (size >= 8) {
        for (; end - text > 16; text += 8)
            mix(Load<quint64>(text));
        mix(Load<quint64>(text));
        mix(Load<quint64>(end - 8));
    } else if (size >= 4) {
        mix(quint64(Load<quint32>(text)) << 32 | Load<quint32>(end - 4));
    } else if (size > 0) {
        mix(quint64(uchar(text[0])) << 16 | quint64(uchar(text[size / 2])) << 8 | uchar(end[-1]));
    }
    // What sets numbers of orders apart, their last digits, is in the highest bits so far; slots go by the
    // low.
    return static_cast<quint32>(hash * kFactor >> 32);
}

quint64 HashSeed() noexcept
{
    static const quint64 seed = QHashSeed::globalSeed();
    return seed;
}

// Most texts are short: a call each would cost more than the copy.
inline void CopyText(char* to, const char* from, size_t size) noexcept
{
    if (size > 32) {
        std::memcpy(to, from, size);
    } else if (size >= 16) {
        std::memcpy(to, from, 16);
        std::memcpy(to + size - 16, from + size - 16, 16);
    } else if (size >= 8) {
        std::memcpy(to, from, 8);
        std::memcpy(to + size - 8, from + size - 8, 8);
    } else if (size >= 4) {
        std::memcpy(to, from, 4);
        std::memcpy(to + size - 4, from + size - 4, 4);
    } else {
        for (size_t i = 0; i < size; ++i)
            to[i] = from[i];
    }
}

inline bool SameText(const char* a, const char* b, quint32 size) noexcept
{
    if (size > 16)
        return std::memcmp(a, b, size) == 0;
    if (size >= 8)
        return Load<quint64>(a) == Load<quint64>(b)
            && Load<quint64>(a + size - 8) == Load<quint64>(b + size - 8);
    if (size >= 4)
        return Load<quint32>(a) == Load<quint32>(b)
            && Load<quint32>(a + size - 4) == Load<quint32>(b + size - 4);
    return a[0] == b[0] && a[size / 2] == b[size / 2] && a[size - 1] == b[size - 1];
}

} // namespace

int NarrowInts::WidthFor(qint64 least, qint64 most) noexcept
{
    if (least == 0 && most == 0)
        return 0;
    if (least >= std::numeric_limits<qint8>::min() && most <= std::numeric_limits<qint8>::max())
        return 1;
    if (least >= std::numeric_limits<qint16>::min() && most <= std::numeric_limits<qint16>::max())
        return 2;
    if (least >= std::numeric_limits<qint32>::min() && most <= std::numeric_limits<qint32>::max())
        return 4;
    return 8;
}

void NarrowInts::Widen(int width)
{
    Array<char> wider;
    wider.Extend(size_ * width);
    qsizetype at = 0;
    if (width_ == 0) {
        if (size_ > 0)
            std::memset(wider.Begin(), 0, static_cast<size_t>(size_ * width));
    } else {
        ForEach([&](qint64 value) { Store(wider.Begin() + width * at++, width, &value, 1); });
    }
    bytes_ = std::move(wider);
    width_ = width;
}

void NarrowInts::Append(const qint64* values, qsizetype count)
{
    qint64 least = 0;
    qint64 most = 0;
    for (qsizetype i = 0; i < count; ++i) {
        least = std::min(least, values[i]);
        most = std::max(most, values[i]);
    }
    const int width = WidthFor(least, most);
    if (width > width_)
        Widen(width);
    if (width_ > 0)
        Store(bytes_.Extend(count * width_), width_, values, count);
    size_ += count;
}

void NarrowInts::AppendZeros(qsizetype count)
{
    bytes_.AppendZeros(count * width_);
    size_ += count;
}

void NarrowInts::Append(const NarrowInts& other)
{
    AppendBytes(other.Bytes(), other.width_, other.size_);
}

void NarrowInts::AppendBytes(const char* bytes, int width, qsizetype count)
{
    if (width == 0) {
        AppendZeros(count);
        return;
    }
    if (width > width_)
        Widen(width);
    if (width == width_) {
        bytes_.Append(bytes, count * width);
        size_ += count;
        return;
    }
    NarrowInts narrow;
    narrow.AppendBytes(bytes, width, count);
    char* to = bytes_.Extend(count * width_);
    narrow.ForEach([&](qint64 value) {
        Store(to, width_, &value, 1);
        to += width_;
    });
    size_ += count;
}

void NullMap::Materialise()
{
    if (!words_.IsEmpty() || rows_ == 0)
        return;
    words_.AppendZeros((rows_ + 63) / 64);
    if (nulls_ == rows_) {
        for (qsizetype row = 0; row < rows_; ++row)
            SetBit(row);
    }
}

void NullMap::AppendSame(bool null, qsizetype count)
{
    if (count == 0)
        return;
    // Nothing to write down while all rows are alike.
    const bool alike = rows_ == 0 || (words_.IsEmpty() && (null ? nulls_ == rows_ : nulls_ == 0));
    if (!alike)
        Materialise();
    const qsizetype begin = rows_;
    rows_ += count;
    nulls_ += null ? count : 0;
    if (alike)
        return;
    words_.AppendZeros((rows_ + 63) / 64 - words_.Size());
    for (qsizetype row = begin; null && row < rows_; ++row)
        SetBit(row);
}

void NullMap::Append(const uchar* flags, qsizetype count, qsizetype nulls)
{
    if (nulls == 0 || nulls == count) {
        AppendSame(nulls != 0, count);
        return;
    }
    Materialise();
    const qsizetype begin = rows_;
    rows_ += count;
    nulls_ += nulls;
    words_.AppendZeros((rows_ + 63) / 64 - words_.Size());
    for (qsizetype i = 0; i < count; ++i)
        words_[(begin + i) >> 6] |= quint64(flags[i] != 0) << ((begin + i) & 63);
}

void NullMap::Append(const NullMap& other)
{
    if (other.nulls_ == 0 || other.nulls_ == other.rows_) {
        AppendSame(other.nulls_ != 0, other.rows_);
        return;
    }
    Materialise();
    const qsizetype begin = rows_;
    rows_ += other.rows_;
    nulls_ += other.nulls_;
    words_.AppendZeros((rows_ + 63) / 64 - words_.Size());
    for (qsizetype row = 0; row < other.rows_; ++row)
        words_[(begin + row) >> 6] |= quint64(other.IsNull(row)) << ((begin + row) & 63);
}

void NullMap::Assign(qsizetype rows, qsizetype nulls, Array<quint64> words)
{
    rows_ = rows;
    nulls_ = nulls;
    words_ = std::move(words);
}

void TextPool::CheckRoom(qsizetype size) const
{
    if (quint64(bytes.Size()) + quint64(size) > std::numeric_limits<quint32>::max())
        throw Error(ErrorKind::Limit, u"查询结果过大，请缩小查询范围！"_s);
}

void TextPool::Append(const char* text, qsizetype size)
{
    CheckRoom(size);
    bytes.Append(text, size);
    ends.Append(static_cast<quint32>(bytes.Size()));
}

void TextPool::Append(const TextPool& other)
{
    CheckRoom(other.bytes.Size());
    const auto offset = static_cast<quint32>(bytes.Size());
    bytes.Append(other.bytes.Begin(), other.bytes.Size());
    quint32* to = ends.Extend(other.ends.Size());
    for (qsizetype i = 0; i < other.ends.Size(); ++i)
        to[i] = other.ends[i] + offset;
}

quint32 TextIndex::Find(TextPool& pool, const char* text, qsizetype size)
{
    pool.CheckRoom(size); // its length fits the slot then
    MakeRoom(1);
    const auto length = static_cast<quint32>(size);
    return Find(pool, text, length, HashText(text, length, HashSeed()));
}

inline quint32 TextIndex::Find(TextPool& pool, const char* text, quint32 size, quint32 hash)
{
    const qsizetype mask = slots_.Size() - 1;
    for (qsizetype at = hash & mask;; at = (at + 1) & mask) {
        Slot& slot = slots_[at];
        if (slot.entryPlusOne == 0) {
            const auto begin = static_cast<quint32>(pool.bytes.Size());
            pool.Append(text, size);
            slot = {hash, static_cast<quint32>(pool.Count()), begin, size};
            ++taken_;
            return slot.entryPlusOne - 1;
        }
        if (slot.hash == hash && slot.size == size && SameText(pool.bytes.Begin() + slot.begin, text, size))
            return slot.entryPlusOne - 1;
    }
}

void TextIndex::FindAll(
    TextPool& pool, const char* texts, const quint32* ends, qsizetype count, qint64* entriesPlusOne)
{
    // The slots of so many are asked of the memory before the first is looked at, then their texts.
    constexpr qsizetype kAhead = 32;
    std::array<quint32, kAhead> hashes;
    const quint64 seed = HashSeed();
    quint32 first = 0;
    for (qsizetype done = 0; done < count; done += kAhead) {
        const qsizetype some = std::min(kAhead, count - done);
        const quint32* const end = ends + done;
        MakeRoom(some);
        const Slot* const slots = slots_.Begin();
        const auto mask = static_cast<quint32>(slots_.Size() - 1);
        quint32 begin = first;
        for (qsizetype i = 0; i < some; ++i) {
            hashes[size_t(i)] = HashText(texts + begin, end[i] - begin, seed);
            __builtin_prefetch(slots + (hashes[size_t(i)] & mask));
            begin = end[i];
        }
        for (qsizetype i = 0; i < some; ++i)
            __builtin_prefetch(pool.bytes.Begin() + slots[hashes[size_t(i)] & mask].begin);
        begin = first;
        for (qsizetype i = 0; i < some; ++i) {
            const quint32 size = end[i] - begin;
            entriesPlusOne[done + i] =
                size == 0 ? 0 : qint64(Find(pool, texts + begin, size, hashes[size_t(i)])) + 1;
            begin = end[i];
        }
        first = begin;
    }
}

void TextIndex::Rebuild(const TextPool& pool)
{
    qsizetype size = 64;
    while (pool.Count() * 4 > size * 3)
        size *= 2;
    slots_ = {};
    slots_.AppendZeros(size);
    taken_ = pool.Count();
    const qsizetype mask = size - 1;
    quint32 begin = 0;
    for (qsizetype entry = 0; entry < taken_; ++entry) {
        const quint32 length = pool.ends[entry] - begin;
        const quint32 hash = HashText(pool.bytes.Begin() + begin, length, HashSeed());
        qsizetype at = hash & mask;
        while (slots_[at].entryPlusOne != 0)
            at = (at + 1) & mask;
        slots_[at] = {hash, static_cast<quint32>(entry + 1), begin, length};
        begin += length;
    }
}

void TextIndex::MakeRoom(qsizetype more)
{
    qsizetype size = qMax<qsizetype>(64, slots_.Size());
    while ((taken_ + more) * 4 > size * 3)
        size *= 2;
    if (size != slots_.Size())
        Resize(size);
}

void TextIndex::Resize(qsizetype slots)
{
    const Array<Slot> old = std::exchange(slots_, {});
    slots_.AppendZeros(slots);
    const qsizetype mask = slots - 1;
    for (qsizetype i = 0; i < old.Size(); ++i) {
        if (old[i].entryPlusOne == 0)
            continue;
        qsizetype at = old[i].hash & mask;
        while (slots_[at].entryPlusOne != 0)
            at = (at + 1) & mask;
        slots_[at] = old[i];
    }
}

void CellBlock::AddTexts(std::span<const std::string_view> cells)
{
    size_t size = 0;
    for (const std::string_view cell : cells)
        size += cell.size();
    if (size > static_cast<size_t>(kMostBytes - bytes_.Size()))
        RaiseTooLarge();
    const auto count = static_cast<qsizetype>(cells.size());
    auto end = static_cast<quint32>(bytes_.Size());
    char* to = bytes_.Extend(static_cast<qsizetype>(size));
    quint32* ends = ends_.Extend(count);
    qsizetype nulls = 0;
    for (const std::string_view cell : cells) {
        CopyText(to, cell.data(), cell.size());
        to += cell.size();
        end += static_cast<quint32>(cell.size());
        *ends++ = end;
        nulls += cell.empty() ? 1 : 0;
    }
    nulls_ += nulls;
    rows_ += count;
}

void CellBlock::RaiseTooLarge()
{
    throw Error(ErrorKind::Limit, u"查询结果里的文本过长！"_s);
}

void CellBlock::Clear() noexcept
{
    rows_ = 0;
    nulls_ = 0;
    flags_.Truncate(0);
    ints_.Truncate(0);
    numbers_.Truncate(0);
    bytes_.Truncate(0);
    if (bytes_.MemoryUse() > kKeptBytes)
        bytes_ = {};
    ends_.Truncate(0);
}

} // namespace wire
