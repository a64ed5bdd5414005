#include "dispatch/frm_order_pda.h"
#include "framework/RowFields.h"
#include "framework/export/GridRows.h"
#include "import/SheetWriter.h"
#include "import/frm_Import.h"
#include "module/data/dm_GlobalData.h"
#include "tests/import/SheetFiles.h"
#include "tests/orders/OrderScreen.h"

#include <QFile>

using namespace Qt::Literals::StringLiterals;

namespace {

const QStringList kHeadings = {u"业务员"_s, u"预约时间"_s, u"发货人电话"_s, u"发货人 姓名"_s, u"发货地址省"_s,
    u"发货地址|市"_s, u"发货地址 区(县)"_s, u"发货地址 县下详细地址"_s, u"收货地址 省"_s, u"收货地址 市"_s,
    u"收货地址 区（县）"_s, u"是否保价"_s};
const QStringList kOrder = {u"韩梅梅"_s, {}, u"13800000001"_s, u"王芳"_s, u"江苏"_s, u"南京市"_s, u"玄武区"_s,
    u"中山路1号"_s, u"上海"_s, u"上海市"_s, u"浦东新区"_s, u"是"_s};

QStringList With(QStringList row, int column, const QString& text)
{
    row[column] = text;
    return row;
}

class Import : public OrderScreen<Tfrm_order_pda, OrderDesk> {
protected:
    Import()
    {
        desk.host.SetValue(u"Phone_and_MoblePh"_s, u"^[0-9]{11}$"_s);
        desk.host.Server.OnQuery = [this, answer = desk.host.Server.OnQuery](const QString& sqlText) {
            if (sqlText.contains(u"max(TX_LOGISTIC_ID)"_s))
                return MakeTextRows(
                    {u"TX_LOGISTIC_ID"_s}, {{u"D2024013100%1"_s.arg(last, 4, 10, QChar(u'0'))}});
            if (sqlText.contains(u"tab_employee"_s))
                return MakeTextRows({u"EMPLOYEE_NAME"_s, u"EMPLOYEE_CODE"_s, u"OWNER_SITE"_s},
                    {{u"韩梅梅"_s, u"E002"_s, u"浦东一部"_s}});
            return answer(sqlText);
        };
        desk.onSave = [this](const wire::ChangeLog& changes) {
            ++last;
            return AcceptAll(changes);
        };
    }
    QString WriteFile(const QString& name, const QByteArray& bytes)
    {
        const QString path = desk.host.Folder.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        return path;
    }
    void OpenForm()
    {
        Open();
        cds = Find<TClientDataSetEx>(u"CDS_ORDER_PDA"_s);
    }
    // Chooses the file in the dialog, imports it; says what the dialog said.
    QString ImportFile(const QString& path)
    {
        dialog = new Tfrm_Import(&desk.host.MainForm, *grid, screen->SaveButton(), 2, 2);
        Click(u"Button1"_s, path);
        EXPECT_TRUE(
            QTest::qWaitFor([this] { return dialog->findChild<QPushButton*>(u"Button1"_s)->isEnabled(); }));
        Click(u"Button3"_s);
        return dialog->findChild<QLabel*>(u"Label1"_s)->text();
    }
    void Click(const QString& button, const QString& answer = {})
    {
        if (!answer.isEmpty())
            desk.host.App.QueueAnswer({answer});
        dialog->findChild<QPushButton*>(button)->click();
    }
    QStringList SavedNumbers()
    {
        QStringList numbers;
        for (const wire::ChangeLog& save : desk.saves)
            numbers += wire::ToText(SavedValue(save, 0, u"TX_LOGISTIC_ID"_s)).right(4);
        return numbers;
    }

    Tfrm_Import* dialog = nullptr;
    int last = 41; // serial that any desk has saved
};

} // namespace

