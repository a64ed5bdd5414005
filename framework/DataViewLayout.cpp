#include "framework/DataViewLayout.h"

#include "framework/DataView.h"
#include "runtime/ui/Forms.h"
#include "wire/Error.h"

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
    if (!isNumber || !IsColumnWidth(width))
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

bool IsColumnWidth(int width) noexcept
{
    return width > 0 && width <= kWidestColumn;
}

void ArrangeColumns(TDBGridEh& grid, std::vector<TColumnPlace> places)
{
    if (places.empty())
        return;
    for (int i = 0; i < grid.ColumnCount(); ++i) {
        if (std::ranges::find(places, i, &TColumnPlace::column) != places.end())
            continue;
        const auto neighbour = std::ranges::find(places, i - 1, &TColumnPlace::column);
        places.insert(
            i == 0 ? places.begin() : neighbour + 1, {i, grid.Column(i).title, grid.Column(i).width});
    }
    grid.ArrangeColumns(places);
}

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
        if (isForm && !owner->objectName().isEmpty())
            return section;
    }
    throw wire::Error(wire::ErrorKind::Usage,
        u"列表“%1”还不在任何窗体中，列布局没有归属：请先把它所在的页放进窗体，再调用 Loaded()。"_s.arg(
            section.mid(1)));
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
    const int count = grid.ColumnCount();
    std::vector<bool> placed(static_cast<size_t>(count), false);
    std::vector<TColumnPlace> places;
    for (const QString& text : StoredTexts(storage, section)) {
        const auto entry = ParseEntry(text);
        if (!entry)
            continue;
        for (int i = 0; i < count; ++i) {
            if (placed[static_cast<size_t>(i)]
                || grid.Column(i).fieldName.compare(entry->field, Qt::CaseInsensitive) != 0)
                continue;
            placed[static_cast<size_t>(i)] = true;
            places.push_back({i, entry->caption, entry->width});
            break;
        }
    }
    ArrangeColumns(grid, std::move(places));
}
