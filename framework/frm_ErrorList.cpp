#include "framework/frm_ErrorList.h"

#include "runtime/ui/Application.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

std::vector<TColumnEh> AllFields(const TClientDataSetEx& rows)
{
    std::vector<TColumnEh> columns;
    for (int i = 0; i < rows.FieldCount(); ++i) {
        const QString& name = rows.FieldInfo(i).name;
        columns.push_back({.fieldName = name, .title = name, .width = 120, .readOnly = true});
    }
    return columns;
}

// Titles of several levels on one line; tabs and line breaks would split a cell.
QString CellForTable(QString text)
{
    for (const QChar separator : {u'\t', u'\r', u'\n'})
        text.replace(separator, u' ');
    return text;
}

} // namespace

Tfrm_ErrorList::Tfrm_ErrorList(QObject* owner)
    : TForm(owner, u"frm_ErrorList"_s)
    , Label1(new QLabel(this))
    , Grid1(new TDBGridEh(this, u"Grid1"_s))
    , DS(new TDataSource(this, u"DS"_s))
    , Button1(new QPushButton(u"关闭(&C)"_s, this))
    , Button2(new QPushButton(u"复制(&P)"_s, this))
{
    KeyPreview = true;
    Label1->setObjectName(u"Label1"_s);
    Label1->setWordWrap(true);
    Label1->setTextFormat(Qt::PlainText);
    Label1->setBuddy(Grid1);
    Button1->setObjectName(u"Button1"_s);
    Button2->setObjectName(u"Button2"_s);
    Grid1->ReadOnly = true;
    Grid1->SetDataSource(DS);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(Button2);
    buttons->addWidget(Button1);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Label1);
    layout->addWidget(Grid1, 1);
    layout->addLayout(buttons);
    const int character = fontMetrics().averageCharWidth();
    resize(character * 72, fontMetrics().lineSpacing() * 26);

    connect(Button1, &QPushButton::clicked, this, [this] { Close(); });
    connect(Button2, &QPushButton::clicked, this, &Tfrm_ErrorList::Copy);
}

void Tfrm_ErrorList::Execute(
    const QString& caption, const QString& text, TClientDataSetEx& rows, std::vector<TColumnEh> columns)
{
    auto* list = new Tfrm_ErrorList(Application); // frees itself when it closes
    list->SetCaption(caption);
    list->SetRows(text, rows, std::move(columns));
    Application->NoteShown(text, caption, TMessageIcon::Warning);
    list->ShowModal();
}

void Tfrm_ErrorList::SetRows(const QString& text, TClientDataSetEx& rows, std::vector<TColumnEh> columns)
{
    Label1->setText(text);
    Grid1->setAccessibleName(text);
    Grid1->SetColumns(columns.empty() ? AllFields(rows) : std::move(columns));
    DS->SetDataSet(&rows);
}

QString Tfrm_ErrorList::RowsAsText() const
{
    QStringList lines;
    QStringList cells;
    const int rows = DS->DataSet() ? DS->DataSet()->RecordCount() : 0;
    for (int row = -1; row < rows; ++row) {
        cells.clear();
        for (int i = 0; i < Grid1->ColumnCount(); ++i) {
            const TColumnEh& column = Grid1->Column(i);
            if (column.visible)
                cells += CellForTable(row < 0 ? column.title : Grid1->CellText(row, i));
        }
        lines += cells.join(u'\t');
    }
    return lines.join(u'\n') + u'\n';
}

void Tfrm_ErrorList::Copy()
{
    QGuiApplication::clipboard()->setText(RowsAsText());
}

bool Tfrm_ErrorList::FormKeyDown(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Copy)) {
        Copy();
        return true;
    }
    const bool onCopy = Button2->hasFocus();
    if (event->key() == Qt::Key_Escape
        || (!onCopy && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter))) {
        Close();
        return true;
    }
    return false;
}

TCloseAction Tfrm_ErrorList::FormClose()
{
    DS->SetDataSet(nullptr); // the caller goes on with its rows before this form is gone
    return TCloseAction::Free;
}

void Tfrm_ErrorList::showEvent(QShowEvent* event)
{
    TForm::showEvent(event);
    Button1->setFocus();
    // An answer given beforehand, or nobody there to give one, closes the list once it stands.
    QTimer::singleShot(0, this, [this] {
        QStringList answer;
        if (Application->TakeAnswer(answer) || Application->Unattended)
            Close();
    });
}
