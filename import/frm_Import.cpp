#include "import/frm_Import.h"

#include "import/SheetWriter.h"
#include "runtime/data/DataSource.h"
#include "runtime/ui/Application.h"
#include "wire/ColumnData.h"
#include "wire/Error.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include <new>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kStepMilliseconds = 40; // between two looks at what the user does
constexpr int kReadPollMilliseconds = 20;

// Titles of two levels on one line, as a heading is written.
QString Heading(const QString& title)
{
    QString heading = title;
    return heading.replace(u'|', u' ');
}

} // namespace

Tfrm_Import::Tfrm_Import(
    QObject* owner, TDBGridEh& grid, QAbstractButton* save, int firstRow, int firstColumn)
    : TForm(owner, u"frm_Import"_s)
    , Label1(new QLabel(this))
    , Grid1(new TDBGridEh(this, u"Grid1"_s))
    , ProgressBar1(new QProgressBar(this))
    , list_(new TClientDataSetEx(this, u"list"_s))
    , poll_(new QTimer(this))
    , target_(grid)
    , save_(save)
    , firstRow_(firstRow)
    , firstColumn_(firstColumn)
{
    KeyPreview = true;
    SetCaption(u"Excel导入"_s);
    Label1->setObjectName(u"Label1"_s);
    Label1->setWordWrap(true);
    Label1->setTextFormat(Qt::PlainText);
    Label1->setText(
        u"请选择要导入的文件：.xlsx、.ods 或 .csv。标题和订单列表的列名一样，可以先保存模板来填写。"_s);
    Grid1->ReadOnly = true;
    Grid1->SetSortLocal(false);
    auto* source = new TDataSource(this, u"DS"_s);
    source->SetDataSet(list_);
    Grid1->SetDataSource(source);
    ProgressBar1->setObjectName(u"ProgressBar1"_s);
    ProgressBar1->setFormat(u"%v / %m"_s);
    ProgressBar1->hide();

    Button1 = AddButton(u"Button1"_s, u"选择文件(&O)…"_s, &Tfrm_Import::Button1Click);
    Button2 = AddButton(u"Button2"_s, u"保存模板(&T)…"_s, &Tfrm_Import::Button2Click);
    Button3 = AddButton(u"Button3"_s, u"导入(&I)"_s, &Tfrm_Import::Button3Click);
    Button4 = AddButton(u"Button4"_s, u"另存未导入的(&S)…"_s, &Tfrm_Import::Button4Click);
    Button5 = AddButton(u"Button5"_s, u"关闭(&C)"_s, &Tfrm_Import::Button5Click);
    auto* buttons = new QHBoxLayout;
    for (QPushButton* button : {Button1, Button2, Button4})
        buttons->addWidget(button);
    buttons->addStretch(1);
    buttons->addWidget(Button3);
    buttons->addWidget(Button5);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Label1);
    layout->addWidget(Grid1, 1);
    layout->addWidget(ProgressBar1);
    layout->addLayout(buttons);
    resize(fontMetrics().averageCharWidth() * 100, fontMetrics().lineSpacing() * 28);
    SetBusy(false);
    connect(poll_, &QTimer::timeout, this, &Tfrm_Import::TakeSheet);
}

QPushButton* Tfrm_Import::AddButton(
    const QString& name, const QString& caption, void (Tfrm_Import::*handler)())
{
    auto* button = new QPushButton(caption, this);
    button->setObjectName(name);
    connect(button, &QPushButton::clicked, this, [this, handler] {
        Guarded([this, handler] { (this->*handler)(); },
            [this](const QString& message) {
                Application->MessageBox(u"详细："_s + message, Caption(), TMessageIcon::Warning);
            });
    });
    return button;
}

QString Tfrm_Import::AskPath(bool toSave, const QString& suggestion)
{
    QStringList answer;
    if (Application->TakeAnswer(answer))
        return answer.value(0) == u"cancel"_s ? QString() : answer.value(0);
    if (Application->Unattended)
        return {};
    return toSave
        ? QFileDialog::getSaveFileName(this, Caption(), suggestion, u"表格 (*.csv)"_s)
        : QFileDialog::getOpenFileName(this, Caption(), {}, u"表格 (*.xlsx *.ods *.csv);;所有文件 (*)"_s);
}

void Tfrm_Import::Button1Click()
{
    const QString path = AskPath(false, {});
    if (!path.isEmpty())
        Load(path);
}

