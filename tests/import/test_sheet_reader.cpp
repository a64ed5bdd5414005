#include "import/SheetReader.h"
#include "tests/import/SheetFiles.h"
#include "tests/support/Raised.h"

#include <QFile>
#include <QStringEncoder>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;

namespace {

class SheetReader : public ::testing::Test {
protected:
    TSheet Read(const QByteArray& bytes, const TSheetBudget& budget = {})
    {
        const QString path = folder_.filePath(u"orders"_s);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        file.close();
        return ReadSheet(path, budget);
    }
    std::vector<QStringList> Rows(const QByteArray& bytes) { return Read(bytes).rows; }
    QString Refusal(const QByteArray& bytes, wire::ErrorKind kind, const TSheetBudget& budget = {})
    {
        const wire::Error error = ErrorOf([&] { Read(bytes, budget); });
        EXPECT_EQ(error.Kind(), kind) << error.what();
        return error.Message();
    }

private:
    QTemporaryDir folder_;
};

const QByteArray kCell = "<table:table-cell office:value-type=\"string\"><text:p>";

} // namespace

TEST_F(SheetReader, ReadsTheSameOrdersFromEveryKindOfFile)
{
    const std::vector<QStringList> rows = {{u"发货人电话"_s, u"货物重量"_s, u"预约时间"_s, u"备注"_s},
        {u"13800000001"_s, u"2.5"_s, u"2026-11-20 15:30:00"_s, u"a,\"b\" & <c>"_s}, {},
        {u"010-1"_s, {}, {}, u"最后"_s}};
    EXPECT_EQ(Rows(XlsxOf({rows[0], {u"=13800000001"_s, u"=2.5"_s, u"@46346.6458333333"_s, rows[1][3]}, {},
                  rows[3]})),
        rows);
    const TSheet ods = Read(OdsOf("<table:table-row>" + kCell + "发货人电话</text:p></table:table-cell>"
        + kCell + "货物重量</text:p></table:table-cell>" + kCell + "预约时间</text:p></table:table-cell>"
        + kCell
        + "备注</text:p></table:table-cell></table:table-row><table:table-row><table:table-cell "
          "office:value-type=\"float\" office:value=\"13800000001\"/><table:table-cell "
          "office:value-type=\"float\" "
          "office:value=\"2.5\"/><table:table-cell office:value-type=\"date\" "
          "office:date-value=\"2026-11-20T15:30:00\"/>"
        + kCell
        + "a,&quot;b&quot; &amp; &lt;c&gt;</text:p></table:table-cell></table:table-row><table:table-row "
          "table:number-rows-repeated=\"1\"><table:table-cell/></table:table-row><table:table-row>"
        + kCell + "010-1</text:p></table:table-cell><table:table-cell table:number-columns-repeated=\"2\"/>"
        + kCell
        + "最后</text:p></table:table-cell></table:table-row><table:table-row "
          "table:number-rows-repeated=\"1048570\"><table:table-cell "
          "table:number-columns-repeated=\"1024\"/></table:table-row>"));
    EXPECT_EQ(ods.rows, rows);
    EXPECT_EQ(ods.name, u"订单"_s);
    const QString csv =
        u"发货人电话,货物重量,预约时间,备注\r\n13800000001,2.5,2026-11-20 15:30:00,\"a,\"\"b\"\" & "
        "<c>\"\r\n\r\n010-1,,,最后\r\n"_s;
    EXPECT_EQ(Rows(csv.toUtf8()), rows);
    EXPECT_EQ(Rows("\xEF\xBB\xBF" + csv.toUtf8()), rows);
    EXPECT_EQ(Rows(QStringEncoder("GB18030").encode(csv)), rows);
    EXPECT_EQ(
        Rows(QStringEncoder(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom).encode(csv)), rows);
}

TEST_F(SheetReader, TakesWhatFormulasCameTo)
{
    EXPECT_EQ(
        Rows(XlsxOf({{u"<c r=\"A1\"><f>1+1</f><v>2</v></c>"_s,
            u"<c r=\"B1\" t=\"str\"><f>A1</f><v>李雷</v></c>"_s, u"<c r=\"C1\" t=\"b\"><v>1</v></c>"_s}})),
        (std::vector<QStringList>{{u"2"_s, u"李雷"_s, u"1"_s}}));
}

TEST_F(SheetReader, TakesTextsThatStandInTheirCells)
{
    const auto cell = [](const QString& place, const QString& text) {
        return u"<c%1 t=\"inlineStr\">%2</c>"_s.arg(place, text);
    };
    EXPECT_EQ(Rows(XlsxOf({{cell(u" r=\"A1\""_s, u"<is><t xml:space=\"preserve\"> 李&amp;雷 </t></is>"_s),
                               u"共用"_s,
                               cell({},
                                   u"<is><r><rPr><b/></rPr><t>王</t></r><r><t>芳</t></r>"
                                   "<rPh sb=\"0\" eb=\"1\"><t>wang</t></rPh></is>"_s)},
                  {}, {cell(u" r=\"C3\" s=\"1\""_s, u"<is><t>010</t></is>"_s), cell(u" r=\"D3\""_s, {})}})),
        (std::vector<QStringList>{{u" 李&雷 "_s, u"共用"_s, u"王芳"_s}, {}, {{}, {}, u"010"_s, {}}}));
}

