#include "framework/NumberListInput.h"

#include <QHBoxLayout>
#include <QMimeData>
#include <QTextBlock>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

void TNumberMemo::insertFromMimeData(const QMimeData* source)
{
    const QStringList lines = NumberLines(source->text());
    if (lines.isEmpty())
        return;
    QStringList tidied;
    for (const QString& line : lines)
        tidied += line.trimmed();
    while (tidied.size() > 1 && tidied.last().isEmpty())
        tidied.removeLast();
    QTextCursor cursor = textCursor();
    cursor.beginEditBlock();
    cursor.removeSelectedText();
    QString text = tidied.join(u'\n');
    const bool isList = tidied.size() > 1 || source->text().contains(u'\n') || source->text().contains(u'\r');
    if (isList && !cursor.atBlockStart())
        text.prepend(u'\n');
    if (isList && !cursor.atBlockEnd())
        text.append(u'\n');
    cursor.insertText(text);
    cursor.endEditBlock();
    setTextCursor(cursor);
    ensureCursorVisible();
}

TNumberListInput::TNumberListInput(QWidget* parent, const QString& name, const TPasteRule& rule,
    const QString& firstWay, const QString& secondWay)
    : QWidget(parent)
    , Memo1(new TNumberMemo(this, u"Memo1"_s))
    , CheckBox1(new TDBCheckBoxEh(this, u"CheckBox1"_s))
    , SpeedButton1(new QPushButton(u"清空"_s, this))
    , count_(new QLabel(this))
    , rule_(rule)
{
    setObjectName(name);
    CheckBox1->setText(firstWay);
    SpeedButton1->setObjectName(u"SpeedButton1"_s);
    SpeedButton1->setFocusPolicy(Qt::NoFocus);
    count_->setObjectName(u"Count"_s);
    Memo1->setLineWrapMode(QPlainTextEdit::NoWrap);
    Memo1->setPlaceholderText(u"每行一个单号"_s);
    Memo1->setAccessibleName(u"单号，每行一个"_s);
    connect(CheckBox1, &QCheckBox::clicked, this, &TNumberListInput::CheckBox1Click);
    connect(SpeedButton1, &QPushButton::clicked, this, &TNumberListInput::SpeedButton1Click);
    connect(Memo1, &QPlainTextEdit::textChanged, this, &TNumberListInput::ShowCount);

    auto* counted = new QHBoxLayout;
    counted->addWidget(count_, 1);
    counted->addWidget(SpeedButton1);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(4);
    rows->addWidget(Memo1, 1);
    rows->addLayout(counted);
    rows->addWidget(CheckBox1);
    if (!secondWay.isEmpty()) {
        CheckBox2 = new TDBCheckBoxEh(this, u"CheckBox2"_s);
        CheckBox2->setText(secondWay);
        connect(CheckBox2, &QCheckBox::clicked, this, &TNumberListInput::CheckBox2Click);
        rows->addWidget(CheckBox2);
    }
    ShowCount();
}

void TNumberListInput::CheckBox1Click()
{
    if (CheckBox2 && CheckBox1->isChecked())
        CheckBox2->setChecked(false);
}

void TNumberListInput::CheckBox2Click()
{
    if (CheckBox2->isChecked())
        CheckBox1->setChecked(false);
}

void TNumberListInput::SpeedButton1Click()
{
    Memo1->clear();
}

// The lines as the limit counts them, empty ones among them.
void TNumberListInput::ShowCount()
{
    const QTextDocument& text = *Memo1->document();
    const int lines = text.blockCount() - (text.lastBlock().length() == 1 ? 1 : 0);
    count_->setText(u"%1/%2 个"_s.arg(lines).arg(rule_.maxLines));
    count_->setStyleSheet(lines > rule_.maxLines ? u"color: #c00000"_s : QString());
}
