#include "framework/NumberListInput.h"

#include "module/data/PastedNumbers.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

TNumberListInput::TNumberListInput(QWidget* parent, const QString& name, const TPasteRule& rule,
    const QString& firstWay, const QString& secondWay)
    : QWidget(parent)
    , Memo1(new TDBMemo(this, u"Memo1"_s))
    , CheckBox1(new TDBCheckBoxEh(this, u"CheckBox1"_s))
    , CheckBox2(new TDBCheckBoxEh(this, u"CheckBox2"_s))
    , SpeedButton1(new QPushButton(u"清空"_s, this))
    , rule_(rule)
{
    setObjectName(name);
    CheckBox1->setText(firstWay);
    CheckBox2->setText(secondWay);
    SpeedButton1->setObjectName(u"SpeedButton1"_s);
    SpeedButton1->setFocusPolicy(Qt::NoFocus);
    Memo1->setLineWrapMode(QPlainTextEdit::NoWrap);
    Memo1->setPlaceholderText(u"每行一个单号"_s);
    Memo1->setAccessibleName(u"单号，每行一个"_s);
    connect(CheckBox1, &QCheckBox::clicked, this, &TNumberListInput::CheckBox1Click);
    connect(CheckBox2, &QCheckBox::clicked, this, &TNumberListInput::CheckBox2Click);
    connect(SpeedButton1, &QPushButton::clicked, this, &TNumberListInput::SpeedButton1Click);

    auto* foot = new QHBoxLayout;
    foot->addWidget(CheckBox2, 1);
    foot->addWidget(SpeedButton1);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(4);
    rows->addWidget(Memo1, 1);
    rows->addWidget(CheckBox1);
    rows->addLayout(foot);
}

void TNumberListInput::CheckBox1Click()
{
    if (CheckBox1->isChecked())
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
