#pragma once

#include "module/data/PastedNumbers.h"
#include "runtime/controls/DBControls.h"

#include <QLabel>
#include <QPushButton>
#include <QWidget>

// A memo for numbers, one a line. What is pasted arrives tidied: no blanks around its lines, no empty lines
// at its end, and on lines of its own where it is a list. What is typed stays as typed.
class TNumberMemo : public TDBMemo {
    Q_OBJECT
public:
    using TDBMemo::TDBMemo;

protected:
    void insertFromMimeData(const QMimeData* source) override;
};

// A box for numbers, how many there are, and one or two ways to search by them, at most one of which is on.
class TNumberListInput : public QWidget {
    Q_OBJECT
public:
    // The captions of the ways; an empty second one leaves that way out.
    TNumberListInput(QWidget* parent, const QString& name, const TPasteRule& rule, const QString& firstWay,
        const QString& secondWay = {});

    bool FirstWay() const { return CheckBox1->isChecked(); }
    bool SecondWay() const { return CheckBox2 && CheckBox2->isChecked(); }
    // The quoted list; empty, the user having been told why, when there is none.
    QString List() { return PastedNumberList(*Memo1, rule_); }

private:
    void CheckBox1Click();
    void CheckBox2Click();
    void SpeedButton1Click();
    void ShowCount();

    TNumberMemo* Memo1; // the numbers
    TDBCheckBoxEh* CheckBox1;
    TDBCheckBoxEh* CheckBox2 = nullptr;
    QPushButton* SpeedButton1; // 清空
    QLabel* count_;
    TPasteRule rule_;
};
