// Filters by title.

#include "runtime/controls/DateTimeText.h"
#include "runtime/data/TextNumbers.h"
#include "runtime/grid/DBGridPrivate.h"
#include "runtime/grid/FilterPopup.h"
#include "runtime/ui/Application.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype kTextsInWords = 2;

// A date alone, as the upper bound, means the whole day.
bool IsBelow(const wire::Value& value, const wire::Value& bound, bool wholeDay)
{
    constexpr qint64 kDay = 86'400;
    if (const auto* moment = std::get_if<wire::DateTime>(&value)) {
        const auto* other = std::get_if<wire::DateTime>(&bound);
        return other && moment->seconds < other->seconds + (wholeDay ? kDay : 0);
    }
    const auto* other = std::get_if<double>(&bound);
    const auto* integer = std::get_if<qint64>(&value);
    const double number = integer ? double(*integer) : std::get<double>(value);
    return other && (wholeDay ? number <= *other : number < *other);
}

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

wire::Value TDBGridEh::Private::Bound(const QString& text, bool date)
{
    if (date) {
        const auto moment = ReadDateTime(TDateTimeKind::DateTime, text);
        return moment ? wire::Value(*moment) : wire::Value{};
    }
    bool number = false;
    const double value = text.toDouble(&number);
    return number ? wire::Value(value) : wire::Value{};
}

bool TDBGridEh::Private::CanFilter(int column) const
{
    return OpenDataSet() && ShownColumn(column) && columns[size_t(column)].field >= 0
        && !columns[size_t(column)].rowNumber;
}

QString TDBGridEh::Private::FilterText(const TGridColumn& column, const wire::Value& value) const
{
    if (const auto* moment = std::get_if<wire::DateTime>(&value))
        return DateTimeText(TDateTimeKind::Date, *moment);
    return ShownText(column, value);
}

bool TDBGridEh::Private::Passes(const TDBGridEh::Filter& filter, const wire::Value& value) const
{
    const bool date = std::holds_alternative<wire::DateTime>(value);
    const bool bounded = !filter.from.isEmpty() || !filter.to.isEmpty();
    if (bounded && (wire::IsNull(value) || std::holds_alternative<QString>(value)))
        return false;
    if (!filter.from.isEmpty() && IsBelow(value, Bound(filter.from, date), false))
        return false;
    return filter.to.isEmpty() || IsBelow(value, Bound(filter.to, date), !date || filter.to.size() <= 10);
}

void TDBGridEh::SetFilter(const Filter& filter)
{
    TClientDataSetEx* open = d_->OpenDataSet();
    if (!open || !d_->PostRow()) // the row in edit moves on with the others
        return;
    const auto others = [&](const Filter& one) {
        return one.field.compare(filter.field, Qt::CaseInsensitive) != 0;
    };
    Guarded([&] {
        std::function<bool(const wire::Value&)> passes;
        if (!filter.IsEmpty()) {
            TextNumbers numbers(filter.shown);
            const auto count = numbers.Count();
            passes = [this, filter, count, numbers = std::move(numbers)](const wire::Value& value) mutable {
                const int column = ColumnIndex(filter.field);
                return column < 0
                    || ((count == 0
                            || numbers.NumberOf(d_->FilterText(d_->columns[size_t(column)], value)) < count)
                        && d_->Passes(filter, value));
            };
        }
        open->FilterValues(filter.field, std::move(passes));
        std::erase_if(d_->filters, [&](const Filter& one) { return !others(one); });
        if (!filter.IsEmpty())
            d_->filters.push_back(filter);
    });
    d_->header->viewport()->update();
    Q_EMIT FiltersChanged();
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
    SetFilter({entry.info.fieldName, {d_->FilterText(entry, value)}, {}, {}});
}

void TDBGridEh::ShowFilter(int column)
{
    if (!d_->CanFilter(column) || !CommitEditor())
        return;
    auto* popup = new TFilterPopup(this, column);
    const QRect title(d_->ColumnLeft(column), 0, columnWidth(column), d_->header->height());
    popup->ShowBelow(QRect(d_->header->viewport()->mapToGlobal(title.topLeft()), title.size()));
}
