#include "framework/export/GridRows.h"

#include "wire/Error.h"

using namespace Qt::Literals::StringLiterals;

TGridRows::TGridRows(const TDBGridEh& grid, bool selectedOnly)
    : grid_(grid)
    , dataSet_(*grid.DataSet())
    , watches_{QObject::connect(&dataSet_, &TClientDataSetEx::DataReset, [this] { changed_ = true; }),
          QObject::connect(&dataSet_, &TClientDataSetEx::RowRemoved, [this] { changed_ = true; }),
          QObject::connect(&dataSet_, &QObject::destroyed, [this] { changed_ = true; }),
          QObject::connect(&grid_, &QObject::destroyed, [this] { changed_ = true; })}
{
    for (int i = 0; i < grid.ColumnCount(); ++i) {
        if (grid.Column(i).visible)
            AddColumn(i);
    }
    if (selectedOnly)
        rows_ = grid.SelectedRows();
    else {
        rows_.resize(static_cast<size_t>(dataSet_.RecordCount()));
        for (size_t i = 0; i < rows_.size(); ++i)
            rows_[i] = dataSet_.ViewBookmark(static_cast<int>(i));
        footerRows_ = grid.FooterRowCount(); // its sums are those of all rows
    }
}

TGridRows::~TGridRows()
{
    for (const QMetaObject::Connection& watch : watches_)
        QObject::disconnect(watch);
}

void TGridRows::RequireUnchanged() const
{
    if (changed_)
        throw wire::Error(wire::ErrorKind::Usage, u"列表在导出时变了，没有导出。请再导出一次。"_s);
}

int TGridRows::ViewRow(int row)
{
    RequireUnchanged();
    if (row != row_) {
        row_ = row;
        viewRow_ = dataSet_.ViewRowOf(rows_[static_cast<size_t>(row)]);
    }
    return viewRow_;
}

void TGridRows::AddColumn(int index)
{
    const TColumnEh& shown = grid_.Column(index);
    const int field = dataSet_.FieldIndex(shown.fieldName);
    const bool plainStyle = shown.style == TColumnStyle::Text || shown.style == TColumnStyle::DateTime;
    TExportColumn column{.title = shown.title, .width = shown.width, .format = shown.displayFormat};
    const bool valued = field >= 0 && plainStyle && shown.nullText.isEmpty();
    const wire::ColumnType type = field >= 0 ? dataSet_.FieldInfo(field).type : wire::ColumnType::Integer;
    if (valued && type == wire::ColumnType::DateTime)
        column.kind = TExportKind::Moment;
    else if ((valued && type != wire::ColumnType::Text) || field < 0)
        column.kind = TExportKind::Number;
    const bool plain = valued && shown.displayFormat.isEmpty();
    if (plain || (field >= 0 && column.kind == TExportKind::Number))
        column.stored = &dataSet_.StoredColumn(field);
    columns_.push_back(std::move(column));
    sources_.push_back({.column = index,
        .field = field,
        .plain = plain,
        .tick = shown.style == TColumnStyle::CheckBox,
        .stored = field >= 0 ? &dataSet_.StoredColumn(field) : nullptr});
    if (index < grid_.FrozenCols())
        ++frozen_;
}

TExportCell TGridRows::Cell(int row, int column)
{
    const TSource& source = sources_[static_cast<size_t>(column)];
    if (source.field < 0)
        return {.empty = false, .number = double(row + 1)};
    const int viewRow = ViewRow(row);
    const TExportKind kind = columns_[static_cast<size_t>(column)].kind;
    if (kind != TExportKind::Text || source.plain) {
        const qint64 stored = dataSet_.StoredRow(viewRow, source.field);
        return stored >= 0 ? StoredCell(source, kind, stored) : EditedCell(source, kind, viewRow);
    }
    if (source.tick && dataSet_.ViewIsNull(viewRow, source.field))
        return {};
    const QString text = grid_.CellText(viewRow, source.column);
    text_ = source.tick ? (text == u"1"_s ? "是"_ba : "否"_ba) : text.toUtf8();
    return {.empty = text_.isEmpty(), .text = text_};
}

void TGridRows::StoredRows(int first, std::span<qint64> places)
{
    for (qint64& place : places)
        place = dataSet_.StoredRow(ViewRow(first++), -1);
}

TExportCell TGridRows::StoredCell(const TSource& source, TExportKind kind, qint64 row) const
{
    const wire::Column& cells = *source.stored;
    if (kind == TExportKind::Text) {
        const QByteArrayView text = cells.TextAt(row);
        return {.empty = text.isEmpty(), .text = text};
    }
    if (cells.IsNull(row))
        return {};
    if (kind == TExportKind::Moment)
        return {.empty = false, .moment = {cells.IntegerAt(row)}};
    return {.empty = false, .number = cells.NumberAt(row)};
}

TExportCell TGridRows::EditedCell(const TSource& source, TExportKind kind, int viewRow)
{
    if (kind == TExportKind::Text) {
        text_ = dataSet_.ViewText(viewRow, source.field).toUtf8();
        return {.empty = text_.isEmpty(), .text = text_};
    }
    const wire::Value value = dataSet_.ViewValue(viewRow, source.field);
    if (const auto* moment = std::get_if<wire::DateTime>(&value))
        return {.empty = false, .moment = *moment};
    if (const auto* whole = std::get_if<qint64>(&value))
        return {.empty = false, .number = double(*whole)};
    const auto* number = std::get_if<double>(&value);
    return number ? TExportCell{.empty = false, .number = *number} : TExportCell{};
}

QString TGridRows::Footer(int row, int column) const
{
    RequireUnchanged();
    return grid_.FooterText(row, sources_[static_cast<size_t>(column)].column);
}

QString TGridRows::Text(int row, int column)
{
    const TSource& source = sources_[static_cast<size_t>(column)];
    if (source.field < 0)
        return QString::number(row + 1);
    const int viewRow = ViewRow(row);
    if (source.tick)
        return dataSet_.ViewIsNull(viewRow, source.field)      ? QString()
            : grid_.CellText(viewRow, source.column) == u"1"_s ? u"是"_s
                                                               : u"否"_s;
    return grid_.CellText(viewRow, source.column);
}

TAlignment TGridRows::Alignment(int column) const
{
    return grid_.Column(sources_[static_cast<size_t>(column)].column).alignment;
}

TAlignment TGridRows::FooterAlignment(int row, int column) const
{
    const auto& footers = grid_.Column(sources_[static_cast<size_t>(column)].column).footers;
    return static_cast<size_t>(row) < footers.size() ? footers[static_cast<size_t>(row)].alignment
                                                     : TAlignment::Left;
}