TEST_F(SheetReader, RowsWrittenOnceForSeveralAreSeveral)
{
    const QByteArray row = ">" + kCell + "a</text:p></table:table-cell></table:table-row>";
    EXPECT_EQ(Rows(OdsOf("<table:table-row/><table:table-row table:number-rows-repeated=\"2\"" + row
                  + "<table:table-row" + row)),
        (std::vector<QStringList>{{}, {u"a"_s}, {u"a"_s}, {u"a"_s}}));
}

TEST_F(SheetReader, MergedCellsHoldWhatTheFirstHolds)
{
    const TSheet sheet = Read(XlsxOf({{u"王芳"_s, u"1"_s, u"x"_s}, {{}, u"2"_s, {}}},
        "<mergeCells count=\"2\"><mergeCell ref=\"A1:A2\"/><mergeCell ref=\"C1:D1\"/></mergeCells>"));
    EXPECT_EQ(
        sheet.rows, (std::vector<QStringList>{{u"王芳"_s, u"1"_s, u"x"_s, u"x"_s}, {u"王芳"_s, u"2"_s}}));
    EXPECT_EQ(sheet.mergedCells, 2);
}

TEST_F(SheetReader, SaysWhatIsWrongWithAFile)
{
    const QByteArray good = XlsxOf({{u"a"_s}});
    EXPECT_TRUE(Refusal(QByteArray("MZ\x90\0\3", 5), wire::ErrorKind::Data).contains(u"不是表格"_s));
    EXPECT_TRUE(Refusal(ZipOf({{"readme.txt", "a"}}), wire::ErrorKind::Data).contains(u"不是表格"_s));
    EXPECT_TRUE(Refusal(good.chopped(40), wire::ErrorKind::Data).contains(u"损坏"_s));
    EXPECT_TRUE(Refusal(QByteArray(good).replace("<sheetData>", "<sheetDat?>"), wire::ErrorKind::Data)
                    .contains(u"损坏"_s));
    EXPECT_TRUE(Refusal(OdsOf("<table:table-row"), wire::ErrorKind::Data).contains(u"损坏"_s));
    EXPECT_TRUE(Refusal("a,b\n\"c\"d,e\n", wire::ErrorKind::Data).contains(u"损坏"_s))
        << "not what came before";
    EXPECT_TRUE(Refusal({}, wire::ErrorKind::Data).contains(u"没有任何内容"_s));
    EXPECT_TRUE(Refusal(XlsxOf({}), wire::ErrorKind::Data).contains(u"没有任何内容"_s));
    EXPECT_TRUE(Refusal(QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8), wire::ErrorKind::Data)
                    .contains(u"密码"_s));
    EXPECT_TRUE(Refusal(ZipOf({{"xl/workbook.xml", "x", 0, 1}}), wire::ErrorKind::Data).contains(u"密码"_s));
    EXPECT_TRUE(Refusal(OdsOf({}, "<m:manifest><m:encryption-data/></m:manifest>"), wire::ErrorKind::Data)
                    .contains(u"密码"_s));
    EXPECT_EQ(KindOf([] { ReadSheet(u"/no/such/file.xlsx"_s); }), wire::ErrorKind::Usage);
}

TEST_F(SheetReader, GivesUpBeforeAFileFillsTheMachine)
{
    const TSheetBudget small{
        .fileBytes = 100'000, .unpackedBytes = 200'000, .rows = 4, .columns = 3, .cells = 9};
    const auto limit = [&](const QByteArray& bytes) { return Refusal(bytes, wire::ErrorKind::Limit, small); };
    EXPECT_TRUE(limit(QByteArray(100'001, 'x')).contains(u"分成几个文件"_s));
    EXPECT_TRUE(limit(ZipOf({{"xl/workbook.xml", "bomb", 1'000'000}})).contains(u"解开"_s));
    EXPECT_TRUE(limit(XlsxOf(std::vector<QStringList>(5, {u"a"_s}))).contains(u"4行"_s));
    EXPECT_TRUE(limit(XlsxOf({{u"a"_s, u"b"_s, u"c"_s, u"d"_s}})).contains(u"3列"_s));
    EXPECT_TRUE(
        limit(XlsxOf(std::vector<QStringList>(4, {u"a"_s, u"b"_s, u"c"_s}))).contains(u"9个单元格"_s));
    EXPECT_TRUE(limit(OdsOf("<table:table-row table:number-rows-repeated=\"1000000\">" + kCell
                          + "a</text:p></table:table-cell></table:table-row>"))
                    .contains(u"4行"_s));
    EXPECT_TRUE(limit(XlsxOf({{u"a"_s, u"b"_s, u"c"_s}, {u"d"_s}, {u"e"_s}},
                          "<mergeCells><mergeCell ref=\"A1:C3\"/></mergeCells>"))
                    .contains(u"9个单元格"_s));
    // A directory that claims less than its entry unpacks to gets no more than it claimed.
    EXPECT_EQ(KindOf([&] {
        Read(ZipOf({{"xl/workbook.xml", QByteArray(50'000, ' '), 10}}), small);
    }),
        wire::ErrorKind::Data);
}
