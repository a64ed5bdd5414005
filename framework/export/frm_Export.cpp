#include "framework/export/frm_Export.h"

#include "framework/LabelledControls.h"
#include "framework/Questions.h"
#include "framework/ScreenHandlers.h"
#include "framework/export/GridRows.h"
#include "framework/export/ProposedFile.h"
#include "framework/frm_Progress.h"
#include "module/data/DataSetRows.h"
#include "module/data/MessageBoxes.h"
#include "runtime/ui/Application.h"
#include "wire/Error.h"

#include <QAction>
#include <QButtonGroup>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QKeyEvent>
#include <QTimer>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

Tfrm_Export::Tfrm_Export(QObject* owner, TDBGridEh& grid, const QString& title)
    : TForm(owner, u"frm_Export"_s)
    , grid_(&grid)
    , RadioButton1(new QRadioButton(u"Excel 工作簿 (*.xlsx)"_s, this))
    , RadioButton2(new QRadioButton(u"CSV 文本，UTF-8 (*.csv)"_s, this))
    , RadioButton3(new QRadioButton(u"CSV 文本，简体中文 936 (*.csv)"_s, this))
    , RadioButton4(new QRadioButton(this))
    , RadioButton5(new QRadioButton(this))
    , Edit1(new QLineEdit(ProposedFile(title, u".xlsx"), this))
    , Label1(new QLabel(this))
    , Button1(NewButton(this, u"Button1"_s, u"导出(&X)"_s))
    , Button2(NewButton(this, u"Button2"_s, u"关闭(&C)"_s))
    , Button3(NewButton(this, u"Button3"_s, u"浏览(&B)…"_s))
    , Button4(NewButton(this, u"Button4"_s, u"打开文件夹(&F)"_s))
{
    SetCaption(u"导出 - "_s + title);
    setProperty("guide", u"export"_s);
    KeyPreview = true;
    auto* forms = new QButtonGroup(this);
    auto* extents = new QButtonGroup(this);
    int number = 0;
    for (QRadioButton* button : {RadioButton1, RadioButton2, RadioButton3, RadioButton4, RadioButton5}) {
        button->setObjectName(u"RadioButton%1"_s.arg(++number));
        (number <= 3 ? forms : extents)->addButton(button);
    }
    Edit1->setObjectName(u"Edit1"_s);
    Edit1->setMinimumWidth(fontMetrics().horizontalAdvance(QString(56, u'0')));
    Label1->setObjectName(u"Label1"_s);
    Label1->setWordWrap(true);
    Label1->setTextFormat(Qt::PlainText);
    Label1->setFixedHeight(fontMetrics().lineSpacing() * 2);
    const size_t selected = grid.SelectedRows().size();
    RadioButton4->setText(u"全部 %1 行(&A)"_s.arg(grid.DataSet()->RecordCount()));
    RadioButton5->setText(u"选中的 %1 行(&S)"_s.arg(selected));
    RadioButton5->setEnabled(selected > 0);
    (selected > 1 ? RadioButton5 : RadioButton4)->setChecked(true);
    RadioButton1->setChecked(true);
    Button4->hide();
    PlaceControls();
    connect(forms, &QButtonGroup::buttonToggled, this, &Tfrm_Export::FormChosen);
    connect(extents, &QButtonGroup::buttonToggled, this, &Tfrm_Export::FormChosen);
    connect(Button1, &QPushButton::clicked, this, &Tfrm_Export::Button1Click);
    connect(Button2, &QPushButton::clicked, this, [this] { Close(); });
    connect(Button3, &QPushButton::clicked, this, &Tfrm_Export::Button3Click);
    connect(Button4, &QPushButton::clicked, this, &Tfrm_Export::Button4Click);
    connect(&grid, &QObject::destroyed, this, [this] { Close(); });
    FormChosen();
    resize(sizeHint());
}

void Tfrm_Export::PlaceControls()
{
    auto* box = new QGridLayout(this);
    box->setVerticalSpacing(6);
    box->addWidget(new QLabel(u"格式"_s, this), 0, 0);
    box->addWidget(RadioButton1, 0, 1);
    box->addWidget(RadioButton2, 1, 1);
    box->addWidget(RadioButton3, 2, 1);
    box->addWidget(new QLabel(u"范围"_s, this), 3, 0);
    auto* extent = new QHBoxLayout;
    extent->addWidget(RadioButton4);
    extent->addWidget(RadioButton5);
    extent->addStretch(1);
    box->addLayout(extent, 3, 1, 1, 2);
    box->addWidget(LabelFor(Edit1, u"文件(&N)"_s, this), 4, 0);
    box->addWidget(Edit1, 4, 1);
    box->addWidget(Button3, 4, 2);
    box->addWidget(Label1, 5, 0, 1, 3);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(Button4);
    buttons->addStretch(1);
    buttons->addWidget(Button1);
    buttons->addWidget(Button2);
    box->addLayout(buttons, 6, 0, 1, 3);
}

void Tfrm_Export::Execute(TDBGridEh& grid, const QString& title)
{
    if (!grid.DataSet() || !HasRows(*grid.DataSet())) {
        ShowNotice(u"列表里没有行，没有可以导出的。"_s);
        return;
    }
    if (!grid.CommitEditor())
        return;
    auto* form = new Tfrm_Export(Application, grid, title); // frees itself when it closes
    form->ShowModal();
}

