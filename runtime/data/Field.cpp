#include "runtime/data/ClientDataSetPrivate.h"

using namespace Qt::Literals::StringLiterals;

QString CellText(const wire::Value* edited, const wire::Column& column, RowNumber row)
{
    if (edited)
        return wire::ToText(*edited);
    if (column.Type() == wire::ColumnType::Text)
        return QString::fromUtf8(column.TextAt(row));
    if (column.IsNull(row))
        return {};
    if (column.Type() == wire::ColumnType::Integer)
        return QString::number(column.IntegerAt(row));
    return wire::ToText(column.ValueAt(row));
}

qint64 CellInteger(const wire::Value* edited, const wire::Column& column, RowNumber row)
{
    if (!edited && column.Type() == wire::ColumnType::Integer)
        return column.IntegerAt(row);
    const wire::Value value = edited ? *edited : column.ValueAt(row);
    if (const auto* number = std::get_if<double>(&value))
        return qRound64(*number);
    const wire::Value integer = wire::Convert(value, wire::ColumnType::Integer);
    return wire::IsNull(integer) ? 0 : std::get<qint64>(integer);
}

TField::TField(TClientDataSetEx* dataSet, int index)
    : dataSet_(dataSet)
    , index_(index)
{
}

const QString& TField::FieldName() const noexcept
{
    return dataSet_->d_->rows.Infos()[static_cast<size_t>(index_)].name;
}

wire::ColumnType TField::DataType() const noexcept
{
    return dataSet_->d_->rows.Infos()[static_cast<size_t>(index_)].type;
}

int TField::Index() const noexcept
{
    return index_;
}

int TField::Size() const noexcept
{
    return dataSet_->d_->rows.Infos()[static_cast<size_t>(index_)].width;
}

bool TField::IsNull() const
{
    const auto& d = *dataSet_->d_;
    const RowNumber row = d.CurrentRow();
    if (row == kNoRow)
        return true;
    const wire::Value* edited = d.Edited(row, index_);
    return edited ? wire::IsNull(*edited) : d.rows.Column(index_).IsNull(row);
}

QString TField::AsString() const
{
    const auto& d = *dataSet_->d_;
    const RowNumber row = d.CurrentRow();
    return row == kNoRow ? QString() : CellText(d.Edited(row, index_), d.rows.Column(index_), row);
}

qint64 TField::AsInteger() const
{
    const auto& d = *dataSet_->d_;
    const RowNumber row = d.CurrentRow();
    return row == kNoRow ? 0 : CellInteger(d.Edited(row, index_), d.rows.Column(index_), row);
}

double TField::AsFloat() const
{
    const wire::Value value = Value();
    if (const auto* time = std::get_if<wire::DateTime>(&value))
        return time->ToSerial();
    const wire::Value number = wire::Convert(value, wire::ColumnType::Number);
    return wire::IsNull(number) ? 0 : std::get<double>(number);
}

wire::DateTime TField::AsDateTime() const
{
    const wire::Value value = Value();
    if (const auto* number = std::get_if<double>(&value))
        return wire::DateTime::FromSerial(*number);
    const wire::Value time = wire::Convert(value, wire::ColumnType::DateTime);
    return wire::IsNull(time) ? wire::DateTime::FromSerial(0) : std::get<wire::DateTime>(time);
}

wire::Value TField::Value() const
{
    const auto& d = *dataSet_->d_;
    const RowNumber row = d.CurrentRow();
    if (row == kNoRow)
        return {};
    const wire::Value* edited = d.Edited(row, index_);
    return edited ? *edited : d.rows.Column(index_).ValueAt(row);
}

wire::Value TField::OldValue() const
{
    const auto& d = *dataSet_->d_;
    const RowNumber row = d.CurrentRow();
    return row == kNoRow ? wire::Value{} : d.rows.Original(row, index_);
}

void TField::SetAsString(const QString& text)
{
    dataSet_->d_->SetPending(index_, wire::TextValue(text));
}

void TField::SetAsInteger(qint64 value)
{
    dataSet_->d_->SetPending(index_, value);
}

void TField::SetAsFloat(double value)
{
    if (DataType() == wire::ColumnType::DateTime)
        dataSet_->d_->SetPending(index_, wire::DateTime::FromSerial(value));
    else
        dataSet_->d_->SetPending(index_, value);
}

void TField::SetAsDateTime(wire::DateTime value)
{
    dataSet_->d_->SetPending(index_, value);
}

void TField::SetValue(const wire::Value& value)
{
    dataSet_->d_->SetPending(index_, value);
}

void TField::Clear()
{
    dataSet_->d_->SetPending(index_, {});
}
