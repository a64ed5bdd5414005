#include "framework/ViewState.h"

#include "framework/DataViewLayout.h"
#include "framework/ScreenHandlers.h"
#include "module/data/HostBridge.h"
#include "module/data/LayoutStorage.h"
#include "runtime/grid/SortIndex.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kFrozen = u"Frozen"_s;
const QString kSorting = u"Sorting"_s;

// Columns without a field are known by their titles.
QString NameOf(const TColumnEh& column)
{
    return column.fieldName.isEmpty() ? column.title : column.fieldName;
}

QString KeyOf(qsizetype position)
{
    return u"Column"_s + QString::number(position);
}

int FindColumn(const TDBGridEh& grid, const QString& name)
{
    for (int i = 0; i < grid.ColumnCount(); ++i) {
        if (NameOf(grid.Column(i)).compare(name, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

} // namespace

QString AccountSection(const QString& name)
{
    const QString account = GlobalValue(u"user"_s);
    return account.isEmpty() ? QString() : account + name;
}

TViewState::TViewState(QObject* owner, TDBGridEh& grid, const QString& section)
    : QObject(owner)
    , grid_(grid)
    , section_(AccountSection(section))
    , frozen_(grid.FrozenCols())
{
}

TViewState::~TViewState()
{
    if (LayoutStorage && !section_.isEmpty())
        Write();
}

void TViewState::RestoreColumns()
{
    if (section_.isEmpty())
        return;
    std::vector<TColumnPlace> places;
    std::vector<int> shown;
    for (qsizetype position = 0;; ++position) {
        const QString entry = LayoutStorage->ReadString(section_, KeyOf(position));
        if (entry.isEmpty())
            break;
        const QStringList parts = entry.split(u';');
        if (parts.size() != 3)
            continue; // damaged
        const int column = FindColumn(grid_, parts[0]);
        const int width = parts[1].toInt();
        if (column < 0 || !IsColumnWidth(width)
            || std::ranges::count(places, column, &TColumnPlace::column) > 0)
            continue;
        places.push_back({column, grid_.Column(column).title, width});
        if (parts[2] == u"1")
            shown.push_back(column);
    }
    // A list of which nothing would show is damage.
    if (!shown.empty()) {
        for (const TColumnPlace& place : places) {
            const bool visible = std::ranges::find(shown, place.column) != shown.end();
            grid_.ModifyColumn(place.column, [visible](TColumnEh& column) { column.visible = visible; });
        }
        ArrangeColumns(grid_, std::move(places));
    }
    bool isNumber = false;
    const int frozen = LayoutStorage->ReadString(section_, kFrozen).toInt(&isNumber);
    if (isNumber && frozen >= 0 && frozen <= grid_.ColumnCount())
        grid_.SetFrozenCols(frozen);
}

void TViewState::RestoreSorting()
{
    TClientDataSetEx* rows = grid_.DataSet();
    if (section_.isEmpty() || !rows)
        return;
    QStringList fields;
    QStringList descending;
    QStringList titles;
    for (QString field : LayoutStorage->ReadString(section_, kSorting).split(u';', Qt::SkipEmptyParts)) {
        const bool descends = field.startsWith(u'-');
        field.remove(0, descends ? 1 : 0);
        const int column = grid_.ColumnIndex(field);
        if (column < 0)
            continue;
        fields += field;
        titles += grid_.Column(column).title;
        if (descends)
            descending += field;
        grid_.ClickTitle(column);
        if (descends)
            grid_.ClickTitle(column);
    }
    if (!fields.isEmpty() && !rows->Active()) {
        rows->AddIndex(kSortIndex, fields.join(u';'), descending.join(u';'));
        rows->SetIndexName(kSortIndex);
    }
    // The dataset may be gone when the view goes.
    sorting_ = Sorting();
    connect(rows, &TClientDataSetEx::DataReset, this, [this] { sorting_ = Sorting(); });
    if (titles.isEmpty())
        return;
    // The sorted title may lie out of sight, and the list is not in the order of its query.
    connect(
        rows, &TClientDataSetEx::DataReset, this,
        [titles] {
            ShowNotice(u"按上次的排序列出："_s + titles.join(u"、"_s).replace(u'|', u" · "_s) + u"。"_s);
        },
        Qt::SingleShotConnection);
}

QString TViewState::Sorting() const
{
    const TClientDataSetEx* rows = grid_.DataSet();
    if (!rows || rows->IndexName() != kSortIndex)
        return {};
    const QStringList descending = rows->IndexDescendingFields(kSortIndex).split(u';');
    QStringList fields = rows->IndexFields(kSortIndex).split(u';');
    for (QString& field : fields) {
        if (descending.contains(field))
            field.prepend(u'-');
    }
    return fields.join(u';');
}

void TViewState::Write()
{
    QStringList texts;
    for (int i = 0; i < grid_.ColumnCount(); ++i) {
        const TColumnEh& column = grid_.Column(i);
        if (!NameOf(column).isEmpty())
            texts += NameOf(column) + u';' + QString::number(column.width) + u';'
                + QString::number(column.visible ? 1 : 0);
    }
    for (qsizetype i = 0; i < texts.size(); ++i) {
        if (LayoutStorage->ReadString(section_, KeyOf(i)) != texts[i])
            LayoutStorage->WriteString(section_, KeyOf(i), texts[i]);
    }
    const auto keep = [this](const QString& key, const QString& text, const QString& otherwise) {
        if (LayoutStorage->ReadString(section_, key, otherwise) != text)
            LayoutStorage->WriteString(section_, key, text);
    };
    keep(kFrozen, QString::number(grid_.FrozenCols()), QString::number(frozen_));
    keep(kSorting, sorting_, {});
    LayoutStorage->Flush();
}
