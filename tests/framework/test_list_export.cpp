#include "framework/export/GridRows.h"
#include "framework/export/frm_Export.h"
#include "tests/framework/ProbeScreen.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QMimeData>
#include <QRegularExpression>
#include <QStringDecoder>
#include <QStringEncoder>
#include <QTest>
#include <QTimer>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <orcus/csv_parser.hpp>
#include <orcus/orcus_xlsx.hpp>
#include <orcus/spreadsheet/document.hpp>
#include <orcus/spreadsheet/factory.hpp>
#include <orcus/zip_archive.hpp>
#include <orcus/zip_archive_stream.hpp>

#include <xlsxwriter.h>

#include <charconv>
#include <sstream>

using namespace Qt::Literals::StringLiterals;
namespace ss = orcus::spreadsheet;

namespace {

const wire::DateTime kMoment = wire::DateTime::FromParts(2024, 2, 29, 13, 5, 9);
const QString kQuoted = u"他说\"好\",\r\n就走"_s;

// Two orders and their total.
class Orders final : public TExportRows {
public:
    const std::vector<TExportColumn>& Columns() const override { return columns; }
    int FrozenColumns() const override { return 1; }
    int RowCount() const override { return 2; }
    TExportCell Cell(int row, int column) override
    {
        if (row == 1 && column > 0)
            return {};
        if (column == 3)
            return {.empty = false, .number = -12.5};
        if (column == 4)
            return {.empty = false, .moment = kMoment};
        text = (row == 1 ? u"=1+1"_s : QStringList{u"168000000000000017"_s, kQuoted, u"0551"_s}[column])
                   .toUtf8();
        return {.empty = false, .text = text};
    }
    int FooterRows() const override { return 1; }
    QString Footer(int, int column) const override
    {
        return column == 0 ? u"合计"_s : column == 3 ? u"-12.5"_s : QString();
    }

    QByteArray text;
    std::vector<TExportColumn> columns{{.title = u"运单编号"_s}, {.title = u"收货|姓名"_s},
        {.title = u"收货|电话"_s}, {.title = u"代收货款"_s, .kind = TExportKind::Number, .format = u"0.00"_s},
        {.title = u"订单时间"_s, .kind = TExportKind::Moment}};
};

// A column of amounts.
class Numbers final : public TExportRows {
public:
    const std::vector<TExportColumn>& Columns() const override { return columns_; }
    int FrozenColumns() const override { return 0; }
    int RowCount() const override { return static_cast<int>(values.size()); }
    TExportCell Cell(int row, int) override { return {.empty = false, .number = values[size_t(row)]}; }
    int FooterRows() const override { return 0; }
    QString Footer(int, int) const override { return {}; }

