#include "import/SheetCells.h"

#include "import/SheetStyles.h"
#include "wire/DateTime.h"
#include "wire/Error.h"

#include <algorithm>
#include <cmath>
#include <variant>

using namespace Qt::Literals::StringLiterals;
using namespace orcus::spreadsheet;

namespace {

QString FromUtf8(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

[[noreturn]] void RaiseLimit(const QString& what)
{
    throw wire::Error(wire::ErrorKind::Limit, u"文件超过了%1，没有读取。请分成几个文件再导入。"_s.arg(what));
}

class TAddresses : public iface::import_reference_resolver {
public:
    src_address_t resolve_address(std::string_view text) override
    {
        const address_t address = CellAddress(text);
        return {0, address.row, address.column};
    }
    src_range_t resolve_range(std::string_view text) override
    {
        const size_t colon = text.find(':');
        const src_address_t first = resolve_address(text.substr(0, colon));
        return {first, colon == std::string_view::npos ? first : resolve_address(text.substr(colon + 1))};
    }
};

class TStrings : public iface::import_shared_strings {
public:
    size_t append(std::string_view text) override
    {
        texts_.append(FromUtf8(text));
        return static_cast<size_t>(texts_.size()) - 1;
    }
    size_t add(std::string_view text) override { return append(text); }
    void set_segment_font(size_t) override { }
    void set_segment_bold(bool) override { }
    void set_segment_italic(bool) override { }
    void set_segment_font_name(std::string_view) override { }
    void set_segment_font_size(double) override { }
    void set_segment_font_color(color_elem_t, color_elem_t, color_elem_t, color_elem_t) override { }
    void append_segment(std::string_view text) override { segments_.append(text); }
    size_t commit_segments() override
    {
        const size_t index = append(segments_);
        segments_.clear();
        return index;
    }
    QString Text(size_t index) const { return texts_.value(static_cast<qsizetype>(index)); }

private:
    QStringList texts_;
    std::string segments_;
};

class TSettings : public iface::import_global_settings {
public:
    void set_origin_date(int year, int month, int day) override
    {
        originDays = wire::DateTime::FromParts(year, month, day).ToSerial();
    }
    void set_default_formula_grammar(formula_grammar_t grammar) override { grammar_ = grammar; }
    formula_grammar_t get_default_formula_grammar() const override { return grammar_; }
    void set_character_set(orcus::character_set_t) override { }

    double originDays = 0; // since 1899-12-30

private:
    formula_grammar_t grammar_ = formula_grammar_t::unknown;
};

struct TCell {
    // nothing, the index of a shared string, a number, or a text
    std::variant<std::monostate, size_t, double, QString> value;
    size_t format = 0;
};

// What all tables of the file share.
struct TBook {
    const TSheetBudget& budget;
    TSettings settings{};
    TStrings strings{};
    TSheetStyles styles{};
    TAddresses addresses{};
    qint64 cells = 0;

    void Count(qint64 more)
    {
        cells += more;
        if (cells > budget.cells)
            RaiseLimit(u"%1个单元格"_s.arg(budget.cells));
    }
    QString Text(const TCell& cell) const
    {
        if (const auto* index = std::get_if<size_t>(&cell.value))
            return strings.Text(*index);
        if (const auto* text = std::get_if<QString>(&cell.value))
            return *text;
        const auto* number = std::get_if<double>(&cell.value);
        if (!number || !std::isfinite(*number))
            return {};
        constexpr double kLastDay = 2'958'465; // 9999-12-31
        const double days = *number + settings.originDays;
        if (styles.IsDate(cell.format) && days >= 0 && days <= kLastDay)
            return wire::DateTime::FromSerial(days).ToText();
        return QString::number(*number, 'g', 15);
    }
};

class TTable : public iface::import_sheet,
               public iface::import_sheet_properties,
               public iface::import_formula {
public:
    TTable(TBook& book, std::string_view tableName)
        : name(FromUtf8(tableName))
        , book_(book)
    {
    }

    iface::import_sheet_properties* get_sheet_properties() override { return this; }
    iface::import_formula* get_formula() override { return this; }
    range_size_t get_sheet_size() const override { return {1'048'576, 16'384}; }

    void set_auto(row_t row, col_t col, std::string_view text) override { Put(row, col, FromUtf8(text)); }
    void set_string(row_t row, col_t col, string_id_t index) override { Put(row, col, size_t(index)); }
    void set_value(row_t row, col_t col, double value) override { Put(row, col, value); }
    void set_bool(row_t row, col_t col, bool value) override { Put(row, col, value ? 1.0 : 0.0); }
    void set_date_time(
        row_t row, col_t col, int year, int month, int day, int hour, int minute, double second) override
    {
        Put(row, col,
            wire::DateTime::FromParts(year, month, day, hour, minute, static_cast<int>(second)).ToText());
    }
    void set_format(row_t row, col_t col, size_t format) override
    {
        if (TCell* cell = Find(row, col))
            cell->format = format;
    }
    void set_format(row_t, col_t, row_t, col_t, size_t) override { }
    void fill_down_cells(row_t row, col_t col, row_t count) override
    {
        const TCell* source = Find(row, col);
        if (!source || std::holds_alternative<std::monostate>(source->value))
            return;
        const TCell copy = *source;
        for (row_t i = 1; i <= count; ++i)
            At(row + i, col) = copy;
    }

    void set_column_width(col_t, double, orcus::length_unit_t) override { }
    void set_column_hidden(col_t, bool) override { }
    void set_row_height(row_t, double, orcus::length_unit_t) override { }
    void set_row_hidden(row_t, bool) override { }
    void set_merge_cell_range(const range_t& range) override { merged_.push_back(range); }

    void set_position(row_t row, col_t col) override { formula_ = {row, col}; }
    void set_formula(formula_grammar_t, std::string_view) override { }
    void set_shared_formula_index(size_t) override { }
    void set_result_string(std::string_view text) override { set_auto(formula_.row, formula_.column, text); }
    void set_result_value(double value) override { set_value(formula_.row, formula_.column, value); }
    void set_result_bool(bool value) override { set_bool(formula_.row, formula_.column, value); }
    void set_result_empty() override { }
    void commit() override { }

    void SetText(int row, int column, const QString& text) { Put(row, column, text); }

    void Repeat(int row, int count)
    {
        if (row < 0 || static_cast<size_t>(row) >= rows_.size())
            return;
        const std::vector<TCell> cells = rows_[static_cast<size_t>(row)];
        for (int copy = row + 1; copy < row + count; ++copy) {
            for (size_t col = 0; col < cells.size(); ++col)
                At(copy, static_cast<col_t>(col)) = cells[col];
        }
    }

    TSheet Read() const
    {
        TSheet sheet{.name = name};
        sheet.rows.reserve(rows_.size());
        for (const std::vector<TCell>& row : rows_) {
            QStringList& texts = sheet.rows.emplace_back();
            texts.reserve(static_cast<qsizetype>(row.size()));
            for (const TCell& cell : row)
                texts.append(book_.Text(cell));
        }
        FillMerged(sheet);
        const auto holds = [](const QString& text) { return !text.trimmed().isEmpty(); };
        while (!sheet.rows.empty() && std::ranges::none_of(sheet.rows.back(), holds))
            sheet.rows.pop_back();
        return sheet;
    }

    const QString name;

private:
    TCell& At(row_t row, col_t col)
    {
        if (row < 0 || row >= book_.budget.rows)
            RaiseLimit(u"%1行"_s.arg(book_.budget.rows));
        if (col < 0 || col >= book_.budget.columns)
            RaiseLimit(u"%1列"_s.arg(book_.budget.columns));
        if (static_cast<size_t>(row) >= rows_.size())
            rows_.resize(static_cast<size_t>(row) + 1);
        std::vector<TCell>& cells = rows_[static_cast<size_t>(row)];
        if (static_cast<size_t>(col) >= cells.size()) {
            book_.Count(col + 1 - static_cast<qint64>(cells.size()));
            cells.resize(static_cast<size_t>(col) + 1);
        }
        return cells[static_cast<size_t>(col)];
    }
    TCell* Find(row_t row, col_t col)
    {
        if (row < 0 || static_cast<size_t>(row) >= rows_.size() || col < 0
            || static_cast<size_t>(col) >= rows_[static_cast<size_t>(row)].size())
            return nullptr;
        return &At(row, col);
    }
    template <typename TValue> void Put(row_t row, col_t col, TValue value)
    {
        At(row, col).value = std::move(value);
    }

    // Every cell of a merged range shows what the first holds.
    void FillMerged(TSheet& sheet) const
    {
        for (const range_t& range : merged_) {
            const QString text = sheet.Text(range.first.row, range.first.column);
            const row_t last = std::min<row_t>(range.last.row, static_cast<row_t>(sheet.rows.size()) - 1);
            if (text.isEmpty() || range.last.column >= book_.budget.columns)
                continue;
            for (row_t row = range.first.row; row <= last; ++row) {
                book_.Count(range.last.column - range.first.column + 1);
                QStringList& texts = sheet.rows[static_cast<size_t>(row)];
                while (texts.size() <= range.last.column)
                    texts.append(QString());
                for (col_t col = range.first.column; col <= range.last.column; ++col) {
                    sheet.mergedCells += texts[col].isEmpty() ? 1 : 0;
                    texts[col] = text;
                }
            }
        }
    }

    TBook& book_;
    std::vector<std::vector<TCell>> rows_;
    std::vector<range_t> merged_;
    address_t formula_{0, 0};
};

} // namespace

address_t CellAddress(std::string_view text)
{
    address_t address{0, 0};
    size_t i = 0;
    for (; i < text.size() && address.column < 100'000; ++i) {
        const char letter = text[i];
        if (letter == '$')
            continue;
        if (letter < 'A' || letter > 'Z')
            break;
        address.column = address.column * 26 + (letter - 'A' + 1);
    }
    for (; i < text.size() && address.row < 10'000'000; ++i) {
        if (text[i] >= '0' && text[i] <= '9')
            address.row = address.row * 10 + (text[i] - '0');
        else if (text[i] != '$')
            break;
    }
    --address.row;
    --address.column;
    return address;
}

class TSheetCells::Private {
public:
    explicit Private(const TSheetBudget& budget)
        : book{.budget = budget}
    {
    }
    TBook book;
    std::vector<std::unique_ptr<TTable>> tables;
};

TSheetCells::TSheetCells(const TSheetBudget& budget)
    : d_(std::make_unique<Private>(budget))
{
}

TSheetCells::~TSheetCells() = default;

TSheet TSheetCells::FirstTable() const
{
    for (const auto& table : d_->tables) {
        TSheet sheet = table->Read();
        if (!sheet.rows.empty())
            return sheet;
    }
    return {};
}

void TSheetCells::RepeatRow(size_t table, int row, int count)
{
    if (table < d_->tables.size())
        d_->tables[table]->Repeat(row, count);
}

void TSheetCells::SetText(const QString& table, int row, int column, const QString& text)
{
    for (const auto& each : d_->tables) {
        if (each->name == table)
            each->SetText(row, column, text);
    }
}

iface::import_global_settings* TSheetCells::get_global_settings()
{
    return &d_->book.settings;
}

iface::import_shared_strings* TSheetCells::get_shared_strings()
{
    return &d_->book.strings;
}

iface::import_styles* TSheetCells::get_styles()
{
    return &d_->book.styles;
}

iface::import_reference_resolver* TSheetCells::get_reference_resolver(formula_ref_context_t)
{
    return &d_->book.addresses;
}

iface::import_sheet* TSheetCells::append_sheet(sheet_t, std::string_view name)
{
    return d_->tables.emplace_back(std::make_unique<TTable>(d_->book, name)).get();
}

iface::import_sheet* TSheetCells::get_sheet(std::string_view name)
{
    const QString wanted = FromUtf8(name);
    const auto found =
        std::ranges::find_if(d_->tables, [&](const auto& table) { return table->name == wanted; });
    return found == d_->tables.end() ? nullptr : found->get();
}

iface::import_sheet* TSheetCells::get_sheet(sheet_t index)
{
    return index >= 0 && static_cast<size_t>(index) < d_->tables.size()
        ? d_->tables[static_cast<size_t>(index)].get()
        : nullptr;
}
