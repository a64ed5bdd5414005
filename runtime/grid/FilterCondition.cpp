#include "runtime/grid/FilterCondition.h"

#include "runtime/controls/DateTimeText.h"

#include <bit>

namespace {

constexpr qint64 kDay = 86'400;
constexpr qsizetype kDateLength = 10;

qint64 DayOf(const wire::DateTime& moment)
{
    return (moment.seconds - (moment.seconds < 0 ? kDay - 1 : 0)) / kDay;
}

double AsNumber(const wire::Value& value)
{
    const auto* integer = std::get_if<qint64>(&value);
    return integer ? double(*integer) : std::get<double>(value);
}

// Equal for equal values of a column that has no texts.
std::optional<qint64> KeyOf(const wire::Value& value)
{
    if (const auto* moment = std::get_if<wire::DateTime>(&value))
        return moment->seconds;
    if (const auto* integer = std::get_if<qint64>(&value))
        return *integer;
    const auto* number = std::get_if<double>(&value);
    return number ? std::optional(std::bit_cast<qint64>(*number + 0.0)) : std::nullopt; // no zero is negative
}

} // namespace

TDBGridEh::Private::FilterTexts::FilterTexts(const Private& grid, const QString& field)
    : grid_(grid)
    , field_(field)
{
}

// Columns change their places.
bool TDBGridEh::Private::FilterTexts::HasColumn()
{
    const auto& columns = grid_.columns;
    if (column_ < 0 || column_ >= int(columns.size()) || columns[size_t(column_)].info.fieldName != field_)
        column_ = grid_.q->ColumnIndex(field_);
    return column_ >= 0;
}

QString TDBGridEh::Private::FilterTexts::Of(const wire::Value& value)
{
    if (const auto* moment = std::get_if<wire::DateTime>(&value)) {
        QString& day = days_[DayOf(*moment)];
        if (day.isEmpty())
            day = DateTimeText(TDateTimeKind::Date, *moment);
        return day;
    }
    return HasColumn() ? grid_.ShownText(grid_.columns[size_t(column_)], value) : wire::ToText(value);
}

TDBGridEh::Private::FilterCondition::FilterCondition(const Private& grid, const Filter& filter)
    : texts_(grid, filter.field)
    , shown_(filter.shown)
    , hasFrom_(!filter.from.isEmpty())
    , hasTo_(!filter.to.isEmpty())
    , wholeDay_(filter.to.size() <= kDateLength)
    , numbers_{Bound(filter.from, false), Bound(filter.to, false)}
    , moments_{Bound(filter.from, true), Bound(filter.to, true)}
{
}

wire::Value TDBGridEh::Private::FilterCondition::Bound(const QString& text, bool date)
{
    if (date) {
        const auto moment = ReadDateTime(TDateTimeKind::DateTime, text);
        return moment ? wire::Value(*moment) : wire::Value{};
    }
    bool number = false;
    const double value = text.toDouble(&number);
    return number ? wire::Value(value) : wire::Value{};
}

bool TDBGridEh::Private::FilterCondition::operator()(const wire::Value& value)
{
    return !texts_.HasColumn() || (IsWithin(value) && (shown_.isEmpty() || IsShown(value)));
}

void TDBGridEh::Private::FilterCondition::Know(const wire::Value& value, bool shown)
{
    if (const auto key = KeyOf(value))
        known_.insert(*key, shown);
}

bool TDBGridEh::Private::FilterCondition::IsShown(const wire::Value& value)
{
    if (wire::IsNull(value)) { // asked of every column
        if (!blankShown_)
            blankShown_ = shown_.contains(texts_.Of(value));
        return *blankShown_;
    }
    if (!known_.isEmpty()) {
        const auto key = KeyOf(value);
        const auto known = key ? known_.constFind(*key) : known_.constEnd();
        if (known != known_.constEnd())
            return *known;
    }
    ReadTexts();
    return shownTexts_.contains(texts_.Of(value));
}

void TDBGridEh::Private::FilterCondition::ReadTexts()
{
    if (shownTexts_.isEmpty())
        shownTexts_ = QSet<QString>(shown_.begin(), shown_.end());
}

// Nothing lies above or below a bound that cannot be read.
bool TDBGridEh::Private::FilterCondition::IsWithin(const wire::Value& value) const
{
    if (!hasFrom_ && !hasTo_)
        return true;
    if (wire::IsNull(value) || std::holds_alternative<QString>(value))
        return false;
    if (const auto* moment = std::get_if<wire::DateTime>(&value)) {
        const auto* from = std::get_if<wire::DateTime>(&moments_.from);
        const auto* to = std::get_if<wire::DateTime>(&moments_.to);
        return (!from || moment->seconds >= from->seconds)
            && (!hasTo_ || (to && moment->seconds < to->seconds + (wholeDay_ ? kDay : 1)));
    }
    const double number = AsNumber(value);
    const auto* from = std::get_if<double>(&numbers_.from);
    const auto* to = std::get_if<double>(&numbers_.to);
    return (!from || number >= *from) && (!hasTo_ || (to && number <= *to));
}
