#include "framework/DataViewLayout.h"

#include "framework/DataView.h"
#include "runtime/ui/Forms.h"

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kWidestColumn = 10'000; // pixels; more is damage

struct TLayoutEntry {
    QString field;
    QString caption;
    int width = 0;
};

QString KeyOf(qsizetype position)
{
    return u"FieldIndex"_s + QString::number(position);
}

QString EntryText(const TColumnEh& column)
{
    return column.fieldName + u';' + column.title + u';' + QString::number(column.width);
}

// A caption may hold ";" itself, so the field ends at the first and the width begins after the last.
std::optional<TLayoutEntry> ParseEntry(const QString& text)
{
    const qsizetype first = text.indexOf(u';');
    const qsizetype last = text.lastIndexOf(u';');
    if (first <= 0 || last <= first + 1)
        return std::nullopt;
    bool isNumber = false;
    const int width = QStringView(text).sliced(last + 1).toInt(&isNumber);
    if (!isNumber || width <= 0 || width > kWidestColumn)
        return std::nullopt;
    return TLayoutEntry{text.first(first), text.sliced(first + 1, last - first - 1), width};
}

QStringList LayoutTexts(const TDBGridEh& grid)
{
    QStringList texts;
    for (int i = 0; i < grid.ColumnCount(); ++i) {
        const TColumnEh& column = grid.Column(i);
        if (column.visible && !column.fieldName.isEmpty() && !column.title.isEmpty())
            texts += EntryText(column);
    }
    return texts;
}

QStringList StoredTexts(const TIniPropStorageManEh& storage, const QString& section)
{
    QStringList texts;
    const QStringList keys = storage.ReadKeys(section);
    for (qsizetype i = 0; i < keys.size(); ++i)
        texts += storage.ReadString(section, KeyOf(i));
    return texts;
}

} // namespace

QString LayoutSection(const TDBGridEh& grid)
{
    // Frames and forms own what lies in them; panels and layouts only hold its place.
    QString section;
    for (const QObject* owner = &grid; owner; owner = owner->parent()) {
        const bool isForm = qobject_cast<const TForm*>(owner) != nullptr;
        if (owner != &grid && !isForm && !qobject_cast<const TDataView*>(owner))
            continue;
        if (!owner->objectName().isEmpty())
            section += u'.' + owner->objectName();
        if (isForm)
            break;
    }
    return section;
}

void WriteLayout(const TDBGridEh& grid, TIniPropStorageManEh& storage, const QString& section)
{
    const QStringList texts = LayoutTexts(grid);
    if (texts.isEmpty() || texts == StoredTexts(storage, section))
        return;
    storage.EraseSection(section);
    for (qsizetype i = 0; i < texts.size(); ++i)
        storage.WriteString(section, KeyOf(i), texts[i]);
    storage.Flush();
}

void ReadLayout(TDBGridEh& grid, const TIniPropStorageManEh& storage, const QString& section)
{
    std::vector<TColumnEh> columns;
    columns.reserve(static_cast<size_t>(grid.ColumnCount()));
    for (int i = 0; i < grid.ColumnCount(); ++i)
        columns.push_back(grid.Column(i));

    std::vector<bool> placed(columns.size(), false);
    std::vector<size_t> order;
    for (const QString& text : StoredTexts(storage, section)) {
        const auto entry = ParseEntry(text);
        if (!entry)
            continue;
        for (size_t i = 0; i < columns.size(); ++i) {
            if (placed[i] || columns[i].fieldName.compare(entry->field, Qt::CaseInsensitive) != 0)
                continue;
            placed[i] = true;
            columns[i].title = entry->caption;
            columns[i].width = entry->width;
            order.push_back(i);
            break;
        }
    }
    if (order.empty())
        return;
    for (size_t i = 0; i < columns.size(); ++i) {
        if (placed[i])
            continue;
        const auto neighbour = i == 0 ? order.end() : std::find(order.begin(), order.end(), i - 1);
        order.insert(i == 0 ? order.begin() : neighbour + 1, i);
    }
    std::vector<TColumnEh> arranged;
    arranged.reserve(columns.size());
    for (const size_t i : order)
        arranged.push_back(std::move(columns[i]));
    grid.SetColumns(std::move(arranged));
}