TEST(ImportPlan, FindsHeadingsOrGoesByPosition)
{
    const std::vector<TImportTarget> targets = {
        {u"订单编号"_s, true}, {u"业务员"_s}, {u"PAY 支付"_s}, {u"发货地址|省"_s}, {u"收货地址|省"_s}};
    const struct {
        std::vector<QStringList> rows;
        std::vector<int> columns; // their targets
        std::vector<int> orders;
        QString problem = {};
    } cases[] = {
        {{{u" 业 务员"_s, u"pay支付"_s, u"发货地址 省"_s, u"别的"_s}, {u"a"_s}, {}, {u"b"_s}}, {1, 2, 3, -1},
            {1, 3}},
        {{{u"十一月"_s}, {u"业务员"_s, u"发货地址"_s, {}, u"收货地址"_s}, {{}, u"省"_s, u"街道"_s, u"省"_s},
             {u"a"_s}},
            {1, 3, -1, 4}, {3}},
        {{{u"订单编号"_s, u"业务员"_s}, {u"D1"_s}, {{}, u"a"_s}}, {0, 1}, {2}},
        {{{u"x"_s}, {{}, u"D1"_s, u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s}}, {0, 1, 2, 3, 4, -1}, {1}},
        {{{u"业务员"_s, {}, u"业务员"_s}, {u"a"_s}}, {1, -1, 1}, {1},
            u"标题“业务员”出现了两次：A列和C列。请删去一列再导入。"_s},
        {{{u"业务员"_s}, {u" "_s}}, {1}, {},
            u"文件里没有订单：标题下面没有内容，或者标题和列表的都不一样。"_s},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        const TImportPlan plan = PlanImport({.rows = cases[i].rows}, targets, 2, 2);
        std::vector<int> columns;
        for (const TImportColumn& column : plan.columns)
            columns.push_back(column.target);
        EXPECT_EQ(columns, cases[i].columns) << i;
        EXPECT_EQ(plan.orders, cases[i].orders) << i;
        EXPECT_EQ(plan.problem, cases[i].problem) << i;
    }
    EXPECT_EQ(ColumnName(701), u"ZZ"_s);
}

TEST_F(Import, EveryOrderIsCheckedAndSavedUnderItsOwnNumberAndTheRestCanBeCorrected)
{
    OpenForm();
    int shown = 0; // in the form below, which would cost more than the order
    QObject::connect(
        screen->findChild<QLineEdit*>(u"PHONE"_s), &QLineEdit::textChanged, screen, [&] { ++shown; });
    const QString told = ImportFile(WriteFile(u"a.xlsx"_s,
        XlsxOf({kHeadings, kOrder, With(kOrder, 2, u"123"_s), With(kOrder, 1, u"明天"_s),
            With(kOrder, 1, u"2024/2/1 8:00"_s), With(kOrder, 11, u"也许"_s)})));
    EXPECT_TRUE(told.startsWith(u"保存了 2 张订单，3 张没有导入。"_s)) << qUtf8Printable(told);
    EXPECT_EQ(SavedNumbers(), QStringList({u"0042"_s, u"0043"_s}));
    const wire::ChangeLog& order = desk.saves[1];
    EXPECT_EQ(wire::ToText(SavedValue(order, 0, u"SEND_START_TIME"_s)), u"2024-02-01 08:00:00"_s);
    EXPECT_EQ(wire::ToText(SavedValue(order, 0, u"MESSAGE"_s)), u"E002"_s);
    EXPECT_EQ(wire::ToText(SavedValue(order, 0, u"BL_INSURANCE"_s)), u"1"_s);
    EXPECT_TRUE(cds->IsEmpty());
    EXPECT_EQ(shown, 0);
    EXPECT_TRUE(desk.host.App.Unattended);

    const QString rest = desk.host.Folder.filePath(u"rest.csv"_s);
    Click(u"Button4"_s, rest);
    TSheet sheet = ReadSheet(rest);
    ASSERT_EQ(sheet.rows.size(), 4U);
    EXPECT_EQ(sheet.rows[1].back(), u"发货人电话输入有错，请检查！"_s);
    EXPECT_EQ(sheet.rows[2].back(), u"预约时间“明天”不是日期时间"_s);
    EXPECT_EQ(sheet.rows[3].back(), u"是否保价“也许”不是“是”或者“否”"_s);
    sheet.rows[1][2] = u"13800000002"_s;
    EXPECT_TRUE(ImportFile(WriteFile(u"b.xlsx"_s, XlsxOf({sheet.rows[0], sheet.rows[1]})))
                    .startsWith(u"保存了 1 张订单，0 张没有导入。"_s));
    Click(u"Button2"_s, desk.host.Folder.filePath(u"t.csv"_s));
    EXPECT_EQ(ReadSheet(desk.host.Folder.filePath(u"t.csv"_s)).Text(0, 0), u"业务员"_s)
        << "the number is given";
}