QAction* Tfrm_Export::AddAction(TDBGridEh& grid)
{
    auto* action = new QAction(u"导出(&X)…\tCtrl+E"_s, &grid);
    action->setObjectName(u"ExportAction"_s);
    connect(action, &QAction::triggered, &grid,
        [&grid] { Guarded([&grid] { Execute(grid, ListTitle(grid)); }); });
    grid.addAction(action);
    return action;
}

void Tfrm_Export::showEvent(QShowEvent* event)
{
    TForm::showEvent(event);
    Button1->setFocus();
    // An answer given beforehand is the file's name; nobody there to give one closes the form.
    QTimer::singleShot(0, this, [this] {
        QStringList answer;
        if (Application->TakeAnswer(answer)) {
            Edit1->setText(answer.value(0));
            const QPointer<Tfrm_Export> alive(this);
            Button1Click();
            if (alive)
                Close();
        } else if (Application->Unattended) {
            Close();
        }
    });
}

bool Tfrm_Export::FormKeyDown(QKeyEvent* event)
{
    if (event->key() != Qt::Key_Escape)
        return false;
    Close();
    return true;
}

QString Tfrm_Export::WithEnding(QString name) const
{
    for (const QString& ending : {u".xlsx"_s, u".csv"_s}) {
        if (name.endsWith(ending, Qt::CaseInsensitive))
            name.chop(ending.size());
    }
    return name + (RadioButton1->isChecked() ? u".xlsx"_s : u".csv"_s);
}

void Tfrm_Export::FormChosen()
{
    if (!Edit1->text().isEmpty())
        Edit1->setText(WithEnding(Edit1->text()));
    if (!grid_ || !grid_->DataSet() || !grid_->DataSet()->Active())
        return;
    const int sheets = SheetsFor(TGridRows(*grid_, RadioButton5->isChecked()));
    Label1->setText(RadioButton1->isChecked() && sheets > 1
            ? u"工作表最多 %L1 行，这些行分在 %2 个工作表里；也可以选 CSV。"_s.arg(kSheetRows).arg(sheets)
            : RadioButton1->isChecked()
            ? QString()
            : u"用电子表格直接打开 CSV 时，长的单号可能被当成数字；要保留每一位，请选 Excel 工作簿。"_s
                + (RadioButton3->isChecked() ? u"936 里没有的字变成 ?。"_s : QString()));
}

bool Tfrm_Export::Write(TExportRows& rows, const QString& path)
{
    Tfrm_Progress progress(Application, Caption());
    progress.AllowCancel();
    progress.Start(u"正在导出."_s, rows.RowCount());
    const TExportProgress step = [&progress, &rows](int done) {
        progress.Step(done < rows.RowCount() ? u"正在导出."_s : u"正在写入文件."_s, done);
        return !progress.Cancelled();
    };
    if (RadioButton1->isChecked())
        return WriteXlsx(rows, path, step);
    return WriteCsv(
        rows, path, RadioButton2->isChecked() ? TCsvEncoding::Utf8 : TCsvEncoding::CodePage936, step);
}

void Tfrm_Export::Button1Click()
{
    const QPointer<Tfrm_Export> alive(this);
    const QString typed = QDir::fromNativeSeparators(Edit1->text().trimmed());
    QFileInfo file(QDir(KeptFolder()), typed);
    if (typed.isEmpty() || typed.endsWith(u'/') || file.isDir()) {
        Label1->setText(u"请写上文件名。"_s);
        Edit1->setFocus();
        return;
    }
    file.setFile(WithEnding(file.absoluteFilePath()));
    Edit1->setText(QDir::toNativeSeparators(file.absoluteFilePath()));
    if (file.exists()
        && !AskYesNo(u"文件“%1”已经存在，要替换它吗？"_s.arg(file.fileName()), Caption(), TDefaultAnswer::No))
        return;
    if (alive && grid_)
        Export(file);
}

// The screen, and with it this window, may be closed while the rows are written.
void Tfrm_Export::Export(const QFileInfo& file)
{
    const QPointer<Tfrm_Export> alive(this);
    const QString caption = Caption();
    Button4->hide();
    try {
        if (!grid_->DataSet() || !grid_->DataSet()->Active())
            throw wire::Error(wire::ErrorKind::Usage, u"列表已经关闭，没有可以导出的。请先查询。"_s);
        TGridRows rows(*grid_, RadioButton5->isChecked());
        const bool written = Write(rows, file.absoluteFilePath());
        if (written)
            KeepFolder(file.absolutePath());
        if (!alive)
            return;
        Label1->setText(!written ? u"已取消，没有写入文件。"_s
                                 : u"已导出 %L1 行：%2"_s.arg(rows.RowCount())
                                       .arg(QDir::toNativeSeparators(file.absoluteFilePath())));
        Button4->setVisible(written);
        if (written)
            Button4->setFocus();
    } catch (const wire::Error& error) {
        if (alive)
            Label1->clear();
        ShowFailure(error.Message(), caption);
    }
}

void Tfrm_Export::Button3Click()
{
    const QString chosen = AskFile(this, Caption(), Edit1->text(),
        RadioButton1->isChecked() ? u"Excel 工作簿 (*.xlsx)"_s : u"CSV 文本 (*.csv)"_s,
        QFileDialog::DontConfirmOverwrite);
    if (!chosen.isEmpty())
        Edit1->setText(QDir::toNativeSeparators(chosen));
}

void Tfrm_Export::Button4Click()
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(KeptFolder()));
    Close();
}
