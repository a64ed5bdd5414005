// Filters by title.

#include "runtime/grid/FilterCondition.h"
#include "runtime/grid/FilterPopup.h"
#include "runtime/ui/Application.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype kTextsInWords = 2;

} // namespace

QString TDBGridEh::Filter::Words() const
{
    QStringList words;
    for (const QString& text : shown.mid(0, kTextsInWords))
        words += text.isEmpty() ? u"（空白）"_s : text;
    QString all = words.join(u"、"_s);
    if (shown.size() > kTextsInWords)
        all += u" 等%1项"_s.arg(shown.size());
    if (!from.isEmpty())
        all += u" ≥ "_s + from;
    if (!to.isEmpty())
        all += u" ≤ "_s + to;
    return all.trimmed();
}

bool TDBGridEh::Private::CanFilter(int column) const
{
    return OpenDataSet() && ShownColumn(column) && columns[size_t(column)].field >= 0
        && !columns[size_t(column)].rowNumber;
}

void TDBGridEh::SetFilter(const Filter& filter)
{
    d_->ApplyFilter(filter, Private::FilterCondition(*d_, filter));
}

void TDBGridEh::Private::ApplyFilter(const Filter& filter, const FilterCondition& condition)
{
    TClientDataSetEx* open = OpenDataSet();
    if (!open || !PostRow()) // the row in edit moves on with the others
        return;
    const auto others = [&](const Filter& one) {
        return one.field.compare(filter.field, Qt::CaseInsensitive) != 0;
    };
    Guarded([&] {
        if (filter.IsEmpty())
            open->FilterValues(filter.field, {});
        else
            open->FilterValues(filter.field, condition);
        std::erase_if(filters, [&](const Filter& one) { return !others(one); });
        if (!filter.IsEmpty())
            filters.push_back(filter);
    });
    header->viewport()->update();
    Q_EMIT q->FiltersChanged();
}

void TDBGridEh::ClearFilters()
{
    if (!d_->PostRow())
        return;
    d_->DropFilters();
    d_->header->viewport()->update();
}

const std::vector<TDBGridEh::Filter>& TDBGridEh::Filters() const noexcept
{
    return d_->filters;
}

void TDBGridEh::FilterByCurrentValue()
{
    const int column = SelectedIndex();
    if (d_->CurrentRow() < 0 || !d_->CanFilter(column))
        return;
    const TGridColumn& entry = d_->columns[size_t(column)];
    const wire::Value value = d_->OpenDataSet()->ViewValue(d_->CurrentRow(), entry.field);
    Private::FilterTexts texts(*d_, entry.info.fieldName);
    SetFilter({entry.info.fieldName, {texts.Of(value)}, {}, {}});
}

void TDBGridEh::ShowFilter(int column)
{
    if (!d_->CanFilter(column) || !CommitEditor())
        return;
    auto* popup = new TFilterPopup(this, column);
    const QRect title(d_->ColumnLeft(column), 0, columnWidth(column), d_->header->height());
    popup->ShowBelow(QRect(d_->header->viewport()->mapToGlobal(title.topLeft()), title.size()));
}