TEST_F(Import, ListsAndTemplatesThatTheClientWroteAreReadBack)
{
    OpenForm();
    const QString csv = desk.host.Folder.filePath(u"a.csv"_s);
    const QString list = desk.host.Folder.filePath(u"list.xlsx"_s);
    WriteSheet(csv, {kHeadings, With(kOrder, 1, u"2024-02-01 08:00:00"_s)});
    ImportFile(csv);
    ASSERT_EQ(desk.saves.size(), 1U);
    cds->Append();
    for (const QString& field :
        {u"REC_GOODS_MAN"_s, u"SEND_START_TIME"_s, u"PHONE"_s, u"NAME"_s, u"PROV"_s, u"CITY"_s, u"COUNTY"_s,
            u"ADDRESS"_s, u"SEND_PROV"_s, u"SEND_CITY"_s, u"SEND_COUNTY"_s, u"BL_INSURANCE"_s})
        cds->FieldByName(field).SetAsString(wire::ToText(SavedValue(desk.saves[0], 0, field)));
    cds->FieldByName(u"TOTAL_WEIGHT").SetAsFloat(2.5);
    cds->Post();
    {
        TGridRows rows(*grid, false);
        ASSERT_TRUE(WriteXlsx(rows, list, {}));
    }
    cds->Cancel();
    cds->UndoCurrentRow();
    EXPECT_EQ(ImportFile(list), u"保存了 1 张订单，0 张没有导入。"_s);
    ASSERT_EQ(desk.saves.size(), 2U);
    for (const QString& field : {u"REC_GOODS_MAN"_s, u"SEND_START_TIME"_s, u"PHONE"_s, u"SEND_COUNTY"_s,
             u"ADDRESS"_s, u"BL_INSURANCE"_s})
        EXPECT_EQ(SavedValue(desk.saves[1], 0, field), SavedValue(desk.saves[0], 0, field))
            << qUtf8Printable(field);
    EXPECT_EQ(wire::ToText(SavedValue(desk.saves[1], 0, u"TOTAL_WEIGHT"_s)), u"2.5"_s);
}

TEST_F(Import, ANumberTakenMeanwhileIsAskedForAgainAndARefusedOrderIsLeftOut)
{
    OpenForm();
    desk.onSave = [this](const wire::ChangeLog& changes) {
        ++last;
        if (desk.saves.size() == 1 || desk.saves.size() == 3) {
            wire::ApplyOutcome outcome =
                RejectAll(changes, desk.saves.size() == 1 ? u"主键已存在"_s : u"无权"_s);
            outcome.rolledBack = true;
            outcome.rows[0].present = desk.saves.size() == 1;
            return outcome;
        }
        return AcceptAll(changes);
    };
    const QString told = ImportFile(WriteFile(u"a.xlsx"_s, XlsxOf({kHeadings, kOrder, kOrder, kOrder})));
    EXPECT_TRUE(told.startsWith(u"保存了 2 张订单，1 张没有导入。"_s)) << qUtf8Printable(told);
    EXPECT_EQ(SavedNumbers(), QStringList({u"0042"_s, u"0043"_s, u"0044"_s, u"0045"_s}));
    EXPECT_EQ(dialog->findChild<TDBGridEh*>()->CellText(0, 1), u"无权"_s);
}

TEST_F(Import, ALostServerEndsTheRunAndLosesNothing)
{
    OpenForm();
    desk.host.Connection.SavePatience = 0;
    desk.host.Server.Faults = {Fault::None, Fault::LoseReply, Fault::LoseRequest};
    const QString told = ImportFile(WriteFile(u"a.xlsx"_s, XlsxOf({kHeadings, kOrder, kOrder, kOrder})));
    EXPECT_TRUE(told.contains(u"第3行的订单没有保存成功，还在窗口里，请再保存一次：保存失败"_s))
        << qUtf8Printable(told);
    EXPECT_TRUE(told.startsWith(u"保存了 1 张订单，1 张没有导入。"_s));
    EXPECT_EQ(cds->RecordCount(), 1);
    Press(u"BTN_SAVE"_s);
    EXPECT_EQ(SavedNumbers(), QStringList({u"0042"_s, u"0043"_s}));
    EXPECT_TRUE(cds->IsEmpty());
}

TEST_F(Import, TheScreenFindsTheModuleBesideTheProgram)
{
    desk.host.App.SetExeName(QCoreApplication::applicationFilePath());
    OpenForm();
    desk.host.App.QueueAnswer({WriteFile(u"a.xlsx"_s, XlsxOf({kHeadings, kOrder}))});
    Press(u"btn_Excel"_s);
    EXPECT_EQ(SavedNumbers(), QStringList(u"0042"_s));
    EXPECT_FALSE(cds->ControlsDisabled());
    Find<QLineEdit>(u"PHONE"_s)->insert(u"1"_s);
    desk.host.TakeMessages();
    EXPECT_EQ(Told(u"btn_Excel"_s), QStringList(u"详细：请先保存或者放弃正在录入的订单，然后再导入！"_s));
}
