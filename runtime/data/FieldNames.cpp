#include "runtime/data/FieldNames.h"

#include <bit>

void FieldNames::Build(const std::vector<wire::ColumnInfo>& infos)
{
    table_.assign(std::bit_ceil(infos.size() * 2 + 1), -1);
    for (size_t i = 0; i < infos.size(); ++i) {
        if (Find(infos, infos[i].name) >= 0)
            continue;
        size_t place = Hash(infos[i].name) & (table_.size() - 1);
        while (table_[place] >= 0)
            place = (place + 1) & (table_.size() - 1);
        table_[place] = static_cast<qint32>(i);
    }
}

int FieldNames::Find(const std::vector<wire::ColumnInfo>& infos, QStringView name) const noexcept
{
    if (table_.empty())
        return -1;
    for (size_t place = Hash(name);; ++place) {
        const qint32 index = table_[place & (table_.size() - 1)];
        if (index < 0)
            return -1;
        // Nearly all are asked for as they are spelled, and folding case costs ten times the comparison.
        const QStringView candidate = infos[static_cast<size_t>(index)].name;
        if (name == candidate || name.compare(candidate, Qt::CaseInsensitive) == 0)
            return index;
    }
}

size_t FieldNames::Hash(QStringView name) noexcept
{
    quint32 hash = 2166136261u;
    for (const QChar c : name) {
        const char16_t unit = c.unicode();
        const char16_t folded =
            unit < 0x80 ? (unit >= u'A' && unit <= u'Z' ? unit + 32 : unit) : c.toCaseFolded().unicode();
        hash = (hash ^ folded) * 16777619u;
    }
    return hash ^ (hash >> 15);
}