    std::vector<double> values;

private:
    std::vector<TExportColumn> columns_{{.title = u"金额"_s, .kind = TExportKind::Number}};
};

class Sheets {
public:
    explicit Sheets(const QString& path)
    {
        ss::import_factory factory(document_);
        orcus::orcus_xlsx reader(&factory);
        reader.read_file(path.toStdString());
    }
    // "row/column:type:value" of every cell that has one.
    QStringList Cells() const
    {
        std::ostringstream cells;
        document_.dump_check(cells);
        QStringList lines = QString::fromStdString(cells.str()).split(u'\n', Qt::SkipEmptyParts);
        for (QString& line : lines)
            line = line.section(u'/', 1);
        return lines;
    }

private:
    ss::document document_{{1'048'576, 16'384}};
};

// A part of the workbook as it lies in it.
QString Part(const QString& path, std::string_view name)
{
    orcus::zip_archive_stream_fd stream(path.toUtf8().constData());
    orcus::zip_archive archive(&stream);
    archive.load();
    std::vector<unsigned char> bytes;
    archive.read_file_entry(name, bytes);
    return QString::fromUtf8(reinterpret_cast<const char*>(bytes.data()), qsizetype(bytes.size()));
}

// The texts, as the form of the file spells them, of the sheet's cells, which the library passes over where
// they stand in the cells themselves.
QStringList Texts(const QString& path)
{
    QXmlStreamReader sheet(Part(path, "xl/worksheets/sheet1.xml"));
    QStringList texts;
    QString cell;
    while (!sheet.atEnd()) {
        if (sheet.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (sheet.name() == u"c"_s)
            cell = sheet.attributes().value(u"r"_s).toString();
        else if (sheet.name() == u"t"_s)
            texts += cell + u':' + sheet.readElementText();
    }
    return texts;
}

struct CsvCells {
    void begin_parse() { }
    void end_parse() { }
    void begin_row() { rows.emplace_back(); }
    void end_row()
    {
        if (rows.back().last().endsWith(u'\r')) // this reader ends lines at LF
            rows.back().last().chop(1);
    }
    void cell(const char* text, size_t size, bool)
    {
        rows.back() += QString::fromUtf8(text, qsizetype(size));
    }
    std::vector<QStringList> rows;
};

QByteArray Content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

std::vector<QStringList> ReadCsv(const std::string& content)
{
    CsvCells cells;
    orcus::csv::parser_config config;
    config.delimiters.push_back(',');
    config.text_qualifier = '"';
    orcus::csv_parser<CsvCells> parser(content.data(), content.size(), cells, config);
    parser.parse();
    return cells.rows;
}

qsizetype OpenFiles()
{
    return QDir(u"/proc/self/fd"_s).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

class ListExport : public ::testing::Test {
protected:
    QString File(const QString& name) const { return folder.filePath(name); }

    QTemporaryDir folder;
    Orders orders;
};

} // namespace

TEST_F(ListExport, AnotherLibraryReadsEveryValueAndTypeOfAWorkbook)
{
    const QString path = File(u"单.xlsx"_s);
    ASSERT_TRUE(WriteXlsx(orders, path, {}));
    EXPECT_EQ(Sheets(path).Cells().join(u' ').toStdString(),
        "2/3:numeric:-12.5 2/4:numeric:45351.54524305555 4/3:numeric:-12.5 "
        "0/0:merge-width:1 0/0:merge-height:2 0/1:merge-width:2 0/1:merge-height:1 0/3:merge-width:1 "
        "0/3:merge-height:2 0/4:merge-width:1 0/4:merge-height:2");
    EXPECT_EQ(Texts(path).join(u'|').toStdString(),
        u"A1:运单编号|B1:收货|D1:代收货款|E1:订单时间|B2:姓名|C2:电话|A3:168000000000000017|B3:%1|C3:0551|A4:=1+1|A5:合计"_s
            .arg(QString(kQuoted).replace(u"\r"_s, u"_x000D_"_s))
            .toStdString());
    const QString sheet = Part(path, "xl/worksheets/sheet1.xml");
    EXPECT_TRUE(sheet.contains(u"xSplit=\"1\" ySplit=\"2\""_s)) << "frozen as on the screen";
    // Text, amount and moment are shown each in its way.
    const auto styleOf = [&sheet](const QString& cell) {
        return sheet.section(u"r=\"%1\" s=\""_s.arg(cell), 1).section(u'"', 0, 0);
    };
    const QString styles = Part(path, "xl/styles.xml");
    const QString formats = styles.section(u"<cellXfs"_s, 1).section(u"</cellXfs>"_s, 0, 0);
    const auto formatOf = [&](const QString& cell) {
        const QString id = formats.section(u"<xf "_s, styleOf(cell).toInt() + 1)
                               .section(u"numFmtId=\""_s, 1)
                               .section(u'"', 0, 0);
        return styles.contains(u"numFmtId=\"%1\" formatCode="_s.arg(id))
            ? styles.section(u"numFmtId=\"%1\" formatCode=\""_s.arg(id), 1).section(u'"', 0, 0)
            : id;
    };
    EXPECT_EQ(formatOf(u"A3"_s), u"@"_s);
    EXPECT_EQ(formatOf(u"D3"_s), u"0.00"_s);
    EXPECT_EQ(formatOf(u"E3"_s), u"yyyy-mm-dd hh:mm:ss"_s);
}

TEST_F(ListExport, CsvKeepsQuotesBreaksAndTextThatLooksLikeAFormula)
{
    const std::vector<QStringList> expected = {
        {u"运单编号"_s, u"收货 姓名"_s, u"收货 电话"_s, u"代收货款"_s, u"订单时间"_s},
        {u"168000000000000017"_s, kQuoted, u"0551"_s, u"-12.5"_s, u"2024-02-29 13:05:09"_s},
        {u"'=1+1"_s, {}, {}, {}, {}}, {u"合计"_s, {}, {}, u"-12.5"_s, {}}};
    const QString utf8 = File(u"a.csv"_s);
    ASSERT_TRUE(WriteCsv(orders, utf8, TCsvEncoding::Utf8, {}));
    QByteArray content = Content(utf8);
    ASSERT_TRUE(content.startsWith("\xEF\xBB\xBF"));
    EXPECT_EQ(ReadCsv(content.mid(3).toStdString()), expected);

    const QString local = File(u"b.csv"_s);
    ASSERT_TRUE(WriteCsv(orders, local, TCsvEncoding::CodePage936, {}));
    content = Content(local);
    EXPECT_TRUE(content.startsWith("\xD4\xCB\xB5\xA5\xB1\xE0\xBA\xC5,")) << "运单编号";
    EXPECT_EQ(ReadCsv(QString(QStringDecoder("GBK")(content)).toStdString()), expected);
}

TEST_F(ListExport, CsvHoldsEachDigitOfANumberAndNoExponentThatSpreadsheetsRound)
{
    const std::vector<std::pair<double, QByteArray>> cases = {{0, "0"}, {100'000, "100000"}, {0.1, "0.1"},
        {-0.05, "-0.05"}, {12.30, "12.3"}, {-7, "-7"}, {1.005, "1.005"}, {0.1 + 0.2, "0.30000000000000004"},
        {9'007'199'254'740.99, "9007199254740.99"}, {1e15, "1e+15"}, {1e300, "1e+300"}, {5e-324, "5e-324"},
        {0.000001, "0.000001"}};
    Numbers numbers;
    for (const auto& [number, text] : cases)
        numbers.values.push_back(number);
    const QString path = File(u"numbers.csv"_s);
    ASSERT_TRUE(WriteCsv(numbers, path, TCsvEncoding::Utf8, {}));
    const QList<QByteArray> lines = Content(path).split('\n');
    for (size_t i = 0; i < cases.size(); ++i)
        EXPECT_EQ(lines[qsizetype(i) + 1].trimmed(), cases[i].second);
}

// A cell the slow way, by its value alone.
QByteArray PlainCell(const wire::Value& value)
{
    if (const auto* moment = std::get_if<wire::DateTime>(&value))
        return moment->ToText().toLatin1();
    if (const auto* number = std::get_if<double>(&value)) {
        char text[64];
        return {text, std::to_chars(text, std::end(text), *number, std::chars_format::fixed).ptr - text};
    }
    if (const auto* whole = std::get_if<qint64>(&value))
        return QByteArray::number(*whole);
    QString text = wire::ToText(value);
    if (!text.isEmpty() && u"=+-@"_s.contains(text.front()))
        text.prepend(u'\'');
    const bool quoted =
        std::ranges::any_of(text, [](QChar character) { return u",\"\r\n"_s.contains(character); });
    return (quoted ? u'"' + text.replace(u'"', u"\"\""_s) + u'"' : text).toUtf8();
}

// The rows of a sheet without their styles.
QString SheetRows(const QString& path)
{
    static const QRegularExpression kStyle(u" s=\"[0-9]+\""_s);
    return Part(path, "xl/worksheets/sheet1.xml").section(u"<row r=\"2\""_s, 1).remove(kStyle);
}

// The same by the library alone, cell by cell.
void WriteByLibrary(const QString& path, const TClientDataSetEx& rows)
{
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    lxw_workbook* book = workbook_new_opt(path.toUtf8().constData(), &options);
    lxw_worksheet* sheet = workbook_add_worksheet(book, nullptr);
    for (int row = 0; row < rows.RecordCount(); ++row) {
        for (int i = 0; i < rows.FieldCount(); ++i) {
            const wire::Value value = rows.ViewValue(row, i);
            const auto to = lxw_row_t(row + 1);
            const auto* moment = std::get_if<wire::DateTime>(&value);
            if (const auto* text = std::get_if<QString>(&value))
                worksheet_write_string(sheet, to, lxw_col_t(i), text->toUtf8().constData(), nullptr);
            else if (!wire::IsNull(value))
                worksheet_write_number(sheet, to, lxw_col_t(i),
                    moment ? moment->ToSerial()
                           : std::get<double>(wire::Convert(value, wire::ColumnType::Number)),
                    nullptr);
        }
    }
    workbook_close(book);
}

// Thousands of rows, so that several threads work on them and texts are held in both ways.
TEST_F(ListExport, StoredAndEditedRowsAreWrittenLikeTheirCellsOneByOne)
{
    const std::vector<QByteArray> texts = {"", "\"", ",", "=1", "+", "-\"", "@a\nb", "a", "沪A·12345", "x\r",
        "0123456789abcde", "0123456789abcdef", "0123456789abcde,", "0123456789abcdef\"", "𠮷野家𠮷野家𠮷野家",
        "浦东新区张江镇祖冲之路八八八号三号楼，二层", "-0123456789012345678901234567890123456789", " a ",
        "\t"};
    const std::vector<double> numbers = {
        0, 0.1, -0.05, 12.3, 1.005, 0.1 + 0.2, 1e9, 123'456'789.99, -7, 1e-8};
    constexpr int kRows = 5'000;
    const std::vector<wire::ColumnType> types = {wire::ColumnType::Text, wire::ColumnType::Text,
        wire::ColumnType::Number, wire::ColumnType::Integer, wire::ColumnType::DateTime};
    wire::RowSet set;
    for (size_t i = 0; i < types.size(); ++i) {
        set.infos.push_back({.name = u"F%1"_s.arg(i), .type = types[i]});
        wire::Column& cells = set.columns.emplace_back(types[i]);
        for (int row = 0; row < kRows; ++row) {
            const auto& text = texts[size_t(row) % texts.size()];
            if (i == 0)
                cells.AppendText(text);
            else if (row % 11 == 0)
                cells.AppendNull();
            else if (i == 1)
                cells.AppendText(text + QByteArray::number(row * 7919 % 10'007));
            else if (i == 2)
                cells.AppendNumber(numbers[size_t(row) % numbers.size()]);
            else
                cells.AppendInteger((row - 2'500) * 86'399LL * (row % 3 == 0 ? 1 : 700));
        }
    }
    ASSERT_TRUE(set.columns[0].IsDictionary() && !set.columns[1].IsDictionary());
    TProbeHost host;
    TClientDataSetEx rows;
    rows.OpenRows(std::move(set));
    TDataSource source;
    source.SetDataSet(&rows);
    TDBGridEh grid(nullptr, u"Grid"_s);
    std::vector<TColumnEh> columns;
    for (size_t i = 0; i < types.size(); ++i)
        columns.push_back({.fieldName = u"F%1"_s.arg(i), .title = u"T"_s});
    grid.SetColumns(columns);
    grid.SetDataSource(&source);
    rows.AddIndex(u"by"_s, u"F1");
    rows.SetIndexName(u"by"_s);
    for (const int row : {1, 700, 4'999}) {
        rows.SetRecNo(row);
        rows.SetFieldAndPost(u"F0", u"改\"了"_s);
        rows.SetFieldAndPost(u"F2", 3.25);
    }
    rows.Append();
    rows.FieldByName(u"F3").SetAsInteger(4);
    rows.Post();

    QByteArray expected = "T,T,T,T,T\r\n";
    for (int row = 0; row < rows.RecordCount(); ++row) {
        for (int i = 0; i < int(types.size()); ++i)
            expected += PlainCell(rows.ViewValue(row, i)) + (i + 1 < int(types.size()) ? "," : "\r\n");
    }
    for (const TCsvEncoding encoding : {TCsvEncoding::Utf8, TCsvEncoding::CodePage936}) {
        TGridRows all(grid, false);
        ASSERT_TRUE(WriteCsv(all, File(u"all.csv"_s), encoding, {}));
        EXPECT_TRUE(Content(File(u"all.csv"_s))
            == (encoding == TCsvEncoding::Utf8
                    ? "\xEF\xBB\xBF" + expected
                    : QByteArray(QStringEncoder("GBK")(QString::fromUtf8(expected)))))
            << "encoding " << int(encoding);
    }
    // Copied, a cell holds no tab and no line break, and says in the table whether it is a number.
    static const QRegularExpression kSplitting(u"[\t\r\n]"_s);
    QString lines;
    QString table = u"<meta charset=\"utf-8\"><table>"_s;
    for (int row = 0; row < rows.RecordCount(); ++row) {
        table += u"<tr>"_s;
        for (int i = 0; i < int(types.size()); ++i) {
            const QString text = grid.CellText(row, i).replace(kSplitting, u" "_s);
            lines += text + (i + 1 < int(types.size()) ? u'\t' : u'\n');
            table += (i == 2 ? u"<td>"_s : u"<td style=\"mso-number-format:'\\@'\">"_s) + text.toHtmlEscaped()
                + u"</td>"_s;
        }
        table += u"</tr>"_s;
    }
    grid.selectAll();
    QTest::keyClick(&grid, Qt::Key_C, Qt::ControlModifier);
    EXPECT_TRUE(QApplication::clipboard()->text() == lines);
    EXPECT_TRUE(QApplication::clipboard()->mimeData()->html() == table + u"</table>"_s);

    TGridRows all(grid, false);
    ASSERT_TRUE(WriteXlsx(all, File(u"all.xlsx"_s), {}));
    WriteByLibrary(File(u"library.xlsx"_s), rows);
    const QString ours = SheetRows(File(u"all.xlsx"_s));
    EXPECT_TRUE(ours.section(u"</sheetData>"_s, 0, 0)
        == SheetRows(File(u"library.xlsx"_s)).section(u"</sheetData>"_s, 0, 0));
    EXPECT_TRUE(ours.contains(u"<row r=\"5002\">"_s));
}

TEST_F(ListExport, ALongListGoesOnInFurtherSheetsUnderItsTitles)
{
    Numbers numbers;
    numbers.values = {1, 2, 3, 4, 5};
    constexpr int kThreeRows = 3; // of a sheet: the titles and two numbers
    ASSERT_EQ(SheetsFor(numbers, kThreeRows), 3);
    const QString path = File(u"long.xlsx"_s);
    ASSERT_TRUE(WriteXlsx(numbers, path, {}, kThreeRows));
    const QStringList expected = {
        u"1/0:numeric:1"_s, u"2/0:numeric:2"_s, u"1/0:numeric:3"_s, u"2/0:numeric:4"_s, u"1/0:numeric:5"_s};
    EXPECT_TRUE(Part(path, "xl/worksheets/sheet3.xml").contains(u"金额"_s));
    EXPECT_EQ(Sheets(path).Cells(), expected);
}

QString Told(const std::function<void()>& write)
{
    try {
        write();
    } catch (const wire::Error& error) {
        return error.Message();
    }
    return {};
}

TEST_F(ListExport, AFileIsThereWholeOrNotAtAll)
{
    const QString path = File(u"a"_s);
    const std::vector<std::function<bool(const QString&, const TExportProgress&)>> writers = {
        [&](const QString& to, const TExportProgress& progress) { return WriteXlsx(orders, to, progress); },
        [&](const QString& to, const TExportProgress& progress) {
            return WriteCsv(orders, to, TCsvEncoding::Utf8, progress);
        }};
    for (const auto& write : writers) {
        QFile before(path);
        ASSERT_TRUE(before.open(QIODevice::WriteOnly | QIODevice::Truncate));
        before.write("before");
        before.close();
        const qsizetype files = OpenFiles();
        EXPECT_FALSE(write(path, [](int) { return false; }));
        EXPECT_EQ(OpenFiles(), files);
        EXPECT_EQ(Content(path), "before");
        EXPECT_THROW(write(File(u"none/a"_s), {}), wire::Error);
        EXPECT_THROW(write(folder.path(), {}), wire::Error) << "a folder bears the name";
        QFile(File(u"a.part"_s)).open(QIODevice::WriteOnly);
        EXPECT_FALSE(write(path, [](int) { return false; }));
        EXPECT_TRUE(QFile::remove(File(u"a.part"_s))) << "another's";
        EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files), QStringList(u"a"_s)) << "nothing is left lying";
        EXPECT_TRUE(write(path, {}));
        EXPECT_NE(Content(path), "before");
        QDir(folder.path()).mkdir(u"going"_s);
        const auto leaves = [&](int) { return QDir(File(u"going"_s)).removeRecursively(); };
        EXPECT_TRUE(Told([&] { write(File(u"going/a"_s), leaves); }).contains(u"请另选一个文件夹"_s));
    }
}

TEST_F(ListExport, AGridGivesWhatItShowsAndTheFormWritesIt)
{
    TProbeHost host;
    auto* screen = MakeScreen<Tfrm_Probe>(&host.App);
    TDBGridEh& grid = *screen->DataView1->DataViewGrid;
    screen->cds->OpenRows(
        MakeRows({{.name = u"ID"_s}, {.name = u"NOTE"_s, .type = wire::ColumnType::DateTime},
                     {.name = u"EXTRA"_s, .type = wire::ColumnType::Integer}, {.name = u"HIDDEN"_s}},
            {{u"007"_s, kMoment, 3, u"x"_s}, {u"008"_s, {}, {}, u"y"_s}}));
    screen->cds->SetFieldAndPost(u"EXTRA", 4);
    TGridRows all(grid, false);
    ASSERT_EQ(all.Columns().size(), 4u) << "row number and what is visible";
    EXPECT_EQ(all.Cell(1, 0).number, 2);
    EXPECT_EQ(all.Cell(0, 1).text, "007");
    EXPECT_EQ(all.Cell(0, 2).moment, kMoment);
    EXPECT_TRUE(all.Cell(1, 2).empty);
    EXPECT_EQ(all.Cell(0, 3).number, 4) << "as edited";
    EXPECT_EQ(all.Footer(1, 1), u"2"_s);
    grid.SelectRows({screen->cds->ViewBookmark(1)});
    EXPECT_EQ(TGridRows(grid, true).RowCount(), 1);
    grid.ClearSelectedRows();

    const QString path = File(u"list.xlsx"_s);
    host.App.QueueAnswer({File(u"list"_s)});
    grid.actions().first()->trigger();
    EXPECT_TRUE(Texts(path).contains(u"B2:007"_s)) << Texts(path).join(u'\n').toStdString();
    // The program is closed while the rows are written.
    QTimer closing;
    QObject::connect(&closing, &QTimer::timeout, &closing, [&] {
        const bool writing = std::ranges::any_of(
            Screen->Forms(), [](const TForm* form) { return form->objectName() == u"frm_Progress"_s; });
        if (writing)
            delete std::exchange(screen, nullptr);
    });
    closing.start(0);
    host.App.QueueAnswer({File(u"gone"_s)});
    grid.actions().first()->trigger();
    EXPECT_EQ(screen, nullptr);
    EXPECT_TRUE(host.TakeMessages().join(QString()).contains(u"没有导出"_s));
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files), QStringList(u"list.xlsx"_s));
    EXPECT_THROW(all.Cell(0, 1), wire::Error) << "the rows have gone";
}
