#include "runtime/data/RowOrder.h"

#include "runtime/data/Collation.h"

#include <QHash>

#include <bit>
#include <cstring>
#include <limits>

namespace {

// Below this many rows, comparing is cheaper than distributing.
constexpr size_t kFewRows = 1024;
constexpr int kDigitBits = 11;

// One number for each row, smaller ones first, in at most `bits` bits.
struct Component {
    std::vector<quint64> values;
    int bits = 0;
};

struct KeyedRow {
    quint64 key;
    RowNumber row;
};

// Each text's place among the distinct ones, which end up alone in `texts`.
std::vector<quint32> Distinguish(std::vector<QByteArrayView>& texts)
{
    std::vector<quint32> table(std::bit_ceil(texts.size() * 2 + 1), kNoRow);
    std::vector<quint32> places(texts.size());
    quint32 distinct = 0;
    for (size_t i = 0; i < texts.size(); ++i) {
        size_t slot = qHash(texts[i]) & (table.size() - 1);
        while (table[slot] != kNoRow && texts[table[slot]] != texts[i])
            slot = (slot + 1) & (table.size() - 1);
        if (table[slot] == kNoRow) {
            texts[distinct] = texts[i];
            table[slot] = distinct++;
        }
        places[i] = table[slot];
    }
    texts.resize(distinct);
    return places;
}

// Of the entries of the column's pool, and of more texts after them.
std::vector<quint32> RanksOfEntries(const wire::Column& column, const std::vector<QByteArray>& more = {})
{
    std::vector<QByteArrayView> texts;
    texts.reserve(static_cast<size_t>(column.EntryCount()) + more.size());
    for (qint64 entry = 0; entry < column.EntryCount(); ++entry)
        texts.push_back(column.Entry(entry));
    texts.insert(texts.end(), more.begin(), more.end());
    if (column.IsDictionary())
        return CollationRanks(texts);
    // Texts held row by row repeat: only different ones are worth collating.
    std::vector<quint32> ranks = Distinguish(texts);
    const std::vector<quint32> distinctRanks = CollationRanks(texts);
    for (quint32& rank : ranks)
        rank = distinctRanks[rank];
    return ranks;
}

// Null counts 0 and comes first; descending turns the whole round.
void Finish(Component& component, quint64 most, bool descending)
{
    component.bits = std::bit_width(most);
    if (descending)
        for (quint64& value : component.values)
            value = most - value;
}

Component TextComponent(
    const RowStore& rows, RankCache& cache, const SortKey& key, const std::vector<RowNumber>& order)
{
    const wire::Column& column = rows.Column(key.field);
    // Texts typed here are ranked together with those read.
    std::vector<QByteArray> typed;
    QHash<QString, size_t> typedIndex;
    if (rows.HasEdits())
        for (const RowNumber row : order)
            if (const wire::Value* edited = rows.Edited(row, key.field))
                if (const auto* text = std::get_if<QString>(edited); text && !typedIndex.contains(*text)) {
                    typedIndex.insert(*text, typed.size());
                    typed.push_back(text->toUtf8());
                }
    std::vector<quint32> own;
    if (!typed.empty())
        own = RanksOfEntries(column, typed);
    const std::vector<quint32>& ranks = typed.empty() ? cache.EntryRanks(rows, key.field) : own;

    Component component;
    component.values.resize(order.size());
    quint64 most = 0;
    const auto entries = static_cast<size_t>(column.EntryCount());
    for (size_t i = 0; i < order.size(); ++i) {
        const RowNumber row = order[i];
        quint64 value = 0;
        if (const wire::Value* edited = rows.Edited(row, key.field)) {
            if (const auto* text = std::get_if<QString>(edited))
                value = quint64{ranks[entries + typedIndex.value(*text)]} + 1;
        } else if (const qint64 entry = column.EntryAt(row); entry >= 0) {
            value = quint64{ranks[static_cast<size_t>(entry)]} + 1;
        }
        component.values[i] = value;
        most = std::max(most, value);
    }
    Finish(component, most, key.descending);
    return component;
}

// An order-preserving image of any value but text.
quint64 Image(double number)
{
    number += 0.0; // minus zero equals zero
    const auto bits = std::bit_cast<quint64>(number);
    constexpr quint64 kSign = quint64{1} << 63;
    return bits & kSign ? ~bits : bits | kSign;
}

quint64 Image(qint64 integer)
{
    return static_cast<quint64>(integer) ^ (quint64{1} << 63);
}

quint64 Image(const wire::Value& value)
{
    if (const auto* integer = std::get_if<qint64>(&value))
        return Image(*integer);
    if (const auto* number = std::get_if<double>(&value))
        return Image(*number);
    if (const auto* time = std::get_if<wire::DateTime>(&value))
        return Image(time->seconds);
    return 0;
}

// One component; two where values fill all 64 bits and leave none for null.
void AddNumberComponents(const RowStore& rows, const SortKey& key, const std::vector<RowNumber>& order,
    std::vector<Component>& components)
{
    const wire::Column& column = rows.Column(key.field);
    const bool isNumber = column.Type() == wire::ColumnType::Number;
    Component component;
    Component nulls;
    component.values.resize(order.size());
    nulls.values.resize(order.size());
    quint64 least = std::numeric_limits<quint64>::max();
    quint64 most = 0;
    for (size_t i = 0; i < order.size(); ++i) {
        const RowNumber row = order[i];
        const wire::Value* edited = rows.Edited(row, key.field);
        const bool null = edited ? wire::IsNull(*edited) : column.IsNull(row);
        nulls.values[i] = null ? 0 : 1;
        if (null)
            continue;
        const quint64 image = edited ? Image(*edited)
            : isNumber               ? Image(column.NumberAt(row))
                                     : Image(column.IntegerAt(row));
        component.values[i] = image;
        least = std::min(least, image);
        most = std::max(most, image);
    }
    const quint64 range = most >= least ? most - least : 0;
    const bool roomForNull = range < std::numeric_limits<quint64>::max();
    for (size_t i = 0; i < order.size(); ++i)
        if (nulls.values[i])
            component.values[i] = component.values[i] - least + (roomForNull ? 1 : 0);
    if (!roomForNull) {
        Finish(nulls, 1, key.descending);
        components.push_back(std::move(nulls));
    }
    Finish(component, roomForNull ? range + 1 : range, key.descending);
    components.push_back(std::move(component));
}

// Stable; digit by digit from the lowest.
void Distribute(std::vector<KeyedRow>& rows, std::vector<KeyedRow>& spare, int bits)
{
    if (rows.size() < kFewRows) {
        std::stable_sort(
            rows.begin(), rows.end(), [](const KeyedRow& a, const KeyedRow& b) { return a.key < b.key; });
        return;
    }
    spare.resize(rows.size());
    for (int shift = 0; shift < bits; shift += kDigitBits) {
        constexpr size_t kDigits = size_t{1} << kDigitBits;
        std::array<quint32, kDigits> starts{};
        const auto digit = [shift](const KeyedRow& row) { return row.key >> shift & (kDigits - 1); };
        for (const KeyedRow& row : rows)
            ++starts[digit(row)];
        quint32 sum = 0;
        for (quint32& start : starts)
            sum += std::exchange(start, sum);
        for (const KeyedRow& row : rows)
            spare[starts[digit(row)]++] = row;
        rows.swap(spare);
    }
}

} // namespace

