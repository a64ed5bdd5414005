#pragma once

#include "module/data/PastedNumbers.h"
#include "runtime/ui/DBControls.h"

#include <QPushButton>
#include <QWidget>

// A box for numbers pasted one a line, and two ways to search by them, at most one of which is on.
class TNumberListInput : public QWidget {
    Q_OBJECT
public:
    // The captions of the two ways.
    TNumberListInput(QWidget* parent, const QString& name, const TPasteRule& rule, const QString& firstWay,
        const QString& secondWay);

    bool FirstWay() const { return CheckBox1->isChecked(); }
    bool SecondWay() const { return CheckBox2->isChecked(); }
    // The quoted list; empty, the user having been told why, when there is none.
    QString List() { return PastedNumberList(*Memo1, rule_); }

private:
    void CheckBox1Click();
    void CheckBox2Click();
    void SpeedButton1Click();

    TDBMemo* Memo1; // the numbers
    TDBCheckBoxEh* CheckBox1;
    TDBCheckBoxEh* CheckBox2;
    QPushButton* SpeedButton1; // 清空
    TPasteRule rule_;
};
