#include "import/SheetReader.h"

#include "import/InlineTexts.h"
#include "import/OdsRows.h"
#include "import/SheetCells.h"
#include "import/SheetFile.h"
#include "wire/Error.h"

#include <orcus/csv_parser.hpp>
#include <orcus/orcus_ods.hpp>
#include <orcus/orcus_xlsx.hpp>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// As liborcus's own CSV import, but for a file that cannot be read to its end: that one takes it for whole.
class TCsvRows : public orcus::csv_handler {
public:
    explicit TCsvRows(orcus::spreadsheet::iface::import_sheet& table)
        : table_(table)
    {
    }
    void begin_row() { column_ = 0; }
    void end_row() { ++row_; }
    void cell(const char* text, size_t length, bool)
    {
        if (length > 0)
            table_.set_auto(row_, column_, {text, length});
        ++column_;
    }

private:
    orcus::spreadsheet::iface::import_sheet& table_;
    int row_ = 0;
    int column_ = 0;
};

void ParseCsv(QByteArray text, TSheetCells& cells)
{
    text.replace("\r\n", "\n").replace('\r', '\n');
    const QByteArray titles = text.left(text.indexOf('\n'));
    orcus::csv::parser_config config;
    config.text_qualifier = '"';
    config.trim_cell_value = false;
    config.delimiters = titles.contains('\t') ? "\t" : titles.count(';') > titles.count(',') ? ";" : ",";
    TCsvRows rows(*cells.append_sheet(0, {}));
    orcus::csv_parser<TCsvRows> parser(text.constData(), static_cast<size_t>(text.size()), rows, config);
    parser.parse();
}

void ParseXlsx(const QByteArray& file, TSheetCells& cells)
{
    orcus::orcus_xlsx(&cells).read_stream({file.constData(), static_cast<size_t>(file.size())});
    ReadInlineTexts(file, [&](const QString& table, int row, int column, const QString& text) {
        cells.SetText(table, row, column, text);
    });
}

void ParseOds(const QByteArray& file, TSheetCells& cells)
{
    orcus::orcus_ods(&cells).read_stream({file.constData(), static_cast<size_t>(file.size())});
    const auto tables = RepeatedRows(file);
    for (size_t table = 0; table < tables.size(); ++table) {
        for (const TRepeatedRow& repeated : tables[table])
            cells.RepeatRow(table, repeated.row, repeated.count);
    }
}

void Parse(const TSheetFile& file, TSheetCells& cells)
{
    switch (file.kind) {
    case TSheetKind::Xlsx:
        ParseXlsx(file.bytes, cells);
        break;
    case TSheetKind::Ods:
        ParseOds(file.bytes, cells);
        break;
    case TSheetKind::Csv:
        ParseCsv(file.bytes, cells);
        break;
    }
}

} // namespace

QString TSheet::Text(int row, int column) const
{
    return row >= 0 && row < static_cast<int>(rows.size()) ? rows[static_cast<size_t>(row)].value(column)
                                                           : QString();
}

int TSheet::ColumnCount() const
{
    qsizetype columns = 0;
    for (const QStringList& row : rows)
        columns = std::max(columns, row.size());
    return static_cast<int>(columns);
}

TSheet ReadSheet(const QString& path, const TSheetBudget& budget)
{
    TSheetCells cells(budget);
    try {
        Parse(LoadSheetFile(path, budget), cells);
    } catch (const wire::Error&) {
        throw;
    } catch (const std::exception& failure) {
        throw wire::Error(wire::ErrorKind::Data,
            u"文件读不懂，可能已经损坏（%1）。请用表格软件打开，另存为 .xlsx 再导入。"_s.arg(
                QString::fromUtf8(failure.what()).left(200)));
    }
    TSheet sheet = cells.FirstTable();
    if (sheet.rows.empty())
        throw wire::Error(wire::ErrorKind::Data, u"文件里没有任何内容。"_s);
    return sheet;
}