// Beside the window, which stays alive.
void Tfrm_Import::Load(const QString& path)
{
    path_ = path;
    plan_ = {};
    refused_.clear();
    list_->Close();
    Label1->setText(u"正在读取 %1 …"_s.arg(QFileInfo(path).fileName()));
    SetBusy(true);
    reading_ = std::async(std::launch::async, [path] { return ReadSheet(path); });
    poll_->start(kReadPollMilliseconds);
}

void Tfrm_Import::TakeSheet()
{
    if (reading_.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        return;
    poll_->stop();
    try {
        sheet_ = reading_.get();
        plan_ = PlanImport(sheet_, target_.targets, firstRow_, firstColumn_);
    } catch (const wire::Error& error) {
        plan_.problem = error.Message();
    } catch (const std::bad_alloc&) {
        plan_.problem = u"内存不够，文件太大。"_s;
    }
    SetBusy(false);
    ShowPlan();
    if (Application->Unattended && isVisible()) { // nobody is there to press it
        Button3->click();
        Close();
    }
}

void Tfrm_Import::ShowPlan()
{
    const QString file = QFileInfo(path_).fileName();
    QStringList told;
    if (!plan_.problem.isEmpty()) {
        told = {u"%1 不能导入：%2"_s.arg(file, plan_.problem)};
        Application->NoteShown(told.front(), Caption(), TMessageIcon::Warning);
    } else {
        told = {u"%1 里有 %2 张订单（第%3行到第%4行），保存时一张一个编号。"_s.arg(file)
                    .arg(plan_.orders.size())
                    .arg(plan_.orders.front() + 1)
                    .arg(plan_.orders.back() + 1)};
        if (!plan_.byHeadings)
            told += u"没有找到标题，按列的位置导入，请看清每一列导入到哪里。"_s;
        if (sheet_.mergedCells > 0)
            told += u"合并的单元格有%1格没有内容，按合并区域的第一格填写。"_s.arg(sheet_.mergedCells);
    }
    Label1->setText(told.join(u'\n'));

    std::vector<QStringList> cells;
    for (const TImportColumn& column : plan_.columns) {
        QString goes = u"不导入"_s;
        if (column.target >= 0) {
            const TImportTarget& target = target_.targets[static_cast<size_t>(column.target)];
            goes = target.given ? u"不导入，由系统编号"_s : Heading(target.title);
        }
        const QString example =
            plan_.orders.empty() ? QString() : sheet_.Text(plan_.orders.front(), column.sheetColumn);
        cells.push_back({ColumnName(column.sheetColumn), Heading(column.heading), goes, example});
    }
    ShowRows({{.fieldName = u"COLUMN"_s, .title = u"列"_s, .width = 40},
                 {.fieldName = u"HEADING"_s, .title = u"文件里的标题"_s, .width = 150},
                 {.fieldName = u"TARGET"_s, .title = u"导入到"_s, .width = 150},
                 {.fieldName = u"EXAMPLE"_s, .title = u"第一张订单"_s, .width = 190}},
        cells);
    Button3->setFocus();
}

void Tfrm_Import::ShowRows(std::vector<TColumnEh> columns, const std::vector<QStringList>& cells)
{
    wire::RowSet rows;
    for (size_t i = 0; i < columns.size(); ++i) {
        rows.infos.push_back({.name = columns[i].fieldName});
        wire::Column& column = rows.columns.emplace_back(wire::ColumnType::Text);
        for (const QStringList& row : cells)
            column.AppendText(row.value(static_cast<qsizetype>(i)).toUtf8());
    }
    list_->OpenRows(std::move(rows));
    Grid1->SetColumns(std::move(columns));
}

// Only the headings that a file may fill in.
void Tfrm_Import::Button2Click()
{
    const QString path = AskPath(true, u"订单导入模板.csv"_s);
    if (path.isEmpty())
        return;
    QStringList headings;
    for (const TImportTarget& target : target_.targets) {
        if (!target.given)
            headings += Heading(target.title);
    }
    WriteSheet(path, {headings});
    Label1->setText(u"模板已保存：%1。填好以后选择它来导入。"_s.arg(path));
}

void Tfrm_Import::Button3Click()
{
    stopped_ = false;
    ProgressBar1->setRange(0, static_cast<int>(plan_.orders.size()));
    ProgressBar1->setValue(0);
    Label1->setText(u"正在导入，每张订单单独保存。停止以后，已经保存的订单不会撤回。"_s);
    SetBusy(true);
    QElapsedTimer sinceStep;
    sinceStep.start();
    const TImportOutcome outcome = ImportOrders(sheet_, plan_, target_, save_, [&](int done) {
        if (sinceStep.hasExpired(kStepMilliseconds)) {
            ProgressBar1->setValue(done);
            QCoreApplication::processEvents();
            sinceStep.restart();
        }
        return !stopped_;
    });
    SetBusy(false);
    plan_.orders.clear(); // once is enough
    ShowOutcome(outcome);
}

void Tfrm_Import::ShowOutcome(const TImportOutcome& outcome)
{
    refused_ = outcome.refused;
    QString told = u"保存了 %1 张订单，%2 张没有导入。"_s.arg(outcome.saved).arg(refused_.size());
    if (!outcome.stopped.isEmpty())
        told += u'\n' + outcome.stopped;
    if (!refused_.empty())
        told += u"\n没有导入的订单和原因列在下面，可以另存为文件，改好以后再导入。"_s;
    Label1->setText(told);
    Application->NoteShown(told, Caption(), TMessageIcon::Information);

    std::vector<TColumnEh> columns{{.fieldName = u"ROW"_s, .title = u"行"_s, .width = 46},
        {.fieldName = u"REASON"_s, .title = u"原因"_s, .width = 260}};
    for (const TImportColumn& column : plan_.columns) {
        const QString name = ColumnName(column.sheetColumn);
        columns.push_back({.fieldName = name, .title = column.heading.isEmpty() ? name : column.heading});
    }
    std::vector<QStringList> cells;
    for (const TImportRefusal& refusal : refused_) {
        QStringList& row = cells.emplace_back(QStringList{QString::number(refusal.row + 1), refusal.reason});
        for (const TImportColumn& column : plan_.columns)
            row += sheet_.Text(refusal.row, column.sheetColumn);
    }
    ShowRows(std::move(columns), cells);
    SetBusy(false);
    (refused_.empty() ? Button5 : Button4)->setFocus();
}

// With headings, so that the file can be imported once it is corrected; the reasons' column is not.
void Tfrm_Import::Button4Click()
{
    const QString path = AskPath(true, u"未导入的订单.csv"_s);
    if (path.isEmpty())
        return;
    std::vector<QStringList> rows(1);
    for (const TImportColumn& column : plan_.columns) {
        const QString title =
            column.target >= 0 ? target_.targets[static_cast<size_t>(column.target)].title : column.heading;
        rows[0] += Heading(title);
    }
    rows[0] += u"未导入的原因"_s;
    for (const TImportRefusal& refusal : refused_) {
        QStringList& row = rows.emplace_back();
        for (const TImportColumn& column : plan_.columns)
            row += sheet_.Text(refusal.row, column.sheetColumn);
        row += refusal.reason;
    }
    WriteSheet(path, rows);
    Label1->setText(u"%1 张没有导入的订单已保存：%2。"_s.arg(refused_.size()).arg(path));
}

void Tfrm_Import::Button5Click()
{
    if (busy_)
        stopped_ = true;
    else
        Close();
}

void Tfrm_Import::SetBusy(bool busy)
{
    busy_ = busy;
    ProgressBar1->setVisible(busy && !plan_.orders.empty());
    Button1->setEnabled(!busy);
    Button2->setEnabled(!busy);
    Button3->setEnabled(!busy && plan_.problem.isEmpty() && !plan_.orders.empty());
    Button4->setEnabled(!busy && !refused_.empty());
    Button5->setText(busy ? u"停止(&N)"_s : u"关闭(&C)"_s);
}

bool Tfrm_Import::FormKeyDown(QKeyEvent* event)
{
    if (event->key() != Qt::Key_Escape)
        return false;
    Button5->click();
    return true;
}

TCloseAction Tfrm_Import::FormClose()
{
    stopped_ = true;
    return busy_ ? TCloseAction::None : TCloseAction::Free;
}

// A file named beforehand is read at once; with nobody there to name one the dialog closes.
void Tfrm_Import::showEvent(QShowEvent* event)
{
    TForm::showEvent(event);
    Button1->setFocus();
    QTimer::singleShot(0, this, [this] {
        if (Application->QueuedAnswers() > 0)
            Button1->click();
        if (Application->Unattended && !busy_)
            Close();
    });
}