const std::vector<quint32>& RankCache::EntryRanks(const RowStore& rows, int field)
{
    for (const auto& [known, ranks] : columns_)
        if (known == field)
            return ranks;
    return columns_.emplace_back(field, RanksOfEntries(rows.Column(field))).second;
}

size_t RankCache::MemoryUse() const noexcept
{
    size_t bytes = 0;
    for (const auto& [field, ranks] : columns_)
        bytes += ranks.capacity() * sizeof(quint32);
    return bytes;
}

void SortRows(
    const RowStore& rows, RankCache& cache, const std::vector<SortKey>& keys, std::vector<RowNumber>& order)
{
    std::vector<Component> components;
    for (const SortKey& key : keys) {
        if (rows.Infos()[static_cast<size_t>(key.field)].type == wire::ColumnType::Text)
            components.push_back(TextComponent(rows, cache, key, order));
        else
            AddNumberComponents(rows, key, order, components);
    }
    // As many components as fit share a word. The least significant word is sorted first; each later one
    // keeps the order of equals.
    std::vector<quint32> positions(order.size());
    for (size_t i = 0; i < positions.size(); ++i)
        positions[i] = static_cast<quint32>(i);
    std::vector<KeyedRow> keyed(order.size());
    std::vector<KeyedRow> spare;
    size_t end = components.size();
    while (end > 0) {
        size_t begin = end;
        int bits = 0;
        while (begin > 0 && bits + components[begin - 1].bits <= 64)
            bits += components[--begin].bits;
        for (size_t i = 0; i < positions.size(); ++i) {
            quint64 word = 0;
            for (size_t k = begin; k < end; ++k)
                word = (components[k].bits < 64 ? word << components[k].bits : 0)
                    | components[k].values[positions[i]];
            keyed[i] = {word, positions[i]};
        }
        Distribute(keyed, spare, bits);
        for (size_t i = 0; i < positions.size(); ++i)
            positions[i] = keyed[i].row;
        end = begin;
    }
    std::vector<RowNumber> sorted(order.size());
    for (size_t i = 0; i < sorted.size(); ++i)
        sorted[i] = order[positions[i]];
    order = std::move(sorted);
}
